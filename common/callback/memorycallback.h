#pragma once

#include "common/callback/callbackptr.h"
#include "common/memory/allocatorcaptured.h"
#include "common/types.h"

namespace Tarq::Common::Callback {

/// The host's memory. Handed to `Interface::initLibrary`; every byte of the library then comes from here.
///
/// Threads: called on whatever thread the library runs, one call at a time.
class MemoryCallback : public Memory::AllocatorCaptured, public ReferenceCounted {
public:
    using AllocatorCaptured::AllocatorCaptured;

    /// Returns `size` bytes, aligned as the global heap aligns them, or null when there are none. Does not throw.
    virtual void* allocate(uint32 size) = 0;
    /// Takes back what `allocate` gave.
    virtual void free(void* block) = 0;
};

using MemoryCallbackPtr = CallbackPtr<MemoryCallback>;

} // namespace Tarq::Common::Callback
