#include "common/parser/xml/xmlattributes.h"

#include "common/parser/xml/internal/xmlarena.h"
#include "common/parser/xml/internal/xmlnodefactory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>

namespace Tarq::Common::Parser::XML {

namespace {

using Entry = XMLAttributes::value_type;

/// Up to so many entries are searched as they stand.
constexpr uint32 cFewEntries = 8;
constexpr uint32 cSmallestCapacity = 4;

bool isBefore(const Entry& entry, const char* name) noexcept {
    return std::strcmp(entry.first, name) < 0;
}

} // namespace

auto XMLAttributes::find(const char* name) const noexcept -> const_iterator {
    // An iterator is not to be moved by what is asked next.
    if (mEntries)
        arranged();
    const const_iterator found = name ? findEntry(name) : nullptr;
    return found ? found : end();
}

/// The last one counts where the order is still that of adding.
auto XMLAttributes::findEntry(const char* name) const noexcept -> value_type* {
    if (!mEntries)
        return nullptr;
    if (!mEntries->areArranged && mEntries->count <= cFewEntries) {
        for (value_type* entry = mEntries->end(); entry != mEntries->begin();) {
            if (std::strcmp((--entry)->first, name) == 0)
                return entry;
        }
        return nullptr;
    }
    arranged();
    value_type* const entry = std::lower_bound(mEntries->begin(), mEntries->end(), name, isBefore);
    return entry != mEntries->end() && std::strcmp(entry->first, name) == 0 ? entry : nullptr;
}

void XMLAttributes::arrange() const noexcept {
    const auto isLess = [](const value_type& a, const value_type& b) {
        const int order = std::strcmp(a.first, b.first);
        return order != 0 ? order < 0 : std::less<const char*>()(a.second, b.second);
    };
    value_type* const end = mEntries->end();
    std::sort(mEntries->begin(), end, isLess);
    value_type* target = mEntries->begin();
    for (value_type* entry = target; entry != end; ++entry) {
        if (entry + 1 == end || std::strcmp(entry->first, entry[1].first) != 0)
            *target++ = *entry;
    }
    mEntries->count = static_cast<uint32>(target - mEntries->begin());
    mEntries->areArranged = true;
}

void XMLAttributes::grow() {
    const uint32 capacity = mEntries ? 2 * mEntries->capacity : cSmallestCapacity;
    void* const storage =
        mArena->allocate(sizeof(Entries) + std::size_t{capacity} * (sizeof(value_type) + sizeof(uint32)));
    auto* const grown = ::new (storage) Entries{0, capacity, true, true};
    std::fill_n(grown->rooms(), capacity, 0);
    if (mEntries) {
        arranged();
        grown->count = mEntries->count;
        std::copy(mEntries->begin(), mEntries->end(), grown->begin());
        if (mEntries->haveRooms)
            std::copy_n(mEntries->rooms(), mEntries->count, grown->rooms());
    }
    mEntries = grown;
}

auto XMLAttributes::insert(const char* name) -> value_type* {
    if (!mEntries || !mEntries->haveRooms || mEntries->count == mEntries->capacity)
        grow();
    value_type* const place = std::lower_bound(mEntries->begin(), mEntries->end(), name, isBefore);
    std::copy_backward(place, mEntries->end(), mEntries->end() + 1);
    *place = {name, nullptr};
    uint32* const rooms = mEntries->rooms();
    uint32* const room = rooms + (place - mEntries->begin());
    std::copy_backward(room, rooms + mEntries->count, rooms + mEntries->count + 1);
    *room = 0;
    ++mEntries->count;
    return place;
}

void XMLAttributes::set(const char* name, const char* value) {
    if (mEntries)
        arranged();
    value_type* const found = findEntry(name);
    value_type* const entry = found ? found : insert(name);
    entry->second = value;
    if (mEntries->haveRooms)
        mEntries->rooms()[entry - mEntries->begin()] = 0;
}

/// The room of a value doubles when it grows, so that replacing it over and over takes a bounded amount of memory.
void XMLAttributes::setCopy(const char* name, const char* value) {
    if (mEntries && !mEntries->haveRooms)
        grow();
    value_type* entry = findEntry(name);
    const std::size_t size = std::strlen(value) + 1;
    const std::size_t oldRoom = entry ? mEntries->rooms()[entry - mEntries->begin()] : 0;
    if (size <= oldRoom) {
        std::memmove(const_cast<char*>(entry->second), value, size);
        return;
    }
    const std::size_t room = std::max(size, 2 * oldRoom);
    char* const copy = static_cast<char*>(mArena->allocate(room));
    std::memcpy(copy, value, size);
    if (!entry)
        entry = insert(mArena->copyText(name));
    entry->second = copy;
    mEntries->rooms()[entry - mEntries->begin()] = static_cast<uint32>(room);
}

void XMLAttributeCollector::grow() {
    const std::size_t count = countEntries();
    const std::size_t used = sizeof(Entries) + count * sizeof(Entry);
    mArena.makeRoom(used, 2 * used + sizeof(Entry));
    startBehind(count);
}

/// The order of values that are not arranged is their place, which copies do not keep.
void XMLAttributeCollector::copyTexts(Entries& entries) {
    XMLAttributes(&mArena, &entries).arrange();
    for (Entry* entry = entries.begin(); entry != entries.end(); ++entry)
        *entry = {mArena.copyText(entry->first), mArena.copyText(entry->second)};
}

} // namespace Tarq::Common::Parser::XML
