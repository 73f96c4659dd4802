#include "common/platform/path.h"

#include <algorithm>

#include <unistd.h>

namespace Tarq::Common::Platform {

std::size_t getWorkingDirectory(std::span<char> buffer) noexcept {
    // Without a buffer, the call may make one.
    if (buffer.empty() || !getcwd(buffer.data(), buffer.size()))
        return 0;
    // A directory outside of the process's root is told in a form that is no path.
    return buffer.front() == '/' ? std::string_view(buffer.data()).size() : 0;
}

bool setWorkingDirectory(const char* path) noexcept {
    return chdir(path) == 0;
}

std::size_t makeAbsolutePath(std::string_view path, std::span<char> buffer) noexcept {
    std::size_t length = 0; // "/a/b" has 4 characters here, and "/" has none.
    if (!path.starts_with('/')) {
        length = getWorkingDirectory(buffer);
        if (length == 0)
            return 0;
        if (length == 1)
            length = 0;
    }
    // One separator in front of the first component, one behind the last.
    if (buffer.size() - length < path.size() + 2)
        return 0;

    const bool hasTrailingSeparator = path.ends_with('/');
    while (!path.empty()) {
        const std::string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), component.size() + 1));
        if (component.empty() || component == ".")
            continue;
        if (component == "..") {
            while (length > 0 && buffer[--length] != '/') {
            }
            continue;
        }
        buffer[length++] = '/';
        length += component.copy(&buffer[length], component.size());
    }
    if (length == 0 || hasTrailingSeparator)
        buffer[length++] = '/';
    return length;
}

} // namespace Tarq::Common::Platform
