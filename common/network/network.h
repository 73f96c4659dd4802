#pragma once

#include "common/export.h"

namespace Tarq::Common::Network {

/// Starts the system's socket service; before the first socket, and once for each `CloseNetwork`. Returns false, with
/// nothing to close, when there is none of version 2.2. Tells the versions as a debug message.
TARQ_API bool InitializeNetwork();

/// Undoes one `InitializeNetwork` that returned true; after the last socket.
TARQ_API void CloseNetwork();

} // namespace Tarq::Common::Network
