#pragma once

#include "common/types.h"

/// The types of the messages between server and tool; the numbers are the wire format.
namespace Tarq::Common::Debugger {

enum class MessageID : uint32 {
    BREAKPOINT_STATE = 0x01000000,         ///< a thread is held
    MODULE_DISCONNECT_FORCED = 0x01000002, ///< another client has taken the module over
    CONNECT_MODULE = 0x01000003,
    DISCONNECT_MODULE = 0x01000005,
    REGISTER_OBJECT_GROUP = 0x01000007,
    REGISTER_OBJECT_TYPE = 0x01000008,
    UNREGISTER_OBJECT_TYPE = 0x01000009,
    REGISTER_OBJECT_INSTANCE = 0x0100000A,
    UNREGISTER_OBJECT_INSTANCE = 0x0100000B,
    GET_HISTORY = 0x0100000C,
    IDENTITY = 0x0100000E, ///< a client says who it is
    IDENTITY_REPLY = 0x0100000F,
    GET_VARIABLE = 0x01000010,
    SET_VARIABLE = 0x01000012,
    SET_BREAKPOINT_CLIENT = 0x01000014,
    SET_BREAKPOINT_OBJECT_INSTANCE = 0x01000016,
    SET_BREAKPOINT = 0x0100001A,
    SET_BREAKPOINT_CONDITION = 0x0100001C,
    MAKE_STEP = 0x0100001E,
    CONTINUE = 0x0100001F,
    SET_WATCHES = 0x01000020,
    MODULE_SHUTDOWN = 0x01000022,
    CALL = 0x01000024, ///< of a function of the host
    REGISTER_NETWORK_STREAM = 0x01000026,
    NETWORK_STREAM_REQUEST = 0x01000028, ///< the server wants a piece of a stream
    NETWORK_STREAM_DATA = 0x01000029,
    DEREGISTER_NETWORK_STREAM = 0x0100002A,
};

/// The type of the answer to a request.
constexpr MessageID replyTo(MessageID request) noexcept {
    return static_cast<MessageID>(static_cast<uint32>(request) + 1);
}
static_assert(replyTo(MessageID::IDENTITY) == MessageID::IDENTITY_REPLY);

/// What client and server have to agree on.
inline constexpr uint32 PROTOCOL_VERSION = 2;

} // namespace Tarq::Common::Debugger
