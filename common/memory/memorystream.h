#pragma once

#include "common/container/vector.h"
#include "common/io/shortcopy.h"
#include "common/io/stream.h"

#include <cstddef>
#include <cstring>

namespace Tarq::Common::Memory {

/// A stream whose bytes lie in memory, in a list of equal blocks that grows while it is written.
///
/// Bytes that are stored never move. Writing inside the stream overwrites, writing at its end grows it.
///
/// Failures: a write that finds no memory throws `OutOfMemoryException` and leaves the stream as it was.
/// Ownership: the blocks come from `getAllocator()`; their contents are gone with `close`.
/// States: open from the start; closed by `close`; open and empty again by `open`.
class TARQ_API MemoryStream : public IO::Stream {
public:
    /// `blockSize` in bytes. Asserts that it is above 0; it is 1 then. Throws `OutOfMemoryException`: the first block
    /// is taken here.
    MemoryStream(const String& name, uint32 blockSize);
    ~MemoryStream() override;

    /// Begins anew: closes the stream, and opens it empty. Throws `OutOfMemoryException`; the stream is closed then.
    void open();

    /// True, like `canWrite` and `canSeek`, also when closed.
    bool canRead() const override;
    bool canWrite() const override;
    bool canSeek() const override;
    bool isClosed() const override;
    uint64 getLength() const override;
    uint64 getPosition() const override;
    /// The name that the stream was made with, also when closed.
    const String& getName() const override;

    /// Moves at most 4 GiB - 1 bytes.
    uint64 read(void* dst, uint64 numBytes) override {
        const void* const bytes = isSingleRequest(numBytes) ? readInPlace(static_cast<uint32>(numBytes)) : nullptr;
        if (bytes) [[likely]] {
            copy(dst, bytes, numBytes);
            return numBytes;
        }
        return readAcrossBlocks(dst, numBytes);
    }
    /// Reads without copying: returns where the next bytes lie, and moves the position behind them. They stay there
    /// until they are overwritten or the stream is closed.
    ///
    /// Null, and nothing moves, when they do not lie together in the current block; also when there are fewer, and on a
    /// closed stream.
    /// `read` deals with all of that.
    const void* readInPlace(uint32 numBytes) noexcept {
        const uint64 end = uint64{mOffset} + numBytes;
        if (end > mReadLimit) [[unlikely]]
            return nullptr;
        const std::byte* const bytes = mBlock + mOffset;
        mOffset = static_cast<uint32>(end);
        return bytes;
    }

    void write(const void* src, uint64 numBytes) override {
        const uint64 end = mOffset + numBytes;
        if (isSingleRequest(numBytes) && end <= mWriteLimit) [[likely]] {
            copy(mBlock + mOffset, src, numBytes);
            mOffset = static_cast<uint32>(end);
            return;
        }
        writeAcrossBlocks(src, numBytes);
    }
    /// Writes without copying: returns where the next bytes belong, for the caller to store them there, and moves the
    /// position behind them.
    ///
    /// Null, and nothing moves, when there is no room for them in the current block; also on a closed stream. `write`
    /// deals with that.
    void* writeInPlace(uint32 numBytes) noexcept {
        const uint64 end = uint64{mOffset} + numBytes;
        if (end > mWriteLimit) [[unlikely]]
            return nullptr;
        std::byte* const bytes = mBlock + mOffset;
        mOffset = static_cast<uint32>(end);
        return bytes;
    }

    /// Goes to the start of an open stream.
    void rewind() noexcept { moveTo(0, 0); }
    /// Where an open stream stands: the same as `getPosition`, without a call.
    uint64 tell() const noexcept { return position(); }

    /// Throws `ArgumentOutOfRangeException` for a target outside the stream, whose end belongs to it. Asserts that the
    /// origin is known; otherwise does not move and returns 0.
    uint64 seek(int64 offset, SeekOrigin origin) override;
    /// Does nothing.
    void flush() override;
    void close() override;

private:
    /// From 1 byte to 4 GiB - 1.
    static bool isSingleRequest(uint64 numBytes) noexcept { return numBytes - 1 < 0xFFFFFFFF; }
    static void copy(void* dst, const void* src, uint64 numBytes) noexcept {
        if (numBytes <= IO::cLongestShortCopy)
            IO::copyShort(dst, src, numBytes);
        else
            std::memcpy(dst, src, static_cast<std::size_t>(numBytes));
    }

    uint64 readAcrossBlocks(void* dst, uint64 numBytes);
    void writeAcrossBlocks(const void* src, uint64 numBytes);
    void appendBlocks(uint64 count);
    void releaseBlocksFrom(uint32 index) noexcept;
    void moveTo(uint32 index, uint32 offset) noexcept;
    uint64 position() const noexcept { return uint64{mIndex} * mBlockSize + mOffset; }
    void requireOpen(const char* message) const;

    void* mFirstBlock = nullptr; ///< null when closed; most streams need no list
    Container::Vector<void*> mFurtherBlocks;
    uint32 mBlockSize;
    uint32 mIndex = 0;  ///< of the current block
    uint32 mOffset = 0; ///< in the current block; the block size is its end
    String mName;
    /// Behind the last byte; lags when the position has passed it since the current block became that.
    uint64 mLength = 0;

    // What short reads and writes go by. A closed stream has no room for them.

    std::byte* mBlock = nullptr;
    uint32 mReadLimit = 0; ///< where the stream's bytes in the current block end; lags like the length
    uint32 mWriteLimit = 0;
};

} // namespace Tarq::Common::Memory
