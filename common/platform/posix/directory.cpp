#include "common/platform/directory.h"

#include "common/platform/posix/fileerror.h"

#include <sys/stat.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

FileError directoryErrorOf(int number) noexcept {
    // There are no flags that could be wrong here: it is the name.
    return number == EINVAL ? FileError::FILE_ERROR_NOT_FOUND : fileErrorOf(number);
}

} // namespace

FileError createDirectory(const char* path) noexcept {
    return mkdir(path, S_IRWXU | S_IRWXG | S_IRWXO) == 0 ? FileError::FILE_ERROR_NONE : directoryErrorOf(errno);
}

FileError removeDirectory(const char* path) noexcept {
    if (rmdir(path) == 0)
        return FileError::FILE_ERROR_NONE;
    // Some file systems use the one number, some the other.
    if (errno == ENOTEMPTY || errno == EEXIST)
        return FileError::FILE_ERROR_NOT_EMPTY;
    return directoryErrorOf(errno);
}

} // namespace Tarq::Common::Platform
