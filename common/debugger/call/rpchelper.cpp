#include "common/debugger/call/rpchelper.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/internal/serverthread.h"
#include "common/debugger/server.h"
#include "common/exceptions/internal/guarded.h"
#include "common/platform/waitaddress.h"

#include <atomic>
#include <new>
#include <utility>

namespace Tarq::Common::Debugger {

using Debug::LOG_ERROR;
using QueueLock = Threading::ScopedLock<Threading::Mutex>;

namespace {

constexpr char cRunAsync[] = "Tarq::Common::Debugger::RPCHelper::runAsync";
constexpr char cExitAsync[] = "Tarq::Common::Debugger::RPCHelper::exitAsync";
constexpr char cDestroyInstance[] = "Tarq::Common::Debugger::RPCHelper::destroyInstance";
constexpr char cCall[] = "Tarq::Common::Debugger::RPCHelper::call";
constexpr char cWaitForCall[] = "Tarq::Common::Debugger::RPCHelper::waitForCall";
constexpr char cRun[] = "Tarq::Common::Debugger::RPCHelper::run";

/// In bytes; a system that asks for more gets more.
constexpr int cStackSize = 16000;

/// A wake-up may be missed where several wait; this is how long it then takes.
constexpr uint32 cSleepMicroseconds = 100000;

/// Starts and stops come from one thread at a time; others may ask for it.
constinit std::atomic<RPCHelper*> gInstance{nullptr};

/// A function that waits for its own thread waits for ever.
bool refuseInside(const char* function) {
    const bool isRefused = ServerThreadMark::isSet(ServerThreadMark::CALLS);
    if (isRefused)
        Debug::report({LOG_ERROR, function}, "The RPCHelper cannot be started, stopped or waited for by what it calls");
    return isRefused;
}

} // namespace

void RPCHelper::createInstance(const Memory::AllocatorPtr& allocator) {
    if (TARQ_ASSERT_AS(nullptr, !getInstance(), "there is already an instance of RPCHelper"))
        gInstance = new (allocator) RPCHelper;
}

void RPCHelper::destroyInstance() {
    RPCHelper* const helper = getInstance();
    if (!TARQ_ASSERT_AS(nullptr, helper, "There isn't a RPCHelper to destroy") || refuseInside(cDestroyInstance))
        return;
    if (helper->isRunning())
        exitAsync();
    gInstance = nullptr;
    delete helper;
}

RPCHelper* RPCHelper::getInstance() noexcept {
    return gInstance.load(std::memory_order_acquire);
}

bool RPCHelper::runAsync() {
    if (refuseInside(cRunAsync))
        return false;
    RPCHelper* const helper = getInstance();
    if (helper && helper->mThread) {
        Debug::report({LOG_ERROR, cRunAsync}, "There is already a running RPCHelper: use getInstance() instead of "
                                              "starting a new one");
        return false;
    }
    if (!helper) {
        Debug::report({LOG_ERROR, cRunAsync}, "Forgot to call createInstance() before runAsync() ? RPCHelper instance "
                                              "missing");
        return false;
    }
    return helper->start();
}

bool RPCHelper::start() {
    mGate.activate();
    mIsRunning = true;
    Exceptions::CaughtText caught;
    std::unique_ptr<Threading::Thread> thread;
    const bool isStarted = Exceptions::runGuarded(caught, [&] {
        thread.reset(new (getAllocator()) Threading::Thread(this, String("RPCHelper Thread"), cStackSize));
        return thread->isValid();
    });
    if (isStarted) {
        mThread = std::move(thread);
        return true;
    }
    stop();
    Debug::report({LOG_ERROR, cRunAsync}, "There is no thread for the RPCHelper: nothing can be called");
    return false;
}

bool RPCHelper::exitAsync() {
    RPCHelper* const helper = getInstance();
    if (!helper) {
        Debug::report({LOG_ERROR, cExitAsync}, "RPCHelper instance doesn't exist, did you call destroyInstance before");
        return false;
    }
    if (refuseInside(cExitAsync))
        return false;
    if (!helper->mThread) {
        Debug::report({LOG_ERROR, cExitAsync}, "RPCHelper thread isn't running - did you start RPCHelper with "
                                               "runAsync() ?");
        return false;
    }
    helper->stop();
    helper->mThread->join();
    helper->mThread.reset();
    return true;
}

/// From now on no call is taken, and none is begun.
void RPCHelper::stop() {
    {
        const QueueLock inside(mQueueMutex);
        mIsRunning = false;
        mIsWaiting = false;
        mGate.close();
    }
    drop([](const CallJob&) { return true; });
}

RPCHelper::RPCHelper() : mCalls(getAllocator()) {}

RPCHelper::~RPCHelper() {
    drop([](const CallJob&) { return true; });
}

/// A function may end the thread: nobody is there for the other calls then.
class RPCHelper::EndMark {
public:
    explicit EndMark(RPCHelper& helper) noexcept : mHelper(helper) {}
    ~EndMark() { mHelper.stop(); }
    EndMark(const EndMark&) = delete;
    EndMark& operator=(const EndMark&) = delete;

private:
    RPCHelper& mHelper;
};

int32 RPCHelper::run() {
    const ServerThreadMark mark(ServerThreadMark::CALLS);
    const EndMark endMark(*this);
    while (std::unique_ptr<CallJob> job = takeCall())
        execute(std::move(job));
    return 0;
}

/// Waits for one; null when the helper is to end.
std::unique_ptr<CallJob> RPCHelper::takeCall() {
    while (true) {
        {
            const QueueLock inside(mQueueMutex);
            if (!mIsRunning)
                return nullptr;
            if (!mCalls.empty()) {
                std::unique_ptr<CallJob> job(mCalls.front());
                mCalls.pop_front();
                mQueuedBytes -= job->getSize();
                ++mTurn;
                return job;
            }
            // At the gate before anybody can look: who appends a job knows whether there is somebody to wake.
            mIsWaiting = mGate.registerPublic();
        }
        mGate.waitForPass();
    }
}

bool RPCHelper::waitForCall() {
    if (refuseInside(cWaitForCall))
        return false;
    const uint32 turn = mTurn;
    mIsAwaited = true;
    while (turn % 2 != 0 && mTurn == turn)
        Platform::waitOnAddress(mTurn, turn, cSleepMicroseconds);
    return true;
}

/// Ends the turn of a call, whatever ends the call.
class RPCHelper::TurnMark {
public:
    explicit TurnMark(RPCHelper& helper) noexcept : mHelper(helper) {}
    ~TurnMark() {
        ++mHelper.mTurn;
        if (mHelper.mIsAwaited.exchange(false))
            Platform::wakeOneOnAddress(&mHelper.mTurn);
    }
    TurnMark(const TurnMark&) = delete;
    TurnMark& operator=(const TurnMark&) = delete;

private:
    RPCHelper& mHelper;
};

void RPCHelper::execute(std::unique_ptr<CallJob> job) {
    const TurnMark mark(*this);
    Exceptions::CaughtText caught;
    Exceptions::runGuarded(caught, [&job] {
        job->execute(*Server::getInstance());
        return true;
    });
    if (caught.isCaught())
        Debug::report({LOG_ERROR, cRun}, "The call of ", job->getName(), " has failed: ", caught.getText());
    job.reset(); // before the turn is over
}

bool RPCHelper::call(std::unique_ptr<CallJob> job, const Network::ConnectionLimits& limits) {
    const char* refusal = nullptr;
    {
        const QueueLock inside(mQueueMutex);
        if (!mIsRunning) {
            refusal = "The RPCHelper does not run: the call of ";
        } else if (mCalls.size() >= limits.mMaxQueuedMessages ||
                   mQueuedBytes + job->getSize() > limits.mMaxQueuedBytes) {
            refusal = "Too many calls wait already: the one of ";
        } else {
            mCalls.push_back(job.get());
            mQueuedBytes += job.release()->getSize();
            if (mIsWaiting && mGate.allowOnePublicPass())
                mIsWaiting = false;
        }
    }
    if (refusal)
        Debug::report({LOG_ERROR, cCall}, refusal, job->getName(), " is dropped");
    return !refusal;
}

void RPCHelper::dropCalls(const Reflection::Function::FunctionRegistrar& registrar) {
    drop([&registrar](const CallJob& job) { return job.getRegistrar().get() == &registrar; });
}

template <class IsDropped>
void RPCHelper::drop(const IsDropped& isDropped) {
    uint32 count = 0;
    {
        const QueueLock inside(mQueueMutex);
        for (auto at = mCalls.begin(); at != mCalls.end();) {
            CallJob* const job = *at;
            if (!isDropped(*job)) {
                ++at;
                continue;
            }
            at = mCalls.erase(at);
            mQueuedBytes -= job->getSize();
            delete job;
            ++count;
        }
    }
    if (count > 0)
        Debug::report({LOG_ERROR, cCall}, "Calls that waited are dropped: ", count);
}

} // namespace Tarq::Common::Debugger
