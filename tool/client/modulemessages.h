#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"
#include "tool/client/plainreply.h"

#include "common/string.h"
#include "common/types.h"

#include <tuple>
#include <vector>

/// Messages about a module as a whole.
namespace Tarq::Tool {

/// What a host's code calls its breakpoints by.
struct BreakpointTypeRecord {
    Common::String name;
    Common::uint32 typeID = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"breakpoint type name", &BreakpointTypeRecord::name},
                          Field{"breakpoint typeID", &BreakpointTypeRecord::typeID});
    }
};

struct ConnectModuleReply {
    static constexpr MessageID cID = replyTo(MessageID::MESSAGE_CONNECT_MODULE);
    static constexpr Common::uint8 cTakenByAnother = 2; ///< a code: the module can be taken over

    Common::String moduleName;
    Common::uint32 moduleVersion = 0;
    Common::uint8 code = 0;
    Common::String text;
    Common::uint32 moduleID = 0;
    std::vector<BreakpointTypeRecord> breakpointTypes;

    static constexpr auto fields() {
        using Self = ConnectModuleReply;
        return std::tuple(Field{"moduleName", &Self::moduleName}, Field{"moduleVersion", &Self::moduleVersion},
                          Field{"code", &Self::code}, Field{"text", &Self::text},
                          OnSuccess{Field{"moduleID", &Self::moduleID}},
                          OnSuccess{Rows{"breakpoint type count", &Self::breakpointTypes}});
    }
};

/// The registrations of what the module has follow the answer.
struct ConnectModule {
    using Reply = ConnectModuleReply;
    static constexpr MessageID cID = MessageID::MESSAGE_CONNECT_MODULE;
    static constexpr std::size_t cIdentifyingFields = 2;

    Common::String moduleName;
    Common::uint32 moduleVersion = 0;
    bool forceConnect = false; ///< takes the module from the tool that has it

    static constexpr auto fields() {
        return std::tuple(Field{"moduleName", &ConnectModule::moduleName},
                          Field{"moduleVersion", &ConnectModule::moduleVersion},
                          Field{"forceConnect", &ConnectModule::forceConnect});
    }
};

struct DisconnectModule {
    using Reply = PlainReply<DisconnectModule>;
    static constexpr MessageID cID = MessageID::MESSAGE_DISCONNECT_MODULE;
    static constexpr std::size_t cIdentifyingFields = 1;

    Common::uint32 moduleID = 0;

    static constexpr auto fields() { return std::tuple(Field{"moduleID", &DisconnectModule::moduleID}); }
};

/// Another tool has taken the module.
struct ModuleDisconnectForced {
    static constexpr MessageID cID = MessageID::MESSAGE_MODULE_DISCONNECT_FORCED;

    Common::uint32 moduleID = 0;
    Common::String computerName; ///< of the tool that has it now
    Common::String userName;

    static constexpr auto fields() {
        return std::tuple(Field{"moduleID", &ModuleDisconnectForced::moduleID},
                          Field{"computer name", &ModuleDisconnectForced::computerName},
                          Field{"user name", &ModuleDisconnectForced::userName});
    }
};

/// The host has destroyed the module.
struct ModuleShutdown {
    static constexpr MessageID cID = MessageID::MESSAGE_MODULE_SHUTDOWN;

    Common::uint32 moduleID = 0;

    static constexpr auto fields() { return std::tuple(Field{"moduleID", &ModuleShutdown::moduleID}); }
};

} // namespace Tarq::Tool
