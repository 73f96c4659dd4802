#pragma once

#include "common/debug/assert.h"
#include "common/export.h"
#include "common/referencecounted.h"
#include "common/types.h"

#include <compare>
#include <cstddef>
#include <string_view> // std::hash, without the weight of <functional>
#include <type_traits>
#include <utility>

namespace Tarq::Common {

/// Deletes what nobody owns any more, through its own virtual destructor.
struct StandartObjectPolicy {
    template <class Object>
    static void destroy(Object* object) {
        static_assert(sizeof(Object) > 0, "the object's class must be complete where its last pointer can go");
        delete object;
    }
};

/// Counts in a block of its own, for objects that know nothing of being shared.
///
/// The block comes from the temporary allocator (from the global heap while the library is down), remembers the
/// allocator that made it and goes back there with the last pointer.
class TARQ_API SimpleReferenceCount {
public:
    struct Block;
    using Word = Block*;

    /// Makes a block that counts 1. Throws what its allocator throws.
    static Block* acquireFirst();
    static void increment(Block* block) noexcept;
    /// Returns true when the last owner is gone; the block is then gone too.
    static bool decrement(Block* block) noexcept;
    static int32 get(const Block* block) noexcept;

    template <class Object>
    static Block* adopt(Object* object) {
        return object ? acquireFirst() : nullptr;
    }
    template <class Object>
    static Block* restart(Object* object) {
        return adopt(object);
    }
    template <class ObjectPolicy, class Object>
    static void destroy(Block*, Object* object) {
        ObjectPolicy::destroy(object);
    }
};

/// What both member policies do with a count that stands inside the object's sub-object `Base`.
template <class Base>
class MemberCountOperations {
public:
    using Word = Base*;

    static Base* adopt(Base* object) noexcept {
        static_assert(sizeof(Base) == sizeof(typename Base::Layout), "the layout mirror is out of date");
        if (object)
            object->mReferenceCount.increment();
        return object;
    }
    static Base* restart(Base* object) noexcept {
        if (object)
            object->mReferenceCount.set(1);
        return object;
    }
    static void increment(Base* object) noexcept { object->mReferenceCount.increment(); }
    static bool decrement(Base* object) noexcept { return object->mReferenceCount.decrement(); }
    static int32 get(const Base* object) noexcept { return object->mReferenceCount.get(); }

    /// Deletes through the counted base, so that the object's own class need not be known here.
    template <class ObjectPolicy, class Object>
    static void destroy(Base* base, Object*) {
        ObjectPolicy::destroy(base);
    }
};

/// Counts inside the object, in its sub-object `Base` (a `ReferenceCounted`), `CountOffset` bytes into it.
template <class Base, class Counter, std::size_t CountOffset>
class MemberReferenceCount : public MemberCountOperations<Base> {
    static_assert(CountOffset == Base::cCountOffset, "the count stands elsewhere in the object");
};

/// Counts inside the object, in its sub-object `Base` (a `LockedReferenceCounted`), which carries a lock as well.
template <class Base, class Counter, class Lock, std::size_t CountOffset, std::size_t LockOffset>
class LockedMemberReferenceCount : public MemberCountOperations<Base> {
    static_assert(CountOffset == Base::cCountOffset, "the count stands elsewhere in the object");
    static_assert(LockOffset == Base::cLockOffset, "the lock stands elsewhere in the object");
};

/// A pointer to `From` goes where one to `To` is wanted.
template <class From, class To>
concept PointsTo = std::is_convertible_v<From*, To*>;

/// A pointer to an object that several owners keep alive together; the last one that goes deletes it.
///
/// Two words: the count word, whose meaning `CountPolicy` decides, and the object. Prefer the short names that exist
/// for each use (`Memory::AllocatorPtr`, `IO::StreamPtr`, `Callback::MemoryCallbackPtr`, ...).
///
/// Threads: pointers to one object may be copied and dropped on any thread; one pointer belongs to one thread at a
/// time.
template <class T, class CountPolicy, class ObjectPolicy = StandartObjectPolicy>
class SharedPtr {
public:
    using ElementType = T;

    constexpr SharedPtr() noexcept = default;
    constexpr SharedPtr(std::nullptr_t) noexcept {}

    /// Becomes one more owner of `object`, which may be null. A fresh object then counts 1.
    ///
    /// When the count's block cannot be had, the object is deleted and the failure passes on.
    explicit SharedPtr(T* object)
        : mCount(countOrDestroy(object, [](T* counted) { return CountPolicy::adopt(counted); })), mPtr(object) {}

    SharedPtr(const SharedPtr& other) noexcept : mCount(other.mCount), mPtr(other.mPtr) { acquire(); }
    SharedPtr(SharedPtr&& other) noexcept
        : mCount(std::exchange(other.mCount, nullptr)), mPtr(std::exchange(other.mPtr, nullptr)) {}

    /// A pointer to a derived object is a pointer to its base; both share one count.
    template <PointsTo<T> Derived>
    SharedPtr(const SharedPtr<Derived, CountPolicy, ObjectPolicy>& other) noexcept
        : mCount(other.mCount), mPtr(other.mPtr) {
        acquire();
    }
    template <PointsTo<T> Derived>
    SharedPtr(SharedPtr<Derived, CountPolicy, ObjectPolicy>&& other) noexcept
        : mCount(std::exchange(other.mCount, nullptr)), mPtr(std::exchange(other.mPtr, nullptr)) {}

    ~SharedPtr() { release(); }

    SharedPtr& operator=(const SharedPtr& other) noexcept {
        if (mPtr != other.mPtr)
            SharedPtr(other).swap(*this);
        return *this;
    }
    SharedPtr& operator=(SharedPtr&& other) noexcept {
        SharedPtr(std::move(other)).swap(*this);
        return *this;
    }

    /// Takes over a fresh object: its count is set to 1, whatever it was; the object held before loses one owner.
    ///
    /// Asserts that it is not the object already held (unless null); the pointer then stays as it is, as it does
    /// when the count's block cannot be had: the fresh object is deleted then, and the failure passes on.
    template <PointsTo<T> Object>
    SharedPtr& operator=(Object* object) {
        T* const ptr = object;
        if (!TARQ_ASSERT_AS("ptr != this->mPtr || this->mPtr == NULL", ptr != mPtr || mPtr == nullptr,
                            "No shared pointer should pointer to ptr yet"))
            return *this;
        SharedPtr fresh;
        fresh.mCount = countOrDestroy(ptr, [](T* counted) { return CountPolicy::restart(counted); });
        fresh.mPtr = ptr;
        swap(fresh);
        return *this;
    }
    SharedPtr& operator=(std::nullptr_t) noexcept {
        reset();
        return *this;
    }

    /// Lets go of the object; the pointer is empty then.
    void reset() noexcept { SharedPtr().swap(*this); }

    /// The same object as the `To` that it is known to be; both pointers share one count.
    template <class To>
    SharedPtr<To, CountPolicy, ObjectPolicy> staticCast() const noexcept {
        SharedPtr<To, CountPolicy, ObjectPolicy> result;
        result.mCount = mCount;
        result.mPtr = static_cast<To*>(mPtr);
        result.acquire();
        return result;
    }

    void swap(SharedPtr& other) noexcept {
        std::swap(mCount, other.mCount);
        std::swap(mPtr, other.mPtr);
    }

    T* get() const noexcept { return mPtr; }
    T& operator*() const noexcept { return *mPtr; }
    T* operator->() const noexcept { return mPtr; }
    explicit operator bool() const noexcept { return mPtr != nullptr; }
    bool isEmpty() const noexcept { return mPtr == nullptr; }

    /// The number of owners; 0 when empty. Other threads may change it at any moment.
    int32 getReferenceCount() const noexcept { return mPtr ? CountPolicy::get(mCount) : 0; }

    friend bool operator==(const SharedPtr& a, const SharedPtr& b) noexcept { return a.mPtr == b.mPtr; }
    friend bool operator==(const SharedPtr& a, const T* b) noexcept { return a.mPtr == b; }
    /// By address: an order for keys, the same as long as the objects live.
    friend std::strong_ordering operator<=>(const SharedPtr& a, const SharedPtr& b) noexcept {
        return std::compare_three_way()(a.mPtr, b.mPtr);
    }

private:
    template <class, class, class>
    friend class SharedPtr;

    template <class Count>
    static typename CountPolicy::Word countOrDestroy(T* object, Count count) {
        if constexpr (noexcept(CountPolicy::adopt(object))) {
            return count(object);
        } else {
            try {
                return count(object);
            } catch (...) {
                ObjectPolicy::destroy(object);
                throw;
            }
        }
    }

    void acquire() const noexcept {
        if (mPtr)
            CountPolicy::increment(mCount);
    }
    void release() noexcept {
        if (mPtr && CountPolicy::decrement(mCount))
            CountPolicy::template destroy<ObjectPolicy>(mCount, mPtr);
    }

    typename CountPolicy::Word mCount = nullptr;
    T* mPtr = nullptr;
};

} // namespace Tarq::Common

template <class T, class CountPolicy, class ObjectPolicy>
struct std::hash<Tarq::Common::SharedPtr<T, CountPolicy, ObjectPolicy>> {
    std::size_t operator()(const Tarq::Common::SharedPtr<T, CountPolicy, ObjectPolicy>& pointer) const noexcept {
        return std::hash<T*>()(pointer.get());
    }
};
