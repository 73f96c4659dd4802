#pragma once

#include "common/io/filestream.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Where everything is in an archive's file, which the library keeps to itself. The format is in docs/fileformats.md.
namespace archivelayout {

using namespace Tarq::Common;
using IO::FileStream;

constexpr uint64 cHeaderSize = 21;
constexpr int64 cTablePosition = 5;
constexpr std::size_t cCountSize = 4;
constexpr std::size_t cLengthSize = 4;
constexpr std::size_t cPositionSize = 8;

struct Layout {
    uint64 shared = 0; ///< how many bytes belong to an entry, and to something else as well
    uint64 unused = 0; ///< how many belong to nothing
};

inline std::vector<unsigned char> readAt(FileStream& file, int64 position, std::size_t size) {
    std::vector<unsigned char> bytes(size);
    file.seek(position, FileStream::SORIGIN_BEGIN);
    for (std::size_t at = 0; at < size;) {
        const uint64 count = file.read(bytes.data() + at, size - at);
        if (count == 0)
            throw std::runtime_error("the table cannot be read");
        at += static_cast<std::size_t>(count);
    }
    return bytes;
}

inline uint64 numberAt(const std::vector<unsigned char>& bytes, std::size_t at, std::size_t size) {
    if (at > bytes.size() || size > bytes.size() - at)
        throw std::runtime_error("the table changes while it is read");
    uint64 number = 0;
    for (std::size_t end = at + size; at < end; ++at)
        number = number << 8 | bytes[at];
    return number;
}

/// `names`: all that the library has found in the archive, whose positions are checked by it.
inline Layout examine(const std::filesystem::path& archive, const std::vector<std::string>& names) {
    FileStream file(archive.c_str(), FileStream::FACCESS_READ, FileStream::FMODE_OPEN);
    std::size_t tableSize = cCountSize;
    for (const std::string& name : names)
        tableSize += cLengthSize + name.size() + 2 * cPositionSize;
    const uint64 tablePosition = numberAt(readAt(file, cTablePosition, cPositionSize), 0, cPositionSize);
    const std::vector<unsigned char> table = readAt(file, static_cast<int64>(tablePosition), tableSize);

    std::vector<std::pair<uint64, uint64>> parts{{0, cHeaderSize}, {tablePosition, tablePosition + tableSize}};
    for (std::size_t at = cCountSize; at < table.size(); at += 2 * cPositionSize) {
        at += cLengthSize + static_cast<std::size_t>(numberAt(table, at, cLengthSize));
        const uint64 start = numberAt(table, at, cPositionSize);
        const uint64 end = numberAt(table, at + cPositionSize, cPositionSize);
        if (start != end)
            parts.emplace_back(start, end);
    }
    std::sort(parts.begin(), parts.end());
    parts.emplace_back(file.getLength(), file.getLength());

    Layout layout;
    uint64 reached = 0;
    for (const auto& [start, end] : parts) {
        if (start < reached)
            layout.shared += std::min(end, reached) - start;
        else
            layout.unused += start - reached;
        reached = std::max(reached, end);
    }
    return layout;
}

} // namespace archivelayout
