#pragma once

#include "common/container/bitvector.h"
#include "common/container/vector.h"
#include "common/debug/assert.h"

#include <iterator>

namespace Tarq::Common::Container {

/// A table that hands out small ids for pointers and reuses the ids of removed ones, the most recently freed first.
///
/// Not the owner of what its elements point to; null is an element like any other. The table grows from n slots to
/// 1 + n + n / 2 (0, 1, 2, 4, 7, ...), and the new ids are handed out in ascending order.
///
/// A slot is one word: the element, or the next free id. Which of the two it is stands in a bit of its own, so any
/// pointer may be stored and a copy of the table is a table in its own right.
template <class T>
class IDVector {
public:
    using size_type = uint32;

    /// Walks the valid ids upwards; ends at `std::default_sentinel`. Stays usable when elements are added or removed,
    /// its own included.
    class ConstIterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T*;
        using difference_type = std::ptrdiff_t;
        using pointer = T* const*;
        using reference = T*;

        ConstIterator() noexcept = default;
        /// Null when the element has been removed meanwhile.
        T* operator*() const noexcept { return mTable->get(mID); }
        uint32 getID() const noexcept { return mID; }
        ConstIterator& operator++() noexcept {
            mID = mTable->nextValidID(mID + 1);
            return *this;
        }
        ConstIterator operator++(int) noexcept {
            const ConstIterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const ConstIterator& a, const ConstIterator& b) noexcept { return a.mID == b.mID; }
        friend bool operator==(const ConstIterator& at, std::default_sentinel_t) noexcept {
            return at.mID >= at.mTable->getSlotCount();
        }

    private:
        friend class IDVector;
        ConstIterator(const IDVector& table, uint32 id) noexcept : mTable(&table), mID(id) {}
        const IDVector* mTable = nullptr;
        uint32 mID = 0;
    };

    explicit IDVector(const Memory::AllocatorPtr& allocator) noexcept : mWords(allocator), mValid(allocator) {}
    /// The copy takes its slots from the source's allocator, or from the one given.
    IDVector(const IDVector& other) : IDVector(other, other.getAllocator()) {}
    IDVector(const IDVector& other, const Memory::AllocatorPtr& allocator)
        : mWords(other.mWords, allocator), mValid(other.mValid, allocator), mElementCount(other.mElementCount),
          mFirstFree(other.mFirstFree), mCursor(other.mCursor) {}
    /// Leaves the source without slots, on the same allocator.
    IDVector(IDVector&& other) noexcept : IDVector(other.getAllocator()) { swap(other); }
    ~IDVector() = default;

    /// Keeps its own allocator.
    IDVector& operator=(const IDVector& other) {
        if (this != &other)
            IDVector(other, getAllocator()).swap(*this);
        return *this;
    }
    IDVector& operator=(IDVector&& other) noexcept {
        IDVector(std::move(other)).swap(*this);
        return *this;
    }

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mWords.getAllocator(); }

    bool empty() const noexcept { return mElementCount == 0; }
    /// The number of elements.
    size_type size() const noexcept { return mElementCount; }
    /// The number of slots; every id is below it.
    size_type getSlotCount() const noexcept { return mWords.size(); }
    /// The id that `add` hands out next, unless that is the number of slots: then the table grows first.
    uint32 getFirstFreeID() const noexcept { return mFirstFree; }

    /// Stores the element and returns its id. Throws what a `Vector` throws when it cannot grow; nothing has changed
    /// then.
    uint32 add(T* element) {
        if (mFirstFree == mWords.size())
            grow();
        const uint32 id = mFirstFree;
        mFirstFree = static_cast<uint32>(mWords[id]);
        mWords[id] = reinterpret_cast<std::uintptr_t>(element);
        mValid.set(id, true);
        ++mElementCount;
        if (id < mCursor)
            mCursor = id;
        return id;
    }

    bool isValidID(uint32 id) const noexcept { return id < mWords.size() && mValid[id]; }

    /// Frees the id. Asserts that it is valid; nothing changes otherwise.
    void remove(uint32 id) {
        if (!TARQ_ASSERT(isValidID(id), "Element with id '", id, "' cannot be removed since it is invalid"))
            return;
        mWords[id] = mFirstFree;
        mValid.set(id, false);
        mFirstFree = id;
        --mElementCount;
        if (id == mCursor)
            mCursor = nextValidID(id + 1);
    }

    /// The element of the id; null for an id that is not valid.
    T* get(uint32 id) const noexcept { return isValidID(id) ? wordToElement(id) : nullptr; }
    T* operator[](uint32 id) const noexcept { return get(id); }

    /// The lowest valid id, or the number of slots when there is none.
    uint32 getFirstValidID() const noexcept { return mCursor; }
    /// The lowest valid id above `id`, or the number of slots when there is none.
    uint32 getNextValidID(uint32 id) const noexcept {
        return id < getSlotCount() ? nextValidID(id + 1) : getSlotCount();
    }

    ConstIterator begin() const noexcept { return {*this, mCursor}; }
    std::default_sentinel_t end() const noexcept { return {}; }

    /// Forgets every element and gives the slots back.
    void clear() noexcept { IDVector(getAllocator()).swap(*this); }

    void swap(IDVector& other) noexcept {
        mWords.swap(other.mWords);
        mValid.swap(other.mValid);
        std::swap(mElementCount, other.mElementCount);
        std::swap(mFirstFree, other.mFirstFree);
        std::swap(mCursor, other.mCursor);
    }

private:
    T* wordToElement(uint32 id) const noexcept { return reinterpret_cast<T*>(mWords[id]); }

    uint32 nextValidID(uint32 id) const noexcept {
        while (id < mWords.size() && !mValid[id])
            ++id;
        return std::min(id, mWords.size());
    }

    void grow() {
        const uint32 oldCount = mWords.size();
        const uint64 newCount = uint64{1} + oldCount + oldCount / 2;
        if (newCount > Vector<std::uintptr_t>::max_size())
            throw std::length_error("vector<T> too long");
        const auto count = static_cast<uint32>(newCount);
        mValid.reserve(count);
        mWords.reserve(count);
        mValid.resize(count);
        for (uint32 id = oldCount; id < count; ++id)
            mWords.push_back(std::uintptr_t{id} + 1);
    }

    Vector<std::uintptr_t> mWords; ///< one for each slot: the element, or the next free id
    Vector<bool> mValid;           ///< which slots hold an element
    size_type mElementCount = 0;
    uint32 mFirstFree = 0;
    uint32 mCursor = 0; ///< the lowest valid id; the number of slots when there is none
};

} // namespace Tarq::Common::Container
