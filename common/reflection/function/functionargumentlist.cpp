#include "common/reflection/function/functionargumentlist.h"

#include "common/debug/assert.h"
#include "common/memory/allocate.h"
#include "common/reflection/function/internal/roundedup.h"
#include "common/reflection/reflectioninterface.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Tarq::Common::Reflection::Function {

using Datatype::DatatypeBase;
using Datatype::DatatypeID;

namespace {

/// Null for a type without values: none, "void", one that is not registered.
const DatatypeBase* findDatatype(DatatypeID id) {
    const Datatype::DatatypeManagerPtr& manager = ReflectionInterface::getDatatypeManager();
    return manager ? manager->getDatatype(id) : nullptr;
}

bool isSuitable(const void* place, const DatatypeBase& datatype) {
    return reinterpret_cast<std::uintptr_t>(place) % datatype.getAlignment() == 0;
}

constexpr uint32 cUnusedByte = 0xFF;

/// What all values together may take: far from where the arithmetic on their offsets would wrap.
constexpr uint64 cMostBytes = 0x40000000;

} // namespace

FunctionArgumentList::FunctionArgumentList(const Types& signature, const Memory::AllocatorPtr& allocator)
    : mAllocator(allocator) {
    if (!TARQ_ASSERT(signature.size() <= cMaximumArguments, "a function has at most ten arguments, but there are ",
                     signature.size()) ||
        !layOut(signature))
        return;
    takeOverflow();
    try {
        for (uint32 index = 0; index < signature.size(); ++index, ++mSize) {
            const DatatypeBase* const datatype = findDatatype(mSignature[index]);
            workOn(index, *datatype, [&](void* place) { datatype->getDefaultValue(place); });
        }
    } catch (...) {
        release();
        throw;
    }
}

FunctionArgumentList::FunctionArgumentList(const FunctionArgumentList& other) : mAllocator(other.mAllocator) {
    copyFrom(other);
}

FunctionArgumentList& FunctionArgumentList::operator=(const FunctionArgumentList& other) {
    if (this != &other) {
        release();
        copyFrom(other);
    }
    return *this;
}

FunctionArgumentList::~FunctionArgumentList() {
    release();
}

bool FunctionArgumentList::setValue(const void* value, DatatypeID datatypeID, uint32 index) {
    if (!isInRange(index) || !TARQ_ASSERT(mSignature[index] == datatypeID, "access argumentlist with wrong datatypeid"))
        return false;
    return setValue(value, index);
}

bool FunctionArgumentList::setValue(const void* value, uint32 index) {
    if (!isInRange(index) || !TARQ_ASSERT(value, "there is no value to store"))
        return false;
    const DatatypeBase* const datatype = findDatatype(mSignature[index]);
    if (!TARQ_ASSERT(datatype, "the datatype of an argument is gone"))
        return false;
    if (value == getPlace(index))
        return true;
    const auto assign = [&](const void* source) {
        workOn(index, *datatype, [&](void* place) { datatype->assign(source, place); });
    };
    if (isSuitable(value, *datatype)) {
        assign(value);
    } else {
        // It stands in a list.
        const Memory::ScopedBytes copy(mAllocator, roundedUp(datatype->getSize()));
        assign(std::memcpy(copy.get(), value, datatype->getSize()));
    }
    return true;
}

bool FunctionArgumentList::reportOutOfRange() {
    return TARQ_ASSERT_AS("index < mSize", false, "index out of range");
}

bool FunctionArgumentList::layOut(Signature types) {
    uint64 offset = 0;
    mLargestValue = 0;
    for (uint32 index = 0; index < types.size(); ++index) {
        const DatatypeBase* const datatype = findDatatype(types[index]);
        if (!TARQ_ASSERT(datatype, "there are no values of the datatype of argument ", index))
            return false;
        const uint32 size = datatype->getSize();
        offset = offsetBehind(offset, size);
        mSignature[index] = types[index];
        mOffsets[index] = static_cast<uint32>(offset);
        mLargestValue = std::max(mLargestValue, size);
        offset += size;
        if (!TARQ_ASSERT(offset <= cMostBytes, "the values of an argumentlist take too many bytes"))
            return false;
    }
    mOverflowBytes = static_cast<uint32>(std::max<uint64>(offset, cInlineBytes)) - cInlineBytes;
    return true;
}

void FunctionArgumentList::takeOverflow() {
    std::memset(mInline, cUnusedByte, sizeof(mInline));
    if (mOverflowBytes == 0)
        return;
    const std::size_t bytes = roundedUp(mOverflowBytes) + roundedUp(mLargestValue);
    mOverflow = static_cast<uint8*>(Memory::allocateBytes(mAllocator, bytes));
    std::memset(mOverflow, cUnusedByte, bytes);
}

void FunctionArgumentList::copyFrom(const FunctionArgumentList& other) {
    if (!layOut(other.getSignature()))
        return;
    takeOverflow();
    try {
        for (; mSize < other.mSize; ++mSize) {
            const uint32 index = mSize;
            const DatatypeBase* const datatype = findDatatype(mSignature[index]);
            other.workOn(index, *datatype, [&](const void* source) {
                workOn(index, *datatype, [&](void* place) { datatype->constructCopy(source, place); });
            });
        }
    } catch (...) {
        release();
        throw;
    }
}

void FunctionArgumentList::release() noexcept {
    for (uint32 index = 0; index < mSize; ++index) {
        // Without the manager there is nobody left who knows how.
        if (const DatatypeBase* const datatype = findDatatype(mSignature[index]))
            workOn(index, *datatype, [&](void* place) { datatype->destruct(place); });
    }
    mSize = 0;
    Memory::releaseBytes(mAllocator, mOverflow);
    mOverflow = nullptr;
}

template <class Work>
void FunctionArgumentList::workOn(uint32 index, const DatatypeBase& datatype, Work work) const {
    void* const place = getPlace(index);
    if (isSuitable(place, datatype)) {
        work(place);
        return;
    }
    // A value inside the list is no larger than this; the others have room behind the overflow area.
    alignas(cLargestAlignment) uint8 small[cInlineBytes];
    const uint32 size = datatype.getSize();
    void* const suitable = size <= sizeof(small) ? small : mOverflow + roundedUp(mOverflowBytes);
    struct Return {
        void* place;
        void* suitable;
        uint32 size;
        ~Return() { std::memcpy(place, suitable, size); }
    };
    std::memcpy(suitable, place, size);
    const Return back{place, suitable, size};
    work(suitable);
}

} // namespace Tarq::Common::Reflection::Function
