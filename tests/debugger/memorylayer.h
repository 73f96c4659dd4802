#pragma once

#include "tests/network/message/messages.h"
#include "tests/support/atend.h"

#include "common/container/idvector.h"
#include "common/debugger/server.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>

namespace Tarq::Test {

/// A network in memory, whose other end is the test: connections, messages and their loss happen when the test says so,
/// one in each pass of the server, and are over when the call returns.
class MemoryNetwork final : public Debugger::ConnectionLayerFactory {
public:
    Debugger::ConnectionLayer* createConnectionLayer(const Memory::AllocatorPtr& allocator, Debugger::Server* server,
                                                     Platform::MilliSeconds) override {
        mIsInterrupted = false;
        return new (allocator) Layer(*this, server);
    }

    /// The new connection's ID.
    uint32 connect() {
        uint32 connectionID = 0;
        perform([&](Layer& layer) { connectionID = layer.open(); });
        return connectionID;
    }
    /// Hands the server a message, which may end in the middle.
    void send(uint32 connectionID, const std::string& message) {
        perform([&](Layer& layer) {
            RecordingStream stream(message);
            stream.limitReads(mLongestRead);
            layer.mServer->messageReceived(connectionID, &stream);
        });
    }
    /// The server has begun: what it makes at its start is made.
    void waitForPass() {
        perform([](Layer&) {});
    }
    void lose(uint32 connectionID) {
        perform([&](Layer& layer) { layer.disconnect(connectionID); });
    }
    /// The next pass throws.
    void failPass() {
        perform([](Layer&) { throw std::runtime_error("test failure"); });
    }
    /// The oldest message to the connection, empty when there is none.
    std::string takeReply(uint32 connectionID) {
        const std::scoped_lock inside(mMutex);
        std::deque<std::string>& replies = mReplies[connectionID];
        if (replies.empty())
            return {};
        std::string reply = replies.front();
        replies.pop_front();
        return reply;
    }

    /// What every pass returns.
    static constexpr Common::int32 cResult = 7;

    /// How many bytes of a message a read delivers: one by one, unless bytes have to be copied from stream to stream.
    uint64 mLongestRead = 1;

    /// Runs when the server is interrupted, under its data mutex.
    std::function<void()> mOnInterrupt;

    // Faults.

    bool mCanListen = true;
    bool mCanSend = true;
    bool mCanDisconnect = true;
    bool mMustThrow = false; ///< in `send`, `disconnect`, `close` and `interrupt`

private:
    class Layer final : public Debugger::ConnectionLayer {
    public:
        Layer(MemoryNetwork& network, Debugger::Server* server)
            : mServer(server), mNetwork(network), mConnections(getAllocator()) {}

        bool connect(const Network::Sockets::HostAddress& address) override {
            mListeningAddress = address;
            return mNetwork.mCanListen;
        }
        void close() override { throwIfWanted(); }
        bool send(uint32 connectionID, IO::Stream* message) override {
            throwIfWanted();
            if (!mNetwork.mCanSend || !mConnections.isValidID(connectionID))
                return false;
            std::string bytes(static_cast<std::size_t>(message->getLength()), '?');
            message->seek(0, IO::Stream::SORIGIN_BEGIN);
            message->read(bytes.data(), bytes.size());
            const std::scoped_lock inside(mNetwork.mMutex);
            mNetwork.mReplies[connectionID].push_back(bytes);
            delete message;
            return true;
        }
        bool disconnect(uint32 connectionID) override {
            throwIfWanted();
            if (!mNetwork.mCanDisconnect)
                return false;
            mConnections.remove(connectionID);
            return mServer->disconnectClient(connectionID);
        }
        int32 processEvents() override {
            std::unique_lock inside(mNetwork.mMutex);
            mNetwork.mChanged.wait(inside, [this] { return mNetwork.mEvent || mNetwork.mIsInterrupted; });
            if (std::exchange(mNetwork.mIsInterrupted, false))
                return cResult;
            const auto event = mNetwork.mEvent;
            const AtEnd done{[&] {
                inside.lock();
                mNetwork.mEvent = nullptr;
                mNetwork.mChanged.notify_all();
            }};
            inside.unlock();
            event(*this);
            return cResult;
        }
        void interrupt() override {
            {
                const std::scoped_lock inside(mNetwork.mMutex);
                mNetwork.mIsInterrupted = true;
                mNetwork.mChanged.notify_all();
            }
            if (mNetwork.mOnInterrupt)
                mNetwork.mOnInterrupt();
            throwIfWanted();
        }

        uint32 open() {
            const uint32 connectionID = mConnections.add(this);
            CHECK(mServer->notifyConnection(connectionID));
            return connectionID;
        }

        Debugger::Server* mServer;

    private:
        void throwIfWanted() const {
            if (mNetwork.mMustThrow)
                throw std::runtime_error("test failure");
        }

        MemoryNetwork& mNetwork;
        Container::IDVector<Layer> mConnections;
    };

    void perform(const std::function<void(Layer&)>& event) {
        std::unique_lock inside(mMutex);
        mEvent = event;
        mChanged.notify_all();
        REQUIRE(mChanged.wait_for(inside, std::chrono::seconds(60), [this] { return !mEvent; }));
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::function<void(Layer&)> mEvent;
    bool mIsInterrupted = false;
    std::map<uint32, std::deque<std::string>> mReplies;
};

} // namespace Tarq::Test
