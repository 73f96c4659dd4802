#include "common/serialize/nametable.h"

namespace Tarq::Common::Serialize {

void NameTable::clear() noexcept {
    for (auto& entry : mIndexes)
        entry.second = cNone;
    mEntries.clear();
    mLast = 0;
    mGuess = 0;
}

uint32 NameTable::append(String::Text name) {
    const uint32 index = mEntries.size();
    auto known = mIndexes.find(name);
    if (known == mIndexes.end())
        known = mIndexes.try_emplace(String(name), cNone).first;
    mEntries.push_back({known->first.c_str(), index + 1});
    if (known->second == cNone)
        known->second = index;
    follow(index);
    return index;
}

uint32 NameTable::lookUp(const char* name) noexcept {
    const auto known = mIndexes.find(name);
    if (known == mIndexes.end() || known->second == cNone)
        return cNone;
    follow(known->second);
    return known->second;
}

void NameTable::follow(uint32 index) noexcept {
    mEntries[mLast].follower = index;
    mLast = index;
    mGuess = mEntries[index].follower;
}

} // namespace Tarq::Common::Serialize
