#include "common/memory/memorystream.h"

#include "common/debug/assert.h"
#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/memory/allocate.h"

#include <algorithm>
#include <limits>

namespace Tarq::Common::Memory {

namespace {

constexpr uint64 cLargestRequest = std::numeric_limits<uint32>::max();

uint32 usableSize(uint32 blockSize) {
    if (!TARQ_ASSERT(blockSize > 0, "Block size of a memory stream must be greater 0"))
        return 1;
    return blockSize;
}

} // namespace

MemoryStream::MemoryStream(const String& name, uint32 blockSize)
    : mFurtherBlocks(getAllocator()), mBlockSize(usableSize(blockSize)), mName(name) {
    open();
}

MemoryStream::~MemoryStream() {
    MemoryStream::close();
}

void MemoryStream::open() {
    MemoryStream::close();
    mFirstBlock = allocateBytes(getAllocator(), mBlockSize);
    moveTo(0, 0);
}

bool MemoryStream::canRead() const {
    return true;
}

bool MemoryStream::canWrite() const {
    return true;
}

bool MemoryStream::canSeek() const {
    return true;
}

bool MemoryStream::isClosed() const {
    return !mFirstBlock;
}

uint64 MemoryStream::getLength() const {
    requireOpen("Try to get length of a closed MemoryStream");
    return std::max(mLength, position());
}

uint64 MemoryStream::getPosition() const {
    requireOpen("Try to get position of a closed MemoryStream");
    return position();
}

const String& MemoryStream::getName() const {
    return mName;
}

uint64 MemoryStream::readAcrossBlocks(void* dst, uint64 numBytes) {
    requireOpen("Try to read from a closed MemoryStream");
    moveTo(mIndex, mOffset);
    std::byte* to = static_cast<std::byte*>(dst);
    uint32 left = static_cast<uint32>(std::min({numBytes, cLargestRequest, mLength - position()}));
    while (left != 0) {
        if (mOffset == mBlockSize)
            moveTo(mIndex + 1, 0);
        const uint32 count = std::min(left, mReadLimit - mOffset);
        std::memcpy(to, mBlock + mOffset, count);
        mOffset += count;
        to += count;
        left -= count;
    }
    return static_cast<uint64>(to - static_cast<std::byte*>(dst));
}

void MemoryStream::writeAcrossBlocks(const void* src, uint64 numBytes) {
    requireOpen("Try to write to a closed MemoryStream");
    const uint64 room = (uint64{mFurtherBlocks.size()} + 1 - mIndex) * mBlockSize - mOffset;
    if (numBytes > room)
        appendBlocks((numBytes - room - 1) / mBlockSize + 1);
    const std::byte* from = static_cast<const std::byte*>(src);
    while (numBytes != 0) {
        if (mOffset == mBlockSize)
            moveTo(mIndex + 1, 0);
        const uint32 count = static_cast<uint32>(std::min<uint64>(numBytes, mBlockSize - mOffset));
        std::memcpy(mBlock + mOffset, from, count);
        mOffset += count;
        from += count;
        numBytes -= count;
    }
}

/// Behind the first one; all of them, or none.
void MemoryStream::appendBlocks(uint64 count) {
    const uint32 oldCount = mFurtherBlocks.size();
    try {
        for (; count != 0; --count) {
            mFurtherBlocks.push_back(nullptr);
            mFurtherBlocks.back() = allocateBytes(getAllocator(), mBlockSize);
        }
    } catch (...) {
        releaseBlocksFrom(oldCount);
        throw;
    }
}

/// An index in the list of further ones.
void MemoryStream::releaseBlocksFrom(uint32 index) noexcept {
    for (; mFurtherBlocks.size() > index; mFurtherBlocks.pop_back())
        releaseBytes(getAllocator(), mFurtherBlocks.back());
}

void MemoryStream::moveTo(uint32 index, uint32 offset) noexcept {
    mLength = std::max(mLength, position());
    mIndex = index;
    mOffset = offset;
    mBlock = static_cast<std::byte*>(index == 0 ? mFirstBlock : mFurtherBlocks[index - 1]);
    mReadLimit = static_cast<uint32>(std::min<uint64>(mLength - uint64{index} * mBlockSize, mBlockSize));
    mWriteLimit = mBlockSize;
}

uint64 MemoryStream::seek(int64 offset, SeekOrigin origin) {
    requireOpen("Try to seek in a closed MemoryStream");
    const uint64 length = getLength();
    uint64 base = 0;
    switch (origin) {
    case SORIGIN_CURRENT:
        base = getPosition();
        break;
    case SORIGIN_END:
        base = length;
        break;
    case SORIGIN_BEGIN:
        break;
    default:
        TARQ_FAIL("Invalid SeekOrigin in origin specified");
        return 0;
    }
    // A target in front of the stream wraps around and is larger than any length.
    const uint64 target = base + static_cast<uint64>(offset);
    if (target > length)
        throw new Exceptions::ArgumentOutOfRangeException("Offset leads out of range of the stream", "offset");
    const uint64 index = target / mBlockSize;
    if (index <= mFurtherBlocks.size())
        moveTo(static_cast<uint32>(index), static_cast<uint32>(target % mBlockSize));
    else
        moveTo(mFurtherBlocks.size(), mBlockSize);
    return target;
}

void MemoryStream::flush() {}

void MemoryStream::close() {
    releaseBlocksFrom(0);
    releaseBytes(getAllocator(), mFirstBlock);
    mFirstBlock = nullptr;
    mIndex = 0;
    mOffset = 0;
    mLength = 0;
    mBlock = nullptr;
    mReadLimit = 0;
    mWriteLimit = 0;
}

void MemoryStream::requireOpen(const char* message) const {
    if (isClosed())
        throw new Exceptions::InvalidStateException(message);
}

} // namespace Tarq::Common::Memory
