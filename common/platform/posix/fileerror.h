#pragma once

#include "common/platform/file.h"

#include <cerrno>

namespace Tarq::Common::Platform {

/// The meaning of an error number that a call for a file or a directory leaves.
inline FileError fileErrorOf(int number) noexcept {
    switch (number) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:  // symbolic links that lead nowhere
    case EILSEQ: // bytes that are no name on this medium
        return FileError::FILE_ERROR_NOT_FOUND;
    case EEXIST:
        return FileError::FILE_ERROR_EXISTS;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
    case EBUSY:
    case EAGAIN: // somebody holds a lease on the file
    case ENXIO:  // a socket, a device without a driver, a pipe that nobody reads
    case ENODEV:
        return FileError::FILE_ERROR_ACCESS;
    case EMFILE:
    case ENFILE:
        return FileError::FILE_ERROR_TOO_MANY_OPEN;
    case EINVAL:
        return FileError::FILE_ERROR_INVALID;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return FileError::FILE_ERROR_NO_SPACE;
    default:
        return FileError::FILE_ERROR_OTHER;
    }
}

} // namespace Tarq::Common::Platform
