#pragma once

#include "common/callback/fileiocallback.h"

namespace Tarq::Common::Callback {

/// A file of the host as a stream: every operation is a call of the host's callback.
///
/// Split requests of 2 GiB or more. The host answers in a signed 32-bit number; it is called with an unsigned one, the
/// low 32 bits of what was asked for, and nobody is told of the rest. What it says it has read is taken as 0 where it
/// is negative, and as the number asked for where it is more.
///
/// Ownership: keeps the callback alive.
/// States: closed when made; open when `open` has succeeded, for as long as the host calls the handle valid. The
/// destructor closes.
class TARQ_API CallbackFileStream : public IO::Stream {
public:
    using FileAccess = IO::FileStream::FileAccess;

    /// Makes a closed stream. Asserts that there is a callback; without one the stream stays closed, and `open` throws
    /// `IOException`.
    explicit CallbackFileStream(const FileIOCallbackPtr& fileIO);
    ~CallbackFileStream() override;

    bool canRead() const override;
    bool canWrite() const override;
    /// Whether the stream is open.
    bool canSeek() const override;
    bool isClosed() const override;
    uint64 getLength() const override;
    uint64 getPosition() const override;
    /// The file name as it was given to `open`.
    const String& getName() const override;

    /// Throws `ArgumentNullException` when `dst` is null, for 0 bytes too.
    uint64 read(void* dst, uint64 numBytes) override;
    /// Throws `ArgumentNullException` when `src` is null, for 0 bytes too, and `OutOfSpaceException`. Asserts anything
    /// else that is not the number of bytes, and returns; how many were written is not known then.
    void write(const void* src, uint64 numBytes) override;
    /// Throws `ArgumentOutOfRangeException` for a target before the start. Asserts any other refusal, and returns 0.
    uint64 seek(int64 offset, SeekOrigin origin) override;
    /// Does nothing, on a closed stream too: the host has no such operation.
    void flush() override;
    void close() override;

    /// Closes the stream, then lets the host open the file; a failure leaves the stream closed.
    ///
    /// Throws `UnAuthorizedAccessException`, `FileNotFoundException`, and `IOException` for any other refusal, also
    /// when the host calls the handle of the file that it has opened invalid. The host gets an unknown access as it is;
    /// the stream can neither be read nor written then.
    virtual void open(const String& fileName, FileAccess access);

private:
    /// Returns the handle, or throws; the stream is not changed.
    FileIOCallback::FileHandle openByHost(const String& fileName, FileAccess access) const;

    FileIOCallbackPtr mFileIO;
    String mName;         ///< empty when closed
    FileAccess mAccess{}; ///< 0 when closed
    FileIOCallback::FileHandle mHandle = 0;
};

} // namespace Tarq::Common::Callback
