#include "common/debug/callstack.h"

#include "common/debug/capturestackwalker.h"
#include "common/memory/allocate.h"
#include "common/platform/callstack.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Tarq::Common::Debug {

namespace {

/// An object that is about to be constructed on this thread. Its constructors and its `operator new` are called by one
/// function, so the frames of all of them end at the same place, or below where arguments travel on the stack.
struct Announcement {
    const void* object = nullptr;
    const void* end = nullptr;
    const void* maker = nullptr;
};

/// The announcements of one thread, the newest last: between `operator new` and the constructor stand the arguments,
/// which may make exceptions themselves. When there are too many, the oldest goes.
class Announcements {
public:
    void push(const Announcement& announcement) noexcept {
        if (mCount == cMost)
            std::copy(mEntries + 1, mEntries + mCount--, mEntries);
        mEntries[mCount++] = announcement;
    }
    /// Takes the object's announcement out, and what was announced after it and never constructed. An empty one when
    /// there is none.
    Announcement pop(const void* object) noexcept {
        for (uint32 at = mCount; at-- > 0;) {
            if (mEntries[at].object == object) {
                mCount = at;
                return mEntries[at];
            }
        }
        return {};
    }

private:
    static constexpr uint32 cMost = 8;

    Announcement mEntries[cMost];
    uint32 mCount = 0;
};

constinit thread_local Announcements tAnnouncements;

} // namespace

void CallStackRecord::announce(const void* object, const void* ownEnd, const void* returnAddress) noexcept {
    tAnnouncements.push({object, ownEnd, returnAddress});
}

void CallStackRecord::forget(const void* object) noexcept {
    tAnnouncements.pop(object);
}

void CallStackRecord::capture(const Memory::AllocatorPtr& allocator, const void* innerEnd) noexcept {
    release();
    record(allocator, innerEnd);
}

void CallStackRecord::captureMaker(const Memory::AllocatorPtr& allocator, const void* object,
                                   const void* ownEnd) noexcept {
    release();
    const Announcement announcement = tAnnouncements.pop(object);
    mMaker = announcement.maker;
    // Nothing follows: this function's frame makes room for the other one, and need not be unwound.
    record(allocator, announcement.object ? announcement.end : ownEnd);
}

void CallStackRecord::record(const Memory::AllocatorPtr& allocator, const void* innerEnd) noexcept {
    void* addresses[cMaxFrames];
    uint32 count = Platform::captureReturnAddresses(addresses, innerEnd);
    void* memory = nullptr;
    // Half of a call stack is better than none: the innermost functions stand in front.
    for (; count != 0; count /= 2) {
        const uint32 size = count * static_cast<uint32>(sizeof(void*));
        memory = allocator ? allocator->tryAlloc(size) : ::operator new(size, std::nothrow);
        if (memory)
            break;
    }
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
