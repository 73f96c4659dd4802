#pragma once

#include "common/sharedptr.h"

namespace Tarq::Common::Callback {

/// How host callbacks are held: counted inside the object, in its `ReferenceCounted` base.
template <class HostCallback>
using CallbackPtr = SharedPtr<HostCallback, MemberReferenceCount<ReferenceCounted, ReferenceCounter, sizeof(void*)>,
                              StandartObjectPolicy>;

} // namespace Tarq::Common::Callback
