#pragma once

#include "common/container/idvector.h"
#include "common/debugger/server.h"
#include "common/network/message/messagebuilder.h"
#include "fuzz/debugger/hostthread.h"
#include "fuzz/debugger/messages.h"
#include "fuzz/require.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>

namespace Tarq::Fuzz {

/// The other end of the server: connections and messages come from a script that runs on the server's thread.
class MemoryLayer final : public Debugger::ConnectionLayer {
public:
    using Run = void (*)(MemoryLayer& layer, const unsigned char* data, std::size_t size);

    /// What is asked, and what has been said to it.
    struct Request {
        uint32 asker = 0;
        MessageID type{};
        std::string fields = {};
        bool isWhole = false;   ///< whether it can be read
        bool isAwaited = false; ///< whether there is an answer to come
        bool isAnswered = false;
        uint8 code = 0;
    };

    MemoryLayer(Debugger::Server* server, HostThread& host, Run run)
        : mServer(server), mHost(host), mRun(run), mConnections(Memory::AllocatorPtr()) {}

    bool connect(const Network::Sockets::HostAddress& address) override {
        mListeningAddress = address;
        return true;
    }
    void close() override {}
    bool send(uint32 connectionID, IO::Stream* message) override {
        require(mConnections.isValidID(connectionID));
        if (!mCanSend)
            return false;
        hear(connectionID, *message);
        delete message;
        return true;
    }
    bool disconnect(uint32 connectionID) override {
        require(mConnections.isValidID(connectionID));
        mConnections.remove(connectionID);
        return mServer->disconnectClient(connectionID);
    }
    int32 processEvents() override {
        std::unique_lock inside(mMutex);
        mChanged.wait(inside, [this] { return mData || mIsInterrupted; });
        if (mData) {
            mRun(*this, mData, mSize);
            mData = nullptr;
            mChanged.notify_all();
        }
        return 0;
    }
    void interrupt() override {
        const std::scoped_lock inside(mMutex);
        mIsInterrupted = true;
        mChanged.notify_all();
    }

    /// Has the script run; on another thread.
    void perform(const unsigned char* data, std::size_t size) {
        std::unique_lock inside(mMutex);
        mData = data;
        mSize = size;
        mChanged.notify_all();
        mChanged.wait(inside, [this] { return !mData; });
    }

    // For the script.

    uint32 open() {
        const uint32 connectionID = mConnections.add(this);
        require(mServer->notifyConnection(connectionID));
        return connectionID;
    }
    void lose(uint32 connectionID) {
        const Debugger::Server::DataLock inside(mServer->getDataMutex());
        require(disconnect(connectionID));
    }
    /// A request that can be read is answered once, if it can be; another is not.
    const Request& receive(uint32 connectionID, const std::string& bytes, uint32 blockSize, bool canSend) {
        mRequest = readRequest(connectionID, bytes);
        mCanSend = canSend;
        Memory::MemoryStream message("stream", blockSize);
        message.write(bytes.data(), bytes.size());
        mServer->messageReceived(connectionID, &message);
        require(message.getLength() == bytes.size());
        require(mRequest.isAnswered == (mRequest.isAwaited && canSend));
        mCanSend = true;
        return mRequest;
    }
    void setCanSend(bool canSend) { mCanSend = canSend; }
    /// Returns when all calls have been executed, and their answers sent: those of a client come in order.
    void waitForCalls(uint32 connectionID) {
        Memory::MemoryStream message("stream", 64);
        Network::Message::MessageBuilder builder(&message, true);
        builder.write(static_cast<uint32>(MessageID::CALL));
        builder.write(cLastCall);
        mIsLastCallAnswered = false;
        mServer->messageReceived(connectionID, &message);
        mIsLastCallAnswered.wait(false);
    }
    /// How many pieces of streams the host has asked for.
    uint32 countPieces() const { return mPieces; }

    /// What a call has to name so that it can be waited for.
    static constexpr const char* cLastCall = "the last call";

    bool isQuiet() const {
        return mConnections.size() == 0 && mServer->getClientCount() == 0 && !mServer->isBreakpointHolding() &&
               !mServer->findModule(uint32{0}) && !mServer->findModule(uint32{1});
    }

private:
    static Request readRequest(uint32 connectionID, const std::string& bytes) {
        Memory::MemoryStream stream("stream", 65535);
        stream.write(bytes.data(), bytes.size());
        Network::Message::MessageReader reader(&stream, true);
        uint32 type = 0;
        if (!reader.read(type))
            return {};
        Request request{connectionID, MessageID{type}};
        MessageCheck check(reader);
        const char* const form = findForm(cRequests, request.type);
        request.isWhole = form && check.take(form);
        request.isAwaited = request.isWhole && findForm(cReplies, Debugger::replyTo(request.type));
        request.fields = check.getFields();
        return request;
    }

    /// It is a message, from its type to its end.
    void hear(uint32 connectionID, IO::Stream& message) {
        Network::Message::MessageReader reader(&message, true);
        uint32 type = 0;
        require(reader.read(type));
        if (MessageID{type} == Debugger::replyTo(MessageID::CALL))
            return hearCallReply(reader);
        MessageCheck check(reader);
        const char* const event = findForm(cEvents, MessageID{type});
        const char* const form = event ? event : findForm(cReplies, MessageID{type});
        require(form && check.take(form) && check.isAtEnd());
        // Whoever is held tells it himself, and nothing else.
        require((MessageID{type} == MessageID::BREAKPOINT_STATE) == mHost.isCurrent());
        if (mHost.isCurrent())
            mHost.noteReport();
        if (!event)
            hearReply(connectionID, MessageID{type}, check);
        if (MessageID{type} == MessageID::NETWORK_STREAM_REQUEST)
            ++mPieces;
    }
    /// On the thread that executes calls.
    void hearCallReply(Network::Message::MessageReader& reader) {
        String name;
        require(reader.read(name));
        if (name == cLastCall) {
            mIsLastCallAnswered = true;
            mIsLastCallAnswered.notify_all();
        }
    }
    void hearReply(uint32 connectionID, MessageID type, const MessageCheck& reply) {
        require(mRequest.isAwaited && !mRequest.isAnswered);
        require(connectionID == mRequest.asker && type == Debugger::replyTo(mRequest.type));
        require(mRequest.fields.compare(0, reply.getFields().size(), reply.getFields()) == 0);
        mRequest.isAnswered = true;
        mRequest.code = reply.getCode();
    }

    Debugger::Server* mServer;
    HostThread& mHost;
    Run mRun;
    Container::IDVector<MemoryLayer> mConnections;
    Request mRequest;
    std::atomic<bool> mCanSend = true;
    std::atomic<bool> mIsLastCallAnswered = false;
    std::atomic<uint32> mPieces = 0;
    std::mutex mMutex;
    std::condition_variable mChanged;
    const unsigned char* mData = nullptr; ///< null when there is no script to run
    std::size_t mSize = 0;
    bool mIsInterrupted = false;
};

} // namespace Tarq::Fuzz
