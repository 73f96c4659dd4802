#pragma once

#include "common/io/stream.h"
#include "common/platform/endian.h"

#include <algorithm>
#include <concepts>
#include <cstring>
#include <span>
#include <utility>

/// How header and table of an archive are read and written: big-endian numbers and names, one behind the other.
namespace Tarq::Common::IO {

/// Hands out the bytes of a stream one after the other, and reads as many at once as the buffer holds.
class FieldReader {
public:
    FieldReader(Stream& stream, std::span<unsigned char> buffer) noexcept
        : mStream(stream), mBuffer(buffer), mAt(buffer.data()), mEnd(mAt) {}

    /// The next bytes, no more than the buffer holds. They stay until the next call. Null when the stream ends before.
    const unsigned char* take(std::size_t count) {
        if (left() < count && refill() < count)
            return nullptr;
        return std::exchange(mAt, mAt + count);
    }
    /// Returns false, and leaves the number, when the stream ends.
    template <std::unsigned_integral T>
    bool takeNumber(T& number) {
        const unsigned char* const bytes = take(sizeof(T));
        if (bytes)
            number = Platform::loadBigEndian<T>(bytes);
        return bytes != nullptr;
    }

private:
    std::size_t left() const noexcept { return static_cast<std::size_t>(mEnd - mAt); }
    std::size_t refill() {
        const std::size_t kept = left();
        std::memmove(mBuffer.data(), mAt, kept);
        mAt = mBuffer.data();
        mEnd = mAt + kept;
        const std::size_t room = mBuffer.size() - kept;
        mEnd += static_cast<std::size_t>(std::min<uint64>(mStream.read(mEnd, room), room));
        return left();
    }

    Stream& mStream;
    std::span<unsigned char> mBuffer;
    unsigned char* mAt;
    unsigned char* mEnd;
};

/// Gathers bytes in the buffer, and writes them to a stream when it is full.
class FieldWriter {
public:
    FieldWriter(Stream& stream, std::span<unsigned char> buffer) noexcept : mStream(stream), mBuffer(buffer) {}

    template <std::unsigned_integral T>
    void putNumber(T number) {
        Platform::storeBigEndian(roomFor(sizeof(T)), number);
        mFill += sizeof(T);
    }
    /// No more than the buffer holds.
    void putBytes(String::View bytes) {
        std::copy(bytes.begin(), bytes.end(), roomFor(bytes.size()));
        mFill += bytes.size();
    }
    void flush() { mStream.write(mBuffer.data(), std::exchange(mFill, 0)); }

private:
    unsigned char* roomFor(std::size_t count) {
        if (mBuffer.size() - mFill < count)
            flush();
        return mBuffer.data() + mFill;
    }

    Stream& mStream;
    std::span<unsigned char> mBuffer;
    std::size_t mFill = 0;
};

} // namespace Tarq::Common::IO
