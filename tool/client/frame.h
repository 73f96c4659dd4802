#pragma once

#include "common/container/vector.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/types.h"

namespace Tarq::Tool {

/// In front of each message stands its length in bytes, most significant byte first.
inline constexpr Common::uint32 cLengthSize = 4;

/// A message with its length in front, in one piece: a host wants the whole length with one receive, so it leaves
/// together with what follows.
using Frame = Common::Container::Vector<Common::uint8>;

/// Writes a message into a frame.
class FrameBuilder {
public:
    FrameBuilder();

    Common::Network::Message::MessageBuilder& getBuilder() noexcept { return mBuilder; }
    /// Asserts that the message is shorter than 4 GiB - 1; the frame is empty otherwise.
    Frame finish();
    /// The same without the length.
    Frame finishBare();

private:
    Frame take(Common::uint32 from);

    Common::Memory::MemoryStream mStream;
    Common::Network::Message::MessageBuilder mBuilder;
};

/// Puts messages together from bytes that arrive in pieces of any size.
class FrameAssembler {
public:
    enum State : Common::uint8 {
        FRAME_INCOMPLETE,
        FRAME_COMPLETE, ///< until `next`
        FRAME_TOO_LONG, ///< for good: where the next message begins is not known
    };

    explicit FrameAssembler(Common::uint32 maxLength);

    /// Takes the bytes that belong to the current message, and returns how many these are. Memory is taken for bytes
    /// that have come, not for those that are announced. Throws `OutOfMemoryException`.
    Common::uint32 take(const Common::uint8* bytes, Common::uint32 count);
    State getState() const noexcept { return mState; }
    /// The length that the current message announces; 0 while that is not complete.
    Common::uint32 getLength() const noexcept { return mLength; }
    /// Whether bytes of an incomplete message have come.
    bool hasBegun() const noexcept { return mState == FRAME_INCOMPLETE && mHeadSize != 0; }

    /// The complete message, valid until `next`.
    Common::Memory::MemoryStream& getMessage() noexcept { return mMessage; }
    /// Goes on behind a complete message.
    void next();

private:
    Common::uint32 takeHead(const Common::uint8* bytes, Common::uint32 count);

    Common::uint32 mMaxLength;
    State mState = FRAME_INCOMPLETE;
    Common::uint8 mHead[cLengthSize] = {};
    Common::uint32 mHeadSize = 0;
    Common::uint32 mLength = 0;
    Common::uint32 mTaken = 0; ///< of the message, without the head
    Common::Memory::MemoryStream mMessage;
};

} // namespace Tarq::Tool
