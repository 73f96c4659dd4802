#include "common/io/filestream.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/exceptions/notsupportedexception.h"
#include "common/exceptions/unauthorizedaccessexception.h"
#include "common/io/internal/fullpath.h"
#include "common/io/ioexception.h"

#include <algorithm>

namespace Tarq::Common::IO {

using Exceptions::ArgumentNullException;
using Exceptions::ArgumentOutOfRangeException;
using Exceptions::InvalidStateException;
using Exceptions::NotSupportedException;
using Exceptions::UnAuthorizedAccessException;
using Platform::FileError;

namespace {

constexpr uint64 cMaxTransfer = 0xFFFFFFFF;

Platform::FileFlag accessFlagsOf(FileStream::FileAccess access) {
    switch (access) {
    case FileStream::FACCESS_READ:
        return Platform::FILE_READ;
    case FileStream::FACCESS_READWRITE:
        return Platform::FILE_READ | Platform::FILE_WRITE;
    case FileStream::FACCESS_WRITE:
        return Platform::FILE_WRITE;
    }
    throw new ArgumentOutOfRangeException("FileStream: Unknown access mode", "fAccess");
}

Platform::FileFlag modeFlagsOf(FileStream::FileMode mode) {
    switch (mode) {
    case FileStream::FMODE_OPEN:
        return {};
    case FileStream::FMODE_APPEND:
        return Platform::FILE_APPEND;
    case FileStream::FMODE_CREATE:
        return Platform::FILE_CREATE | Platform::FILE_TRUNCATE;
    case FileStream::FMODE_CREATENEW:
        return Platform::FILE_CREATE | Platform::FILE_EXCLUSIVE;
    case FileStream::FMODE_OPENORCREATE:
        return Platform::FILE_CREATE;
    }
    throw new ArgumentOutOfRangeException("FileStream: Unknown file open mode", "fMode");
}

/// A name that cannot be made absolute, because the working directory is gone, is told as it is.
String fullNameOf(const String& name) {
    String fullName = makeFullPath(name);
    return fullName.empty() ? name : fullName;
}

FileError openFile(const String& name, Platform::FileFlag flags, Platform::FileHandle& file) {
    // The system would open what the name says before the NUL.
    if (name.find('\0') != String::npos)
        return FileError::FILE_ERROR_NOT_FOUND;
    return Platform::openFile(name.c_str(), flags, file);
}

/// Returns when there is no error, or an asserted one.
void reportOpenError(FileError retVal, const String& name) {
    switch (retVal) {
    case FileError::FILE_ERROR_NOT_FOUND:
        throw new FileNotFoundException("FileStream: File or path not found", name, fullNameOf(name));
    case FileError::FILE_ERROR_ACCESS:
        throw new UnAuthorizedAccessException("FileStream: Given path is a directory, or file is read-only, but an "
                                              "open-for-writing operation was attempted");
    case FileError::FILE_ERROR_EXISTS:
        throw new FileExistException(
            "FileStream: File has been opened with FMODE_CREATENEW but the file exists already", name,
            fullNameOf(name));
    case FileError::FILE_ERROR_TOO_MANY_OPEN:
        throw new IOException("FileStream: No more file descriptors available");
    case FileError::FILE_ERROR_INVALID:
        TARQ_FAIL("Internal error: The combination of the flags for open() is wrong");
        return;
    case FileError::FILE_ERROR_NONE:
    case FileError::FILE_ERROR_NO_SPACE:
    case FileError::FILE_ERROR_NOT_EMPTY:
    case FileError::FILE_ERROR_OTHER:
        TARQ_ASSERT_AS("retVal == 0", retVal == FileError::FILE_ERROR_NONE,
                       "Internal error: Unhandled error code from open()");
        return;
    }
}

Platform::FileOrigin originOf(Stream::SeekOrigin origin) {
    switch (origin) {
    case Stream::SORIGIN_CURRENT:
        return Platform::FileOrigin::FILE_ORIGIN_CURRENT;
    case Stream::SORIGIN_END:
        return Platform::FileOrigin::FILE_ORIGIN_END;
    case Stream::SORIGIN_BEGIN:
        return Platform::FileOrigin::FILE_ORIGIN_BEGIN;
    }
    String message("FileStream: Unknown origin '");
    message.appendDecimal(static_cast<int32>(origin)).append("' specified.");
    throw new ArgumentOutOfRangeException(message, "origin");
}

} // namespace

FileStream::FileStream() = default;

FileStream::FileStream(const String& fileName, FileAccess access, FileMode mode) {
    FileStream::open(fileName, access, mode);
}

FileStream::~FileStream() {
    FileStream::close();
}

void FileStream::open(const String& fileName, FileAccess access, FileMode mode) {
    String name;
    if (&fileName == &mName)
        name.swap(mName); // Closing would empty the very name that is to be opened.
    close();
    const Platform::FileFlag accessFlags = accessFlagsOf(access);
    const Platform::FileFlag modeFlags = modeFlagsOf(mode);
    if (name.empty())
        name = fileName; // Once the file is open, nothing can fail any more.
    Platform::FileHandle file = Platform::cNoFile;
    const FileError error = openFile(name, accessFlags | modeFlags, file);
    reportOpenError(error, name);
    if (error == FileError::FILE_ERROR_NONE)
        adopt(file, name, access, mode);
}

void FileStream::openTemporary() {
    close();
    String name(Platform::cMaxTemporaryPathLength + 1, '\0'); // As above.
    Platform::FileHandle file = Platform::cNoFile;
    const FileError error = Platform::openTemporaryFile({name.begin(), name.length()}, file);
    name.resize(name.find('\0'));
    reportOpenError(error, name);
    if (error == FileError::FILE_ERROR_NONE)
        adopt(file, name, FACCESS_READWRITE, FMODE_CREATE);
}

void FileStream::adopt(Platform::FileHandle file, String& name, FileAccess access, FileMode mode) noexcept {
    mAccess = access;
    mMode = mode;
    mFile = file;
    mName.swap(name);
}

void FileStream::close() {
    if (isClosed())
        return;
    Platform::closeFile(mFile);
    mFile = Platform::cNoFile;
    mName.clear();
    mAccess = {};
}

bool FileStream::canRead() const {
    return !isClosed() && (mAccess == FACCESS_READ || mAccess == FACCESS_READWRITE);
}

bool FileStream::canWrite() const {
    return !isClosed() && (mAccess == FACCESS_WRITE || mAccess == FACCESS_READWRITE);
}

bool FileStream::canSeek() const {
    return !isClosed();
}

bool FileStream::isClosed() const {
    return mFile < 0;
}

uint64 FileStream::getLength() const {
    if (isClosed())
        throw new InvalidStateException("FileStream: Try to get length of closed stream");
    const int64 length = Platform::getFileLength(mFile);
    if (!TARQ_ASSERT(length >= 0, "Internal error: The length of an open file is not known."))
        return 0;
    return static_cast<uint64>(length);
}

uint64 FileStream::getPosition() const {
    if (isClosed())
        throw new InvalidStateException("FileStream: Try to get position of closed stream.");
    const int64 position = Platform::seekFile(mFile, 0, Platform::FileOrigin::FILE_ORIGIN_CURRENT);
    if (!TARQ_ASSERT(position >= 0, "Internal error: The position in an open file is not known."))
        return 0;
    return static_cast<uint64>(position);
}

const String& FileStream::getName() const {
    if (isClosed())
        throw new InvalidStateException("FileStream: Try to get filename from a closed stream");
    return mName;
}

uint64 FileStream::read(void* dst, uint64 numBytes) {
    if (isClosed())
        throw new InvalidStateException("FileStream: Cannot read on closed streams.");
    if (!canRead())
        throw new NotSupportedException("FileStream: Cannot read from the file. Not opened for reading.");
    if (!dst)
        throw new ArgumentNullException("FileStream: The destination buffer in a read cannot be NULL.", "dstBuffer");
    const auto [readBytes, error] =
        Platform::readFile(mFile, dst, static_cast<uint32>(std::min(numBytes, cMaxTransfer)));
    // An error behind bytes that did come waits for the next read.
    TARQ_ASSERT_AS("readBytes >= 0", error == FileError::FILE_ERROR_NONE || readBytes != 0,
                   "Internal error: read should not return negative values, since all error conditions are checked.");
    return readBytes;
}

void FileStream::write(const void* src, uint64 numBytes) {
    if (isClosed())
        throw new InvalidStateException("FileStream: Cannot write on closed streams.");
    if (!canWrite())
        throw new NotSupportedException("FileStream: Cannot write to the file. Not opened for writing.");
    if (!src)
        throw new ArgumentNullException("FileStream: The source buffer in a write cannot be NULL.", "srcBuffer");
    const auto [writtenBytes, error] =
        Platform::writeFile(mFile, src, static_cast<uint32>(std::min(numBytes, cMaxTransfer)));
    if (writtenBytes == numBytes)
        return;
    if (error == FileError::FILE_ERROR_NO_SPACE)
        throw new OutOfSpaceException("FileStream: Cannot write to file, disk full.");
    TARQ_FAIL("Internal error: Unhandeled error condition during write."); // Tools see this text; do not correct it.
}

uint64 FileStream::seek(int64 offset, SeekOrigin origin) {
    if (isClosed())
        throw new InvalidStateException("FileStream: Cannot seek on closed streams.");
    if (!canSeek())
        throw new NotSupportedException("FileStream: Cannot seek on the file. No random access to the file.");
    const int64 position = Platform::seekFile(mFile, offset, originOf(origin));
    if (position < 0)
        throw new ArgumentOutOfRangeException("FileStream: Offset seeks out of file range.", "offset");
    return static_cast<uint64>(position);
}

void FileStream::flush() {
    if (isClosed())
        throw new InvalidStateException("FileStream: Cannot flush on closed streams.");
    if (!Platform::commitFile(mFile))
        throw new IOException("FileStream: Unknown error on flush");
}

} // namespace Tarq::Common::IO
