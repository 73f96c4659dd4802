#pragma once

#include "common/callback/callbackptr.h"
#include "common/export.h"
#include "common/memory/allocatorcaptured.h"

namespace Tarq::Common::Callback {

/// Where failed assertions go. Derive from it and install it with `Interface::setAssertCallback`.
///
/// This default hands the three values to the platform's assertion report, which ends the process: a host installs its
/// own before it lets others reach the library. Every assertion site carries on after `showAssert` returns.
///
/// Threads: any, several at once. The callback is kept alive while it runs. It does not throw; an assertion that fails
/// inside of it reaches it again, up to a depth of 3, and below that nobody.
class TARQ_API AssertCallback : public Memory::AllocatorCaptured, public ReferenceCounted {
public:
    using AllocatorCaptured::AllocatorCaptured;
    ~AssertCallback() override;

    virtual void showAssert(const char* message, const char* file, unsigned int line);
};

using AssertCallbackPtr = CallbackPtr<AssertCallback>;

} // namespace Tarq::Common::Callback
