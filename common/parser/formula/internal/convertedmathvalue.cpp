#include "common/parser/formula/internal/convertedmathvalue.h"

#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/internal/nodes.h"

namespace Tarq::Common::Parser::Formula {

template <class To, class From>
bool ConvertedMathValue<To, From>::isConstant() {
    return mOperand->isConstant();
}

template <class To, class From>
void ConvertedMathValue<To, From>::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mOperand->getContainingVariables(accessIDs);
}

template <class To, class From>
MathValue* ConvertedMathValue<To, From>::merge() {
    if (isConstant())
        return new (this->getAllocator()) AtomicMathValue<To>(this->evaluate(nullptr));
    mergeOperand(mOperand);
    return nullptr;
}

template <class To, class From>
void ConvertedMathValue<To, From>::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mOperand->replaceVariableAccessID(oldID, newID);
}

template <class To, class From>
void ConvertedMathValue<To, From>::getValue(To& result, VariableAccessor* accessor) {
    result = this->evaluate(accessor);
}

template <class To, class From>
To ConvertedMathValue<To, From>::convert(TypedMathValue<To>& node, VariableAccessor* accessor) {
    return static_cast<To>(static_cast<ConvertedMathValue&>(node).mOperand->evaluate(accessor));
}

template <class To, class From>
MathValue* ConvertedMathValue<To, From>::clone() {
    NodePtr<TypedMathValue<From>> operand = cloneOf(*mOperand.get());
    auto* const node = new (this->getAllocator()) ConvertedMathValue(operand.get());
    letGoOf(operand);
    return node;
}

template <class To, class From>
bool ConvertedMathValue<To, From>::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && mOperand->isEqual(same->mOperand.get());
}

template <class To, class From>
uint32 ConvertedMathValue<To, From>::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<ConvertedMathValue>();
}

template class ConvertedMathValue<int32, uint32>;
template class ConvertedMathValue<uint32, int32>;

} // namespace Tarq::Common::Parser::Formula
