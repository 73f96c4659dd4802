#include "common/parser/formula/atomicmathvalue.h"

#include "common/parser/formula/datatypevalue.h"
#include "common/parser/formula/internal/nodes.h"

namespace Tarq::Common::Parser::Formula {

template <class T>
void AtomicMathValue<T>::getValue(T& result, VariableAccessor*) {
    result = mValue;
}

template <class T>
MathValue* AtomicMathValue<T>::clone() {
    return new (this->getAllocator()) AtomicMathValue(mValue);
}

template <class T>
bool AtomicMathValue<T>::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && same->mValue == mValue;
}

template <class T>
uint32 AtomicMathValue<T>::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<AtomicMathValue>();
}

template class AtomicMathValue<bool>;
template class AtomicMathValue<int32>;
template class AtomicMathValue<uint32>;
template class AtomicMathValue<int64>;
template class AtomicMathValue<float>;
template class AtomicMathValue<String>;

UntypedAtomicMathValue::~UntypedAtomicMathValue() {
    mDatatype.deleteValue(mValue, getAllocator());
}

DatatypeID UntypedAtomicMathValue::getDatatypeID() {
    return mDatatype.getDatatypeID();
}

void UntypedAtomicMathValue::getValue(void* result, VariableAccessor*) {
    mDatatype.assign(mValue, result);
}

MathValue* UntypedAtomicMathValue::clone() {
    DatatypeValue copy(mDatatype, mDatatype.createValueCopy(mValue, getAllocator()), getAllocator());
    auto* const node = new (getAllocator()) UntypedAtomicMathValue(copy.get(), mDatatype);
    copy.release();
    return node;
}

bool UntypedAtomicMathValue::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    if (!same || same->getDatatypeID() != getDatatypeID() || !mDatatype.hasEqual())
        return false;
    bool areEqual = false;
    mDatatype.callEqual(&areEqual, mValue, same->mValue);
    return areEqual;
}

uint32 UntypedAtomicMathValue::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<UntypedAtomicMathValue>();
}

} // namespace Tarq::Common::Parser::Formula
