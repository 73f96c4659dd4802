#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"
#include "tool/client/plainreply.h"
#include "tool/client/registrations.h"
#include "tool/client/variablemessages.h"

#include "common/string.h"
#include "common/types.h"

#include <tuple>

/// Messages about holding a host's threads, and letting them go.
namespace Tarq::Tool {

/// A thread of the host is held.
struct BreakpointState {
    static constexpr MessageID cID = MessageID::MESSAGE_BREAKPOINT_STATE;

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;
    HistoryEntry entry;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &BreakpointState::moduleID},
                          Field{"objectInstanceID", &BreakpointState::instanceID}, Inlined{&BreakpointState::entry});
    }
};

/// Holds at every breakpoint, until the tool lets go on.
struct BreakClient {
    static constexpr MessageID cID = MessageID::MESSAGE_BREAK_CLIENT;

    static constexpr auto fields() { return std::tuple(); }
};

/// Holds at every breakpoint that the instance enters.
struct BreakInstance {
    using Reply = PlainReply<BreakInstance>;
    static constexpr MessageID cID = MessageID::MESSAGE_BREAK_OBJECT_INSTANCE;
    static constexpr std::size_t cIdentifyingFields = 3;

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;
    bool newValue = false;

    static constexpr auto fields() {
        return std::tuple(Field{"ModuleID", &BreakInstance::moduleID},
                          Field{"ObjectInstanceID", &BreakInstance::instanceID},
                          Field{"newValue", &BreakInstance::newValue});
    }
};

/// Holds at a breakpoint, when its condition is true or it has none.
struct SetBreakpoint {
    using Reply = PlainReply<SetBreakpoint>;
    static constexpr MessageID cID = MessageID::MESSAGE_SET_BREAKPOINT;
    static constexpr std::size_t cIdentifyingFields = 3;

    Common::uint32 moduleID = 0;
    Common::uint32 breakpointID = 0;
    bool newValue = false;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &SetBreakpoint::moduleID},
                          Field{"breakpointInstanceID", &SetBreakpoint::breakpointID},
                          Field{"newValue", &SetBreakpoint::newValue});
    }
};

struct SetCondition {
    using Reply = PlainReply<SetCondition>;
    static constexpr MessageID cID = MessageID::MESSAGE_SET_CONDITION;
    static constexpr std::size_t cIdentifyingFields = 2;

    Common::uint32 moduleID = 0;
    Common::uint32 breakpointID = 0;
    Bytes condition = noBytes(); ///< an XML document; nothing removes the condition

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &SetCondition::moduleID},
                          Field{"breakpointInstanceID", &SetCondition::breakpointID},
                          Field{"conditionStream", &SetCondition::condition});
    }
};

/// Lets the held thread go on to the next breakpoint that fits.
struct MakeStep {
    static constexpr MessageID cID = MessageID::MESSAGE_MAKE_STEP;

    bool isSameInstance = false;             ///< only one that the held instance enters
    Common::uint32 breakpointTypeID = cNoID; ///< only one of that type

    static constexpr auto fields() {
        return std::tuple(Field{"objectInstanceFilter", &MakeStep::isSameInstance},
                          Field{"breakpointTypeFilterID", &MakeStep::breakpointTypeID});
    }
};

struct Continue {
    static constexpr MessageID cID = MessageID::MESSAGE_CONTINUE;

    static constexpr auto fields() { return std::tuple(); }
};

} // namespace Tarq::Tool
