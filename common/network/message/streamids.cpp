#include "common/network/message/streamids.h"

#include "common/debug/assert.h"
#include "common/network/message/internal/streamtypes.h"

namespace Tarq::Common::Network::Message {

const char* getStreamIDName(StreamIDs id) noexcept {
    const char* found = nullptr;
    const auto look = [&](const auto& type) {
        if (id == type.id)
            found = type.name;
        else if (id == arrayOf(type.id))
            found = type.arrayName;
    };
    std::apply([&look](const auto&... types) { (look(types), ...); }, cStreamTypes);
    return found;
}

bool getStreamIDFromDatatypeID(StreamIDs& out, Reflection::Datatype::DatatypeID type) {
    bool isFound = false;
    Reflection::Datatype::forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        if (isFound)
            return;
        const auto* const datatype = Reflection::Datatype::TypedDatatype<T>::getInstance();
        if (datatype && datatype->id() == type) {
            out = getStreamID<T>();
            isFound = true;
        }
    });
    return isFound || TARQ_FAIL("data type not supported yet: (", GetIDWrapperValue(type), ")");
}

} // namespace Tarq::Common::Network::Message
