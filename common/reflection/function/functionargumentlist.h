#pragma once

#include "common/container/vector.h"
#include "common/debug/assert.h"
#include "common/export.h"
#include "common/reflection/datatype/datatypeid.h"
#include "common/reflection/function/functionid.h"

namespace Tarq::Common::Reflection::Datatype {
class DatatypeBase;
} // namespace Tarq::Common::Reflection::Datatype

namespace Tarq::Common::Reflection::Function {

/// The argument values of one call, made once and filled as often as it takes.
///
/// Values stand one behind the other, at offsets that follow from their sizes alone: in 32 bytes inside the list, or
/// behind those in an overflow area. A value that would cross the boundary begins behind it. So the place of a value
/// need not suit its type: who reads it there copies its bytes first, as calls do. The list itself moves such a value
/// to a place that suits it and back, byte by byte, wherever its type is to work on it. A class whose values
/// hold their own address is not for such places.
///
/// The types are those of the manager that `ReflectionInterface` keeps; a list goes before that manager does.
/// Threads: one at a time.
class TARQ_API FunctionArgumentList {
public:
    using Types = Container::Vector<Datatype::DatatypeID>;

    static constexpr uint32 cMaximumArguments = 10;
    static constexpr uint32 cInlineBytes = 32;

    /// Every argument has the default value of its type.
    ///
    /// Asserts that there are at most ten, and that every type has values; the list has no arguments otherwise.
    FunctionArgumentList(const Types& signature, const Memory::AllocatorPtr& allocator);
    /// The same values, on the same allocator.
    FunctionArgumentList(const FunctionArgumentList& other);
    /// Becomes a copy, and keeps its own allocator. A failure leaves a list without arguments.
    FunctionArgumentList& operator=(const FunctionArgumentList& other);
    ~FunctionArgumentList();

    uint32 size() const noexcept { return mSize; }
    const Datatype::DatatypeID* getSignature() const noexcept { return mSignature; }
    /// Asserts that there is such an argument; `INVALID_DATATYPE_ID` otherwise.
    Datatype::DatatypeID getDatatypeID(uint32 index) const {
        return isInRange(index) ? mSignature[index] : Datatype::INVALID_DATATYPE_ID;
    }
    /// Where the value stands; perhaps not a multiple of what its type asks for. Asserts that there is such an
    /// argument; null otherwise.
    void* getValuePtr(uint32 index) const { return isInRange(index) ? getPlace(index) : nullptr; }

    /// Asserts that the argument has the type; returns false, and changes nothing, otherwise.
    bool setValue(const void* value, Datatype::DatatypeID datatypeID, uint32 index);
    /// The same for a value whose type is known; `common/reflection/function/functionbinding.h` has the body.
    template <class T>
    [[gnu::visibility("hidden")]] bool set(uint32 index, const T& value);
    /// Takes `value` for one of the argument's type; it may be a place in another list. Asserts that there is such an
    /// argument, and a value; returns false, and changes nothing, otherwise.
    bool setValue(const void* value, uint32 index);

private:
    /// Types and places for all of them, or for none.
    bool layOut(const Datatype::DatatypeID* types, uint32 count);
    void takeOverflow();
    void copyFrom(const FunctionArgumentList& other);
    void release() noexcept;

    bool isInRange(uint32 index) const { return TARQ_ASSERT(index < mSize, "index out of range"); }
    void* getPlace(uint32 index) const noexcept {
        const uint32 offset = mOffsets[index];
        return offset < cInlineBytes ? mInline + offset : mOverflow + (offset - cInlineBytes);
    }
    /// Lets `work` work on the argument's value in a place that suits its type.
    template <class Work>
    void workOn(uint32 index, const Datatype::DatatypeBase& datatype, Work work) const;

    uint32 mSize = 0; ///< the arguments that have a value
    alignas(8) mutable uint8 mInline[cInlineBytes];
    uint8* mOverflow = nullptr;
    Datatype::DatatypeID mSignature[cMaximumArguments];
    uint32 mOffsets[cMaximumArguments];
    Memory::AllocatorPtr mAllocator;
    uint32 mOverflowBytes = 0; ///< of values; behind them is room for one that has to be moved
    uint32 mLargestValue = 0;
};

} // namespace Tarq::Common::Reflection::Function
