#include "common/memory/internal/reserveallocator.h"

#include "common/debug/assert.h"
#include "common/library.h"
#include "common/platform/assertreport.h"
#include "common/utility/neverdestroyed.h"

#include <cstddef>
#include <functional>
#include <new>
#include <utility>

namespace Tarq::Common::Memory {

namespace {

/// What a block of this allocator begins with: where it came from.
struct BlockHeader {
    AllocatorPtr origin; ///< empty for the global heap and for the reserve
};

/// What an exception takes is smaller than this, or a call stack that halves itself until it fits: to 64 functions.
constexpr uint32 cSlotSize = sizeof(BlockHeader) + 64 * sizeof(void*);
/// An exception takes three: itself, its message and its call stack. Memory that is never touched costs nothing.
constexpr uint32 cSlotCount = 256;

constexpr char cNoMemory[] = "No Memory available";

struct alignas(std::max_align_t) Slot {
    std::byte bytes[cSlotSize];
};

thread_local constinit bool tIsReserveOnly = false;

void* askExceptionAllocator(const AllocatorPtr& origin, uint32 size) noexcept {
    if (tIsReserveOnly)
        return nullptr;
    // When it fails by making such an exception itself, as the host's may, it is not asked for that one too.
    const ReserveOnly exceptions;
    return origin ? origin->tryAlloc(size) : ::operator new(size, std::nothrow);
}

/// The bytes of a block with its header, rounded up, because allocators align what is a multiple of a word.
constexpr uint64 wholeSizeOf(uint32 size) noexcept {
    return (uint64{size} + sizeof(BlockHeader) + sizeof(void*) - 1) / sizeof(void*) * sizeof(void*);
}

void* makeBlock(void* memory, AllocatorPtr&& origin = {}) noexcept {
    return ::new (memory) BlockHeader{std::move(origin)} + 1;
}

class ReserveAllocator final : public Allocator {
public:
    ReserveAllocator() noexcept : Allocator("Reserve") {}

    bool isThreadSafe() const override { return true; }

    void* alloc(uint32 size) override {
        if (void* block = tryAlloc(size))
            return block;
        const auto whole = static_cast<std::size_t>(wholeSizeOf(size));
        if (void* const memory = whole > size ? ::operator new(whole, std::nothrow) : nullptr)
            return makeBlock(memory);
        // Not even the exception that says so can be made any more. Whatever the host's callback does, there is no way
        // to go on from here.
        TARQ_FAIL(cNoMemory);
        Platform::reportAssertionAndEnd(cNoMemory, TARQ_SOURCE_NAME, __LINE__);
    }

    void free(void* block) override {
        BlockHeader* const header = static_cast<BlockHeader*>(block) - 1;
        const AllocatorPtr origin = std::move(header->origin);
        header->~BlockHeader();
        if (origin)
            origin->free(header);
        else if (isSlot(header))
            releaseSlot(header);
        else
            ::operator delete(header);
    }

    void* tryAlloc(uint32 size) noexcept override {
        const uint64 whole = wholeSizeOf(size);
        if (whole > 0xFFFFFFFFu)
            return nullptr;
        AllocatorPtr origin = Library::getExceptionAlloc();
        if (void* const memory = askExceptionAllocator(origin, static_cast<uint32>(whole)))
            return makeBlock(memory, std::move(origin));
        void* const slot = whole <= cSlotSize ? acquireSlot() : nullptr;
        return slot ? makeBlock(slot) : nullptr;
    }

private:
    bool isSlot(const void* memory) const noexcept {
        const std::less<const void*> before;
        return !before(memory, mSlots) && before(memory, mSlots + cSlotCount);
    }
    void* acquireSlot() noexcept {
        const Threading::ScopedLock inside(mLock);
        for (uint32 at = 0; at < cSlotCount; ++at) {
            if (!mUsed[at]) {
                mUsed[at] = true;
                return &mSlots[at];
            }
        }
        return nullptr;
    }
    void releaseSlot(void* memory) noexcept {
        const Threading::ScopedLock inside(mLock);
        mUsed[static_cast<Slot*>(memory) - mSlots] = false;
    }

    Threading::SpinLock mLock{Threading::cSpinCount};
    bool mUsed[cSlotCount] = {};
    Slot mSlots[cSlotCount];
};

/// Neither object ever goes: exceptions may outlive everything else.
struct Reserve {
    /// Written out, so that nothing touches the slots before they are needed.
    Reserve() noexcept {}

    ReserveAllocator allocator;
    AllocatorPtr pointer{&allocator};
};

} // namespace

const AllocatorPtr& getReserveAllocator() noexcept {
    static NeverDestroyed<Reserve> reserve;
    return reserve.get().pointer;
}

ReserveOnly::ReserveOnly() noexcept : mWasInScope(std::exchange(tIsReserveOnly, true)) {}

ReserveOnly::~ReserveOnly() {
    tIsReserveOnly = mWasInScope;
}

} // namespace Tarq::Common::Memory
