#pragma once

namespace Tarq::Tool {

/// What the program ends with. Scripts see the numbers.
enum ExitCode : int {
    EXIT_FINE = 0,
    EXIT_REFUSED = 1,
    EXIT_USAGE = 2,
    EXIT_NO_CONNECTION = 3,
    EXIT_LOST = 4,     ///< or what came made no sense
    EXIT_INTERNAL = 5, ///< memory is exhausted, the output cannot be written, or a served file was withdrawn
    EXIT_NOT_COME = 6, ///< what was waited for
};

} // namespace Tarq::Tool
