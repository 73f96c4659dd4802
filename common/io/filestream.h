#pragma once

#include "common/io/stream.h"
#include "common/platform/file.h"

namespace Tarq::Common::IO {

/// A file of the system as a stream, unbuffered: every operation is a call of the system. Put a `BufferedStream` in
/// front of it for many small reads or writes.
///
/// Only what has bytes at positions is a file here: devices like disks are, pipes, sockets and terminals are refused.
///
/// One `read` or `write` moves at most 4 GiB - 1 bytes: longer reads end there, and longer writes assert what they
/// left out; the caller splits them. Positions beyond the end are allowed: reading there returns 0, and writing there
/// fills the gap with zeros.
///
/// Several streams may have one file open. Child programs do not inherit it. The destructor closes; what was written is
/// with the system then, and `flush` has it on the medium.
class TARQ_API FileStream : public Stream {
public:
    /// 0 is the access of a closed stream.
    enum FileAccess : int32 {
        FACCESS_READ = 1,
        FACCESS_READWRITE = 2,
        FACCESS_WRITE = 3,
    };

    /// 0 is the mode of a stream that was never open.
    enum FileMode : int32 {
        FMODE_OPEN = 1,         ///< a file that exists
        FMODE_APPEND = 2,       ///< a file that exists; every write goes to its end, wherever the position was
        FMODE_CREATE = 3,       ///< a new file, or an old one that is emptied, also when it is only to be read
        FMODE_CREATENEW = 4,    ///< a new file
        FMODE_OPENORCREATE = 5, ///< a file that exists, or a new one
    };

    /// Makes a closed stream.
    FileStream();
    /// Makes a stream and opens it; what `open` throws passes on.
    FileStream(const String& fileName, FileAccess access, FileMode mode);
    ~FileStream() override;

    bool canRead() const override;
    bool canWrite() const override;
    /// Whether the stream is open: only what has positions is opened.
    bool canSeek() const override;
    bool isClosed() const override;
    uint64 getLength() const override;
    uint64 getPosition() const override;
    /// The file name as it was given to `open`.
    const String& getName() const override;

    /// Throws `ArgumentNullException` when `dst` is null, for 0 bytes too. An error of the medium ends the read; it is
    /// asserted when no byte came before it, so that the read after a short one tells it from the end of the file.
    uint64 read(void* dst, uint64 numBytes) override;
    /// Throws `ArgumentNullException` when `src` is null, for 0 bytes too, and `OutOfSpaceException`, after as many
    /// bytes as there was room for. Any other error of the medium is asserted.
    void write(const void* src, uint64 numBytes) override;
    uint64 seek(int64 offset, SeekOrigin origin) override;
    /// Waits until the bytes are on the medium. Throws `IOException` when they cannot get there.
    void flush() override;
    void close() override;

    /// Closes the stream, then opens the file at its start; a failure leaves the stream closed. A file that is made
    /// here may be read and written by its owner.
    ///
    /// Throws `ArgumentOutOfRangeException` for an unknown access or mode; `FileNotFoundException`, also for a missing
    /// directory on the way and for names that no file can have; `FileExistException`; `UnAuthorizedAccessException`,
    /// also for directories, pipes, terminals and files in use; `IOException` when the process has too many files open.
    /// Anything else that the system says is asserted, and the stream is closed.
    virtual void open(const String& fileName, FileAccess access, FileMode mode);

    /// 0 when closed.
    FileAccess getAccess() const noexcept { return mAccess; }
    /// The mode of the last successful `open`; closing keeps it.
    FileMode getMode() const noexcept { return mMode; }

private:
    friend class FileSystem;

    /// Closes the stream, then opens it on a new temporary file, with `FACCESS_READWRITE` and `FMODE_CREATE`. Throws
    /// what `open` throws.
    void openTemporary();
    void adopt(Platform::FileHandle file, String& name, FileAccess access, FileMode mode) noexcept;

    FileAccess mAccess{};
    FileMode mMode{};
    Platform::FileHandle mFile = Platform::cNoFile;
    String mName;
};

/// How files with several owners are held and handed around.
using FileStreamPtr = SharedPtr<FileStream, SimpleReferenceCount, StandartObjectPolicy>;

} // namespace Tarq::Common::IO
