#pragma once

#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/fieldmathvalue.h"
#include "common/parser/formula/mathvalue.h"

#include <type_traits>
#include <utility>

namespace Tarq::Common::Parser::Formula {

/// How an operator comes to the value of an operand.
enum class OperandKind : uint8 {
    NODE,     ///< asks the node
    CONSTANT, ///< has it
    FIELD,    ///< reads the field of the accessor's object
};
inline constexpr std::size_t cOperandKinds = 3;

/// An operand of an operator: owns the node, and has copies of what its kind needs.
template <class T>
class Operand {
    static_assert(std::is_arithmetic_v<T>);

public:
    explicit Operand(TypedMathValue<T>* node) noexcept : mNode(node) { look(); }
    ~Operand() { delete mNode; }
    Operand(const Operand&) = delete;
    Operand& operator=(const Operand&) = delete;

    OperandKind getKind() const noexcept { return mKind; }
    /// `Kind` is this operand's.
    template <OperandKind Kind>
    T evaluate(VariableAccessor* accessor) const {
        if constexpr (Kind == OperandKind::CONSTANT)
            return mValue;
        else if constexpr (Kind == OperandKind::FIELD)
            return FieldMathValue<T>::read(*accessor, mOffset);
        else
            return mNode->evaluate(accessor);
    }

    /// The same for one that is no node.
    T evaluateLeaf(VariableAccessor* accessor) const {
        return mKind == OperandKind::CONSTANT ? evaluate<OperandKind::CONSTANT>(accessor)
                                              : evaluate<OperandKind::FIELD>(accessor);
    }

    TypedMathValue<T>* get() const noexcept { return mNode; }
    TypedMathValue<T>* operator->() const noexcept { return mNode; }
    TypedMathValue<T>* release() noexcept { return std::exchange(mNode, nullptr); }
    void reset(TypedMathValue<T>* node) noexcept {
        delete std::exchange(mNode, node);
        look();
    }

private:
    void look() noexcept {
        mKind = OperandKind::NODE;
        if (const auto* const constant = dynamic_cast<const AtomicMathValue<T>*>(mNode)) {
            mKind = OperandKind::CONSTANT;
            mValue = constant->get();
        } else if (const auto* const field = dynamic_cast<const FieldMathValue<T>*>(mNode)) {
            mKind = OperandKind::FIELD;
            mOffset = field->getOffset();
        }
    }

    TypedMathValue<T>* mNode;
    union {
        T mValue;
        uint32 mOffset;
    };
    OperandKind mKind;
};

} // namespace Tarq::Common::Parser::Formula
