#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"

#include "common/network/message/streamids.h"
#include "common/string.h"
#include "common/types.h"

#include <tuple>
#include <vector>

/// What a host tells of the elements of a module.
namespace Tarq::Tool {

/// No element has it, and the groups at the top have it in the place of a parent.
inline constexpr Common::uint32 cNoID = 0xFFFFFFFF;

struct ObjectGroupRegistration {
    static constexpr MessageID cID = MessageID::MESSAGE_REGISTER_OBJECT_GROUP;

    Common::uint32 moduleID = 0;
    Common::String name;
    Common::uint32 groupID = 0;
    Common::uint32 parentID = cNoID;

    static constexpr auto fields() {
        using Self = ObjectGroupRegistration;
        return std::tuple(Field{"moduleID", &Self::moduleID}, Field{"group name", &Self::name},
                          Field{"groupID", &Self::groupID}, Field{"parent groupID", &Self::parentID});
    }
};

struct BreakpointRecord {
    Common::uint32 typeID = 0; ///< of the breakpoint's type
    Common::String name;
    Common::uint32 id = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"breakpoint typeID", &BreakpointRecord::typeID},
                          Field{"breakpoint name", &BreakpointRecord::name},
                          Field{"breakpoint instanceID", &BreakpointRecord::id});
    }
};

struct VariableRecord {
    Common::Network::Message::StreamIDs type{}; ///< a host may have sent a number that names none
    Common::String name;
    Common::uint32 id = 0;
    bool isWritable = false;

    static constexpr auto fields() {
        return std::tuple(Field{"variable type", &VariableRecord::type}, Field{"variable name", &VariableRecord::name},
                          Field{"variable typeID", &VariableRecord::id},
                          Field{"write access", &VariableRecord::isWritable});
    }
};

struct ObjectTypeRegistration {
    static constexpr MessageID cID = MessageID::MESSAGE_REGISTER_OBJECT_TYPE;

    Common::uint32 moduleID = 0;
    Common::uint32 groupID = 0;
    Common::String name;
    Common::uint32 typeID = 0;
    Common::uint32 uniqueID0 = 0; ///< what the host's code gave the type, in four parts
    Common::uint32 uniqueID1 = 0;
    Common::uint32 uniqueID2 = 0;
    Common::uint32 uniqueID3 = 0;
    std::vector<BreakpointRecord> breakpoints;
    std::vector<VariableRecord> variables;

    static constexpr auto fields() {
        using Self = ObjectTypeRegistration;
        return std::tuple(Field{"moduleID", &Self::moduleID}, Field{"groupID", &Self::groupID},
                          Field{"type name", &Self::name}, Field{"typeID", &Self::typeID},
                          Field{"uniqueID[0]", &Self::uniqueID0}, Field{"uniqueID[1]", &Self::uniqueID1},
                          Field{"uniqueID[2]", &Self::uniqueID2}, Field{"uniqueID[3]", &Self::uniqueID3},
                          Rows{"breakpoint count", &Self::breakpoints}, Rows{"variable count", &Self::variables});
    }
};

struct ObjectTypeUnregistration {
    static constexpr MessageID cID = MessageID::MESSAGE_UNREGISTER_OBJECT_TYPE;

    Common::uint32 moduleID = 0;
    Common::uint32 typeID = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &ObjectTypeUnregistration::moduleID},
                          Field{"typeID", &ObjectTypeUnregistration::typeID});
    }
};

struct ObjectInstanceRegistration {
    static constexpr MessageID cID = MessageID::MESSAGE_REGISTER_OBJECT_INSTANCE;

    Common::uint32 moduleID = 0;
    Common::uint32 typeID = 0;
    Common::String name;
    Common::uint32 instanceID = 0;

    static constexpr auto fields() {
        using Self = ObjectInstanceRegistration;
        return std::tuple(Field{"moduleID", &Self::moduleID}, Field{"typeID", &Self::typeID},
                          Field{"instance name", &Self::name}, Field{"instanceID", &Self::instanceID});
    }
};

struct ObjectInstanceUnregistration {
    static constexpr MessageID cID = MessageID::MESSAGE_UNREGISTER_OBJECT_INSTANCE;

    Common::uint32 moduleID = 0;
    Common::uint32 instanceID = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &ObjectInstanceUnregistration::moduleID},
                          Field{"instanceID", &ObjectInstanceUnregistration::instanceID});
    }
};

} // namespace Tarq::Tool
