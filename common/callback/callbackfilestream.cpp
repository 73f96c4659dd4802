#include "common/callback/callbackfilestream.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/exceptions/notsupportedexception.h"
#include "common/exceptions/unauthorizedaccessexception.h"
#include "common/io/ioexception.h"

#include <algorithm>

namespace Tarq::Common::Callback {

using Exceptions::ArgumentNullException;
using Exceptions::ArgumentOutOfRangeException;
using Exceptions::InvalidStateException;
using Exceptions::NotSupportedException;
using Exceptions::UnAuthorizedAccessException;
using IO::FileStream;

CallbackFileStream::CallbackFileStream(const FileIOCallbackPtr& fileIO) : mFileIO(fileIO) {
    if (TARQ_ASSERT_AS("mFileIO != NULL", mFileIO, "File callback cannot be a NULL pointer"))
        mHandle = mFileIO->getInvalidHandle();
}

CallbackFileStream::~CallbackFileStream() {
    CallbackFileStream::close();
}

void CallbackFileStream::open(const String& fileName, FileAccess access) {
    String name;
    if (&fileName == &mName)
        name.swap(mName); // Closing would empty the very name that is to be opened.
    close();
    if (!mFileIO)
        throw new IO::IOException("CallbackFileStream: Unknown file open error");
    if (name.empty())
        name = fileName; // Once the file is open, nothing can fail any more.
    mHandle = openByHost(name, access);
    mName.swap(name);
    mAccess = access;
}

FileIOCallback::FileHandle CallbackFileStream::openByHost(const String& fileName, FileAccess access) const {
    FileIOCallback::FileHandle handle = mFileIO->getInvalidHandle();
    const int32 status = mFileIO->openFile(handle, fileName, access);
    if (status == FileIOCallback::FIOERR_ACCESSDENIED)
        throw new UnAuthorizedAccessException("CallbackFileStream: Given path is a directory, or file is read-only, "
                                              "but an open-for-writing operation was attempted");
    if (status == FileIOCallback::FIOERR_NOTFOUND)
        throw new IO::FileNotFoundException("CallbackFileStream: File or path not found", fileName,
                                            mFileIO->getFullPath(fileName));
    if (status < 0 || !mFileIO->isValidHandle(handle))
        throw new IO::IOException("CallbackFileStream: Unknown file open error");
    return handle;
}

void CallbackFileStream::close() {
    if (!mFileIO)
        return;
    if (mFileIO->isValidHandle(mHandle))
        mFileIO->closeFile(mHandle);
    mHandle = mFileIO->getInvalidHandle(); // The host may give a handle that it has dropped to another file.
    mName.clear();
    mAccess = {};
}

bool CallbackFileStream::canRead() const {
    return !isClosed() && (mAccess == FileStream::FACCESS_READ || mAccess == FileStream::FACCESS_READWRITE);
}

bool CallbackFileStream::canWrite() const {
    return !isClosed() && (mAccess == FileStream::FACCESS_WRITE || mAccess == FileStream::FACCESS_READWRITE);
}

bool CallbackFileStream::canSeek() const {
    return !isClosed();
}

bool CallbackFileStream::isClosed() const {
    return !mFileIO || !mFileIO->isValidHandle(mHandle);
}

uint64 CallbackFileStream::getLength() const {
    if (isClosed())
        throw new InvalidStateException("CallbackFileStream: Try to get length of closed stream");
    return mFileIO->getFileLength(mHandle);
}

uint64 CallbackFileStream::getPosition() const {
    if (isClosed())
        throw new InvalidStateException("CallbackFileStream: Try to get position of closed stream.");
    return mFileIO->getFilePosition(mHandle);
}

const String& CallbackFileStream::getName() const {
    if (isClosed())
        throw new InvalidStateException("CallbackFileStream: Try to get filename from a closed stream");
    return mName;
}

uint64 CallbackFileStream::read(void* dst, uint64 numBytes) {
    if (isClosed())
        throw new InvalidStateException("CallbackFileStream: Cannot read on closed streams.");
    if (!canRead())
        throw new NotSupportedException("CallbackFileStream: Cannot read from the file. Not opened for reading.");
    if (!dst)
        throw new ArgumentNullException("CallbackFileStream: The destination buffer in a read cannot be NULL.",
                                        "dstBuffer");
    const auto asked = static_cast<uint32>(numBytes);
    const int32 readBytes = mFileIO->readFile(dst, asked, mHandle);
    return static_cast<uint64>(std::clamp<int64>(readBytes, 0, asked));
}

void CallbackFileStream::write(const void* src, uint64 numBytes) {
    if (isClosed())
        throw new InvalidStateException("CallbackFileStream: Cannot write on closed streams.");
    if (!canWrite())
        throw new NotSupportedException("CallbackFileStream: Cannot write to the file. Not opened for writing.");
    if (!src)
        throw new ArgumentNullException("CallbackFileStream: The source buffer in a write cannot be NULL.",
                                        "srcBuffer");
    const auto asked = static_cast<uint32>(numBytes);
    const int32 writtenBytes = mFileIO->writeFile(src, asked, mHandle);
    if (writtenBytes == FileIOCallback::FIOERR_DISKFULL)
        throw new IO::OutOfSpaceException("CallbackFileStream: Cannot write to file, disk full.");
    // From 2 GiB on, the host's number is negative.
    if (static_cast<uint32>(writtenBytes) == asked)
        return;
    TARQ_FAIL("Internal error: Unhandeled error condition during write."); // Tools see this text; do not correct it.
}

uint64 CallbackFileStream::seek(int64 offset, SeekOrigin origin) {
    if (isClosed())
        throw new InvalidStateException("CallbackFileStream: Cannot seek on closed streams.");
    if (!canSeek())
        throw new NotSupportedException("CallbackFileStream: Cannot seek on the file. No random access to the file.");
    const int64 position = mFileIO->seekFile(offset, origin, mHandle);
    if (position == FileIOCallback::FIOERR_OUTOFRANGE) {
        // Tools see this text; do not correct it.
        throw new ArgumentOutOfRangeException("FileStream: Offset seeks out of file range.", "offset");
    }
    if (position < 0) {
        TARQ_FAIL("Unhandled error condition from seekFile callback.");
        return 0;
    }
    return static_cast<uint64>(position);
}

void CallbackFileStream::flush() {}

} // namespace Tarq::Common::Callback
