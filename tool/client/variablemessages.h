#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"
#include "tool/client/plainreply.h"

#include "common/container/vector.h"
#include "common/library.h"
#include "common/string.h"
#include "common/types.h"

#include <tuple>
#include <vector>

/// Messages about the variables of an instance, what they are and what they were.
namespace Tarq::Tool {

/// Bytes inside a message. Those of a value are one item: its tag and the value.
using Bytes = Common::Container::Vector<Common::uint8>;

inline Bytes noBytes() {
    return Bytes(Common::Library::getTempAlloc());
}

struct GetVariableReply {
    static constexpr MessageID cID = replyTo(MessageID::MESSAGE_GET_VARIABLE);

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;
    Common::uint32 variableID = 0;
    Common::uint8 code = 0;
    Common::String text;
    Bytes value = noBytes();

    static constexpr auto fields() {
        using Self = GetVariableReply;
        return std::tuple(Field{"moduleID", &Self::moduleID}, Field{"objInstanceID", &Self::instanceID},
                          Field{"variableID", &Self::variableID}, Field{"code", &Self::code},
                          Field{"text", &Self::text}, OnSuccess{Field{"value", &Self::value}});
    }
};

struct GetVariable {
    using Reply = GetVariableReply;
    static constexpr MessageID cID = MessageID::MESSAGE_GET_VARIABLE;
    static constexpr std::size_t cIdentifyingFields = 3;

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;
    Common::uint32 variableID = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &GetVariable::moduleID}, Field{"objInstanceID", &GetVariable::instanceID},
                          Field{"variableID", &GetVariable::variableID});
    }
};

struct SetVariable {
    using Reply = PlainReply<SetVariable>;
    static constexpr MessageID cID = MessageID::MESSAGE_SET_VARIABLE;
    static constexpr std::size_t cIdentifyingFields = 3;

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;
    Common::uint32 variableID = 0;
    Bytes value = noBytes();

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &SetVariable::moduleID}, Field{"objInstanceID", &SetVariable::instanceID},
                          Field{"variableID", &SetVariable::variableID}, Field{"value", &SetVariable::value});
    }
};

/// A variable that is watched is in every entry of its instance's history.
struct SetWatch {
    using Reply = PlainReply<SetWatch>;
    static constexpr MessageID cID = MessageID::MESSAGE_SET_WATCH;
    static constexpr std::size_t cIdentifyingFields = 4;

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;
    Common::uint32 variableID = 0;
    bool newFlag = false;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &SetWatch::moduleID}, Field{"objInstanceID", &SetWatch::instanceID},
                          Field{"variableID", &SetWatch::variableID}, Field{"newFlag", &SetWatch::newFlag});
    }
};

struct RecordedValue {
    Common::uint32 variableID = 0;
    Bytes value = noBytes();

    static constexpr auto fields() {
        return std::tuple(Field{"variable ID", &RecordedValue::variableID}, Field{"value", &RecordedValue::value});
    }
};

/// One pass of an instance through a breakpoint. A variable may be there twice, with the same value.
struct HistoryEntry {
    Common::uint32 gameTime = 0;
    Common::uint32 systemTime = 0; ///< in milliseconds, from a time of the host's own
    Common::uint32 breakpointID = 0;
    std::vector<RecordedValue> values;

    static constexpr auto fields() {
        return std::tuple(Field{"game time", &HistoryEntry::gameTime}, Field{"system time", &HistoryEntry::systemTime},
                          Field{"breakpoint instance ID", &HistoryEntry::breakpointID},
                          Columns{"variable count", &HistoryEntry::values});
    }
};

struct GetHistoryReply {
    static constexpr MessageID cID = replyTo(MessageID::MESSAGE_GET_HISTORY);

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;
    Common::uint8 code = 0;
    Common::String text;
    Common::uint32 gameTime = 0;
    Common::uint32 systemTime = 0;
    std::vector<HistoryEntry> entries; ///< oldest first

    static constexpr auto fields() {
        using Self = GetHistoryReply;
        return std::tuple(Field{"moduleID", &Self::moduleID}, Field{"objectInstanceID", &Self::instanceID},
                          Field{"code", &Self::code}, Field{"text", &Self::text}, Field{"game time", &Self::gameTime},
                          Field{"system time", &Self::systemTime}, OnSuccess{Rows{"entry count", &Self::entries}});
    }
};

struct GetHistory {
    using Reply = GetHistoryReply;
    static constexpr MessageID cID = MessageID::MESSAGE_GET_HISTORY;
    static constexpr std::size_t cIdentifyingFields = 2;

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &GetHistory::moduleID}, Field{"objectInstanceID", &GetHistory::instanceID});
    }
};

} // namespace Tarq::Tool
