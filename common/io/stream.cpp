#include "common/io/stream.h"

#include "common/exceptions/argumentexception.h"
#include "common/memory/allocate.h"

#include <algorithm>

namespace Tarq::Common::IO {

namespace {

/// What a copy says when the source does not hold what was asked for.
struct CopyTexts {
    const char* tooMany;
    const char* position;
    const char* end;
    const char* restCondition;
    const char* shortRead;
};

constexpr CopyTexts cWriteFromStreamTexts{
    "Tried to read more bytes (", ") out of source stream than left from pos (", ") to end (",
    "bytesDone == bytesToWrite",  "Error reading bytes from source stream",
};
constexpr CopyTexts cReadToStreamTexts{
    "Tried to write more bytes (",
    ") to destination stream than left from own pos (",
    ") to own end (",
    "bytesDone == bytesToRead",
    "Error reading bytes from own stream",
};

/// Moves one piece and returns whether all of it came; what came is written in any case, what did not is not.
bool copyPiece(Stream& src, Stream& dst, void* buffer, uint64 numBytes, const char* condition, const char* shortRead) {
    const uint64 bytesDone = src.read(buffer, numBytes);
    if (!TARQ_ASSERT_AS(condition, bytesDone == numBytes, shortRead)) {
        if (bytesDone != 0)
            dst.write(buffer, std::min(bytesDone, numBytes));
        return false;
    }
    dst.write(buffer, numBytes);
    return true;
}

void copyBytes(Stream& src, Stream& dst, uint64 numBytes, const Memory::AllocatorPtr& allocator,
               const CopyTexts& texts) {
    const uint64 length = src.getLength();
    const uint64 position = src.getPosition();
    const uint64 bytesAvailable = length - std::min(length, position);
    // A source may still hold more than it tells; the reads show it.
    TARQ_ASSERT_AS("bytesAvailable >= numBytes", bytesAvailable >= numBytes, texts.tooMany, numBytes, texts.position,
                   position, texts.end, length, ")");

    const Memory::ScopedBytes buffer(allocator, Stream::STREAM_COPY_BUFFER);
    for (; numBytes > Stream::STREAM_COPY_BUFFER; numBytes -= Stream::STREAM_COPY_BUFFER) {
        if (!copyPiece(src, dst, buffer.get(), Stream::STREAM_COPY_BUFFER, "bytesDone == STREAM_COPY_BUFFER",
                       texts.shortRead))
            return;
    }
    copyPiece(src, dst, buffer.get(), numBytes, texts.restCondition, texts.shortRead);
}

void checkPartner(const Stream* self, const Stream* partner, const char* argumentName) {
    if (!partner)
        throw new Exceptions::ArgumentNullException("Stream: The other stream of a copy cannot be NULL.", argumentName);
    if (partner == self)
        throw new Exceptions::ArgumentException("Stream: A stream cannot be copied into itself.", argumentName);
}

} // namespace

Stream::~Stream() = default;

void Stream::writeFromStream(Stream* src, uint64 numBytes) {
    checkPartner(this, src, "src");
    copyBytes(*src, *this, numBytes, getAllocator(), cWriteFromStreamTexts);
}

void Stream::readToStream(Stream* dst, uint64 numBytes) {
    checkPartner(this, dst, "dst");
    copyBytes(*this, *dst, numBytes, getAllocator(), cReadToStreamTexts);
}

void Stream::writeFromStream(Stream* src) {
    checkPartner(this, src, "src");
    src->seek(0, SORIGIN_BEGIN);
    writeFromStream(src, src->getLength());
}

void Stream::readToStream(Stream* dst) {
    checkPartner(this, dst, "dst");
    seek(0, SORIGIN_BEGIN);
    readToStream(dst, getLength());
}

} // namespace Tarq::Common::IO
