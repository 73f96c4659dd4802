#include "common/platform/file.h"

#include "common/platform/posix/fileerror.h"
#include "common/platform/posix/uninterrupted.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

static_assert(sizeof(off_t) == sizeof(int64), "offsets in files have 64 bits on every machine");

namespace {

/// One system call moves no more: the 32-bit systems' largest signed size is below 4 GiB.
constexpr uint32 cMaxTransfer = 0x40000000;

int accessOf(FileFlag flags) noexcept {
    if ((flags & FILE_READ) && (flags & FILE_WRITE))
        return O_RDWR;
    return flags & FILE_WRITE ? O_WRONLY : O_RDONLY;
}

int modeOf(FileFlag flags) noexcept {
    return (flags & FILE_APPEND ? O_APPEND : 0) | (flags & FILE_CREATE ? O_CREAT : 0) |
           (flags & FILE_TRUNCATE ? O_TRUNC : 0) | (flags & FILE_EXCLUSIVE ? O_EXCL : 0);
}

/// A directory can be opened, and positioned after a fashion, but holds no bytes.
bool hasBytesAtPositions(int descriptor) noexcept {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode))
        return false;
    return S_ISREG(status.st_mode) || lseek(descriptor, 0, SEEK_CUR) >= 0;
}

/// Moves `numBytes` bytes in steps; `step` takes the number done and the number wanted, and returns how far it came.
template <class Step>
FileTransfer transfer(uint32 numBytes, Step step) noexcept {
    uint32 done = 0;
    while (done < numBytes) {
        const ssize_t count = uninterrupted([&] { return step(done, std::min(numBytes - done, cMaxTransfer)); });
        if (count < 0)
            return {done, fileErrorOf(errno)};
        if (count == 0)
            break;
        done += static_cast<uint32>(count);
    }
    return {done, FileError::FILE_ERROR_NONE};
}

} // namespace

FileError openFile(const char* path, FileFlag flags, FileHandle& file) noexcept {
    file = cNoFile;
    // Opening a pipe waits for its other end, and opening a terminal may make it the process's own.
    const int openFlags = accessOf(flags) | modeOf(flags) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int descriptor = uninterrupted([&] { return open(path, openFlags, S_IRUSR | S_IWUSR); });
    if (descriptor < 0)
        return fileErrorOf(errno);
    if (!hasBytesAtPositions(descriptor)) {
        close(descriptor);
        return FileError::FILE_ERROR_ACCESS;
    }
    // From here on, reads and writes wait. The call changes only the flags that may change; appending is one of them.
    fcntl(descriptor, F_SETFL, openFlags & O_APPEND);
    file = descriptor;
    return FileError::FILE_ERROR_NONE;
}

FileError openTemporaryFile(std::span<char> path, FileHandle& file) noexcept {
    constexpr std::string_view cPattern = P_tmpdir "/tarq-XXXXXX";
    static_assert(cPattern.size() <= cMaxTemporaryPathLength);
    file = uninterrupted([&] {
        path[cPattern.copy(path.data(), cPattern.size())] = '\0';
        // Tries names in the place of the X's until one is new, and grants nothing to anybody but the owner.
        return mkostemp(path.data(), O_CLOEXEC);
    });
    return file < 0 ? fileErrorOf(errno) : FileError::FILE_ERROR_NONE;
}

FileError removeFile(const char* path) noexcept {
    return unlink(path) == 0 ? FileError::FILE_ERROR_NONE : fileErrorOf(errno);
}

FileTransfer readFile(FileHandle file, void* dst, uint32 numBytes) noexcept {
    return transfer(numBytes, [&](uint32 done, uint32 wanted) {
        return ::read(file, static_cast<std::byte*>(dst) + done, wanted);
    });
}

FileTransfer writeFile(FileHandle file, const void* src, uint32 numBytes) noexcept {
    FileTransfer moved = transfer(numBytes, [&](uint32 done, uint32 wanted) {
        return ::write(file, static_cast<const std::byte*>(src) + done, wanted);
    });
    // A device that takes nothing and names no reason would otherwise look like success.
    if (moved.numBytes < numBytes && moved.error == FileError::FILE_ERROR_NONE)
        moved.error = FileError::FILE_ERROR_OTHER;
    return moved;
}

int64 seekFile(FileHandle file, int64 offset, FileOrigin origin) noexcept {
    switch (origin) {
    case FileOrigin::FILE_ORIGIN_BEGIN:
        return lseek(file, offset, SEEK_SET);
    case FileOrigin::FILE_ORIGIN_CURRENT:
        return lseek(file, offset, SEEK_CUR);
    case FileOrigin::FILE_ORIGIN_END:
        return lseek(file, offset, SEEK_END);
    }
    return -1;
}

int64 getFileLength(FileHandle file) noexcept {
    struct stat status {};
    if (fstat(file, &status) != 0)
        return -1;
    if (S_ISREG(status.st_mode))
        return status.st_size;
    // The system keeps no size for a device.
    const off_t position = lseek(file, 0, SEEK_CUR);
    const off_t length = lseek(file, 0, SEEK_END);
    lseek(file, position, SEEK_SET);
    return length;
}

bool commitFile(FileHandle file) noexcept {
    return uninterrupted([&] { return fsync(file); }) == 0;
}

void closeFile(FileHandle file) noexcept {
    // An interrupted close is not repeated: the descriptor is free already and may be another thread's by now.
    ::close(file);
}

} // namespace Tarq::Common::Platform
