#pragma once

#include "tests/support/doctest.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

/// Threads that wait for something, and tests that wait for them.
namespace Tarq::Test {

/// Longer than whatever is to come takes; who waits for that long waits for ever.
inline constexpr std::chrono::seconds cForEver{20};

/// Whether it becomes true in time.
template <class Condition>
bool comesTrue(const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + cForEver;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

/// A thread that is to come back. One that does not ends the whole run: nothing can be taken down below it.
class HostThread {
public:
    template <class Body>
    explicit HostThread(Body body)
        : mThread([this, body] {
              mID = syscall(SYS_gettid);
              body();
              const std::scoped_lock inside(mMutex);
              mHasReturned = true;
              mReturned.notify_all();
          }) {}
    ~HostThread() { join(); }
    HostThread(const HostThread&) = delete;
    HostThread& operator=(const HostThread&) = delete;

    /// Whether it waits in the system for something, as it does at the entry of a breakpoint.
    bool isAsleep() const {
        std::ifstream file("/proc/self/task/" + std::to_string(mID) + "/stat");
        std::string text;
        std::getline(file, text);
        const std::size_t name = text.rfind(')');
        return mID != 0 && name != std::string::npos && text.compare(name, 3, ") S") == 0;
    }
    bool hasReturned() {
        const std::scoped_lock inside(mMutex);
        return mHasReturned;
    }
    /// Whether it comes back in time.
    bool waitFor(std::chrono::milliseconds time = cForEver) {
        std::unique_lock inside(mMutex);
        return mReturned.wait_for(inside, time, [this] { return mHasReturned; });
    }
    void join() {
        if (!waitFor()) {
            FAIL_CHECK("a thread of the host does not come back");
            std::abort();
        }
        if (mThread.joinable())
            mThread.join();
    }

private:
    std::mutex mMutex;
    std::condition_variable mReturned;
    bool mHasReturned = false;
    std::atomic<long> mID = 0;
    std::thread mThread;
};

} // namespace Tarq::Test
