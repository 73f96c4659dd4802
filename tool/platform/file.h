#pragma once

#include "common/types.h"

#include <string>

/// Files of this machine that are read at any position, while somebody may write them.
namespace Tarq::Tool::System {

/// A file that is open to be read.
using FileHandle = Common::int32;
inline constexpr FileHandle cNoFile = -1;

/// What changes when somebody writes a file.
///
/// Whoever writes it may set the time of that back, as tools that copy files do, but not the time of this change. That
/// may be another one: a file that is renamed, or has other rights, may have another state, too. Times go on in steps
/// of the system: what is changed twice within one has the same.
struct FileState {
    Common::uint64 length = 0;
    Common::int64 seconds = 0; ///< when it was last written; from a time of the system's own
    Common::int64 nanoseconds = 0;
    Common::int64 changeSeconds = 0; ///< when something of it was last changed
    Common::int64 changeNanoseconds = 0;

    bool operator==(const FileState&) const = default;
};

/// Opens a file; only one that has bytes at positions. Never waits. Returns null, or what is wrong, for a person.
const char* openFile(const std::string& path, FileHandle& file) noexcept;
void closeFile(FileHandle file) noexcept;
/// False when the system does not tell.
bool getFileState(FileHandle file, FileState& state) noexcept;
/// False when not all of the bytes are there, or the medium fails.
bool readFile(FileHandle file, Common::uint64 position, void* bytes, Common::uint32 count) noexcept;

/// What a path ends with: the file's own name.
std::string nameOfFile(const std::string& path);

} // namespace Tarq::Tool::System
