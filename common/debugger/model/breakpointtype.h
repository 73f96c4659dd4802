#pragma once

#include "common/debugger/model/elementid.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/string.h"

#include <atomic>

namespace Tarq::Common::Debugger {

class Module;

/// A kind of breakpoints, such as "created", "step" or "destroyed": a tool may step to the next one of a kind.
///
/// Made by `Module::registerBreakpointType`. Ownership, threads and failures: as in `Module`.
class TARQ_API BreakpointType : public Memory::MemoryManaged {
public:
    ~BreakpointType() override;

    const String& getName() const noexcept { return mName; }
    uint32 getID() const noexcept { return mID.get(); }
    Module* getModule() const noexcept { return mModule; }

    /// Whether the break flag is set, or a thread is held. Costs no lock.
    bool isBreakflagActivated() const noexcept;
    /// What `isBreakflagActivated` says of this type; nothing else goes by it.
    void setBreakflag(bool isSet) noexcept { mBreakflag.store(isSet, std::memory_order_relaxed); }

private:
    friend class Module;

    BreakpointType(Module* module, const String& name);

    void enter(uint32 id) { mID.set(id); }

    Module* mModule;
    String mName;
    ElementID mID{"BreakpointType"};
    std::atomic<bool> mBreakflag{false};
};

} // namespace Tarq::Common::Debugger
