#include "common/debugger/model/historylist.h"

#include "common/debug/assert.h"

#include <algorithm>

namespace Tarq::Common::Debugger {

HistoryList::HistoryList(const Memory::AllocatorPtr& allocator, uint32 maximumLength) noexcept
    : mHistories(allocator), mMaximumLength(std::max<uint32>(maximumLength, 1)) {}

HistoryList::~HistoryList() {
    for (HistoryEntries& history : mHistories)
        shorten(history, 0);
}

HistoryEntry* HistoryList::takeOldest(uint32 objectInstanceID) noexcept {
    if (objectInstanceID >= mHistories.size())
        return nullptr;
    HistoryEntries& history = mHistories[objectInstanceID];
    return history.size() >= mMaximumLength ? take(history) : nullptr;
}

bool HistoryList::addEntry(uint32 objectInstanceID, HistoryEntry* entry) {
    if (!TARQ_ASSERT(objectInstanceID != INVALID_OBJECT_INSTANCE_ID,
                     "Tried to add a HistoryEntry of no ObjectInstance"))
        return false;
    if (objectInstanceID >= mHistories.size())
        mHistories.resize(objectInstanceID + 1);
    HistoryEntries& history = mHistories[objectInstanceID];
    history.append(entry);
    ++mEntryCount;
    shorten(history, mMaximumLength);
    return true;
}

bool HistoryList::getEntries(uint32 objectInstanceID, const HistoryEntries*& entries) const noexcept {
    const HistoryEntries* const history = find(objectInstanceID);
    if (!history)
        return false;
    entries = history;
    return true;
}

bool HistoryList::getLatestEntry(uint32 objectInstanceID, HistoryEntry*& entry) const noexcept {
    const HistoryEntries* const history = find(objectInstanceID);
    if (!history)
        return false;
    entry = history->getLatest();
    return true;
}

void HistoryList::removeEntries(uint32 objectInstanceID) noexcept {
    if (objectInstanceID < mHistories.size())
        shorten(mHistories[objectInstanceID], 0);
}

/// Null where there are no entries.
const HistoryEntries* HistoryList::find(uint32 objectInstanceID) const noexcept {
    if (objectInstanceID >= mHistories.size() || mHistories[objectInstanceID].empty())
        return nullptr;
    return &mHistories[objectInstanceID];
}

HistoryEntry* HistoryList::take(HistoryEntries& history) noexcept {
    --mEntryCount;
    return history.takeOldest();
}

void HistoryList::shorten(HistoryEntries& history, uint32 length) noexcept {
    while (history.size() > length)
        delete take(history);
}

} // namespace Tarq::Common::Debugger
