#pragma once

#include "common/container/list.h"
#include "common/debugger/call/calljob.h"
#include "common/debugger/mutexgate.h"
#include "common/network/connectionlimits.h"
#include "common/threading/mutex.h"
#include "common/threading/thread.h"
#include "common/threading/threaded.h"

#include <atomic>
#include <memory>

namespace Tarq::Common::Debugger {

/// The thread that runs what tools call, one call after the other, in the order in which they came. There is at most
/// one; the server makes it, starts it and stops it.
///
/// A function may take long, be held at a breakpoint or ask a tool for something: calls that come meanwhile wait. One
/// that throws is logged, and its call not answered.
///
/// Threads: the static operations and `isRunning` come from one thread at a time, as the server's do; the others say it
/// themselves. None is for a function that is being called: what waits for its thread is refused there.
class TARQ_API RPCHelper : public Threading::Threaded {
public:
    /// Asserts "there is already an instance of RPCHelper"; nothing happens then. Throws `OutOfMemoryException`.
    static void createInstance(const Memory::AllocatorPtr& allocator = Memory::AllocatorPtr());
    /// Stops the thread if it runs. Asserts "There isn't a RPCHelper to destroy"; nothing happens then. Refused like
    /// `exitAsync`.
    static void destroyInstance();
    /// Starts the thread. The calling one, the server's, is the one that hands it calls. False, with a log entry, when
    /// it runs already, when there is no instance, and when there is no thread for it: calls are dropped then.
    static bool runAsync();
    /// Waits for the call that runs, and ends the thread. Those that wait are dropped. False, with a log entry, when it
    /// does not run, when there is no instance, and in a function that is being called.
    static bool exitAsync();
    /// Null when there is none.
    static RPCHelper* getInstance() noexcept;

    ~RPCHelper() override;

    /// The body of the thread.
    int32 run() override;
    bool isRunning() const noexcept { return mThread != nullptr; }

    /// Has the job executed, once the helper runs. False, and it is dropped with a log entry, when more than that wait
    /// already, and when the helper has been stopped, or a function has ended its thread. On the thread that has
    /// started the helper. Throws `OutOfMemoryException`; it is dropped then.
    bool call(std::unique_ptr<CallJob> job, const Network::ConnectionLimits& limits = {});
    /// Drops the calls that wait for a function of this registrar. Any thread.
    void dropCalls(const Reflection::Function::FunctionRegistrar& registrar);
    /// Waits for the call that runs at this moment, or is about to, if there is one. Behind `Server::destroyModule`,
    /// what the module's functions work on may go then. The caller holds nothing that the function may wait for, the
    /// data mutex for example. False, with a log entry, in a function that is being called. Any thread.
    bool waitForCall();

private:
    class EndMark;
    class TurnMark;
    using Calls = Container::List<CallJob*>;

    RPCHelper();

    bool start();
    void stop();
    std::unique_ptr<CallJob> takeCall();
    void execute(std::unique_ptr<CallJob> job);
    template <class IsDropped>
    void drop(const IsDropped& isDropped);

    std::unique_ptr<Threading::Thread> mThread;
    MutexGate mGate;              ///< the helper's thread waits there for work
    std::atomic<uint32> mTurn{0}; ///< odd while a call runs
    std::atomic<bool> mIsAwaited{false};

    Threading::Mutex mQueueMutex; ///< guards what follows; nothing is run under it

    Calls mCalls;
    uint64 mQueuedBytes = 0;
    bool mIsRunning = true;
    bool mIsWaiting = false; ///< the thread is registered at the gate
};

} // namespace Tarq::Common::Debugger
