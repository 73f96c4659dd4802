#pragma once

#include "common/types.h"

/// The types of the messages between server and tool; the numbers are the wire format.
namespace Tarq::Common::Debugger {

enum class MessageID : uint32 {
    IDENTITY = 0x0100000E, ///< a client says who it is
    IDENTITY_REPLY = 0x0100000F,
};

/// The type of the answer to a request.
constexpr MessageID replyTo(MessageID request) noexcept {
    return static_cast<MessageID>(static_cast<uint32>(request) + 1);
}
static_assert(replyTo(MessageID::IDENTITY) == MessageID::IDENTITY_REPLY);

/// What client and server have to agree on.
inline constexpr uint32 PROTOCOL_VERSION = 2;

} // namespace Tarq::Common::Debugger
