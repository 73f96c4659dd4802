#pragma once

#include "common/string.h"
#include "common/types.h"

namespace Tarq::Tool {

/// The types of the messages between the tool and a host.
enum class MessageID : Common::uint32 {
    MESSAGE_BREAKPOINT_STATE = 0x01000000,
    MESSAGE_MODULE_DISCONNECT_FORCED = 0x01000002,
    MESSAGE_CONNECT_MODULE = 0x01000003,
    MESSAGE_DISCONNECT_MODULE = 0x01000005,
    MESSAGE_REGISTER_OBJECT_GROUP = 0x01000007,
    MESSAGE_REGISTER_OBJECT_TYPE = 0x01000008,
    MESSAGE_UNREGISTER_OBJECT_TYPE = 0x01000009,
    MESSAGE_REGISTER_OBJECT_INSTANCE = 0x0100000A,
    MESSAGE_UNREGISTER_OBJECT_INSTANCE = 0x0100000B,
    MESSAGE_GET_HISTORY = 0x0100000C,
    MESSAGE_IDENTITY = 0x0100000E,
    MESSAGE_IDENTITY_REPLY = 0x0100000F,
    MESSAGE_GET_VARIABLE = 0x01000010,
    MESSAGE_SET_VARIABLE = 0x01000012,
    MESSAGE_BREAK_CLIENT = 0x01000014,
    MESSAGE_BREAK_OBJECT_INSTANCE = 0x01000016,
    MESSAGE_SET_BREAKPOINT = 0x0100001A,
    MESSAGE_SET_CONDITION = 0x0100001C,
    MESSAGE_MAKE_STEP = 0x0100001E,
    MESSAGE_CONTINUE = 0x0100001F,
    MESSAGE_SET_WATCH = 0x01000020,
    MESSAGE_MODULE_SHUTDOWN = 0x01000022,
    MESSAGE_CALL = 0x01000024,
    MESSAGE_REGISTER_STREAM = 0x01000026,
    MESSAGE_REQUEST_STREAM_DATA = 0x01000028,
    MESSAGE_STREAM_DATA = 0x01000029,
    MESSAGE_DEREGISTER_STREAM = 0x0100002A,
};

/// The type of what answers a request.
constexpr MessageID replyTo(MessageID request) noexcept {
    return static_cast<MessageID>(static_cast<Common::uint32>(request) + 1);
}
static_assert(replyTo(MessageID::MESSAGE_IDENTITY) == MessageID::MESSAGE_IDENTITY_REPLY);

/// Which messages a type is for.
enum Answering : Common::uint8 {
    ANSWER_NONE,  ///< a notification of the host, or a request that is done in silence
    ANSWER_REPLY, ///< a request with a reply
    ANSWER_LATER, ///< the same, but the reply comes when it comes, or never: the host goes on with other requests
};

/// What is known of a type of messages.
struct MessageKind {
    MessageID id;
    Answering answering;
    const char* name; ///< in reports; that of a request
};

inline constexpr MessageKind cMessageKinds[] = {
    {MessageID::MESSAGE_BREAKPOINT_STATE, ANSWER_NONE, "breakpoint state"},
    {MessageID::MESSAGE_MODULE_DISCONNECT_FORCED, ANSWER_NONE, "module disconnect forced"},
    {MessageID::MESSAGE_CONNECT_MODULE, ANSWER_REPLY, "connect module"},
    {MessageID::MESSAGE_DISCONNECT_MODULE, ANSWER_REPLY, "disconnect module"},
    {MessageID::MESSAGE_REGISTER_OBJECT_GROUP, ANSWER_NONE, "object group registration"},
    {MessageID::MESSAGE_REGISTER_OBJECT_TYPE, ANSWER_NONE, "object type registration"},
    {MessageID::MESSAGE_UNREGISTER_OBJECT_TYPE, ANSWER_NONE, "object type unregistration"},
    {MessageID::MESSAGE_REGISTER_OBJECT_INSTANCE, ANSWER_NONE, "object instance registration"},
    {MessageID::MESSAGE_UNREGISTER_OBJECT_INSTANCE, ANSWER_NONE, "object instance unregistration"},
    {MessageID::MESSAGE_GET_HISTORY, ANSWER_REPLY, "get history"},
    {MessageID::MESSAGE_IDENTITY, ANSWER_REPLY, "identity"},
    {MessageID::MESSAGE_GET_VARIABLE, ANSWER_REPLY, "get variable"},
    {MessageID::MESSAGE_SET_VARIABLE, ANSWER_REPLY, "set variable"},
    {MessageID::MESSAGE_BREAK_CLIENT, ANSWER_NONE, "set client break flag"},
    {MessageID::MESSAGE_BREAK_OBJECT_INSTANCE, ANSWER_REPLY, "set object instance break flag"},
    {MessageID::MESSAGE_SET_BREAKPOINT, ANSWER_REPLY, "set breakpoint active"},
    {MessageID::MESSAGE_SET_CONDITION, ANSWER_REPLY, "set breakpoint condition"},
    {MessageID::MESSAGE_MAKE_STEP, ANSWER_NONE, "make step"},
    {MessageID::MESSAGE_CONTINUE, ANSWER_NONE, "continue"},
    {MessageID::MESSAGE_SET_WATCH, ANSWER_REPLY, "set watch"},
    {MessageID::MESSAGE_MODULE_SHUTDOWN, ANSWER_NONE, "module shutdown"},
    {MessageID::MESSAGE_CALL, ANSWER_LATER, "remote procedure call"},
    {MessageID::MESSAGE_REGISTER_STREAM, ANSWER_REPLY, "register network stream"},
    {MessageID::MESSAGE_REQUEST_STREAM_DATA, ANSWER_NONE, "network stream data request"},
    {MessageID::MESSAGE_STREAM_DATA, ANSWER_NONE, "network stream data"},
    {MessageID::MESSAGE_DEREGISTER_STREAM, ANSWER_REPLY, "deregister network stream"},
};

/// Whether a request of that type is answered in its turn.
constexpr bool hasReply(MessageID request) noexcept {
    for (const MessageKind& kind : cMessageKinds) {
        if (kind.id == request)
            return kind.answering == ANSWER_REPLY;
    }
    return false;
}

/// Finds the type, or for the reply to a request that of the request; null for a number that is neither.
const MessageKind* findMessageKind(Common::uint32 id) noexcept;

/// What a person knows the message as: "identity reply", "message 0x01000099".
Common::String nameOfMessage(Common::uint32 id);
/// "0x0100000F"
Common::String numberOfMessage(Common::uint32 id);

} // namespace Tarq::Tool
