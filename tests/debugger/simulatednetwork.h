#pragma once

#include "tests/debugger/simulation.h"

#include "common/container/idvector.h"
#include "common/debugger/messageid.h"

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// A network in memory for simulations: bytes travel in pieces of any size, with any delay, and connections are reset.
namespace Tarq::Test {

/// One direction of a connection. The bytes arrive in their order, not all at the same time.
class SimulatedWire {
public:
    void write(std::string bytes, uint64 now, Random& random) {
        const uint32 longest = random.oneIn(4) ? 3 : 400;
        while (!bytes.empty()) {
            const std::size_t size = std::min<std::size_t>(1 + random.below(longest), bytes.size());
            mLastArrival = std::max(mLastArrival, now + (random.oneIn(3) ? random.below(6) : 0));
            mPieces.push_back({bytes.substr(0, size), mLastArrival});
            bytes.erase(0, size);
            mSize += size;
        }
    }
    /// What has arrived, up to `most` bytes.
    std::string read(uint64 now, std::size_t most) {
        std::string bytes;
        while (!mPieces.empty() && mPieces.front().arrival <= now && bytes.size() < most) {
            std::string& piece = mPieces.front().bytes;
            const std::size_t size = std::min(piece.size(), most - bytes.size());
            bytes += piece.substr(0, size);
            piece.erase(0, size);
            if (piece.empty())
                mPieces.pop_front();
        }
        mSize -= bytes.size();
        return bytes;
    }
    void clear() {
        mPieces.clear();
        mSize = 0;
    }
    /// Of the bytes under way.
    std::size_t getSize() const { return mSize; }

private:
    struct Piece {
        std::string bytes;
        uint64 arrival;
    };
    std::deque<Piece> mPieces;
    uint64 mLastArrival = 0;
    std::size_t mSize = 0;
};

/// A connection, with both of its ends.
struct SimulatedConnection {
    explicit SimulatedConnection(std::string toolName) : name(std::move(toolName)) {}

    void reset() {
        isReset = true;
        toServer.clear();
        toTool.clear();
    }

    std::string name; ///< of the tool; no two connections have the same
    SimulatedWire toServer;
    SimulatedWire toTool;
    bool isReset = false;
    bool hasToolClosed = false;
    bool hasServerClosed = false;

    // The server's end.

    uint32 id = 0;
    ClientKey key;
    PacketReader received;
    std::string unsent;
    bool isGivenUp = false;  ///< more had been queued than is taken
    bool isNamed = false;    ///< the tool has said who it is
    bool isBreaking = false; ///< the host has set the break flag
};
using SimulatedConnectionPtr = std::shared_ptr<SimulatedConnection>;

/// The server's thread and the one of the simulation take turns: the former works only inside of `runServer`, and stops
/// before a pass and at some places inside of it. So a schedule comes from the seed alone.
class SimulatedNetwork final : public Debugger::ConnectionLayerFactory {
public:
    SimulatedNetwork(Random& random, Fault& fault) : mRandom(random), mFault(fault) {}

    Debugger::ConnectionLayer* createConnectionLayer(const Memory::AllocatorPtr& allocator, Server* server,
                                                     Platform::MilliSeconds) override {
        mIsServersTurn = false;
        mIsInterrupted = false;
        return mLayer = new (allocator) Layer(*this, server);
    }

    void advance() { ++mNow; }
    /// Lets the server work until it stops for the next time.
    void runServer() {
        std::unique_lock inside(mMutex);
        mIsServersTurn = true;
        mChanged.notify_all();
        // A server that hangs is shown with the seed.
        if (!mChanged.wait_for(inside, std::chrono::seconds(60), [this] { return !mIsServersTurn; }))
            std::abort();
    }

    // The tools' ends.

    /// Null when nobody listens.
    SimulatedConnectionPtr connect(const std::string& name) {
        if (!mLayer)
            return nullptr;
        mLayer->mWaiting.push_back(std::make_shared<SimulatedConnection>(name));
        return mLayer->mWaiting.back();
    }
    void send(SimulatedConnection& connection, const std::string& bytes) {
        if (!connection.isReset && !connection.hasServerClosed)
            connection.toServer.write(bytes, mNow, mRandom);
    }
    std::string receive(SimulatedConnection& connection) {
        return connection.toTool.read(mNow, 1 + mRandom.below(3000));
    }
    static bool hasEnded(const SimulatedConnection& connection) {
        return connection.isReset || (connection.hasServerClosed && connection.toTool.getSize() == 0);
    }

    // What the server is to know.

    std::vector<SimulatedConnectionPtr> getConnections() const {
        return mLayer ? mLayer->mOpen : std::vector<SimulatedConnectionPtr>();
    }
    SimulatedConnectionPtr find(uint32 id) const {
        for (const SimulatedConnectionPtr& connection : getConnections()) {
            if (connection->id == id)
                return connection;
        }
        return nullptr;
    }
    bool isIdle() const {
        const auto connections = getConnections();
        const auto isQuiet = [](const SimulatedConnectionPtr& connection) {
            return connection->toServer.getSize() + connection->toTool.getSize() + connection->unsent.size() == 0 &&
                   !connection->isReset && !connection->hasToolClosed && !connection->isGivenUp;
        };
        return mLayer && mLayer->mWaiting.empty() && !mIsInPass &&
               std::all_of(connections.begin(), connections.end(), isQuiet);
    }
    void expect(const std::string& assertion) { mExpected.push_back(assertion); }
    /// The assertions that are to come, in their order.
    const std::vector<std::string>& getExpected() const { return mExpected; }

    bool mAreRemarksHeard = false;
    /// Does what concerns a connection: a message, or its end, for which that is empty. Returns whether it has let a
    /// thread go on that was held.
    std::function<bool(uint32 id, const std::string& message, const std::function<void()>& event)> mAround;

private:
    class Layer final : public Debugger::ConnectionLayer {
    public:
        Layer(SimulatedNetwork& network, Server* server)
            : mNetwork(network), mServer(server), mConnections(getAllocator()) {}
        ~Layer() override {
            mNetwork.mLayer = nullptr;
            mNetwork.mFault.check(mOpen.empty(), "the server has left a connection");
            mNetwork.mFault.check(mIsClosed, "the server has not closed the listener");
            for (const SimulatedConnectionPtr& connection : mWaiting)
                connection->hasServerClosed = true;
        }

        bool connect(const Network::Sockets::HostAddress& address) override {
            mListeningAddress = address;
            return true;
        }
        void close() override { mIsClosed = true; }

        bool send(uint32 id, IO::Stream* message) override {
            checkLock(true, "send");
            SimulatedConnection* const connection = mConnections.get(id);
            if (!connection)
                return false;
            std::string bytes(static_cast<std::size_t>(message->getLength()), '?');
            message->seek(0, IO::Stream::SORIGIN_BEGIN);
            message->read(bytes.data(), bytes.size());
            if (connection->isGivenUp || connection->unsent.size() + bytes.size() > cMostUnsent) {
                connection->isGivenUp = true;
                if (isReported(Debugger::MessageID{typeOf(bytes)}))
                    mNetwork.expect("\nError Message: Couldn't send returning message back to client");
                return false;
            }
            connection->unsent += packetOf(bytes);
            delete message;
            return true;
        }
        bool disconnect(uint32 id) override {
            checkLock(true, "disconnect");
            const SimulatedConnectionPtr connection = mNetwork.find(id);
            if (!connection)
                return false;
            mNetwork.mFault.check(mServer->disconnectClient(id), "the server does not know a client any more");
            mConnections.remove(id);
            std::erase(mOpen, connection);
            connection->hasServerClosed = true;
            return true;
        }
        int32 processEvents() override {
            checkLock(false, "processEvents");
            if (mNetwork.waitForTurn()) {
                mNetwork.mIsInPass = true;
                accept();
                for (const SimulatedConnectionPtr& connection : std::vector<SimulatedConnectionPtr>(mOpen))
                    serve(*connection);
                mNetwork.mIsInPass = false;
                mNetwork.endTurn();
            }
            return 0;
        }
        void interrupt() override {
            checkLock(true, "interrupt");
            const std::scoped_lock inside(mNetwork.mMutex);
            mNetwork.mIsInterrupted = true;
            mNetwork.mChanged.notify_all();
        }

        std::deque<SimulatedConnectionPtr> mWaiting;
        std::vector<SimulatedConnectionPtr> mOpen;

    private:
        static constexpr std::size_t cMostUnsent = 7000;
        static constexpr std::size_t cMostOnWire = 2000; ///< when the other end does not read

        /// Whether it is said always in the same way that a message of this type is lost.
        static bool isReported(Debugger::MessageID type) {
            using enum Debugger::MessageID;
            for (const Debugger::MessageID request :
                 {GET_HISTORY, IDENTITY, GET_VARIABLE, SET_VARIABLE, SET_BREAKPOINT_OBJECT_INSTANCE, SET_BREAKPOINT,
                  SET_WATCHES, REGISTER_NETWORK_STREAM, DEREGISTER_NETWORK_STREAM}) {
                if (type == Debugger::replyTo(request))
                    return true;
            }
            return false;
        }
        void checkLock(bool isNeeded, const std::string& call) const {
            mNetwork.mFault.check(mServer->getDataMutex().isHeld() == isNeeded,
                                  call +
                                      " is called with the data mutex where it is not to be, or the other way round");
        }

        void accept() {
            if (mWaiting.empty() || mNetwork.mRandom.oneIn(3))
                return;
            const SimulatedConnectionPtr connection = mWaiting.front();
            mWaiting.pop_front();
            connection->id = mConnections.add(connection.get());
            mOpen.push_back(connection);
            mNetwork.mFault.check(mServer->notifyConnection(connection->id), "the server refuses a connection");
            mServer->getClientKey(connection->key, connection->id);
        }

        /// One event of a connection is served without the lock, as in every layer.
        void serve(SimulatedConnection& connection) {
            if (connection.isReset || connection.isGivenUp)
                return lose(connection);
            connection.received.add(connection.toServer.read(mNetwork.mNow, 1 + mNetwork.mRandom.below(1000)));
            while (const std::optional<std::string> message = connection.received.take())
                deliver(connection, *message);
            if (connection.hasToolClosed && connection.toServer.getSize() == 0)
                return lose(connection);
            write(connection);
        }
        void deliver(SimulatedConnection& connection, const std::string& message) {
            MemoryStream stream("message", 1 + mNetwork.mRandom.below(300));
            stream.write(message.data(), message.size());
            if (typeOf(message) == REMARK && !mNetwork.mAreRemarksHeard)
                mNetwork.expect("\nError Message: No MessageHandler registered for MessageTypeID: " +
                                std::to_string(REMARK));
            const bool hasLetGo =
                mNetwork.mAround(connection.id, message, [&] { mServer->messageReceived(connection.id, &stream); });
            const Debugger::MessageID type{typeOf(message)};
            if (type == Debugger::MessageID::CONTINUE || (hasLetGo && type != Debugger::MessageID::MAKE_STEP))
                connection.isBreaking = false;
            connection.isNamed |= message == identityOf(connection.name.c_str(), "ada", 2);
            if (mNetwork.mRandom.oneIn(4)) {
                mNetwork.endTurn();
                mNetwork.waitForTurn();
            }
        }
        void write(SimulatedConnection& connection) {
            if (connection.hasToolClosed) {
                connection.unsent.clear();
            } else if (!connection.isReset && connection.toTool.getSize() < cMostOnWire) {
                connection.toTool.write(connection.unsent.substr(0, cMostOnWire), mNetwork.mNow, mNetwork.mRandom);
                connection.unsent.erase(0, cMostOnWire);
            }
        }
        void lose(const SimulatedConnection& connection) {
            mNetwork.mAround(connection.id, "", [&] {
                const Server::DataLock inside(mServer->getDataMutex());
                disconnect(connection.id);
            });
        }

        SimulatedNetwork& mNetwork;
        Server* mServer;
        Container::IDVector<SimulatedConnection> mConnections;
        bool mIsClosed = false;
    };

    /// Whether there is still something to do.
    bool waitForTurn() {
        std::unique_lock inside(mMutex);
        mChanged.wait(inside, [this] { return mIsServersTurn || mIsInterrupted; });
        return !mIsInterrupted;
    }
    void endTurn() {
        const std::scoped_lock inside(mMutex);
        mIsServersTurn = false;
        mChanged.notify_all();
    }

    Random& mRandom;
    Fault& mFault;
    Layer* mLayer = nullptr; ///< while the server runs
    uint64 mNow = 0;
    bool mIsInPass = false;
    std::vector<std::string> mExpected;

    std::mutex mMutex; ///< of what follows
    std::condition_variable mChanged;
    bool mIsServersTurn = false;
    bool mIsInterrupted = false;
};

} // namespace Tarq::Test
