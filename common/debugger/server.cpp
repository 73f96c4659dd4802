#include "common/debugger/server.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/call/rpchelper.h"
#include "common/debugger/handler/defaulthandlers.h"
#include "common/debugger/internal/insidemark.h"
#include "common/debugger/internal/serverthread.h"
#include "common/debugger/messageid.h"
#include "common/debugger/tcpconnectionlayer.h"
#include "common/exceptions/internal/guarded.h"
#include "common/memory/allocate.h"
#include "common/memory/threadsafeallocator.h"
#include "common/reflection/datatype/datatypemanager.h"
#include "common/reflection/reflectioninterface.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Tarq::Common::Debugger {

using Debug::LOG_ERROR;
using Debug::LOG_MESSAGE;
using Debug::LOG_WARNING;
using Network::Sockets::HostAddress;
using Reflection::ReflectionInterface;
using LifecycleLock = Threading::ScopedLock<Threading::FairMutex>;

namespace {

constexpr char cCreateInstance[] = "Tarq::Common::Debugger::Server::createInstance";
constexpr char cDestroyInstance[] = "Tarq::Common::Debugger::Server::destroyInstance";
constexpr char cRunAsync[] = "Tarq::Common::Debugger::Server::runAsync";
constexpr char cExitAsync[] = "Tarq::Common::Debugger::Server::exitAsync";
constexpr char cRun[] = "Tarq::Common::Debugger::Server::run";

/// In bytes; a system that asks for more gets more.
constexpr int cStackSize = 16000;
/// A pass fails when a connection does. When more fail in succession than there can be connections, it is something
/// that does not go away by itself; then the loop rests between them.
constexpr uint32 cMostFailedPasses = 64;
constexpr uint32 cRestMilliseconds = 100;

/// One of the static operations at a time. Taken before the data mutex.
constinit Threading::FairMutex gLifecycle;
constinit std::atomic<Server*> gInstance{nullptr};

class TCPConnectionLayerFactory final : public ConnectionLayerFactory {
public:
    ConnectionLayer* createConnectionLayer(const Memory::AllocatorPtr& allocator, Server* server,
                                           Platform::MilliSeconds waitTime) override {
        return new (allocator) TCPConnectionLayer(server, waitTime);
    }
};

Memory::AllocatorPtr makeThreadSafe(const Memory::AllocatorPtr& allocator) {
    if (!allocator || allocator->isThreadSafe())
        return allocator;
    return Memory::makeAllocator<Memory::ThreadSafeAllocator>(allocator, allocator);
}

bool initReflection(const Memory::AllocatorPtr& allocator) {
    Reflection::Datatype::DatatypeManagerPtr manager = ReflectionInterface::getDatatypeManager();
    if (!manager)
        manager = Reflection::Datatype::DatatypeManagerPtr(new (allocator) Reflection::Datatype::DatatypeManager);
    return ReflectionInterface::init(manager);
}

bool isLoopback(const HostAddress& address) {
    if (address.getAddressFamily() == Network::Sockets::ADDRFAMILY_INET4)
        return address.getAddressIPV4().isLoopback();
    return address.getAddressIPV6().isLoopback();
}

/// Runs what belongs to a transport or a listener of the host's. False when it throws, which is logged; `failure` says
/// what it was about.
template <class Body>
bool runLogged(const char* function, const char* failure, const Body& body) {
    Exceptions::CaughtText caught;
    const bool result = Exceptions::runGuarded(caught, body);
    if (caught.isCaught())
        Debug::report({LOG_ERROR, function}, failure, caught.getText());
    return result;
}

} // namespace

constinit Threading::FairMutex Server::sDataMutex;

void Server::createInstance(const Memory::AllocatorPtr& allocator, Platform::MilliSeconds waitTime) {
    if (!isInside()) {
        const LifecycleLock inside(gLifecycle);
        if (!getInstance()) {
            const Memory::AllocatorPtr safeAllocator = makeThreadSafe(allocator);
            if (!initReflection(safeAllocator))
                return;
            try {
                std::unique_ptr<Server> server(new (safeAllocator) Server(waitTime));
                RPCHelper::createInstance(safeAllocator);
                gInstance = server.release();
            } catch (...) {
                ReflectionInterface::close();
                throw;
            }
            Debug::report({LOG_MESSAGE, cCreateInstance}, "Debugger server was created");
            return;
        }
    }
    TARQ_FAIL("there is already an instance of Debugger Server");
}

bool Server::destroyInstance() {
    if (refuseInside(cDestroyInstance))
        return false;
    const LifecycleLock inside(gLifecycle);
    Server* const server = getInstance();
    if (!server)
        return TARQ_FAIL("There isn't a Debugger Server to destroy");
    if (server->mThread)
        stop();
    stopCalls();
    InsideMark::waitForNone();
    server->deleteModules();
    gInstance = nullptr;
    delete server;
    ReflectionInterface::close();
    Debug::report({LOG_MESSAGE, cDestroyInstance}, "Debugger server was destroyed");
    RPCHelper::destroyInstance();
    return true;
}

bool Server::runAsync(const HostAddress& address) {
    TCPConnectionLayerFactory factory;
    return runAsync(address, factory);
}

bool Server::runAsync(const HostAddress& address, ConnectionLayerFactory& factory) {
    if (refuseInside(cRunAsync))
        return false;
    const LifecycleLock inside(gLifecycle);
    Server* const server = getInstance();
    if (server && server->mThread) {
        Debug::report({LOG_ERROR, cRunAsync}, "There is already a running debugger server: use getInstance() instead "
                                              "of starting a new one");
        return false;
    }
    if (!server) {
        Debug::report({LOG_ERROR, cRunAsync}, "Forgot to call createInstance() before runAsync() ? Debugger Server "
                                              "instance missing");
        return false;
    }
    const bool isRunning =
        runLogged(cRunAsync, "Couldn't start debugger server: ", [&] { return server->start(address, factory); });
    if (isRunning)
        Debug::report({LOG_MESSAGE, cRunAsync}, "Debugger server runs within his own thread");
    else
        server->dropTransport();
    return isRunning;
}

bool Server::exitAsync() {
    if (refuseInside(cExitAsync))
        return false;
    const LifecycleLock inside(gLifecycle);
    return stop();
}

/// Whoever waits for the server's threads from inside of them, or while they wait for what it holds, waits for ever.
bool Server::isInside() noexcept {
    return ServerThreadMark::isSet() || InsideMark::isSet() || sDataMutex.isHeld() || gLifecycle.isHeld();
}

bool Server::refuseInside(const char* function) {
    const bool isRefused = isInside();
    if (isRefused)
        Debug::report({LOG_ERROR, function}, "The debugger server cannot be started or stopped from inside of it");
    return isRefused;
}

bool Server::stop() {
    Server* const server = getInstance();
    if (!server) {
        Debug::report({LOG_ERROR, cExitAsync}, "Debugger Server instance doesn't exist, did you call destroyInstance "
                                               "before");
        return false;
    }
    if (!server->mThread) {
        Debug::report({LOG_ERROR, cExitAsync}, "Debugger Server thread isn't running - did you start debugger server "
                                               "with runAsync() ?");
        return false;
    }
    {
        const DataLock inside(sDataMutex);
        server->mIsRunning = false;
        runLogged(cExitAsync, "Debugger server couldn't be interrupted: ", [server] {
            if (server->mConnectionLayer)
                server->mConnectionLayer->interrupt();
            return true;
        });
    }
    server->mThread->join();
    server->mThread.reset();
    // A handler may have ended the thread before it came to that.
    server->stopHolding();
    if (server->mConnectionLayer)
        server->shutdownServer();
    stopCalls();
    Debug::report({LOG_MESSAGE, cExitAsync}, "Debugger server was stopped and his thread was deleted");
    return true;
}

Server* Server::getInstance() noexcept {
    return gInstance.load(std::memory_order_acquire);
}

Platform::MilliSeconds Server::getSystemTime() noexcept {
    return Platform::Time::getCoarseWallTime();
}

Server::Server(Platform::MilliSeconds waitTime)
    : mWaitTime(waitTime),
      mFunctionRegistrar(new (getAllocator()) Reflection::Function::FunctionRegistrar(getAllocator())),
      mConnectedClients(getAllocator()), mModules(getAllocator()), mNetworkStreams(getAllocator()) {}

Server::~Server() = default;

bool Server::start(const HostAddress& address, ConnectionLayerFactory& factory) {
    if (!open(address, factory))
        return false;
    std::unique_ptr<Threading::Thread> thread(
        new (getAllocator()) Threading::Thread(this, String("Debugger server Thread"), cStackSize));
    if (!thread->isValid()) {
        Debug::report({LOG_ERROR, cRunAsync}, "Couldn't start debugger server because there is no thread for it");
        return false;
    }
    mThread = std::move(thread);
    return true;
}

bool Server::open(const HostAddress& address, ConnectionLayerFactory& factory) {
    const DataLock inside(sDataMutex);
    mHostAddress = address;
    mIsRunning = true;
    mIsHoldingStopped = false;
    mDispatcher.reset(new (getAllocator()) Network::Message::Dispatcher);
    mConnectionLayer.reset(factory.createConnectionLayer(getAllocator(), this, mWaitTime));
    if (!mConnectionLayer || !mConnectionLayer->connect(address)) {
        Debug::report({LOG_ERROR, cRunAsync}, "Couldn't start debugger server because of error during connect of "
                                              "ConnectionLayer");
        return false;
    }
    if (!registerDefaultMessageHandlers(*this)) {
        Debug::report({LOG_ERROR, cRunAsync}, "Couldn't start debugger server because of error during register "
                                              "default handler");
        return false;
    }
    if (!isLoopback(address))
        Debug::report({LOG_WARNING, cRunAsync}, "Debugger server listens on ", address.toString(),
                      ": whoever reaches this address can look into the process and change it");
    return true;
}

bool Server::registerMessageHandler(Network::Message::MessageHandler* handler) {
    if (!handler)
        return TARQ_FAIL("Tried to register a NULL pointer as a new MessageHandler");
    const DataLock inside(sDataMutex);
    return mDispatcher && runLogged("Tarq::Common::Debugger::Server::registerMessageHandler",
                                    "A message handler couldn't be registered: ", [&] {
                                        return mDispatcher->registerMessageHandler(handler);
                                    });
}

int32 Server::run() {
    const ServerThreadMark mark(ServerThreadMark::MESSAGES);
    int32 result = 0;
    {
        const Threading::ScopedLock running(mRunMutex);
        startHolding();
        RPCHelper::runAsync();
        mFailedPasses = 0;
        while (mIsRunning.load(std::memory_order_relaxed))
            result = processEvents();
        stopHolding();
    }
    shutdownServer();
    return result;
}

int32 Server::processEvents() {
    int32 result = -1;
    const bool isOver = runLogged(cRun, "A pass of the debugger server was left by an exception: ", [&] {
        result = mConnectionLayer->processEvents();
        return true;
    });
    mFailedPasses = result >= 0 ? 0 : mFailedPasses + 1;
    // What was thrown may come again, but not without a rest.
    if (!isOver || mFailedPasses > cMostFailedPasses)
        Threading::Thread::sleep(std::clamp(mWaitTime.mCount, 1u, cRestMilliseconds));
    return result;
}

void Server::stopCalls() {
    const RPCHelper* const helper = RPCHelper::getInstance();
    if (helper && helper->isRunning())
        RPCHelper::exitAsync();
}

/// Whatever the transport does, the server does not run afterwards, and nobody is left.
void Server::shutdownServer() {
    {
        const DataLock inside(sDataMutex);
        disconnectAll();
        runLogged(cRun, "Debugger server couldn't stop listening: ", [this] {
            mConnectionLayer->close();
            return true;
        });
        const uint32 left = getClientCount();
        TARQ_ASSERT_AS("mConnectedClients.empty()", left == 0, left, "Clients are still existing");
        dropTransport();
        mNetworkStreams.clear();
    }
    // The modules are what these threads look at. None of them waits for a tool any more.
    stopCalls();
    InsideMark::waitForNone();
    deleteModules();
    const DataLock inside(sDataMutex);
    TARQ_ASSERT_AS("mNetworkStreams.empty()", mNetworkStreams.empty(), "NetworkStreams are still existing");
}

void Server::disconnectAll() {
    while (!mConnectedClients.empty()) {
        const ClientInfo& client = *mConnectedClients.front();
        const uint64 generation = client.mGeneration;
        const uint32 connectionID = client.mConnectionID;
        runLogged(cRun,
                  "A client couldn't be disconnected: ", [&] { return mConnectionLayer->disconnect(connectionID); });
        // A transport that keeps the client would be asked for ever.
        if (!mConnectedClients.empty() && mConnectedClients.front()->mGeneration == generation)
            disconnectClient(connectionID);
    }
}

/// A transport may have told of clients already, although it did not start.
void Server::dropTransport() {
    const DataLock inside(sDataMutex);
    mConnectionLayer.reset();
    mDispatcher.reset();
    while (!mConnectedClients.empty()) {
        forgetClient(*mConnectedClients.front());
        deleteClient(mConnectedClients.front());
        mConnectedClients.pop_front();
    }
}

bool Server::sendMessage(uint32 connectionID, IO::Stream* message) {
    if (!TARQ_ASSERT(message, "Tried to send a message that is NULL"))
        return false;
    const DataLock inside(sDataMutex);
    return mConnectionLayer &&
           runLogged("Tarq::Common::Debugger::Server::sendMessage",
                     "A message couldn't be sent: ", [&] { return mConnectionLayer->send(connectionID, message); });
}

bool Server::sendMessage(const ClientKey& client, IO::Stream* message) {
    const DataLock inside(sDataMutex);
    const ClientInfo* const info = findClient(client.mConnectionID);
    return info && info->mGeneration == client.mGeneration && sendMessage(client.mConnectionID, message);
}

void Server::messageReceived(uint32 connectionID, IO::Stream* message) {
    const DataLock inside(sDataMutex);
    if (mDispatcher)
        mDispatcher->dispatch(message, connectionID);
}

bool Server::isPeerAccepted(const HostAddress& peer) {
    const DataLock inside(sDataMutex);
    if (!mAcceptFilter)
        return true;
    constexpr char cFunction[] = "Tarq::Common::Debugger::Server::isPeerAccepted";
    const bool isAccepted =
        runLogged(cFunction, "The accept filter has failed: ", [&] { return mAcceptFilter->isAccepted(peer); });
    if (!isAccepted)
        Debug::report({LOG_MESSAGE, cFunction}, "Client at ", peer.toString(), " is not let in");
    return isAccepted;
}

Platform::MilliSeconds Server::getGameTime() const {
    const DataLock inside(sDataMutex);
    return mGameTime;
}

void Server::setGameTime(const Platform::MilliSeconds& gameTime) {
    {
        const DataLock inside(sDataMutex);
        mGameTime = gameTime;
    }
    const Threading::ScopedLock nobodyInside(mBreakAreaMutex);
}

void Server::setConnectionLimits(const Network::ConnectionLimits& limits) {
    const DataLock inside(sDataMutex);
    mConnectionLimits = limits;
}

Network::ConnectionLimits Server::getConnectionLimits() const {
    const DataLock inside(sDataMutex);
    return mConnectionLimits;
}

void Server::setAcceptFilter(AcceptFilter* filter) {
    const DataLock inside(sDataMutex);
    mAcceptFilter = filter;
}

HostAddress Server::getListeningAddress() const {
    const DataLock inside(sDataMutex);
    return mConnectionLayer ? mConnectionLayer->getListeningAddress() : HostAddress();
}

} // namespace Tarq::Common::Debugger
