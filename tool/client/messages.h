#pragma once

#include "tool/client/messageid.h"

#include "common/string.h"
#include "common/types.h"

#include <tuple>

/// The messages between the tool and a host, as values. Each is a plain struct that lists its fields once, in the order
/// in which they travel behind the message's type; `encode` and `decode` go by that list.
///
/// A request that is answered, as `hasReply` tells, has a reply with `cID = replyTo(...)`.
namespace Tarq::Tool {

/// What a field is called in reports, and where its value is.
template <class Message, class Value>
struct Field {
    const char* name;
    Value Message::*member;
};
template <class Message, class Value>
Field(const char*, Value Message::*) -> Field<Message, Value>;

/// Who the tool is. A host whose protocol has another version refuses it.
struct Identity {
    static constexpr MessageID cID = MessageID::MESSAGE_IDENTITY;
    static constexpr Common::uint32 cProtocolVersion = 2;

    Common::String computerName;
    Common::String userName;
    Common::uint32 protocolVersion = cProtocolVersion;

    static constexpr auto fields() {
        return std::tuple(Field{"ComputerName", &Identity::computerName}, Field{"UserName", &Identity::userName},
                          Field{"protocolVersion", &Identity::protocolVersion});
    }
};

struct IdentityReply {
    static constexpr MessageID cID = replyTo(Identity::cID);

    Common::uint8 errorFlag = 0; ///< 0: accepted
    Common::String text;         ///< why not; empty otherwise

    static constexpr auto fields() {
        return std::tuple(Field{"error flag", &IdentityReply::errorFlag}, Field{"text", &IdentityReply::text});
    }
};

} // namespace Tarq::Tool
