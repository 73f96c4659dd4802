#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"
#include "tool/client/variablemessages.h"

#include "common/string.h"

#include <tuple>

/// Messages about functions of a host.
namespace Tarq::Tool {

/// What a function of that name has returned.
struct CallReply {
    static constexpr MessageID cID = replyTo(MessageID::MESSAGE_CALL);

    Common::String name;
    Bytes result = noBytes(); ///< one item; nothing when the function returns nothing

    static constexpr auto fields() {
        return std::tuple(Field{"procedure name", &CallReply::name}, Rest{&CallReply::result});
    }
};

/// Has the host call a function. It says nothing when there is none that takes these arguments, or not just one of that
/// name, or when it throws.
struct Call {
    static constexpr MessageID cID = MessageID::MESSAGE_CALL;

    Common::String name;
    Bytes arguments = noBytes(); ///< an item for each, one behind the other

    static constexpr auto fields() { return std::tuple(Field{"procedure name", &Call::name}, Rest{&Call::arguments}); }
};

} // namespace Tarq::Tool
