#pragma once

#include "tests/support/doctest.h"
#include "tests/support/expectedassertion.h"

#include "common/exceptions/argumentexception.h"
#include "common/io/ioexception.h"
#include "common/io/stream.h"

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Tarq::Test {

using Common::int64;
using Common::uint32;
using Common::uint64;
using Texts = std::vector<std::string>;

/// Bytes in a std::string, with a record of every call: what a stream under test does to the stream below it.
class RecordingStream : public Common::IO::Stream {
public:
    explicit RecordingStream(std::string contents = std::string()) : mBytes(std::move(contents)) {}

    bool canRead() const override { return !mClosed; }
    bool canWrite() const override { return !mClosed; }
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
    Texts takeCalls() { return std::exchange(mCalls, {}); }

    /// The n-th call from now on (1 is the next one) throws `IOException`, "test failure"; so do those after it.
    void failAt(int call) { mCallsBeforeFailure = call; }
    void failNever() { mCallsBeforeFailure = 0; }
    /// No read delivers more than this, as if the end were near.
    void limitReads(uint64 longest) { mLongestRead = longest; }

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
    Texts mCalls;
    int mCallsBeforeFailure = 0;
    uint64 mLongestRead = ~uint64{0};
    bool mClosed = false;
};

/// `count` bytes that tell their place: the same again only after 251 of them.
inline std::string patternOf(uint64 count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    for (std::size_t at = 0; at < bytes.size(); ++at)
        bytes[at] = static_cast<char>(at % 251);
    return bytes;
}

/// Up to `numBytes` of the next bytes; there are no more than 1000.
inline std::string readText(Common::IO::Stream& stream, uint64 numBytes) {
    std::string text(1000, '?');
    text.resize(static_cast<std::size_t>(stream.read(text.data(), numBytes)));
    return text;
}

/// What `body` ends in: the name and message of the exception that it throws, with the argument that is to blame; or
/// the assertions that it reports, with their file. Nothing is an empty text.
template <class Body>
std::string outcomeOf(Body&& body) {
    const AssertionRecorder recorder;
    std::string outcome;
    try {
        body();
    } catch (Common::Exceptions::Exception* exception) {
        const Common::Exceptions::Holder holder(exception);
        outcome = (exception->getExceptionName() + ": " + exception->getMessage()).c_str();
        if (const auto* argument = dynamic_cast<Common::Exceptions::ArgumentException*>(exception))
            outcome += std::string(" [") + argument->getArgumentName().c_str() + "]";
    }
    for (const SeenAssertion& assertion : recorder.getSeen())
        outcome += (outcome.empty() ? "" : "; ") + assertion.file + ": " + assertion.text;
    return outcome;
}

/// Reads, writes and seeks at random, and does the same to the bytes of `model`, which are those of the stream.
inline void mixOperations(Common::IO::Stream& stream, std::string& model, std::mt19937& random) {
    using enum Common::IO::Stream::SeekOrigin;
    const auto upTo = [&random](std::size_t most) { return static_cast<std::size_t>(random() % (most + 1)); };
    std::size_t position = static_cast<std::size_t>(stream.getPosition());
    for (int step = 0; step < 20; ++step) {
        const std::size_t count = upTo(1) != 0 ? upTo(20) : std::size_t{1} << upTo(3);
        switch (upTo(2)) {
        case 0:
            REQUIRE(readText(stream, count) == model.substr(position, count));
            position += std::min(count, model.size() - position);
            break;
        case 1: {
            if (position + count > 900)
                break;
            const std::string bytes = patternOf(300).substr(upTo(200), count);
            stream.write(bytes.data(), count);
            model.replace(position, count, bytes);
            position += count;
            break;
        }
        default: {
            // What a stream has not yet handed on may be missing in its length.
            const std::size_t bases[] = {position, 0, model.size()};
            const Common::IO::Stream::SeekOrigin origins[] = {SORIGIN_CURRENT, SORIGIN_BEGIN, SORIGIN_END};
            const std::size_t chosen = upTo(stream.getLength() == model.size() ? 2 : 1);
            position = upTo(model.size());
            const int64 offset = static_cast<int64>(position) - static_cast<int64>(bases[chosen]);
            REQUIRE(stream.seek(offset, origins[chosen]) == position);
        }
        }
        REQUIRE(stream.getPosition() == position);
    }
    stream.flush();
    REQUIRE(stream.getLength() == model.size());
}

} // namespace Tarq::Test
