#pragma once

#include "common/string.h"
#include "common/types.h"

namespace Tarq::Tool {

/// Why there is no connection.
enum FailureKind : Common::uint8 {
    FAILURE_UNREACHABLE, ///< nobody took the connection
    FAILURE_LOST,        ///< the host has gone, or does not answer
    FAILURE_PROTOCOL,    ///< what came is not what a host sends
};

struct Failure {
    FailureKind kind;
    Common::String text;
    Common::int32 socketError = 0; ///< 0 when it was not a socket that failed
};

/// A failed socket operation, in words for a person.
Failure makeSocketFailure(FailureKind kind, Common::int32 socketError);

} // namespace Tarq::Tool
