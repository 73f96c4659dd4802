#pragma once

#include "tool/client/breakpointmessages.h"
#include "tool/client/callmessages.h"
#include "tool/client/identitymessages.h"
#include "tool/client/modulemessages.h"
#include "tool/client/registrations.h"
#include "tool/client/streammessages.h"
#include "tool/client/variablemessages.h"

/// The messages between the tool and a host, as values. Each is a plain struct that lists its fields once, in the order
/// in which they travel behind the message's type; `encode` and `decode` go by that list.
///
/// A request that is answered, as `hasReply` tells, names its answer `Reply`, which has `cID = replyTo(...)`. The first
/// `cIdentifyingFields` of its fields are also the answer's first ones.
