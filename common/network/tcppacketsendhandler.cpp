#include "common/network/tcppacketsendhandler.h"

#include "common/debug/assert.h"
#include "common/exceptions/internal/guarded.h"
#include "common/network/sockets/socketerrortext.h"
#include "common/platform/endian.h"

#include <algorithm>

namespace Tarq::Common::Network {

using Sockets::TCPSocket;

namespace {

const char* lastErrorText() noexcept {
    return Sockets::getSocketErrorText(Sockets::Socket::getLastError());
}

} // namespace

TCPPacketSendHandler::TCPPacketSendHandler(TCPSocket* socket, Reactor* reactor) noexcept
    : OutputHandler(socket, reactor) {}

TCPPacketSendHandler::~TCPPacketSendHandler() = default;

bool TCPPacketSendHandler::handleEvent() {
    Exceptions::CaughtText caught;
    const bool isFine = Exceptions::runGuarded(caught, [this] { return handleState(); });
    if (caught.isCaught()) {
        TARQ_FAIL("TCPPacketSendHandler can't read the message: ", caught.getText());
        return fail();
    }
    return isFine;
}

bool TCPPacketSendHandler::handleState() {
    switch (mState) {
    case OUTSTATE_FAILED:
        return false;
    case OUTSTATE_INIT:
        if (!initialize())
            return fail();
        mState = OUTSTATE_IDLE;
        return true;
    case OUTSTATE_IDLE:
        if (getFirstMessage())
            mState = OUTSTATE_SEND_LENGTH;
        return true;
    case OUTSTATE_SEND_LENGTH:
        return sendLength();
    case OUTSTATE_SEND_DATA:
        return sendData();
    default:
        TARQ_FAIL("TCPPacketSendHandler is in unknown OutputHandlerState: ", mState);
        return fail();
    }
}

/// Whether `numBytes` of the oldest message, or else the next one, follow.
TCPSocket::Continuation TCPPacketSendHandler::continuationBefore(uint32 numBytes) const noexcept {
    return numBytes == 0 && !hasSecondMessage() ? TCPSocket::CONTINUATION_NONE : TCPSocket::CONTINUATION_FOLLOWS;
}

bool TCPPacketSendHandler::sendLength() {
    IO::Stream* const stream = getFirstMessage();
    if (!TARQ_ASSERT_AS("!mMessageStreams.empty()", stream,
                        "Error: list of messages is empty but handler is in state to send the length of the data"))
        return fail();
    const uint32 length = static_cast<uint32>(stream->getLength());
    unsigned char bytes[sizeof(length)];
    Platform::storeBigEndian(bytes, length);
    const int sent = getSocket()->trySend(bytes, sizeof(bytes), 0, continuationBefore(length));
    if (sent == TCPSocket::NOT_YET)
        return true;
    if (sent < 0) {
        TARQ_FAIL("Error during send: ", lastErrorText());
        return fail();
    }
    if (sent < int{sizeof(bytes)}) {
        TARQ_FAIL("TCPPacketSendHandler can't send the first ", "4", " bytes to determine the length (", length,
                  ") of the message");
        return fail();
    }
    mBytesCurr = 0;
    mByteMax = length;
    stream->seek(0, IO::Stream::SORIGIN_BEGIN);
    mState = OUTSTATE_SEND_DATA;
    return true;
}

bool TCPPacketSendHandler::sendData() {
    IO::Stream* const stream = getFirstMessage();
    if (!TARQ_ASSERT_AS("!mMessageStreams.empty()", stream,
                        "Error: list of messages is empty but handler is in state to send data"))
        return fail();
    unsigned char buffer[cLargestSend];
    const uint32 wanted = std::min(mByteMax - mBytesCurr, cLargestSend);
    const uint32 count = wanted == 0 ? 0 : static_cast<uint32>(std::min<uint64>(stream->read(buffer, wanted), wanted));
    if (wanted != 0 && count == 0) {
        // It would be asked for the missing bytes again and again.
        TARQ_FAIL("TCPPacketSendHandler found the end of the message after ", mBytesCurr, " of ", mByteMax, " bytes");
        return fail();
    }
    int sent = getSocket()->trySend(buffer, count, 0, continuationBefore(mByteMax - mBytesCurr - count));
    if (sent == TCPSocket::NOT_YET)
        sent = 0;
    if (sent < 0) {
        TARQ_FAIL("Error during send: ", lastErrorText());
        return fail();
    }
    mBytesCurr += static_cast<uint32>(sent);
    if (static_cast<uint32>(sent) < count)
        stream->seek(mBytesCurr, IO::Stream::SORIGIN_BEGIN);
    if (!TARQ_ASSERT(mBytesCurr <= mByteMax, "TCPPacketSendHandler wrote to stream more than the message had"))
        return fail();
    if (mBytesCurr == mByteMax) {
        finishMessage();
        mState = OUTSTATE_IDLE;
    }
    return true;
}

bool TCPPacketSendHandler::fail() noexcept {
    mState = OUTSTATE_FAILED;
    return false;
}

} // namespace Tarq::Common::Network
