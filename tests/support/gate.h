#pragma once

#include <condition_variable>
#include <mutex>

namespace Tarq::Test {

/// Orders threads: those that `wait` go on once it is `open`ed, and stays open.
class Gate {
public:
    void open() {
        const std::scoped_lock inside(mMutex);
        mIsOpen = true;
        mOpened.notify_all();
    }
    void wait() {
        std::unique_lock inside(mMutex);
        mOpened.wait(inside, [this] { return mIsOpen; });
    }

private:
    std::mutex mMutex;
    std::condition_variable mOpened;
    bool mIsOpen = false;
};

} // namespace Tarq::Test
