#pragma once

#include "common/callback/callbackptr.h"
#include "common/export.h"
#include "common/memory/allocatorcaptured.h"

namespace Tarq::Common::Callback {

/// A source of random numbers that a host may put in the place of its own; the default is the platform's plain
/// generator, shared by the whole process.
class TARQ_API MathCallback : public Memory::AllocatorCaptured, public ReferenceCounted {
public:
    using AllocatorCaptured::AllocatorCaptured;
    ~MathCallback() override;

    virtual void initalizeRandomGenerator(unsigned int seed);
    /// 0 to 32767 from the default.
    virtual unsigned int getRandomNumber();
};

using MathCallbackPtr = CallbackPtr<MathCallback>;

} // namespace Tarq::Common::Callback
