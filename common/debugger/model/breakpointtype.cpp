#include "common/debugger/model/breakpointtype.h"

#include "common/debugger/model/module.h"

namespace Tarq::Common::Debugger {

BreakpointType::BreakpointType(Module* module, const String& name) : mModule(module), mName(name) {}

BreakpointType::~BreakpointType() = default;

bool BreakpointType::isBreakflagActivated() const noexcept {
    return mBreakflag.load(std::memory_order_relaxed) || mModule->isBreakpointActivated();
}

} // namespace Tarq::Common::Debugger
