#pragma once

#include "common/sharedptr.h"

namespace Tarq::Common::Memory {

class Allocator;

/// How allocators are held and handed around: counted inside the allocator, from any thread.
using AllocatorPtr = SharedPtr<Allocator,
                               LockedMemberReferenceCount<LockedReferenceCounted, ReferenceCounter, Threading::SpinLock,
                                                          sizeof(void*), 2 * sizeof(void*)>,
                               StandartObjectPolicy>;

} // namespace Tarq::Common::Memory
