#pragma once

#include "common/export.h"
#include "common/types.h"

namespace Tarq::Common::Network::Sockets {

/// The text of a socket error number, without taking memory. `Socket::getErrorText` is the same as a string.
TARQ_API const char* getSocketErrorText(int32 code) noexcept;

} // namespace Tarq::Common::Network::Sockets
