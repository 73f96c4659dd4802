#include "common/debug/debugrendercallback.h"

#include <atomic>

namespace Tarq::Common::Debug {

namespace {

constinit std::atomic<IDebugRenderCallback*> gRegistered{nullptr};

} // namespace

IDebugRenderCallback::~IDebugRenderCallback() = default;

void DebugRenderCallback::registerDebugger(IDebugRenderCallback* callback) noexcept {
    gRegistered.store(callback);
}

IDebugRenderCallback* DebugRenderCallback::GetInstance() noexcept {
    return gRegistered.load();
}

} // namespace Tarq::Common::Debug
