#pragma once

#include "tests/support/memoryfilesystem.h"

#include <string>
#include <string_view>

namespace Tarq::Fuzz {

/// Ends a file in an input of several.
inline constexpr char cFileSeparator = '\f';

/// The files of an input, named "0", "1" and so on.
inline void addFiles(Test::MemoryFileSystem& files, std::string_view all) {
    for (int number = 0;; ++number) {
        const std::size_t end = all.find(cFileSeparator);
        files.add(std::to_string(number), std::string(all.substr(0, end)));
        if (end == std::string_view::npos)
            break;
        all.remove_prefix(end + 1);
    }
}

} // namespace Tarq::Fuzz
