#include "common/debugger/stream/networkstream.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/internal/insidemark.h"
#include "common/debugger/internal/modellock.h"
#include "common/debugger/internal/serverthread.h"
#include "common/debugger/outgoingmessage.h"
#include "common/debugger/server.h"
#include "common/exceptions/internal/guarded.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace Tarq::Common::Debugger {

namespace {

/// Of the buffer in which bytes are gathered, in bytes. A short read takes no more than it needs.
constexpr uint32 cLargestBlock = 65535;

} // namespace

NetworkStream::NetworkStream(Server* server, uint32 id, const String& name, uint32 length, uint32 connectionID)
    : mServer(server), mID(id), mName(name), mConnectionID(connectionID), mLength(length) {
    mGate.activate();
}

NetworkStream::~NetworkStream() {
    NetworkStream::close();
}

bool NetworkStream::canRead() const {
    return true;
}

bool NetworkStream::canWrite() const {
    return false;
}

bool NetworkStream::canSeek() const {
    return true;
}

bool NetworkStream::isClosed() const {
    const Server::DataLock inside(Server::getDataMutex());
    return mIsClosed;
}

uint64 NetworkStream::getLength() const {
    const Server::DataLock inside(Server::getDataMutex());
    return mLength;
}

uint64 NetworkStream::getPosition() const {
    const Server::DataLock inside(Server::getDataMutex());
    return mPosition;
}

const String& NetworkStream::getName() const {
    return mName;
}

uint64 NetworkStream::read(void* dst, uint64 numBytes) {
    std::optional<InsideMark> mark;
    std::unique_ptr<Memory::MemoryStream> data;
    {
        const Server::DataLock inside(Server::getDataMutex());
        if (!mayRead(numBytes) || numBytes == 0)
            return 0;
        // Not before: a server that stops waits until there is none, and reads of what is closed may go on and on.
        mark.emplace();
        const bool isAsked = beginRead(static_cast<uint32>(numBytes));
        if (isAsked)
            waitForData();
        mPending = 0;
        data = std::move(mData);
        // From here on the host may give the stream back, also where it hears of this.
        if (!isAsked)
            reportNotAsked();
    }
    return finishRead(dst, static_cast<uint32>(numBytes), data.get());
}

/// Nobody waits who would keep the data from coming, or is in the middle of a breakpoint or another read.
bool NetworkStream::mayRead(uint64 numBytes) const {
    if (ServerThreadMark::isSet(ServerThreadMark::MESSAGES) || ModelLock::isSet() || InsideMark::isSet())
        return TARQ_FAIL("NetworkStream (", mName, ") can't be read by who would keep its data from coming");
    if (!TARQ_ASSERT_AS("numBytes < TARQ_MAX_UINT32", numBytes < 0xFFFFFFFF,
                        "NetworkStream doesn't support reading more bytes than TARQ_MAX_UINT32") ||
        !TARQ_ASSERT(mPosition + numBytes <= mLength, "Tried to read (", numBytes, ") bytes but from pos (", mPosition,
                     ") to end (", mLength, ") are only (", mLength - mPosition, ") bytes left"))
        return false;
    return checkUnoccupied();
}

/// False when there is nothing to wait for, because the tool cannot be asked.
bool NetworkStream::beginRead(uint32 numBytes) {
    mData.reset(new (mServer->getAllocator())
                    Memory::MemoryStream("NetworkStream internal Buffer", std::min(numBytes, cLargestBlock)));
    mPending = numBytes;
    // At the gate before the request leaves: the answer finds the reader there.
    mGate.registerPublic();
    if (sendRequest())
        return true;
    mGate.leavePublic();
    return false;
}

void NetworkStream::waitForData() {
    const uint32 depth = Server::getDataMutex().unlockAll();
    mGate.waitForPass();
    Server::getDataMutex().lockAgain(depth);
}

/// Asks for what comes next, at most `cPieceSize` bytes.
bool NetworkStream::sendRequest() {
    Exceptions::CaughtText caught;
    return Exceptions::runGuarded(caught, [this] {
        OutgoingMessage message(*mServer, MessageID::NETWORK_STREAM_REQUEST);
        message.builder().write(mID);
        message.builder().write(mPosition);
        message.builder().write(std::min(mPending, uint32{cPieceSize}));
        return message.sendTo(mConnectionID);
    });
}

bool NetworkStream::reportNotAsked() {
    TARQ_FAIL("Couldn't send returning message back to client");
    return TARQ_FAIL("Failed to ask for more data within NetworkStream");
}

bool NetworkStream::receive(IO::Stream& data) {
    static constexpr char cTooMuch[] = "NetworkStream received more data than needed";
    const uint64 length = data.getLength();
    const uint32 wanted = mPending;
    if (!TARQ_ASSERT_AS("length < TARQ_MAX_UINT32", length < 0xFFFFFFFF,
                        "NetworkStream received data stream with length > TARQ_MAX_UINT32"))
        return false;
    // Nobody reads; the gate says so of data without a byte.
    if (wanted == 0)
        return TARQ_ASSERT_AS(nullptr, length == 0, cTooMuch) && mGate.allowOnePublicPass();
    Exceptions::CaughtText caught;
    const bool isTaken = take(data, static_cast<uint32>(std::min(length, uint64{wanted})), caught);
    const bool isOver = mPending == 0;
    if (isTaken && !isOver && sendRequest())
        return true;
    // The reader goes on, with what has arrived, and only then is anything said: whoever hears it may do with the
    // stream what he wants. A transport may have reported already, so that it has been closed.
    const bool isPassed = isOver ? mGate.allowOnePublicPass() : giveUp();
    if (isTaken && isOver) {
        TARQ_ASSERT_AS(nullptr, length <= wanted, cTooMuch);
        return isPassed;
    }
    if (isTaken)
        return reportNotAsked();
    TARQ_FAIL("NetworkStream couldn't keep the received data: ", caught.getText());
    return TARQ_FAIL("Failed to ask for more data within NetworkStream");
}

bool NetworkStream::giveUp() {
    return std::exchange(mPending, 0) == 0 || mGate.allowOnePublicPass();
}

/// What has been written counts, also when there is no memory for the rest.
bool NetworkStream::take(IO::Stream& data, uint32 numBytes, Exceptions::CaughtText& caught) {
    const uint64 before = mData->getLength();
    const bool isTaken = Exceptions::runGuarded(caught, [&] {
        data.seek(0, SORIGIN_BEGIN);
        mData->writeFromStream(&data, numBytes);
        return true;
    });
    const auto taken = static_cast<uint32>(mData->getLength() - before);
    mPosition += taken;
    mPending -= taken;
    return isTaken;
}

/// Whatever the stream has become meanwhile: what has arrived counts.
uint64 NetworkStream::finishRead(void* dst, uint32 numBytes, Memory::MemoryStream* data) {
    if (!TARQ_ASSERT_AS(nullptr, data, "NetworkStream hasn't set his internal Buffer"))
        return 0;
    const auto received = static_cast<uint32>(data->getLength());
    TARQ_ASSERT_AS(nullptr, received == numBytes, "NetworkStream didn't receive complete length: (", received,
                   ") wanted (", numBytes, ")");
    data->rewind();
    const uint64 read = data->read(dst, received);
    TARQ_ASSERT_AS(nullptr, read == received, "NetworkStream couldn't read the complete received data");
    return read;
}

void NetworkStream::write(const void*, uint64) {
    TARQ_FAIL("Write not supported in NetworkStream");
}

uint64 NetworkStream::seek(int64 offset, SeekOrigin origin) {
    const Server::DataLock inside(Server::getDataMutex());
    const uint64 before = mPosition; // whoever hears of a failure may give the stream back
    int64 start = 0;
    switch (origin) {
    case SORIGIN_BEGIN:
        break;
    case SORIGIN_CURRENT:
        start = mPosition;
        break;
    case SORIGIN_END:
        start = mLength;
        break;
    default:
        TARQ_FAIL("Invalid SeekOrigin in origin specified");
        return 0;
    }
    if (!TARQ_ASSERT_AS(nullptr, offset >= -start && offset <= int64{mLength} - start,
                        "Offset leads out of range of the stream") ||
        !checkUnoccupied())
        return before;
    mPosition = static_cast<uint32>(start + offset);
    return mPosition;
}

/// While a thread reads, the position belongs to it.
bool NetworkStream::checkUnoccupied() const {
    return TARQ_ASSERT_AS(nullptr, !mData,
                          "NetworkStream supports only one thread asking for data via network: ", mName,
                          " is already occupied");
}

void NetworkStream::flush() {}

void NetworkStream::close() {
    const Server::DataLock inside(Server::getDataMutex());
    const bool isReading = mPending != 0;
    mPosition = 0;
    mLength = 0;
    mPending = 0;
    mIsClosed = true;
    mGate.close();
    TARQ_ASSERT_AS(nullptr, !isReading, "BAD ERROR: NetworkStream ", mName,
                   " has a job waiting but should be closed -> waitng Program may be locked permanently");
}

} // namespace Tarq::Common::Debugger
