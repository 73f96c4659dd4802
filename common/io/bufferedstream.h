#pragma once

#include "common/io/shortcopy.h"
#include "common/io/stream.h"

#include <cstddef>

namespace Tarq::Common::IO {

/// Puts one buffer in front of another stream: read ahead or written behind, so that many small reads and writes become
/// one call below per buffer.
///
/// It reads or it writes, and changes over at the first read after writes and the first write after reads, handing the
/// buffer on. Until then written bytes are pending: they are part of the stream below, and of `getLength`, only when
/// the buffer is full or handed on.
///
/// Failures: what the stream below throws passes on unchanged. When it refuses pending bytes, those are given up, since
/// nobody knows how many of them arrived, and none is ever written twice; the exception is the notice of that. Whoever
/// wants to know that everything has arrived calls `flush` or `close`: the destructor only logs what fails.
///
/// Ownership: `close` and the destructor close the stream below; `releaseAndClose` lets it go as it is. The shared
/// pointer, if one is given, keeps it alive until then. Before anybody else moves the stream below, `clearBuffer`
/// empties the buffer; reading and writing go on where it stands then. When no byte is unread or pending they do so
/// without that, but a seek back may still meet the old bytes.
/// States: attached, then detached by `close` or `releaseAndClose`.
class TARQ_API BufferedStream : public Stream {
public:
    /// A null stream makes a detached one. Asserts that the size, in bytes, is above 0; the buffer has one byte then.
    BufferedStream(Stream* stream, uint32 bufferSize);
    BufferedStream(const StreamPtr& stream, uint32 bufferSize);
    ~BufferedStream() override;

    // These ask the stream below. A detached stream answers false, and true for `isClosed`; the other two throw.

    bool canRead() const override;
    bool canWrite() const override;
    bool canSeek() const override;
    bool isClosed() const override;
    uint64 getLength() const override;
    const String& getName() const override;

    uint64 getPosition() const override;

    /// Moves at most 4 GiB - 1 bytes.
    uint64 read(void* dst, uint64 numBytes) override {
        const uint64 end = mCursor + numBytes;
        if (numBytes <= cLongestShortCopy && end < mFill && mIsReading) [[likely]] {
            copyShort(dst, mBuffer + mCursor, numBytes);
            mCursor = static_cast<uint32>(end);
            return numBytes;
        }
        return readThroughBuffer(dst, numBytes);
    }

    /// Keeps the bytes until the buffer is full; that the stream below cannot be written is found out only then.
    void write(const void* src, uint64 numBytes) override {
        const uint64 end = mCursor + numBytes;
        if (numBytes <= cLongestShortCopy && end < mBufferSize && !mIsReading) [[likely]] {
            copyShort(mBuffer + mCursor, src, numBytes);
            mCursor = static_cast<uint32>(end);
            return;
        }
        writeThroughBuffer(src, numBytes);
    }

    /// Moves inside the buffered bytes without a call below; otherwise hands the buffer on and seeks below.
    ///
    /// From `SORIGIN_END`, pending bytes count only when the target is outside: they are handed on first then. Asserts
    /// that the target is not negative; such a target, and an unknown origin, are left to the stream below to refuse.
    uint64 seek(int64 offset, SeekOrigin origin) override {
        // A target in front of the buffer wraps around and goes the long way.
        const uint64 target = mCursor + static_cast<uint64>(offset);
        if (origin == SORIGIN_CURRENT && mIsReading && target < mFill && mBufferStart != cUnknown) [[likely]] {
            mCursor = static_cast<uint32>(target);
            return mBufferStart + target;
        }
        return seekAnywhere(offset, origin);
    }

    /// Hands the buffer on and flushes the stream below.
    void flush() override;
    /// Hands the buffer on, closes the stream below and detaches it: also when one of these fails.
    void close() override;

    /// Hands the buffer on: pending bytes are written, bytes read ahead are given back by seeking. The stream below
    /// then stands where this one does.
    void clearBuffer();
    /// Hands the buffer on and detaches the stream below, which stays open: also when handing on fails. A detached
    /// stream is left alone.
    void releaseAndClose();

private:
    static constexpr uint64 cUnknown = ~uint64{0};

    uint64 readThroughBuffer(void* dst, uint64 numBytes);
    bool refill();
    void writeThroughBuffer(const void* src, uint64 numBytes);
    uint64 seekAnywhere(int64 offset, SeekOrigin origin);
    uint64 seekBelow(int64 offset, SeekOrigin origin);
    uint64 getBufferStart() const;
    void requireAttached(const char* message) const;
    void detach() noexcept;

    Stream* mStream;         ///< null when detached
    StreamPtr mSharedStream; ///< empty when the stream below is not shared
    std::byte* mBuffer;
    uint32 mBufferSize;
    uint32 mCursor = 0;     ///< the next byte to be read or written in the buffer
    uint32 mFill = 0;       ///< the bytes read ahead, or pending; pending ones reach up to the cursor at least
    bool mIsReading = true; ///< also when detached
    /// Position of the buffer's first byte in the stream below. Kept only while bytes are unread or pending, so that
    /// others may move the stream below in between.
    mutable uint64 mBufferStart = cUnknown;
};

} // namespace Tarq::Common::IO
