#include "common/memory/internal/reserveallocator.h"

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

constexpr uint32 cSlotSize = 512;
/// An exception takes three: itself, its message and its call stack. Memory that is never touched costs nothing.
constexpr uint32 cSlotCount = 256;

struct alignas(std::max_align_t) Slot {
    std::byte bytes[cSlotSize];
};

/// This thread is asking the exception allocator. When that fails by making such an exception itself, as an allocator
/// of the host may, it is not asked for that one too.
thread_local constinit bool tIsAsking = false;

void* askExceptionAllocator(const AllocatorPtr& origin, uint32 size) noexcept {
    if (std::exchange(tIsAsking, true))
        return nullptr;
    void* const memory = origin ? origin->tryAlloc(size) : ::operator new(size, std::nothrow);
    tIsAsking = false;
    return memory;
}

class ReserveAllocator final : public Allocator {
public:
    ReserveAllocator() noexcept : Allocator("Reserve") {}

    bool isThreadSafe() const override { return true; }

    void* alloc(uint32 size) override {
        if (void* block = tryAlloc(size))
            return block;
        // Not even the exception that says so can be made any more.
        Platform::reportAssertionAndEnd("No Memory available", "common/memory/reserveallocator", __LINE__);
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
        // Rounded up, because allocators align what is a multiple of a word.
        const uint64 all = (uint64{size} + sizeof(BlockHeader) + sizeof(void*) - 1) / sizeof(void*) * sizeof(void*);
        if (all > 0xFFFFFFFFu)
            return nullptr;
        AllocatorPtr origin = Library::getExceptionAlloc();
        void* memory = askExceptionAllocator(origin, static_cast<uint32>(all));
        if (!memory) {
            origin.reset();
            memory = all <= cSlotSize ? acquireSlot() : nullptr;
        }
        return memory ? ::new (memory) BlockHeader{std::move(origin)} + 1 : nullptr;
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

} // namespace Tarq::Common::Memory
