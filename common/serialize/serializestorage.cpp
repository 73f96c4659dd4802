#include "common/serialize/serializestorage.h"

#include "common/serialize/internal/itemtypes.h"

namespace Tarq::Common::Serialize {

SerializeStorage::Position::~Position() = default;

SerializeStorage::~SerializeStorage() = default;

const char* SerializeStorage::getItemTypeName(uint32 itemType) noexcept {
    return itemType < std::size(cItemTypes) ? cItemTypes[itemType].name : nullptr;
}

} // namespace Tarq::Common::Serialize
