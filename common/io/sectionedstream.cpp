#include "common/io/sectionedstream.h"

#include "common/debug/assert.h"
#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Tarq::Common::IO {

namespace {

constexpr uint64 cLargestRequest = std::numeric_limits<uint32>::max();
constexpr uint64 cLargestPosition = std::numeric_limits<int64>::max();

} // namespace

SectionedStream::SectionedStream(const String& name, Stream* stream, uint64 start, uint64 end, bool isExclusive)
    : mName(name), mFullStream(stream), mStart(start), mEnd(end), mPosition(start), mIsExclusive(isExclusive) {
    if (!TARQ_ASSERT(start <= end && end <= cLargestPosition, "Invalid section from ", start, " to ", end))
        mStart = mEnd = mPosition = 0;
}

SectionedStream::~SectionedStream() = default;

bool SectionedStream::canRead() const {
    return mFullStream && mFullStream->canRead();
}

bool SectionedStream::canWrite() const {
    return false;
}

bool SectionedStream::canSeek() const {
    return mFullStream && mFullStream->canSeek();
}

bool SectionedStream::isClosed() const {
    return !mFullStream || mFullStream->isClosed();
}

uint64 SectionedStream::getLength() const {
    return mEnd - mStart;
}

uint64 SectionedStream::getPosition() const {
    return mPosition - mStart;
}

const String& SectionedStream::getName() const {
    return mName;
}

uint64 SectionedStream::read(void* dst, uint64 numBytes) {
    if (!TARQ_ASSERT(mFullStream, "Stream Closed"))
        return 0;
    const uint64 wanted = std::min({numBytes, mEnd - mPosition, cLargestRequest});
    if (wanted == 0)
        return 0;
    // Not known to be in place again before the read has succeeded.
    const bool wasInPlace = std::exchange(mIsInPlace, false);
    if (!mIsExclusive || (!wasInPlace && mFullStream->getPosition() != mPosition))
        mFullStream->seek(static_cast<int64>(mPosition), SORIGIN_BEGIN);
    const uint64 count = std::min(mFullStream->read(dst, wanted), wanted);
    mPosition += count;
    mIsInPlace = true;
    return count;
}

void SectionedStream::write(const void*, uint64) {
    TARQ_FAIL("Write not supported in SectionedStream");
}

uint64 SectionedStream::seek(int64 offset, SeekOrigin origin) {
    if (!mFullStream)
        throw new Exceptions::InvalidStateException("SectionedStream: Cannot seek on closed streams.");
    uint64 base = 0;
    switch (origin) {
    case SORIGIN_CURRENT:
        base = getPosition();
        break;
    case SORIGIN_END:
        base = getLength();
        break;
    case SORIGIN_BEGIN:
        break;
    default:
        throw new Exceptions::ArgumentOutOfRangeException(String("SectionedStream: Unknown origin '")
                                                              .appendDecimal(static_cast<int32>(origin))
                                                              .append("' specified."),
                                                          "origin");
    }
    // Counted from the start of the section, a target in front of it wraps around and is larger than any length.
    const uint64 target = base + static_cast<uint64>(offset);
    if (target > getLength())
        throw new Exceptions::ArgumentOutOfRangeException("Seeks out of the range of the stream", "offset");
    mIsInPlace = false;
    mFullStream->seek(static_cast<int64>(mStart + target), SORIGIN_BEGIN);
    mIsInPlace = true;
    mPosition = mStart + target;
    return target;
}

void SectionedStream::flush() {}

void SectionedStream::close() {
    mFullStream = nullptr;
}

} // namespace Tarq::Common::IO
