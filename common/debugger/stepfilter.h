#pragma once

#include "common/types.h"

namespace Tarq::Common::Debugger {

class ClientInfo;
class Module;

/// Where a step that a client has asked for ends.
struct StepFilter {
    static constexpr uint32 cAny = 0xFFFFFFFF;

    ClientInfo* mClient = nullptr; ///< null when no step is pending
    Module* mModule = nullptr;
    uint32 mObjectInstanceID = cAny;
    uint32 mBreakpointTypeID = cAny;

    bool isPending() const noexcept { return mClient != nullptr; }
};

} // namespace Tarq::Common::Debugger
