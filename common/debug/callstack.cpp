#include "common/debug/callstack.h"

#include "common/debug/capturestackwalker.h"
#include "common/memory/allocate.h"
#include "common/platform/callstack.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Tarq::Common::Debug {

namespace {

/// The object that is constructed next on this thread. Its constructors and its `operator new` are called by one
/// function, so the frames of all of them end at the same place, or below where arguments travel on the stack.
struct Announcement {
    const void* object = nullptr;
    const void* end = nullptr;
    const void* maker = nullptr;
};

constinit thread_local Announcement tAnnouncement;

} // namespace

void CallStackRecord::announce(const void* object, const void* ownEnd, const void* returnAddress) noexcept {
    tAnnouncement = {object, ownEnd, returnAddress};
}

void CallStackRecord::capture(const Memory::AllocatorPtr& allocator, const void* innerEnd) noexcept {
    release();
    record(allocator, innerEnd);
}

void CallStackRecord::captureMaker(const Memory::AllocatorPtr& allocator, const void* object,
                                   const void* ownEnd) noexcept {
    release();
    const Announcement announcement = std::exchange(tAnnouncement, Announcement());
    const bool isAnnounced = announcement.object == object;
    mMaker = isAnnounced ? announcement.maker : nullptr;
    // Nothing follows: this function's frame makes room for the other one, and need not be unwound.
    record(allocator, isAnnounced ? announcement.end : ownEnd);
}

void CallStackRecord::record(const Memory::AllocatorPtr& allocator, const void* innerEnd) noexcept {
    void* addresses[cMaxFrames];
    const uint32 count = Platform::captureReturnAddresses(addresses, innerEnd);
    if (count == 0)
        return;
    const uint32 size = count * static_cast<uint32>(sizeof(void*));
    void* const memory = allocator ? allocator->tryAlloc(size) : ::operator new(size, std::nothrow);
    if (!memory)
        return;
    mAllocator = allocator;
    mAddresses = static_cast<void**>(memory);
    mCount = count;
    std::copy_n(static_cast<void**>(addresses), count, mAddresses);
}

void CallStackRecord::release() noexcept {
    Memory::releaseBytes(mAllocator, std::exchange(mAddresses, nullptr));
    mCount = 0;
    mMaker = nullptr;
}

void CallStackRecord::resolve(CallStack& callStack) const noexcept {
    CaptureStackWalker(callStack).showRecorded({mAddresses, mCount}, mMaker);
}

} // namespace Tarq::Common::Debug
