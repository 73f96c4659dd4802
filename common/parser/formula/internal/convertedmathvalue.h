#pragma once

#include "common/parser/formula/operand.h"

namespace Tarq::Common::Parser::Formula {

/// The value of another whole number's node, taken bit by bit as a `To`.
template <class To, class From>
class ConvertedMathValue final : public TypedMathValue<To> {
    static_assert(sizeof(To) == sizeof(From));

public:
    /// Takes the operand over.
    explicit ConvertedMathValue(TypedMathValue<From>* operand) noexcept
        : TypedMathValue<To>(&convert), mOperand(operand) {}

    bool isConstant() override;
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    MathValue* merge() override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    using TypedMathValue<To>::getValue;
    void getValue(To& result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    static To convert(TypedMathValue<To>& node, VariableAccessor* accessor);

    Operand<From> mOperand;
};

extern template class ConvertedMathValue<int32, uint32>;
extern template class ConvertedMathValue<uint32, int32>;

} // namespace Tarq::Common::Parser::Formula
