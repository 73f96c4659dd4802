#pragma once

#include "common/debug/callstack.h"
#include "common/debug/stackwalker.h"

namespace Tarq::Common::Debug {

/// Collects the frames into a call stack. When memory runs out, entries are missing.
class TARQ_API CaptureStackWalker : public StackWalker {
public:
    /// Appends to `callStack`.
    explicit CaptureStackWalker(CallStack& callStack) noexcept;
    ~CaptureStackWalker() override;

    using StackWalker::showRecorded;

protected:
    void OnCallstackEntry(FrameKind kind, const FrameRecord& record) override;

private:
    CallStack& mCallStack;
};

} // namespace Tarq::Common::Debug
