#pragma once

#include "common/container/stringlookup.h"
#include "common/container/vector.h"
#include "common/export.h"
#include "common/string.h"

#include <cstring>

namespace Tarq::Common::Serialize {

/// Names by index, and their indexes: what stored items carry instead of names.
///
/// A text that was handed out stays where it is as long as the table object lives, also when a new table begins.
class NameTable {
public:
    /// Not an index.
    static constexpr uint32 cNone = ~uint32{0};

    explicit NameTable(const Memory::AllocatorPtr& allocator) : mIndexes(allocator), mEntries(allocator) {}
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;

    /// Begins a new table, which is empty.
    void clear() noexcept;
    uint32 size() const noexcept { return mEntries.size(); }
    /// The text of an index below the size.
    const char* operator[](uint32 index) const noexcept { return mEntries[index].text; }
    /// Returns the new name's index.
    uint32 append(String::Text name);

    /// The index of a name, or `cNone`. Only changed files have a name twice, which is found at either index, or one
    /// with a NUL inside, which may be found by the text up to it.
    ///
    /// Names come in the same order again and again: the one that followed here the last time is compared first.
    uint32 find(const char* name) noexcept {
        if (mGuess < mEntries.size() && std::strcmp(mEntries[mGuess].text, name) == 0) [[likely]] {
            mLast = mGuess;
            mGuess = mEntries[mGuess].follower;
            return mLast;
        }
        return lookUp(name);
    }

private:
    struct Entry {
        const char* text;
        uint32 follower; ///< the index of the name that is expected after this one
    };

    uint32 lookUp(const char* name) noexcept;
    void follow(uint32 index) noexcept;

    Container::StringLookUp<uint32> mIndexes; ///< holds the texts of all tables; `cNone` where this one has it not
    Container::Vector<Entry> mEntries;
    uint32 mLast = 0; ///< the name that was found or appended last
    uint32 mGuess = 0;
};

} // namespace Tarq::Common::Serialize
