#pragma once

#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/server.h"
#include "fuzz/require.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace Tarq::Fuzz {

/// A thread of the host, which enters breakpoints when the server's thread wants it to. Either waits for the other, so
/// that one of them runs at a time.
class HostThread {
public:
    using BreakpointInstance = Common::Debugger::BreakpointInstance;
    using ObjectInstance = Common::Debugger::ObjectInstance;
    using Server = Common::Debugger::Server;

    HostThread() : mThread([this] { run(); }) {}
    ~HostThread() {
        change([this] { mIsToEnd = true; });
        mThread.join();
    }
    HostThread(const HostThread&) = delete;
    HostThread& operator=(const HostThread&) = delete;

    /// Returns when the thread has come back, or is held. It is not held when this is called.
    void enter(BreakpointInstance* breakpoint, ObjectInstance* trigger) {
        require(!mHeld);
        change([&] {
            mBreakpoint = breakpoint;
            mTrigger = trigger;
            mHasReported = false;
        });
        waitFor([this] { return !mBreakpoint || mHasReported; });
        if (isAtGate())
            mHeld = trigger;
        else
            waitForReturn();
    }
    /// Somebody has let it go.
    void waitForReturn() {
        waitFor([this] { return !mBreakpoint; });
        mHeld = nullptr;
        require(!Server::getInstance()->isBreakpointHolding());
    }
    /// What it is held with; null when it is not.
    ObjectInstance* getHeld() const { return mHeld; }

    bool isCurrent() const { return std::this_thread::get_id() == mThread.get_id(); }
    /// On the thread itself: a tool hears that it is held.
    void noteReport() {
        change([this] { mHasReported = true; });
    }

private:
    template <class Change>
    void change(const Change& change) {
        const std::scoped_lock inside(mMutex);
        change();
        mChanged.notify_all();
    }
    template <class Condition>
    void waitFor(const Condition& condition) {
        std::unique_lock inside(mMutex);
        mChanged.wait(inside, condition);
    }
    /// It reports, and gets to the gate, under one lock.
    static bool isAtGate() {
        const Server::DataLock inside(Server::getDataMutex());
        return Server::getInstance()->isBreakpointHolding();
    }

    void run() {
        for (;;) {
            waitFor([this] { return mBreakpoint || mIsToEnd; });
            if (mIsToEnd)
                return;
            mBreakpoint->enterBreakpoint(mTrigger);
            change([this] { mBreakpoint = nullptr; });
        }
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    BreakpointInstance* mBreakpoint = nullptr; ///< null when the thread has nothing to do
    ObjectInstance* mTrigger = nullptr;
    bool mHasReported = false;
    bool mIsToEnd = false;
    ObjectInstance* mHeld = nullptr; ///< of the server's thread
    std::thread mThread;
};

} // namespace Tarq::Fuzz
