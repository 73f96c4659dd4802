#pragma once

#include "common/platform/file.h"

/// Directories. Threads: any.
namespace Tarq::Common::Platform {

/// Makes one directory, with the rights that the process grants to new ones. Those on the way to it must exist.
///
/// Whatever has the name already is `FILE_ERROR_EXISTS`; a name that no directory can have is `FILE_ERROR_NOT_FOUND`.
FileError createDirectory(const char* path) noexcept;

/// Removes a directory that is empty; any other is `FILE_ERROR_NOT_EMPTY`.
///
/// What is no directory, and "." as the name, are `FILE_ERROR_NOT_FOUND`; what is in use is `FILE_ERROR_ACCESS`.
FileError removeDirectory(const char* path) noexcept;

} // namespace Tarq::Common::Platform
