#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"

#include "common/string.h"
#include "common/types.h"

#include <tuple>

namespace Tarq::Tool {

struct IdentityReply {
    static constexpr MessageID cID = MessageID::MESSAGE_IDENTITY_REPLY;

    Common::uint8 errorFlag = 0; ///< 0: accepted
    Common::String text;         ///< why not; empty otherwise

    static constexpr auto fields() {
        return std::tuple(Field{"error flag", &IdentityReply::errorFlag}, Field{"text", &IdentityReply::text});
    }
};

/// Who the tool is. A host whose protocol has another version refuses it.
struct Identity {
    using Reply = IdentityReply;
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

} // namespace Tarq::Tool
