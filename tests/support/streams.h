#pragma once

#include "common/io/ioexception.h"
#include "common/io/stream.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Tarq::Test {

using Common::int64;
using Common::uint32;
using Common::uint64;

/// Bytes in a std::string, with a record of every call: what a stream under test does to the stream below it.
class RecordingStream : public Common::IO::Stream {
public:
    explicit RecordingStream(std::string contents = std::string()) : mBytes(std::move(contents)) {}

    bool canRead() const override { return mCanRead && !mClosed; }
    bool canWrite() const override { return mCanWrite && !mClosed; }
    bool canSeek() const override { return !mClosed; }
    bool isClosed() const override { return mClosed; }
    uint64 getLength() const override { return mBytes.size(); }
    uint64 getPosition() const override { return mPosition; }
    const Common::String& getName() const override { return mName; }

    uint64 read(void* dst, uint64 numBytes) override {
        mCalls.push_back("read " + std::to_string(numBytes));
        failIfDue();
        const uint64 left = mPosition < mBytes.size() ? mBytes.size() - mPosition : 0;
        const auto count = static_cast<std::size_t>(std::min({numBytes, left, mLongestRead}));
        if (count != 0)
            std::copy_n(mBytes.data() + static_cast<std::size_t>(mPosition), count, static_cast<char*>(dst));
        mPosition += count;
        return count;
    }
    void write(const void* src, uint64 numBytes) override {
        mCalls.push_back("write " + std::to_string(numBytes));
        failIfDue();
        const auto end = static_cast<std::size_t>(mPosition + numBytes);
        if (mBytes.size() < end)
            mBytes.resize(end);
        std::copy_n(static_cast<const char*>(src), static_cast<std::size_t>(numBytes),
                    mBytes.data() + static_cast<std::size_t>(mPosition));
        mPosition += numBytes;
    }
    uint64 seek(int64 offset, SeekOrigin origin) override {
        mCalls.push_back("seek " + std::to_string(offset) + " " + std::to_string(origin));
        failIfDue();
        const uint64 base = origin == SORIGIN_CURRENT ? mPosition : origin == SORIGIN_END ? mBytes.size() : 0;
        mPosition = base + static_cast<uint64>(offset);
        return mPosition;
    }
    void flush() override {
        mCalls.push_back("flush");
        failIfDue();
    }
    void close() override {
        mCalls.push_back("close");
        failIfDue();
        mClosed = true;
    }

    const std::string& getBytes() const { return mBytes; }
    /// The calls since the last time, "read 4" or "seek -3 1" for example; queries are not among them.
    std::vector<std::string> takeCalls() { return std::exchange(mCalls, {}); }

    /// The n-th call from now on (1 is the next one) throws `IOException`, "test failure"; so do those after it.
    void failAt(int call) { mCallsBeforeFailure = call; }
    void failNever() { mCallsBeforeFailure = 0; }
    /// No read delivers more than this, as if the end were near.
    void limitReads(uint64 longest) { mLongestRead = longest; }
    void forbidReading() { mCanRead = false; }
    void forbidWriting() { mCanWrite = false; }

private:
    void failIfDue() {
        if (mCallsBeforeFailure == 0)
            return;
        if (mCallsBeforeFailure > 1) {
            --mCallsBeforeFailure;
            return;
        }
        throw new Common::IO::IOException("test failure");
    }

    std::string mBytes;
    uint64 mPosition = 0;
    Common::String mName = "recording";
    std::vector<std::string> mCalls;
    int mCallsBeforeFailure = 0;
    uint64 mLongestRead = ~uint64{0};
    bool mCanRead = true;
    bool mCanWrite = true;
    bool mClosed = false;
};

/// `count` bytes that tell their place: the same again only after 251 of them.
inline std::string patternOf(uint64 count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    for (std::size_t at = 0; at < bytes.size(); ++at)
        bytes[at] = static_cast<char>(at % 251);
    return bytes;
}

} // namespace Tarq::Test
