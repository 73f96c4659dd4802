#include "common/debugger/tcppacketreceivehandler.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/exceptions/internal/guarded.h"
#include "common/memory/allocate.h"
#include "common/memory/memorystream.h"
#include "common/platform/endian.h"

#include <algorithm>

namespace Tarq::Common::Debugger {

using Network::Sockets::TCPSocket;

namespace {

constexpr uint32 cLengthSize = 4;
constexpr uint32 cStreamBlockSize = 65535;

constexpr char cFunction[] = "Tarq::Common::Debugger::TCPPacketReceiveHandler::handleEvent";

} // namespace

TCPPacketReceiveHandler::TCPPacketReceiveHandler(TCPSocket* socket, PacketListener* listener, uint32 clientID,
                                                 uint32 maxMessageLength) noexcept
    : InputHandler(socket), mListener(listener), mClientID(clientID), mMaxMessageLength(maxMessageLength) {}

TCPPacketReceiveHandler::~TCPPacketReceiveHandler() = default;

bool TCPPacketReceiveHandler::handleEvent() {
    Exceptions::CaughtText caught;
    const bool isFine = Exceptions::runGuarded(caught, [this] { return handleState(); });
    if (!caught.isCaught())
        return isFine;
    Debug::report({Debug::LOG_ERROR, cFunction}, "Connection ", mClientID, " is given up: ", caught.getText());
    return lose();
}

bool TCPPacketReceiveHandler::handleState() {
    switch (mState) {
    case Network::INSTATE_FAILED:
        return false;
    case Network::INSTATE_INIT:
        if (!initialize()) {
            mState = Network::INSTATE_FAILED;
            return false;
        }
        startMessage();
        return true;
    case Network::INSTATE_READ_LENGTH:
        return readLength();
    case Network::INSTATE_READ_DATA:
        return readData();
    default:
        TARQ_FAIL("TCPPacketReceiveHandler is in unknown InputHandlerState: ", mState);
        mState = Network::INSTATE_FAILED;
        return false;
    }
}

bool TCPPacketReceiveHandler::readLength() {
    const Memory::ScopedBytes buffer(getAllocator(), cLengthSize);
    const int received = getSocket()->tryReceive(buffer.get(), cLengthSize, 0);
    if (received == TCPSocket::NOT_YET)
        return true;
    if (received <= 0)
        return lose();
    if (received < int{cLengthSize}) {
        TARQ_FAIL("the length of the message couldn't be read within this try");
        return lose();
    }
    mByteMax = Platform::loadBigEndian<uint32>(static_cast<const unsigned char*>(buffer.get()));
    mBytesCurr = 0;
    if (mByteMax > mMaxMessageLength) {
        Debug::report({Debug::LOG_ERROR, cFunction}, "Connection ", mClientID, " is given up: a message of ", mByteMax,
                      " bytes crosses the limit of ", mMaxMessageLength);
        return lose();
    }
    mState = Network::INSTATE_READ_DATA;
    // To wait for no bytes would look like the end of the connection.
    return mByteMax != 0 || finishMessage();
}

bool TCPPacketReceiveHandler::readData() {
    const uint32 wanted = std::min(mByteMax - mBytesCurr, cLargestReceive);
    const Memory::ScopedBytes buffer(getAllocator(), wanted);
    const int received = getSocket()->tryReceive(buffer.get(), wanted, 0);
    if (received == TCPSocket::NOT_YET)
        return true;
    if (received <= 0)
        return lose();
    mMessageStream->write(buffer.get(), static_cast<uint32>(received));
    mBytesCurr += static_cast<uint32>(received);
    if (!TARQ_ASSERT(mBytesCurr <= mByteMax,
                     "TCPPacketReceiveHandler read from stream more than the size of the message it should read"))
        return lose();
    return mBytesCurr != mByteMax || finishMessage();
}

bool TCPPacketReceiveHandler::finishMessage() {
    mListener->messageReceived(mClientID, mMessageStream.get());
    startMessage();
    return true;
}

void TCPPacketReceiveHandler::startMessage() {
    mMessageStream.reset();
    mMessageStream.reset(new (getAllocator()) Memory::MemoryStream("stream", cStreamBlockSize));
    mBytesCurr = 0;
    mByteMax = cLengthSize;
    mState = Network::INSTATE_READ_LENGTH;
}

bool TCPPacketReceiveHandler::lose() {
    mState = Network::INSTATE_FAILED;
    mListener->connectionLost(mClientID);
    return false;
}

} // namespace Tarq::Common::Debugger
