#include "common/debugger/server.h"
#include "common/container/idvector.h"
#include "common/memory/memorystream.h"
#include "fuzz/library.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

// A running server hears what three clients say. The input is a list of events. Each begins with a byte: its two lowest
// bits choose the client, 3 being the first one again; the next two say what happens.
//
//     0   the client connects, or disconnects when it is connected
//     1   a message, in one piece: its length in two bytes, the higher one first, and its bytes; the client connects
//         before it if it has not
//     2   the same, in pieces
//     3   the same, and no answer to it can be sent
//
// A message that is cut off is as long as what is left. In the end all clients go, and the server knows none of them.
// What the server takes stands on the global heap, where the sanitizers see it.

using namespace Tarq::Common;
using Debugger::Server;

namespace {

const Memory::AllocatorPtr cHeap;

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// The other end of the server, for the thread that runs the inputs; the server's own thread only waits in it.
class Layer final : public Debugger::ConnectionLayer {
public:
    explicit Layer(Server* server) : mServer(server), mConnections(cHeap) {}

    bool connect(const Network::Sockets::HostAddress& address) override {
        mListeningAddress = address;
        return true;
    }
    void close() override {}
    bool send(uint32 connectionID, IO::Stream* message) override {
        require(mConnections.isValidID(connectionID));
        if (!mCanSend)
            return false;
        checkReply(*message);
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
        mInterrupted.wait(inside, [this] { return mIsInterrupted; });
        return 0;
    }
    void interrupt() override {
        const std::scoped_lock inside(mMutex);
        mIsInterrupted = true;
        mInterrupted.notify_all();
    }

    uint32 open() {
        const uint32 connectionID = mConnections.add(this);
        require(mServer->notifyConnection(connectionID));
        return connectionID;
    }
    void lose(uint32 connectionID) {
        const Server::DataLock inside(mServer->getDataMutex());
        require(disconnect(connectionID));
    }
    void receive(uint32 connectionID, const std::string& bytes, uint32 blockSize, bool canSend) {
        mCanSend = canSend;
        Memory::MemoryStream message("stream", blockSize);
        message.write(bytes.data(), bytes.size());
        mServer->messageReceived(connectionID, &message);
        require(message.getLength() == bytes.size());
    }
    bool isQuiet() const { return mConnections.size() == 0 && mServer->getClientCount() == 0; }

private:
    /// It is a message: with a type, and to the end of values that have tags.
    static void checkReply(IO::Stream& message) {
        Network::Message::MessageReader reader(&message, true);
        uint32 type = 0;
        require(reader.read(type));
        std::string rest(message.getLength() - message.getPosition(), '\0');
        require(message.read(rest.data(), rest.size()) == rest.size());
    }

    Server* mServer;
    Container::IDVector<Layer> mConnections;
    bool mCanSend = true;
    std::mutex mMutex;
    std::condition_variable mInterrupted;
    bool mIsInterrupted = false;
};

Layer* gLayer = nullptr;

class LayerFactory final : public Debugger::ConnectionLayerFactory {
public:
    Debugger::ConnectionLayer* createConnectionLayer(const Memory::AllocatorPtr& allocator, Server* server,
                                                     Platform::MilliSeconds) override {
        return gLayer = new (allocator) Layer(server);
    }
};

/// The events of one input.
class Script {
public:
    Script(const unsigned char* data, std::size_t size) : mAt(data), mEnd(data + size) {}
    ~Script() {
        for (std::optional<uint32>& client : mClients) {
            if (client)
                gLayer->lose(*client);
        }
    }
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;

    void run() {
        while (mAt != mEnd)
            perform(*mAt++);
    }

private:
    void perform(unsigned char event) {
        std::optional<uint32>& client = mClients[event % 4 % 3];
        const int what = event / 4 % 4;
        if (what == 0 && client) {
            gLayer->lose(*client);
            client.reset();
            return;
        }
        if (!client)
            client = gLayer->open();
        if (what != 0)
            gLayer->receive(*client, takeMessage(), what == 2 ? 5 : 65535, what != 3);
    }
    std::string takeMessage() {
        std::size_t length = 0;
        for (int byte = 0; byte < 2 && mAt != mEnd; ++byte)
            length = length << 8 | *mAt++;
        length = std::min(length, static_cast<std::size_t>(mEnd - mAt));
        const std::string message(reinterpret_cast<const char*>(mAt), length);
        mAt += length;
        return message;
    }

    const unsigned char* mAt;
    const unsigned char* mEnd;
    std::optional<uint32> mClients[3];
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Tarq::Fuzz::bringUp();
    Server::createInstance(cHeap, {100});
    std::atexit([] { require(Server::destroyInstance()); });
    LayerFactory factory;
    require(Server::runAsync({Network::Sockets::IPV4::LOOPBACK, 0}, factory));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    Script(data, size).run();
    require(gLayer->isQuiet());
    return 0;
}
