#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/reflection/function/functionid.h"
#include "common/reflection/function/signature.h"

#include <array>
#include <cstddef>

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
    /// Asserts that there are at most ten, and that every type has values; the list has no arguments otherwise. Throws
    /// `OutOfMemoryException`, and what copying a value throws, as do the copies below.
    FunctionArgumentList(const Types& signature, const Memory::AllocatorPtr& allocator);
    /// The same values, on the same allocator.
    FunctionArgumentList(const FunctionArgumentList& other);
    /// Becomes a copy, and keeps its own allocator. A failure leaves a list without arguments.
    FunctionArgumentList& operator=(const FunctionArgumentList& other);
    ~FunctionArgumentList();

    uint32 size() const noexcept { return mSize; }
    Signature getSignature() const noexcept { return {mSignature, mSize}; }
    /// Asserts that there is such an argument; `INVALID_DATATYPE_ID` otherwise.
    Datatype::DatatypeID getDatatypeID(uint32 index) const {
        return isInRange(index) ? mSignature[index] : Datatype::INVALID_DATATYPE_ID;
    }
    /// Where the value stands; perhaps not a multiple of what its type asks for. Asserts that there is such an
    /// argument; null otherwise.
    void* getValuePtr(uint32 index) const { return isInRange(index) ? getPlace(index) : nullptr; }
    /// The same by the value's offset, which is the list's own.
    void* getPlaceAt(uint32 offset) const noexcept {
        if (offset < cInlineBytes) [[likely]]
            return mInline + offset;
        return mOverflow + (offset - cInlineBytes);
    }

    /// Where a value of `size` bytes begins behind those that end at `end`.
    static constexpr uint64 offsetBehind(uint64 end, uint32 size) noexcept {
        return end < cInlineBytes && end + size > cInlineBytes ? cInlineBytes : end;
    }
    /// The offsets in every list of types with these sizes.
    template <std::size_t Count>
    static constexpr std::array<uint32, Count> offsetsOf(const std::array<uint32, Count>& sizes) noexcept {
        std::array<uint32, Count> offsets{};
        uint64 end = 0;
        for (std::size_t index = 0; index < Count; ++index) {
            offsets[index] = static_cast<uint32>(offsetBehind(end, sizes[index]));
            end = uint64{offsets[index]} + sizes[index];
        }
        return offsets;
    }

    /// Asserts that the argument has exactly this type: "Integer32" and "UnsignedInteger32" are different here. Returns
    /// false, and changes nothing, otherwise.
    bool setValue(const void* value, Datatype::DatatypeID datatypeID, uint32 index);
    /// The same for a value whose type is known; `common/reflection/function/functionbinding.h` has the body.
    template <class T>
    TARQ_LOCAL bool set(uint32 index, const T& value);
    /// Takes `value` for one of the argument's type; it may be a place in this or another list. Asserts that there is
    /// such an argument, and a value; returns false, and changes nothing, otherwise.
    ///
    /// Throws what assigning the value throws, and `OutOfMemoryException` where the place of `value` does not suit it.
    bool setValue(const void* value, uint32 index);

private:
    /// `set` where there is something to report. Takes a copy, so that the value itself need not have an address.
    template <class T>
    [[gnu::cold, gnu::noinline]] TARQ_LOCAL bool setUnusual(uint32 index, T value);

    /// Types and places for all of them, or for none.
    bool layOut(Signature types);
    void takeOverflow();
    void copyFrom(const FunctionArgumentList& other);
    void release() noexcept;

    void* getPlace(uint32 index) const noexcept { return getPlaceAt(mOffsets[index]); }
    bool isInRange(uint32 index) const { return index < mSize || reportOutOfRange(); }
    /// False.
    static bool reportOutOfRange();
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
