#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace Tarq::Common::Platform {

/// The longest working directory that is told, in characters.
inline constexpr std::size_t cMaxWorkingDirectoryLength = 4096;

/// Stores the process's working directory, without a NUL, and returns its length.
///
/// Returns 0 when it cannot be told: it was removed, or `buffer` (`cMaxWorkingDirectoryLength` + 1 bytes are always
/// enough) is too short.
std::size_t getWorkingDirectory(std::span<char> buffer) noexcept;

/// Makes a directory the process's working directory, for all its threads. Returns whether it is that now.
bool setWorkingDirectory(const char* path) noexcept;

/// Stores the absolute form of `path`, without a NUL, and returns its length.
///
/// The path is only looked at as text: relative ones begin at the working directory, "." and ".." are resolved, doubled
/// separators become one, a separator at the end stays. Nothing of it has to exist. The empty path is the working
/// directory. Returns 0 when the working directory is needed and cannot be told, or when `buffer`
/// (`cMaxWorkingDirectoryLength` + 2 bytes more than `path` are always enough) is too short.
std::size_t makeAbsolutePath(std::string_view path, std::span<char> buffer) noexcept;

} // namespace Tarq::Common::Platform
