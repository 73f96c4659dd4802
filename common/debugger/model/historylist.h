#pragma once

#include "common/container/vector.h"
#include "common/debugger/model/historyentry.h"
#include "common/export.h"
#include "common/types.h"

#include <cstddef>
#include <iterator>

namespace Tarq::Common::Debugger {

/// The history of one object instance: entries, oldest first, which hang on each other. Not their owner.
class HistoryEntries {
public:
    /// Walks towards the newest entry; ends at `std::default_sentinel`.
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = HistoryEntry*;
        using difference_type = std::ptrdiff_t;
        using pointer = HistoryEntry* const*;
        using reference = HistoryEntry*;

        Iterator() noexcept = default;
        explicit Iterator(HistoryEntry* entry) noexcept : mEntry(entry) {}

        HistoryEntry* operator*() const noexcept { return mEntry; }
        Iterator& operator++() noexcept {
            mEntry = mEntry->mNext;
            return *this;
        }
        Iterator operator++(int) noexcept {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const Iterator&, const Iterator&) noexcept = default;
        friend bool operator==(const Iterator& at, std::default_sentinel_t) noexcept { return !at.mEntry; }

    private:
        HistoryEntry* mEntry = nullptr;
    };

    bool empty() const noexcept { return mSize == 0; }
    uint32 size() const noexcept { return mSize; }
    Iterator begin() const noexcept { return Iterator(mOldest); }
    std::default_sentinel_t end() const noexcept { return {}; }
    /// Null when there is none.
    HistoryEntry* getLatest() const noexcept { return mLatest; }

private:
    friend class HistoryList;

    void append(HistoryEntry* entry) noexcept {
        entry->mNext = nullptr;
        (mLatest ? mLatest->mNext : mOldest) = entry;
        mLatest = entry;
        ++mSize;
    }
    /// There is one.
    HistoryEntry* takeOldest() noexcept {
        HistoryEntry* const oldest = mOldest;
        mOldest = oldest->mNext;
        if (!mOldest)
            mLatest = nullptr;
        --mSize;
        return oldest;
    }

    HistoryEntry* mOldest = nullptr;
    HistoryEntry* mLatest = nullptr;
    uint32 mSize = 0;
};

/// What has happened at the breakpoints of one module: for each object instance its last passes, up to a number.
///
/// IDs of object instances are slots of a table, so is this: the largest one counts.
/// Threads: one at a time. Ownership: of the entries.
class TARQ_API HistoryList {
public:
    /// `maximumLength`: of the history of one object instance, in entries; 1 at least. Takes its memory from
    /// `allocator`.
    HistoryList(const Memory::AllocatorPtr& allocator, uint32 maximumLength) noexcept;
    ~HistoryList();
    HistoryList(const HistoryList&) = delete;
    HistoryList& operator=(const HistoryList&) = delete;

    uint32 getMaximumLength() const noexcept { return mMaximumLength; }

    /// Takes the oldest entry out of the history of that object instance when this has its full length, for the next
    /// pass to be recorded in: it is the caller's then. Null when the history has room.
    HistoryEntry* takeOldest(uint32 objectInstanceID) noexcept;
    /// Appends the entry to the history of that object instance, and deletes the oldest ones that are too many. Asserts
    /// that the ID is one; false, and the entry stays the caller's, otherwise. Throws `OutOfMemoryException`; the entry
    /// stays the caller's then.
    bool addEntry(uint32 objectInstanceID, HistoryEntry* entry);

    /// Finds the history of an object instance, good until the next entry is added. False, and `entries` stays as it
    /// is, when there is none.
    bool getEntries(uint32 objectInstanceID, const HistoryEntries*& entries) const noexcept;
    /// Finds the newest entry of an object instance. False, and `entry` stays as it is, when there is none.
    bool getLatestEntry(uint32 objectInstanceID, HistoryEntry*& entry) const noexcept;

    /// Deletes the history of one object instance, so that the next one with its ID begins without.
    void removeEntries(uint32 objectInstanceID) noexcept;
    /// Whether there is no entry at all.
    bool isEmpty() const noexcept { return mEntryCount == 0; }

private:
    const HistoryEntries* find(uint32 objectInstanceID) const noexcept;
    HistoryEntry* take(HistoryEntries& history) noexcept;
    void shorten(HistoryEntries& history, uint32 length) noexcept;

    Container::Vector<HistoryEntries> mHistories; ///< by the ID of the object instance
    uint64 mEntryCount = 0;
    uint32 mMaximumLength;
};

} // namespace Tarq::Common::Debugger
