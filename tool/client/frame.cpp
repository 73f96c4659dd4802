#include "tool/client/frame.h"

#include "common/debug/assert.h"
#include "common/platform/endian.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr uint32 cBlockSize = 4096;

} // namespace

FrameBuilder::FrameBuilder() : mStream("frame", cBlockSize), mBuilder(&mStream, true) {
    // The place of the length, which is not known yet.
    const uint8 place[cLengthSize] = {};
    mStream.write(place, sizeof(place));
}

Frame FrameBuilder::finish() {
    Frame frame = take(0);
    if (!frame.empty())
        Platform::storeBigEndian(frame.data(), frame.size() - cLengthSize);
    return frame;
}

Frame FrameBuilder::finishBare() {
    return take(cLengthSize);
}

Frame FrameBuilder::take(uint32 from) {
    Frame frame(mStream.getAllocator());
    const uint64 numBytes = mStream.getLength();
    if (!TARQ_ASSERT(numBytes < 0xFFFFFFFF, "A message is too long: ", numBytes))
        return frame;
    mStream.seek(from, IO::Stream::SORIGIN_BEGIN);
    frame.resizeForOverwrite(static_cast<uint32>(numBytes) - from);
    mStream.read(frame.data(), frame.size());
    return frame;
}

FrameAssembler::FrameAssembler(uint32 maxLength) : mMaxLength(maxLength), mMessage("message", cBlockSize) {}

uint32 FrameAssembler::take(const uint8* bytes, uint32 count) {
    if (mState != FRAME_INCOMPLETE)
        return 0;
    const uint32 ofHead = mHeadSize < cLengthSize ? takeHead(bytes, count) : 0;
    if (mHeadSize < cLengthSize || mState == FRAME_TOO_LONG)
        return ofHead;
    const uint32 ofMessage = std::min(count - ofHead, mLength - mTaken);
    mMessage.write(bytes + ofHead, ofMessage);
    mTaken += ofMessage;
    if (mTaken == mLength)
        mState = FRAME_COMPLETE;
    return ofHead + ofMessage;
}

uint32 FrameAssembler::takeHead(const uint8* bytes, uint32 count) {
    const uint32 taken = std::min(count, cLengthSize - mHeadSize);
    std::copy_n(bytes, taken, mHead + mHeadSize);
    mHeadSize += taken;
    if (mHeadSize == cLengthSize) {
        mLength = Platform::loadBigEndian<uint32>(mHead);
        if (mLength > mMaxLength)
            mState = FRAME_TOO_LONG;
    }
    return taken;
}

void FrameAssembler::next() {
    mMessage.open();
    mState = FRAME_INCOMPLETE;
    mHeadSize = 0;
    mLength = 0;
    mTaken = 0;
}

} // namespace Tarq::Tool
