#pragma once

#include "common/container/idvector.h"
#include "common/container/list.h"
#include "common/debugger/acceptfilter.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/connectionlayer.h"
#include "common/debugger/mutexgate.h"
#include "common/debugger/stepfilter.h"
#include "common/debugger/stream/networkstreamregistry.h"
#include "common/network/connectionlimits.h"
#include "common/network/message/dispatcher.h"
#include "common/reflection/function/functionregistrar.h"
#include "common/threading/fairmutex.h"
#include "common/threading/mutex.h"
#include "common/threading/spinlock.h"
#include "common/threading/thread.h"
#include "common/threading/threaded.h"

#include <atomic>
#include <memory>

namespace Tarq::Common::Debugger {

class BreakpointInstance;
class Module;
class ObjectInstance;

/// The debugger inside a host: debugging tools connect to it over TCP. There is at most one.
///
///     Debugger::Server::createInstance(allocator, {20});
///     if (!Debugger::Server::runAsync(HostAddress(IPV4::LOOPBACK, 4711)))
///         ...; // the log tells why
///     ...
///     Debugger::Server::exitAsync();
///     Debugger::Server::destroyInstance();
///
/// Whoever reaches the address can look at the host and change it: listen on the loopback address, or install an
/// `AcceptFilter`.
///
/// States: none; created; running, from `runAsync` to `exitAsync`, which may be repeated.
/// Threads: all operations on any; the static ones wait for each other, the others need an instance that stays as long.
/// Not in a log listener, but for `getInstance`, `getSystemTime` and `getWaitTime`: the server reports under its locks.
/// Its own thread moves the messages; every handler runs on that one, under the data mutex.
/// Failures: those of the static operations are log entries, and false; nothing is thrown but by `createInstance`, and
/// `OutOfMemoryException` where it is said.
class TARQ_API Server : public Threading::Threaded {
public:
    using DataLock = Threading::ScopedLock<Threading::FairMutex>;

    /// Makes the server on `allocator`, which is wrapped if it is not safe on several threads. Initialises the
    /// reflection interface, with a manager of its own if there is none yet, until `destroyInstance`. Asserts "there is
    /// already an instance of Debugger Server", also where `exitAsync` would be refused; nothing happens then, nor when
    /// the manager of the reflection interface asserts that it cannot take the types. Throws `OutOfMemoryException`,
    /// and leaves nothing behind.
    ///
    /// One pass of the server thread waits for at most `waitTime`: this is how long `exitAsync` may take, unless a call
    /// runs. A message that another thread queues ends the wait; where the system refuses the handle for that, it takes
    /// as long.
    static void createInstance(const Memory::AllocatorPtr& allocator, Platform::MilliSeconds waitTime);
    /// Stops the server if it runs and deletes it. Asserts "There isn't a Debugger Server to destroy"; false then.
    /// Refused like `exitAsync`.
    static bool destroyInstance();

    /// Listens on an IPv4 or IPv6 address and starts the server thread. False after a failure; the server is not
    /// running then, and can be started again.
    static bool runAsync(const Network::Sockets::HostAddress& address);
    /// The same over another transport. The factory is used during the call only.
    static bool runAsync(const Network::Sockets::HostAddress& address, ConnectionLayerFactory& factory);
    /// Disconnects every client, and waits for the call that runs and for the server thread to end. False when it does
    /// not run. Refused with a log entry, and false, on the server's own threads and where the calling thread is inside
    /// the server, as in an assertion callback.
    static bool exitAsync();

    /// Null when there is none.
    static Server* getInstance() noexcept;
    /// How long the process has run, in steps of the system's timer, of some milliseconds.
    static Platform::MilliSeconds getSystemTime() noexcept;

    ~Server() override;

    /// The body of the server thread.
    int32 run() override;

    /// Has the messages of the handler's type handled by it. The dispatcher owns it then, and deletes it when the
    /// server stops. False, and it stays the caller's, when there is no memory, which is logged, and when the server
    /// does not run. Asserts that there is a handler, and none yet for these messages; false then.
    bool registerMessageHandler(Network::Message::MessageHandler* handler);

    /// Queues a finished message for a client. False, and it stays the caller's, when the client takes no more, and
    /// when the server does not run. Asserts that there is a message, and that the client is connected; false then.
    bool sendMessage(uint32 connectionID, IO::Stream* message);
    /// The same for one client, but false without a report when it has gone, whoever has its connection ID now.
    bool sendMessage(const ClientKey& client, IO::Stream* message);

    // Clients. An information is good as long as the caller holds the data mutex. Where it is not said otherwise, it is
    // asserted that there is such a client; false then.

    bool getClientInfo(ClientInfo*& out, uint32 connectionID);
    /// False, without a report, when there is no such client.
    bool getClientKey(ClientKey& out, uint32 connectionID);
    uint32 getClientCount() const;
    /// Keeps who the client is. False when it speaks another version of the protocol, which is logged. Throws
    /// `OutOfMemoryException`, and changes nothing then.
    bool setClientInfo(uint32 connectionID, const String& computerName, const String& userName, uint32 protocolVersion);
    /// Sets the client-wide break request.
    bool setClientBreakflag(uint32 connectionID);

    // Modules. They are deleted when the server stops; host threads that are inside breakpoints are waited for then,
    // and enter no other.

    /// Makes a module whose history has up to `maxHistoryLength` entries for each object instance. Asserts that there
    /// is none of this name and version; null otherwise. Asserts that the length is above 0; 1 otherwise. Throws
    /// `OutOfMemoryException`.
    Module* createModule(const String& name, const uint32& version, uint32 maxHistoryLength);
    /// Deletes the module, and sets the pointer to null; its client is told. Asserts that the server has it, and that
    /// no thread is held in it; false then. One that is gone is found to be, as long as no newer module stands in its
    /// place.
    bool destroyModule(Module*& module);
    /// By id: asserts that there is one; by name and version: no report. False then.
    bool getModule(Module*& out, const uint32& moduleID);
    bool getModule(Module*& out, const String& name, const uint32& version);

    /// Finds a stream by the ID that a tool has given it. It is good until the host gives it back, or the server is
    /// deleted; it may be closed before. False, without a report, when there is none.
    bool getNetworkStream(NetworkStream*& out, uint32 id);
    /// Gives the stream back, and sets the pointer to null. Asserts that the host has it, and that no thread reads from
    /// it; false then.
    bool releaseNetworkStream(NetworkStream*& stream);

    /// What tools may call by name, once `registerDebuggerDatatypes` has made the types known in the module that
    /// registers; a function of the server hides those of modules. Each runs on the thread for calls,
    /// one at a time: it may wait for a tool, locks what it shares with the host, and does not stop the server. What it
    /// works on of the host's stays until `exitAsync` has returned, or `RPCHelper::waitForCall` has, behind
    /// `destroyModule`.
    const Reflection::Function::FunctionRegistrarPtr& getFunctionRegistrar() const noexcept {
        return mFunctionRegistrar;
    }

    /// Whether a thread is held at a breakpoint. Costs no lock.
    bool isBreakpointHolding() const noexcept { return mIsBreakpointHolding.load(std::memory_order_relaxed); }

    /// Lets the thread that is held go on, and holds no other until the server is started again. For hosts that end: a
    /// thread that is held cannot be joined, and one that may still come by a breakpoint has to be before `exitAsync`.
    void stopHolding();

    Platform::MilliSeconds getWaitTime() const noexcept { return mWaitTime; }
    /// What the host has set last, 0 at first. Only the host knows what it counts.
    Platform::MilliSeconds getGameTime() const;
    /// Returns when no other thread is inside a break area. Not under the data mutex, and so not in a handler: a thread
    /// in a break area may wait for that.
    void setGameTime(const Platform::MilliSeconds& gameTime);

    /// What clients may make the host keep; for the next `runAsync`, but of calls at once.
    void setConnectionLimits(const Network::ConnectionLimits& limits);
    Network::ConnectionLimits getConnectionLimits() const;
    /// Null lets everybody in. When it returns, the filter before is not used any more.
    void setAcceptFilter(AcceptFilter* filter);
    /// Where the server listens, with the port that the system has chosen; port 0 when it does not run. Throws
    /// `OutOfMemoryException`.
    Network::Sockets::HostAddress getListeningAddress() const;

    // For connection layers and the debugger's other rooms.

    /// Guards clients, registries and what handlers do. Recursive, and fair: the server thread's next message does not
    /// overtake a host thread that waits.
    static Threading::FairMutex& getDataMutex() noexcept { return sDataMutex; }
    /// Held by host threads that are about to enter breakpoints.
    Threading::Mutex& getBreakAreaMutex() noexcept { return mBreakAreaMutex; }

    /// Held by the host thread that is inside a breakpoint; taken before the data mutex.
    Threading::SpinLock& getBreakpointEntryLock() noexcept { return mBreakpointEntryLock; }

    // What follows is called under the data mutex. Silent lookups for what clients ask: null when there is none.

    Module* findModule(uint32 moduleID) const noexcept { return mModules.get(moduleID); }
    Module* findModule(const String& name, uint32 version) const;
    const Container::IDVector<Module>& getModules() const noexcept { return mModules; }
    NetworkStreamRegistry& getNetworkStreams() noexcept { return mNetworkStreams; }
    /// Takes the module from its client, and what that has begun there.
    void disconnectModule(Module& module);

    /// Holds the calling thread, which is at the breakpoint with the trigger, until it is let through; the data mutex
    /// is let go of meanwhile. Asserts that no other is held; false then.
    bool holdBreakpoint(Module* module, BreakpointInstance* breakpoint, ObjectInstance* trigger);
    /// Lets the thread that is held in a module of the client go on, and ends what the client has begun to hold more.
    /// False when it is held in another's module. Server thread.
    bool makeContinue(ClientInfo* client);
    /// Lets the thread that is held in the module go on, if no client has the module any more. Server thread.
    void releaseAbandoned(const Module& module);
    /// Lets it go on up to the next breakpoint: with the same object, if that is wanted, and of that type, 0xFFFFFFFF
    /// for any. Asserts that one is held, in a module of the client; false then. Server thread.
    bool makeStep(uint32 connectionID, bool objectInstanceFilter, uint32 breakpointTypeFilterID);
    /// Whether the pending step ends at such a breakpoint.
    bool isStepMatched(const Module& module, const BreakpointInstance& breakpoint, const ObjectInstance& trigger) const;
    /// An object instance goes: nothing names it any more.
    void forgetObjectInstance(const Module& module, uint32 objectInstanceID) noexcept;
    bool isHolding(const ObjectInstance& trigger) const noexcept { return mObjectInstanceHolding == &trigger; }
    bool isHoldingStopped() const noexcept { return mIsHoldingStopped; }

    /// A connection is there. Asserts that its ID is not that of a client; false then. Throws `OutOfMemoryException`;
    /// there is no client then.
    bool notifyConnection(uint32 connectionID);
    /// A connection goes: its client is forgotten.
    bool disconnectClient(uint32 connectionID);
    /// Has the message handled; it stays the caller's.
    void messageReceived(uint32 connectionID, IO::Stream* message);
    bool isPeerAccepted(const Network::Sockets::HostAddress& peer);

private:
    explicit Server(Platform::MilliSeconds waitTime);

    static bool isInside() noexcept;
    static bool refuseInside(const char* function);
    static bool stop();
    bool start(const Network::Sockets::HostAddress& address, ConnectionLayerFactory& factory);
    bool open(const Network::Sockets::HostAddress& address, ConnectionLayerFactory& factory);
    void dropTransport();
    int32 processEvents();
    void shutdownServer();
    static void stopCalls();
    void disconnectAll();

    void deleteModules();
    void startHolding();
    bool letPass();
    Module* findModule(const Module* module) const noexcept;

    ClientInfo* findClient(uint32 connectionID) const noexcept;
    void forgetClient(ClientInfo& ownClInfo);
    void removeClientInfo(uint32 connectionID);
    void deleteClient(ClientInfo* client) noexcept;

    static Threading::FairMutex
        sDataMutex; ///< so that it can be asked for while nobody knows whether there is a server

    Threading::Mutex mBreakAreaMutex;
    Threading::SpinLock mBreakpointEntryLock{Threading::cSpinCount};
    MutexGate mBreakpointGate; ///< the server thread's
    std::atomic<bool> mIsBreakpointHolding{false};
    Threading::Mutex mRunMutex; ///< held by the server thread while its loop runs
    std::atomic<bool> mIsRunning{true};
    Platform::MilliSeconds mWaitTime;
    uint32 mFailedPasses = 0; ///< in succession; the server thread's
    std::unique_ptr<Threading::Thread> mThread;
    Reflection::Function::FunctionRegistrarPtr mFunctionRegistrar;

    // Guarded by the data mutex.

    Network::Sockets::HostAddress mHostAddress;
    std::unique_ptr<ConnectionLayer> mConnectionLayer; ///< null while the server does not run
    std::unique_ptr<Network::Message::Dispatcher> mDispatcher;
    Container::List<ClientInfo*> mConnectedClients; ///< in the order in which they came
    uint64 mLastGeneration = 0;
    Container::IDVector<Module> mModules;
    NetworkStreamRegistry mNetworkStreams;
    Module* mModuleHolding = nullptr;
    BreakpointInstance* mBreakpointInstanceHolding = nullptr;
    ObjectInstance* mObjectInstanceHolding = nullptr;
    bool mIsHoldingStopped = false;
    bool mIsLetPass = false; ///< whether the thread that is held may go, although it has not gone yet
    StepFilter mMakeStepFilter;
    Platform::MilliSeconds mGameTime;
    Network::ConnectionLimits mConnectionLimits;
    AcceptFilter* mAcceptFilter = nullptr;
};

} // namespace Tarq::Common::Debugger
