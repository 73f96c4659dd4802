#pragma once

#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/sharedptr.h"
#include "common/string.h"

namespace Tarq::Common::IO {

/// A sequence of bytes with a position in it: what every reader and writer of data works against.
///
/// Threads: a stream carries no lock; one thread uses it at a time.
/// Ownership: a stream takes its buffers from `getAllocator()` and returns them there. Its bytes on the medium outlive
/// it, unless the class says otherwise.
/// States: open, then closed. The four questions `canRead`, `canWrite`, `canSeek` and `isClosed` are answered in both;
/// everything else may throw `InvalidStateException` on a closed stream. An operation that fails leaves the state as it
/// was.
class TARQ_API Stream : public Memory::MemoryManaged {
public:
    /// What the offset of a `seek` counts from.
    enum SeekOrigin : int32 {
        SORIGIN_CURRENT = 1,
        SORIGIN_END = 2, ///< an offset into the stream is negative
        SORIGIN_BEGIN = 3,
    };

    /// The most that the copy operations move with one read and one write, and the size of their buffer, in bytes.
    static constexpr uint32 STREAM_COPY_BUFFER = 65535;

    ~Stream() override;

    virtual bool canRead() const = 0;
    virtual bool canWrite() const = 0;
    virtual bool canSeek() const = 0;
    virtual bool isClosed() const = 0;

    /// The length of the whole stream in bytes, wherever the position is.
    virtual uint64 getLength() const = 0;
    /// Where the next read or write begins, in bytes from the start; it may lie beyond the end.
    virtual uint64 getPosition() const = 0;
    /// What the stream is called: a file name, the name of an archive's entry, a name chosen by its maker.
    virtual const String& getName() const = 0;

    /// Fills the caller's buffer with the next bytes, moves the position behind them and returns their number.
    ///
    /// A number below `numBytes` means that the end of the stream was met, and nothing else; 0 means that the position
    /// was there already. The rest of the buffer is left alone. Throws `NotSupportedException` when the stream cannot
    /// be read. A class that moves less than 4 GiB at once says so.
    virtual uint64 read(void* dst, uint64 numBytes) = 0;

    /// Puts all the bytes at the position, over what is there, and moves the position behind them.
    ///
    /// There is no short write: what cannot be stored is an exception, `OutOfSpaceException` on a full medium. Throws
    /// `NotSupportedException` when the stream cannot be written. A class that moves less than 4 GiB at once says so.
    virtual void write(const void* src, uint64 numBytes) = 0;

    /// Moves the position and returns the new one, counted from the start.
    ///
    /// Throws `ArgumentOutOfRangeException` for a target before the start; whether it may lie beyond the end is up to
    /// the class.
    virtual uint64 seek(int64 offset, SeekOrigin origin) = 0;

    /// Hands bytes that wait in a buffer on to the medium.
    virtual void flush() = 0;

    /// Lets go of the medium. A closed stream is closed once more without effect.
    virtual void close() = 0;

    /// Copies `numBytes` bytes from the position of `src` to the position of this stream; both positions move.
    ///
    /// The bytes travel in pieces of `STREAM_COPY_BUFFER` through a buffer from this stream's allocator. What a stream
    /// throws passes on unchanged, the pieces before it are copied. Asserts that so many bytes are left in `src`, and
    /// that each read delivers what was asked for; the copy ends with the first that does not, after the bytes that it
    /// did deliver. Throws `ArgumentNullException` or, for this stream itself, `ArgumentException`.
    void writeFromStream(Stream* src, uint64 numBytes);
    /// Copies `numBytes` bytes from the position of this stream to the position of `dst`, in the same way.
    void readToStream(Stream* dst, uint64 numBytes);
    /// Copies the whole of `src`, from its start, to the position of this stream. Its length is what counts: flush a
    /// buffered source first, whose pending bytes are not yet part of that.
    void writeFromStream(Stream* src);
    /// Copies the whole of this stream, from its start, to the position of `dst`; flush it first if it is buffered.
    void readToStream(Stream* dst);

protected:
    Stream() = default;
};

/// How streams with several owners are held and handed around.
using StreamPtr = SharedPtr<Stream, SimpleReferenceCount, StandartObjectPolicy>;

} // namespace Tarq::Common::IO
