#pragma once

#include "common/serialize/serializestorage.h"
#include "common/types.h"

#include <iterator>

/// What the types of items are, and how long stored items can be.
namespace Tarq::Common::Serialize {

struct ItemTypeInfo {
    uint8 itemType;
    const char* name;
    uint8 payloadSize; ///< in bytes, behind type and name; of strings the part in front of the characters
};

/// By type; the first one stands for what is no type.
inline constexpr ItemTypeInfo cItemTypes[] = {
    {0, nullptr, 0},
    {SerializeStorage::ITEMTYPE_BOOL, "bool", 1},
    {SerializeStorage::ITEMTYPE_UINT08, "uint08", 1},
    {SerializeStorage::ITEMTYPE_INT08, "int08", 1},
    {SerializeStorage::ITEMTYPE_UINT16, "uint16", 2},
    {SerializeStorage::ITEMTYPE_INT16, "int16", 2},
    {SerializeStorage::ITEMTYPE_UINT32, "uint32", 4},
    {SerializeStorage::ITEMTYPE_INT32, "int32", 4},
    {SerializeStorage::ITEMTYPE_UINT64, "uint64", 8},
    {SerializeStorage::ITEMTYPE_INT64, "int64", 8},
    {SerializeStorage::ITEMTYPE_FLOAT32, "float32", 4},
    {SerializeStorage::ITEMTYPE_FLOAT64, "float64", 8},
    {SerializeStorage::ITEMTYPE_BSTRING, "BString", 2},
    {SerializeStorage::ITEMTYPE_WSTRING, "WString", 2},
    {SerializeStorage::ITEMTYPE_CLASS_ENTER, "Class enter", 12},
    {SerializeStorage::ITEMTYPE_CLASS_EXIT, "Class exit", 0},
};

constexpr bool areItemTypesInOrder() noexcept {
    for (uint32 itemType = 0; itemType < std::size(cItemTypes); ++itemType) {
        if (cItemTypes[itemType].itemType != itemType)
            return false;
    }
    return true;
}
static_assert(areItemTypesInOrder());

/// The bytes that type and name have in front of an item's payload, at the most.
inline constexpr uint32 cLongestHead = sizeof(uint8) + sizeof(uint32);
/// An item up to the characters of a string, in bytes: that of a class is the longest.
inline constexpr uint32 cLongestItem = cLongestHead + cItemTypes[SerializeStorage::ITEMTYPE_CLASS_ENTER].payloadSize;
/// Strings up to this size, in bytes, pass through the stack.
inline constexpr uint32 cShortText = 512;

} // namespace Tarq::Common::Serialize
