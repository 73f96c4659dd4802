#include "bench/echoserver.h"
#include "common/debugger/tcppacketreceivehandler.h"
#include "common/library.h"
#include "common/memory/memorystream.h"

namespace Tarq::Bench {

using Common::Library;
using Common::Memory::MemoryStream;
using namespace Common::Network;

OurServer::OurServer(Answer answer)
    : mAnswer(answer), mReactor(Library::getTempAlloc(), static_cast<Common::int32>(cWaitMilliseconds) * 1000) {
    Sockets::HostAddress address(Sockets::IPV4::LOOPBACK, 0);
    check(mListener.listen(address, 64) && mListener.getLocalAddress(&address), "our server cannot listen");
    mPort = address.getPort();
}

OurServer::~OurServer() = default;

void OurServer::accept() {
    const auto& allocator = Library::getTempAlloc();
    const auto id = static_cast<uint32>(mSockets.size());
    auto* const socket = mSockets.emplace_back(mListener.accept(nullptr)).get();
    check(socket != nullptr, "our server cannot accept");
    mSenders.push_back(new (allocator) TCPPacketSendHandler(socket, &mReactor));
    const uint32 limit = mReactor.getLimits().mMaxMessageLength;
    const bool isRegistered = mReactor.registerEventHandler(mSenders.back()) &&
                              mReactor.registerEventHandler(
                                  new (allocator) Common::Debugger::TCPPacketReceiveHandler(socket, this, id, limit));
    check(isRegistered, "a handler cannot be registered");
}

void OurServer::serve() {
    while (!mIsEnding)
        step();
    for (const auto& socket : mSockets)
        mReactor.removeConnection(socket.get());
    mSockets.clear();
}

void OurServer::step() {
    const bool isFine = mReactor.removeDirtyConnections() && mReactor.handleEvents() && mReactor.handleNoSocketEvents();
    check(isFine || mIsEnding, "a step of the reactor fails");
}

void OurServer::messageReceived(uint32 clientID, Common::IO::Stream* message) {
    static const Common::String name("answer", Common::Memory::AllocatorPtr());
    static const std::string large(cLargeSize, 'x');
    std::unique_ptr<MemoryStream> answer(new (Library::getTempAlloc()) MemoryStream(name, 65535));
    if (mAnswer == Answer::ANSWER_LARGE)
        answer->write(large.data(), large.size());
    if (mAnswer == Answer::ANSWER_SAME) {
        message->seek(0, Common::IO::Stream::SORIGIN_BEGIN);
        char bytes[1000];
        while (const uint64 count = message->read(bytes, sizeof(bytes)))
            answer->write(bytes, count);
    }
    if (mSenders[clientID]->queueMessage(answer.get()))
        static_cast<void>(answer.release());
}

} // namespace Tarq::Bench
