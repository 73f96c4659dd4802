#pragma once

#include "common/types.h"

#include <cstddef>
#include <span>

/// Low-level files: bytes are untranslated, nothing is buffered on this side of the system.
///
/// Threads: any; one handle is used by one thread at a time. No call is given up because a signal came in between.
namespace Tarq::Common::Platform {

/// An open file; a handle of the process that child programs do not inherit.
using FileHandle = int32;
inline constexpr FileHandle cNoFile = -1;

/// How a file is opened; combine them with `|`. At least one of reading and writing is asked for.
enum FileFlag : uint32 {
    FILE_READ = 1,
    FILE_WRITE = 2,
    FILE_APPEND = 4,     ///< every write goes to the end of the file
    FILE_CREATE = 8,     ///< makes the file if it is missing; its owner may read and write it
    FILE_TRUNCATE = 16,  ///< empties the file, also when it is only to be read
    FILE_EXCLUSIVE = 32, ///< with `FILE_CREATE`: refuses a file that exists
};

constexpr FileFlag operator|(FileFlag a, FileFlag b) noexcept {
    return static_cast<FileFlag>(static_cast<uint32>(a) | static_cast<uint32>(b));
}

/// What went wrong, by meaning: a backend sorts the error numbers of its system into these.
enum class FileError : uint32 {
    FILE_ERROR_NONE,
    FILE_ERROR_NOT_FOUND,     ///< the file or a directory on the way to it is missing, or cannot have such a name
    FILE_ERROR_EXISTS,        ///< there is such a file already
    FILE_ERROR_ACCESS,        ///< no permission, a read-only medium, a file in use, something that is no file
    FILE_ERROR_TOO_MANY_OPEN, ///< the process or the system has no handle left
    FILE_ERROR_INVALID,       ///< the combination of flags or the name is invalid
    FILE_ERROR_NO_SPACE,      ///< the medium, the quota or the largest possible file is full
    FILE_ERROR_NOT_EMPTY,     ///< the directory holds something
    FILE_ERROR_OTHER,
};

/// Opens a file and stores its handle, `cNoFile` after a failure. The position is the start of the file.
///
/// Only what has bytes at positions is opened: regular files and devices like them. A directory, a pipe or a terminal
/// is an access error. Opening never waits for another process.
FileError openFile(const char* path, FileFlag flags, FileHandle& file) noexcept;

/// The longest path of a temporary file, in characters.
inline constexpr std::size_t cMaxTemporaryPathLength = 255;

/// Makes a file that nobody else has, in the system's directory for temporary files, and opens it to be read and
/// written. Only its owner may do that. Nothing removes it.
///
/// Stores its path, with a NUL, in `path` (`cMaxTemporaryPathLength` + 1 bytes), and its handle, `cNoFile` after a
/// failure.
FileError openTemporaryFile(std::span<char> path, FileHandle& file) noexcept;

/// Removes a file. A directory is not removed; a file that is open may be refused.
FileError removeFile(const char* path) noexcept;

/// How far a read or a write came.
struct FileTransfer {
    uint32 numBytes; ///< moved before the end of the file or the error, if there was one
    FileError error;
};

/// Reads up to `numBytes` bytes at the position and moves it; fewer without an error means the end of the file.
FileTransfer readFile(FileHandle file, void* dst, uint32 numBytes) noexcept;
/// Writes `numBytes` bytes at the position and moves it; fewer only with an error.
FileTransfer writeFile(FileHandle file, const void* src, uint32 numBytes) noexcept;

/// What the offset of `seekFile` counts from.
enum class FileOrigin : uint32 { FILE_ORIGIN_BEGIN, FILE_ORIGIN_CURRENT, FILE_ORIGIN_END };

/// Moves the position, which may lie beyond the end, and returns it; negative for a target before the start.
int64 seekFile(FileHandle file, int64 offset, FileOrigin origin) noexcept;
/// The length in bytes; negative when the system does not tell.
int64 getFileLength(FileHandle file) noexcept;
/// Waits until what was written has reached the medium. Returns whether it has.
bool commitFile(FileHandle file) noexcept;
/// The handle is gone afterwards, whatever the system says.
void closeFile(FileHandle file) noexcept;

} // namespace Tarq::Common::Platform
