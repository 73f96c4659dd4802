#pragma once

#include <string>

namespace Tarq::Common::Debug {

/// Longest search path, in characters, without the final NUL.
inline constexpr std::size_t cMaxSearchPathLength = 4095;

/// Puts the places together where symbols are looked for, each followed by ";": `first` if it is not empty, the working
/// directory, the program's directory, those that the environment names, and the symbol server.
///
/// A place that does not fit any more is left out. Throws `std::bad_alloc`.
std::string buildSymbolSearchPath(const char* first);

/// The places among these that are looked at: all but the working directory, where a stranger's files may be, and the
/// symbol server. Throws `std::bad_alloc`.
std::string listSymbolDirectories(const char* first);

} // namespace Tarq::Common::Debug
