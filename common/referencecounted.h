#pragma once

#include "common/export.h"
#include "common/threading/spinlock.h"
#include "common/types.h"

#include <atomic>
#include <cstddef>

namespace Tarq::Common {

/// A signed 32-bit count of owners that may be changed from any thread.
class ReferenceCounter {
public:
    explicit constexpr ReferenceCounter(int32 count = 0) noexcept : mCount(count) {}
    ReferenceCounter(const ReferenceCounter&) = delete;
    ReferenceCounter& operator=(const ReferenceCounter&) = delete;

    int32 get() const noexcept { return mCount.load(std::memory_order_relaxed); }
    void set(int32 count) noexcept { mCount.store(count, std::memory_order_relaxed); }
    void increment() noexcept { mCount.fetch_add(1, std::memory_order_relaxed); }
    /// Returns true for the owner that was the last one: it sees everything that the others did before they let go.
    bool decrement() noexcept { return mCount.fetch_sub(1, std::memory_order_acq_rel) == 1; }

private:
    std::atomic<int32> mCount;
};

/// Base of objects that carry their own count of owners; a fresh object counts 0.
///
/// Threads: shared pointers to one object may be copied and dropped on any thread.
/// Layout: the count stands one word into this base; `Layout` mirrors it for the compiler to check.
class TARQ_API ReferenceCounted {
public:
    virtual ~ReferenceCounted() = default;

    int32 getReferenceCount() const noexcept { return mReferenceCount.get(); }

protected:
    ReferenceCounted() noexcept = default;
    /// A copy is a new object with owners of its own.
    ReferenceCounted(const ReferenceCounted&) noexcept {}
    ReferenceCounted& operator=(const ReferenceCounted&) noexcept { return *this; }

private:
    template <class Base>
    friend class MemberCountOperations;

    struct Layout {
        void* dispatch;
        ReferenceCounter count;
    };

    ReferenceCounter mReferenceCount;

public:
    static constexpr std::size_t cCountOffset = offsetof(Layout, count);
};

/// Base of objects that carry their own count of owners and a lock; a fresh object counts 0.
///
/// The count changes in one atomic step, so nobody ever sees it half done and the lock is never entered for it; it
/// stands where the layout has it. Layout: count one word, lock two words into this base; `Layout` mirrors it for the
/// compiler to check.
class TARQ_API LockedReferenceCounted {
public:
    virtual ~LockedReferenceCounted() = default;
    LockedReferenceCounted(const LockedReferenceCounted&) = delete;
    LockedReferenceCounted& operator=(const LockedReferenceCounted&) = delete;

    int32 getReferenceCount() const noexcept { return mReferenceCount.get(); }

protected:
    LockedReferenceCounted() noexcept : mReferenceLock(Threading::cSpinCount) {}

private:
    template <class Base>
    friend class MemberCountOperations;

    struct Layout {
        void* dispatch;
        ReferenceCounter count;
        alignas(void*) Threading::SpinLock lock;
    };

    ReferenceCounter mReferenceCount;
    alignas(void*) Threading::SpinLock mReferenceLock;

public:
    static constexpr std::size_t cCountOffset = offsetof(Layout, count);
    static constexpr std::size_t cLockOffset = offsetof(Layout, lock);
};

} // namespace Tarq::Common
