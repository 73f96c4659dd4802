#pragma once

#include "common/debug/textpiece.h"
#include "common/network/message/streamids.h"

#include <type_traits>

/// What is known of a tag that is a value.
namespace Tarq::Common::Network::Message {

/// Calls `visit` with the `std::type_identity` of the type that the tag stands for; returns false when there is none.
template <class Visit>
bool visitStreamType(StreamIDs id, Visit visit) {
    bool isVisited = false;
    Reflection::Datatype::forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        if (!isVisited && id == getStreamID<T>()) {
            isVisited = true;
            visit(std::type_identity<T>());
        }
    });
    return isVisited;
}

/// The tag in reports: a peer may have sent a number that has no name.
inline Debug::TextPiece shownStreamID(StreamIDs id) noexcept {
    const char* const name = getStreamIDName(id);
    return name ? Debug::TextPiece(name) : Debug::TextPiece(id);
}

} // namespace Tarq::Common::Network::Message
