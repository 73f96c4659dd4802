#include "tool/platform/file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarq::Tool::System {

using namespace Common;

namespace {

const char* textOf(int error) noexcept {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
        return "there is no such file";
    case EACCES:
    case EPERM:
        return "it may not be read";
    case EMFILE:
    case ENFILE:
        return "too many files are open";
    default:
        return "it cannot be opened";
    }
}

} // namespace

const char* openFile(const std::string& path, FileHandle& file) noexcept {
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return textOf(errno);
    struct stat status {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode))
        return nullptr;
    closeFile(file);
    file = cNoFile;
    return "it is no file";
}

void closeFile(FileHandle file) noexcept {
    close(file);
}

bool getFileState(FileHandle file, FileState& state) noexcept {
    struct stat status {};
    if (fstat(file, &status) != 0)
        return false;
    state = {static_cast<uint64>(status.st_size), status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
             status.st_ctim.tv_nsec};
    return true;
}

bool readFile(FileHandle file, uint64 position, void* bytes, uint32 count) noexcept {
    auto* next = static_cast<char*>(bytes);
    while (count != 0) {
        const ssize_t taken = pread(file, next, count, static_cast<off_t>(position));
        if (taken < 0 && errno == EINTR)
            continue;
        if (taken <= 0)
            return false;
        next += taken;
        position += static_cast<uint64>(taken);
        count -= static_cast<uint32>(taken);
    }
    return true;
}

std::string nameOfFile(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace Tarq::Tool::System
