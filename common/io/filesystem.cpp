#include "common/io/filesystem.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/unauthorizedaccessexception.h"
#include "common/io/directoryexception.h"
#include "common/io/internal/fullpath.h"
#include "common/platform/directory.h"
#include "common/platform/path.h"

#include <string_view>

namespace Tarq::Common::IO {

using Exceptions::ArgumentException;
using Exceptions::UnAuthorizedAccessException;
using Platform::FileError;

namespace {

/// What a path consists of. `name` and `extension` are the two halves of `fileName`.
struct PathParts {
    std::string_view directory; ///< with the drive in front, and the separator at the end
    std::string_view fileName;
    std::string_view name;
    std::string_view extension; ///< with its dot
};

bool startsWithDrive(std::string_view path) noexcept {
    return path.size() >= 2 && path[1] == ':' && String::Traits::toLower(path[0]) >= 'a' &&
           String::Traits::toLower(path[0]) <= 'z';
}

PathParts splitPath(std::string_view path) noexcept {
    const std::size_t driveLength = startsWithDrive(path) ? 2 : 0;
    const std::size_t lastSeparator = path.find_last_of("/\\");
    const std::size_t nameBegin = lastSeparator == std::string_view::npos ? driveLength : lastSeparator + 1;
    const std::string_view fileName = path.substr(nameBegin);
    const std::string_view name = fileName.substr(0, fileName.rfind('.'));
    const std::string_view extension = fileName.substr(name.size());
    constexpr std::size_t cMaxLength = FileSystem::cMaxPartLength;
    if (nameBegin - driveLength > cMaxLength || name.size() > cMaxLength || extension.size() > cMaxLength)
        return {};
    return {path.substr(0, nameBegin), fileName, name, extension};
}

/// Calls the system with a name, unless it would see only what stands before a NUL.
template <class Call>
auto withName(const String& name, Call call, decltype(call("")) refusal) noexcept {
    return name.contains('\0') ? refusal : call(name.c_str());
}

} // namespace

FileSystem::FileSystem() = default;

FileSystem::~FileSystem() = default;

bool FileSystem::canWrite() const {
    return true;
}

FileStreamPtr FileSystem::createFileStream(const String& fileName, FileStream::FileAccess access,
                                           FileStream::FileMode mode) {
    FileStreamPtr stream(new (getAllocator()) FileStream);
    stream->open(fileName, access, mode);
    return stream;
}

FileStreamPtr FileSystem::openFile(const String& fileName) {
    return createFileStream(fileName, FileStream::FACCESS_READ, FileStream::FMODE_OPEN);
}

FileStreamPtr FileSystem::createNewFile(const String& fileName) {
    return createFileStream(fileName, FileStream::FACCESS_READWRITE, FileStream::FMODE_CREATENEW);
}

FileStreamPtr FileSystem::createTemporaryFile() {
    FileStreamPtr stream(new (getAllocator()) FileStream);
    stream->openTemporary();
    return stream;
}

FileStreamPtr FileSystem::appendFile(const String& fileName) {
    return createFileStream(fileName, FileStream::FACCESS_READWRITE, FileStream::FMODE_APPEND);
}

bool FileSystem::existsFile(const String& fileName) {
    const auto canBeOpened = [](const char* name) {
        Platform::FileHandle file = Platform::cNoFile;
        if (Platform::openFile(name, Platform::FILE_READ, file) != FileError::FILE_ERROR_NONE)
            return false;
        Platform::closeFile(file);
        return true;
    };
    return withName(fileName, canBeOpened, false);
}

void FileSystem::deleteFile(const String& fileName) {
    withName(fileName, Platform::removeFile, FileError::FILE_ERROR_NOT_FOUND);
}

String FileSystem::getFileName(const String& path) const {
    return String(splitPath(path).fileName);
}

String FileSystem::getFileNameWithoutExtension(const String& path) const {
    return String(splitPath(path).name);
}

String FileSystem::getFileExtension(const String& path) const {
    const std::string_view extension = splitPath(path).extension;
    return String(extension.substr(extension.empty() ? 0 : 1));
}

String FileSystem::getFullPath(const String& path) const {
    String fullPath = path.contains('\0') ? String() : makeFullPath(path);
    if (fullPath.empty() || fullPath.length() > cMaxFullPathLength)
        throw new ArgumentException("FileSystem: Cannot build full path for an invalid path argument '" + path + "'",
                                    "path");
    return fullPath;
}

String FileSystem::getDirectoryName(const String& path) const {
    return String(splitPath(path).directory);
}

void FileSystem::setCurrentWorkingDir(const String& dirName) {
    if (!dirName.empty() && !withName(dirName, Platform::setWorkingDirectory, false))
        throw new DirectoryNotFoundException(
            "FileSystem: Cannot set current working directory to invalid directory name", dirName);
}

String FileSystem::getCurrentWorkingDir() const {
    char path[cMaxWorkingDirLength + 1];
    const std::size_t length = Platform::getWorkingDirectory(path);
    if (length == 0)
        throw new IOException("FileSystem: Cannot get current working directory - internal error ?");
    return String(std::string_view(path, length));
}

void FileSystem::createDirectory(const String& dirName) {
    switch (withName(dirName, Platform::createDirectory, FileError::FILE_ERROR_NOT_FOUND)) {
    case FileError::FILE_ERROR_NONE:
        return;
    case FileError::FILE_ERROR_NOT_FOUND:
        throw new ArgumentException("FileSystem: Directory name is malformed", "dirName");
    case FileError::FILE_ERROR_EXISTS:
        throw new DirectoryExistsException("FileSystem: Cannot create the directory, it already exists", dirName);
    default:
        TARQ_FAIL("Unkown error code"); // Tools see this text; do not correct it.
    }
}

void FileSystem::deleteDirectory(const String& dirName, bool) {
    switch (withName(dirName, Platform::removeDirectory, FileError::FILE_ERROR_NOT_FOUND)) {
    case FileError::FILE_ERROR_NONE:
        return;
    case FileError::FILE_ERROR_NOT_FOUND:
        throw new ArgumentException("FileSystem: Directory name is malformed", "dirName");
    case FileError::FILE_ERROR_ACCESS:
        throw new UnAuthorizedAccessException(
            "FileSystem: Cannot delete directory because there is an opened file in the directory");
    case FileError::FILE_ERROR_NOT_EMPTY:
        throw new DirectoryNotEmptyException("FileSystem: Directory cannot be deleted because it is not empty",
                                             dirName);
    default:
        TARQ_FAIL("Unkown error code"); // Tools see this text; do not correct it.
    }
}

bool FileSystem::existsDirectory(const String&) {
    TARQ_FAIL("not implemented");
    return false;
}

} // namespace Tarq::Common::IO
