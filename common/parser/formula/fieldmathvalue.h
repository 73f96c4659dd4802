#pragma once

#include "common/parser/formula/mathvalue.h"
#include "common/parser/formula/variableaccessor.h"

#include <cstring>
#include <type_traits>

namespace Tarq::Common::Parser::Formula {

/// A variable that is a field of the object that the accessor is set to.
///
///     return new (allocator) FieldMathValue<float>(offsetof(Agent, speed));
///
/// The fastest of variables: operators read it without a call. Member functions of its type work on the field itself.
/// A number may stand anywhere; other values, and those that member functions work on, are aligned.
template <class T>
class FieldMathValue final : public VariableMathValue<T> {
public:
    /// `offset` is that of a T, in bytes from the start of the object. `accessID` is the host's name of the variable,
    /// and can be replaced: it says nothing of where the field is.
    explicit FieldMathValue(uint32 offset, uint32 accessID = 0) noexcept
        : VariableMathValue<T>(&readField), mOffset(offset), mAccessID(accessID) {}

    /// The value of the field at an offset.
    static T read(VariableAccessor& accessor, uint32 offset) {
        const char* const place = accessor.getObject() + offset;
        if constexpr (std::is_arithmetic_v<T>) {
            T value;
            std::memcpy(&value, place, sizeof(value));
            return value;
        } else {
            return *reinterpret_cast<const T*>(place);
        }
    }

    uint32 getOffset() const noexcept { return mOffset; }

    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override { accessIDs.push_back(mAccessID); }
    bool isReferenceValue() const override { return true; }
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override {
        if (mAccessID == oldID)
            mAccessID = newID;
    }
    using TypedMathValue<T>::getValue;
    void getValue(T& result, VariableAccessor* accessor) override { result = read(*accessor, mOffset); }
    void* getValueReference(VariableAccessor* accessor) override { return accessor->getObject() + mOffset; }
    MathValue* clone() override { return new (this->getAllocator()) FieldMathValue(mOffset, mAccessID); }
    bool isEqual(MathValue* other) override {
        if (!other || other->getMathValueTypeID() != this->getMathValueTypeID())
            return false;
        const auto* const same = static_cast<FieldMathValue*>(other);
        return same->mOffset == mOffset && same->mAccessID == mAccessID;
    }
    /// Not inlined: the library, which has the common kinds, is to answer for them everywhere.
    [[gnu::noinline]] uint32 getMathValueTypeID() override { return MathValueTypeIDHolder::getIDOf<FieldMathValue>(); }

private:
    static T readField(TypedMathValue<T>& node, VariableAccessor* accessor) {
        return read(*accessor, static_cast<FieldMathValue&>(node).mOffset);
    }

    uint32 mOffset;
    uint32 mAccessID;
};

extern template class TARQ_API FieldMathValue<bool>;
extern template class TARQ_API FieldMathValue<int32>;
extern template class TARQ_API FieldMathValue<uint32>;
extern template class TARQ_API FieldMathValue<int64>;
extern template class TARQ_API FieldMathValue<float>;
extern template class TARQ_API FieldMathValue<String>;

} // namespace Tarq::Common::Parser::Formula
