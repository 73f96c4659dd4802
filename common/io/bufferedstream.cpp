#include "common/io/bufferedstream.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/memory/allocate.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace Tarq::Common::IO {

namespace {

constexpr uint64 cLargestRequest = std::numeric_limits<uint32>::max();

/// Corrects a size of which there is no buffer.
std::byte* allocateBuffer(const Memory::AllocatorPtr& allocator, uint32& bufferSize) {
    if (!TARQ_ASSERT_AS("mBufferSize > 0", bufferSize > 0, "Buffersize must be greater 0"))
        bufferSize = 1;
    return static_cast<std::byte*>(Memory::allocateBytes(allocator, bufferSize));
}

/// Closes where no failure can be told to the caller any more.
void closeQuietly(Stream& stream, const char* function) noexcept {
    try {
        stream.close();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        Debug::report({Debug::LOG_ERROR, function}, "Closing a stream has failed: ", exception->getMessage());
    } catch (...) {
        Debug::report({Debug::LOG_ERROR, function}, "Closing a stream has failed");
    }
}

} // namespace

BufferedStream::BufferedStream(Stream* stream, uint32 bufferSize)
    : mStream(stream), mBuffer(allocateBuffer(getAllocator(), bufferSize)), mBufferSize(bufferSize) {}

BufferedStream::BufferedStream(const StreamPtr& stream, uint32 bufferSize) : BufferedStream(stream.get(), bufferSize) {
    mSharedStream = stream;
}

BufferedStream::~BufferedStream() {
    closeQuietly(*this, "Tarq::Common::IO::BufferedStream::~BufferedStream");
    Memory::releaseBytes(getAllocator(), mBuffer);
}

bool BufferedStream::canRead() const {
    return mStream && mStream->canRead();
}

bool BufferedStream::canWrite() const {
    return mStream && mStream->canWrite();
}

bool BufferedStream::canSeek() const {
    return mStream && mStream->canSeek();
}

bool BufferedStream::isClosed() const {
    return !mStream || mStream->isClosed();
}

uint64 BufferedStream::getLength() const {
    requireAttached("BufferedStream: Try to get length of closed stream.");
    return mStream->getLength();
}

const String& BufferedStream::getName() const {
    requireAttached("BufferedStream: Try to get name of closed stream.");
    return mStream->getName();
}

uint64 BufferedStream::getPosition() const {
    requireAttached("BufferedStream: Try to get position of closed stream.");
    return getBufferStart() + mCursor;
}

uint64 BufferedStream::getBufferStart() const {
    if (mBufferStart != cUnknown)
        return mBufferStart;
    const uint64 start = mStream->getPosition() - (mIsReading ? mFill : 0);
    if (mIsReading ? mCursor != mFill : mCursor != 0 || mFill != 0)
        mBufferStart = start;
    return start;
}

uint64 BufferedStream::readThroughBuffer(void* dst, uint64 numBytes) {
    requireAttached("BufferedStream: Cannot read on closed streams.");
    if (!mIsReading) {
        clearBuffer();
        mIsReading = true;
    }
    std::byte* to = static_cast<std::byte*>(dst);
    uint32 left = static_cast<uint32>(std::min(numBytes, cLargestRequest));
    while (left != 0 && (mCursor != mFill || refill())) {
        const uint32 count = std::min(left, mFill - mCursor);
        std::memcpy(to, mBuffer + mCursor, count);
        mCursor += count;
        to += count;
        left -= count;
        if (mCursor == mFill)
            mBufferStart = cUnknown;
    }
    return static_cast<uint64>(to - static_cast<std::byte*>(dst));
}

/// Replaces the consumed bytes by those that come next. Returns whether there are any.
bool BufferedStream::refill() {
    mCursor = 0;
    mFill = 0;
    mFill = static_cast<uint32>(std::min<uint64>(mStream->read(mBuffer, mBufferSize), mBufferSize));
    return mFill != 0;
}

void BufferedStream::writeThroughBuffer(const void* src, uint64 numBytes) {
    requireAttached("BufferedStream: Cannot write on closed streams.");
    if (mIsReading) {
        clearBuffer();
        mIsReading = false;
    }
    const std::byte* from = static_cast<const std::byte*>(src);
    while (numBytes != 0) {
        const uint32 count = static_cast<uint32>(std::min<uint64>(numBytes, mBufferSize - mCursor));
        std::memcpy(mBuffer + mCursor, from, count);
        mCursor += count;
        from += count;
        numBytes -= count;
        if (mCursor == mBufferSize)
            clearBuffer();
    }
}

uint64 BufferedStream::seekAnywhere(int64 offset, SeekOrigin origin) {
    requireAttached("BufferedStream: Cannot seek on closed streams.");
    mFill = std::max(mFill, mCursor);
    const uint64 start = getBufferStart();
    uint64 base = 0;
    switch (origin) {
    case SORIGIN_CURRENT:
        base = start + mCursor;
        break;
    case SORIGIN_END:
        base = mStream->getLength();
        break;
    case SORIGIN_BEGIN:
        break;
    default:
        return seekBelow(offset, origin);
    }
    const uint64 target = base + static_cast<uint64>(offset);
    const bool isNegative = offset < 0 && target > base;
    if (!TARQ_ASSERT_AS("fullPos >= 0", !isNegative, "Seeked out of the range of the stream, invalid position",
                        static_cast<int64>(target)))
        return seekBelow(offset, origin);
    // A target in front of the buffer wraps around to a large number.
    if (target - start >= mFill)
        return seekBelow(offset, origin);
    mCursor = static_cast<uint32>(target - start);
    return target;
}

uint64 BufferedStream::seekBelow(int64 offset, SeekOrigin origin) {
    clearBuffer();
    mStream->seek(offset, origin);
    return getPosition();
}

void BufferedStream::flush() {
    clearBuffer();
    mStream->flush();
}

void BufferedStream::clearBuffer() {
    requireAttached("BufferedStream: Cannot flush on closed streams.");
    mFill = std::max(mFill, mCursor);
    const int64 ahead = int64{mCursor} - mFill;
    if (!mIsReading && mFill != 0) {
        const uint32 pending = std::exchange(mFill, 0);
        mCursor = 0;
        mBufferStart = cUnknown;
        mStream->write(mBuffer, pending);
    }
    // Both after reading ahead and after a seek back inside pending bytes, the stream below is too far on.
    if (ahead != 0)
        mStream->seek(ahead, SORIGIN_CURRENT);
    mCursor = 0;
    mFill = 0;
    mBufferStart = cUnknown;
}

void BufferedStream::close() {
    if (!mStream)
        return;
    const StreamPtr keptAlive = mSharedStream;
    Stream& below = *mStream;
    // Nobody goes on below where a seek back inside pending bytes has led.
    if (!mIsReading)
        mCursor = mFill = std::max(mFill, mCursor);
    try {
        // What was read ahead needs no way back into a stream that knows none.
        if (!mIsReading || (below.canSeek() && !below.isClosed()))
            clearBuffer();
    } catch (...) {
        detach();
        closeQuietly(below, "Tarq::Common::IO::BufferedStream::close");
        throw;
    }
    detach();
    below.close();
}

void BufferedStream::releaseAndClose() {
    if (!mStream)
        return;
    try {
        clearBuffer();
    } catch (...) {
        detach();
        throw;
    }
    detach();
}

void BufferedStream::requireAttached(const char* message) const {
    if (!mStream)
        throw new Exceptions::InvalidStateException(message);
}

void BufferedStream::detach() noexcept {
    mStream = nullptr;
    mCursor = 0;
    mFill = 0;
    mIsReading = true;
    mBufferStart = cUnknown;
    mSharedStream.reset();
}

} // namespace Tarq::Common::IO
