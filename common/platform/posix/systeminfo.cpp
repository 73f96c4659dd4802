#include "common/platform/systeminfo.h"

#include <charconv>
#include <string_view>

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

/// Takes the number at the beginning of `text`, and the separator behind it.
uint32 takeNumber(std::string_view& text) {
    uint32 number = 0;
    const char* const end = std::from_chars(text.data(), text.data() + text.size(), number).ptr;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (!text.empty())
        text.remove_prefix(1);
    return number;
}

} // namespace

SystemVersion getSystemVersion() {
    utsname names{};
    SystemVersion version;
    if (uname(&names) != 0)
        return version;
    std::string_view release = names.release;
    version.mMajor = takeNumber(release);
    version.mMinor = takeNumber(release);
    version.mBuild = takeNumber(release);
    version.mText = names.version;
    return version;
}

std::string getUserName() {
    const uid_t user = geteuid();
    char buffer[4096];
    passwd record{};
    passwd* found = nullptr;
    if (getpwuid_r(user, &record, buffer, sizeof(buffer), &found) == 0 && found)
        return found->pw_name;
    return std::to_string(user);
}

std::string getProgramFile() {
    char buffer[4096];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof(buffer));
    // A path that fills the buffer may have been cut.
    if (length <= 0 || length == static_cast<ssize_t>(sizeof(buffer)))
        return std::string();
    std::string file(buffer, static_cast<std::size_t>(length));
    // The system marks a file that is gone; another one may be called like that.
    constexpr std::string_view cMark = " (deleted)";
    if (file.ends_with(cMark) && access(file.c_str(), F_OK) != 0)
        file.resize(file.size() - cMark.size());
    return file;
}

} // namespace Tarq::Common::Platform
