#pragma once

#include "common/callback/callbackptr.h"
#include "common/io/filestream.h"
#include "common/memory/allocatorcaptured.h"
#include "common/string.h"

namespace Tarq::Common::Callback {

/// The host's files. Give it to a `CallbackFileStream`, and whoever takes an `IO::Stream` reads and writes them.
///
/// Threads: a stream calls it on the thread that uses the stream; whether streams on several threads may share one is
/// for the host to say.
/// Ownership: made with a plain `new`; every stream keeps it, and whoever drops it last deletes it, on that thread.
/// Failures: by status. `isValidHandle`, `getInvalidHandle` and `closeFile` do not throw; what the others throw passes
/// on to the caller of the stream.
class FileIOCallback : public Memory::AllocatorCaptured, public ReferenceCounted {
public:
    using AllocatorCaptured::AllocatorCaptured;

    /// Whatever the host tells its open files apart by; a stream only keeps it.
    using FileHandle = uint32;
    using FileAccess = IO::FileStream::FileAccess;

    /// What the host answers when it cannot; everything from 0 up is success. Any other negative number is an error
    /// that the stream has no name for: an `IOException` from `openFile`, an assertion from `writeFile` and `seekFile`.
    enum FileIOError : int32 {
        FIOERR_NOTFOUND = -1,     ///< `openFile`: there is no such file, or no such directory on the way to it
        FIOERR_ACCESSDENIED = -2, ///< `openFile`: a directory, or a file that is only to be read
        FIOERR_OUTOFRANGE = -4,   ///< `seekFile`: the target lies before the start
        FIOERR_DISKFULL = -5,     ///< `writeFile`: there is no room
    };

    /// Whether the handle is that of an open file. One that the host has dropped is not closed; until its stream is
    /// closed or opened again, it must not come to stand for another file.
    virtual bool isValidHandle(FileHandle handle) = 0;
    /// The handle that means "no file": always the same one, and never valid.
    virtual FileHandle getInvalidHandle() = 0;

    /// Opens a file, stores its handle and returns 0 or more; otherwise returns a status, and the handle is ignored.
    ///
    /// `access` is what the stream was asked for, unexamined. Whether the file is made, emptied or appended to is up to
    /// the host.
    virtual int32 openFile(FileHandle& handle, const String& fileName, FileAccess access) = 0;
    virtual void closeFile(FileHandle handle) = 0;
    /// The length in bytes.
    virtual uint64 getFileLength(FileHandle handle) = 0;
    /// Stores up to `numBytes` bytes and returns their number; fewer, at last 0, at the end of the file.
    ///
    /// There is no status for a read that fails: throw. A negative number, and so any count from 2 GiB on, reads as the
    /// end of the file; a number above `numBytes` counts as `numBytes`.
    virtual int32 readFile(void* dst, uint32 numBytes, FileHandle handle) = 0;
    /// Returns the number of bytes written, all of them, or `FIOERR_DISKFULL`. Nothing asks for a flush later. From
    /// 2 GiB on, the number is the one whose low 32 bits are `numBytes`.
    virtual int32 writeFile(const void* src, uint32 numBytes, FileHandle handle) = 0;
    /// Where the next read or write begins, in bytes from the start.
    virtual uint64 getFilePosition(FileHandle handle) = 0;
    /// Moves the position and returns the new one, from the start, or `FIOERR_OUTOFRANGE`. An origin that is none of
    /// the three arrives as it is.
    virtual int64 seekFile(int64 offset, IO::Stream::SeekOrigin origin, FileHandle handle) = 0;
    /// The absolute form of a name, for the report of a file that is not found.
    virtual String getFullPath(const String& fileName) = 0;
};

using FileIOCallbackPtr = CallbackPtr<FileIOCallback>;

} // namespace Tarq::Common::Callback
