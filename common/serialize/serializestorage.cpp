#include "common/serialize/serializestorage.h"

#include <iterator>

namespace Tarq::Common::Serialize {

SerializeStorage::Position::~Position() = default;

SerializeStorage::~SerializeStorage() = default;

const char* SerializeStorage::getItemTypeName(uint32 itemType) noexcept {
    static constexpr const char* cNames[] = {
        nullptr,  "bool",  "uint08",  "int08",   "uint16",  "int16",   "uint32",      "int32",
        "uint64", "int64", "float32", "float64", "BString", "WString", "Class enter", "Class exit",
    };
    static_assert(std::size(cNames) == ITEMTYPE_CLASS_EXIT + 1);
    return itemType < std::size(cNames) ? cNames[itemType] : nullptr;
}

} // namespace Tarq::Common::Serialize
