#include "common/debugger/mutexgate.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debugger::MutexGate;

namespace {

constexpr char cFile[] = "common/debugger/mutexgate";
const std::string cSecondTime = "mActive == false\nError Message: Tried to activate MutexGate for second time";
const std::string cLocked = "\nError Message: Public gate was already locked";
const std::string cInactive = "mActive == true\nError Message: Tried to deactivate MutexGate that wasn't active";
const std::string cOccupied = "mPublicCount == 0\nError Message: Public gate is already occupied";
const std::string cNobody = "mPublicCount == 1\nError Message: A public thread has to be waiting at the gate to allow "
                            "a secure public pass";
const std::string cNotOwned = "res\nError Message: Mutex is not owned, so it cannot be unlocked";

template <class Body>
void onAnotherThread(Body body) {
    std::thread(body).join();
}

/// A thread that comes to the gate, registers, and waits there once it is told to.
class Visitor {
public:
    explicit Visitor(MutexGate& gate) : mThread([this, &gate] { visit(gate); }) { mRegistered.wait(); }
    ~Visitor() { leave(); }

    void goOn() { mMayWait.open(); }
    void leave() {
        goOn();
        if (mThread.joinable())
            mThread.join();
    }
    bool isThrough() const { return mIsThrough; }

private:
    void visit(MutexGate& gate) {
        CHECK(gate.registerPublic());
        mRegistered.open();
        mMayWait.wait();
        gate.waitForPass();
        mIsThrough = true;
    }

    Gate mRegistered;
    Gate mMayWait;
    std::atomic<bool> mIsThrough{false};
    std::thread mThread;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a gate that is not active lets everybody through") {
    MutexGate gate;
    CHECK_FALSE(gate.isActivated());
    gate.enterPublic();
    CHECK_FALSE(gate.registerPublic());
    gate.waitForPass();
    gate.close();
    {
        const ExpectedAssertion expected(cInactive, cFile);
        gate.deactivate();
    }
    const ExpectedAssertion expected(cNobody, cFile);
    CHECK_FALSE(gate.allowOnePublicPass());
}

TEST_CASE_FIXTURE(LibraryTest, "a gate is activated and deactivated in turn, by its owner") {
    MutexGate gate;
    for (int round = 0; round < 2; ++round) {
        gate.activate();
        CHECK(gate.isActivated());
        // The owner would wait for itself.
        gate.enterPublic();
        {
            const ExpectedAssertion expected(cSecondTime, cFile, 2);
            gate.activate();
            onAnotherThread([&] { gate.activate(); });
        }
        {
            const ExpectedAssertion expected(cNotOwned, cFile);
            onAnotherThread([&] { gate.deactivate(); });
        }
        {
            const ExpectedAssertion expected(cNobody, cFile, 2);
            CHECK_FALSE(gate.allowOnePublicPass());
            onAnotherThread([&] { CHECK_FALSE(gate.allowOnePublicPass()); });
        }
        CHECK(gate.isActivated());
        gate.deactivate();
        CHECK_FALSE(gate.isActivated());
    }
    // Nobody owns it now.
    onAnotherThread([&] {
        gate.activate();
        gate.close();
    });
    CHECK_FALSE(gate.isActivated());
    gate.activate();
    CHECK(gate.isActivated());
}

TEST_CASE_FIXTURE(LibraryTest, "a pass lets out the thread that is registered, whether it waits already or not") {
    MutexGate gate;
    gate.activate();
    for (const bool isWaiting : {false, true}) {
        CAPTURE(isWaiting);
        Visitor visitor(gate);
        if (isWaiting)
            visitor.goOn();
        CHECK_FALSE(visitor.isThrough());
        onAnotherThread([&] {
            const ExpectedAssertion expected(cNotOwned, cFile);
            CHECK_FALSE(gate.allowOnePublicPass());
        });
        CHECK_FALSE(visitor.isThrough());
        CHECK(gate.allowOnePublicPass());
        // There is one pass for each registration.
        const ExpectedAssertion expected(cNobody, cFile);
        CHECK_FALSE(gate.allowOnePublicPass());
        visitor.leave();
        CHECK(gate.isActivated());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that is registered keeps waiting when the gate is deactivated") {
    MutexGate gate;
    gate.activate();
    Visitor visitor(gate);
    visitor.goOn();
    gate.deactivate();
    CHECK_FALSE(gate.isActivated());
    // Others come through meanwhile.
    onAnotherThread([&] { gate.enterPublic(); });
    {
        const ExpectedAssertion expected(cLocked, cFile);
        onAnotherThread([&] { gate.activate(); });
    }
    CHECK_FALSE(gate.isActivated());
    CHECK_FALSE(visitor.isThrough());
    SUBCASE("until the owner lets it pass") {
        CHECK(gate.allowOnePublicPass());
        visitor.leave();
        const ExpectedAssertion expected(cNobody, cFile);
        CHECK_FALSE(gate.allowOnePublicPass());
    }
    SUBCASE("until somebody closes the gate") {
        onAnotherThread([&] { gate.close(); });
        visitor.leave();
    }
    SUBCASE("and when it is activated again") {
        gate.activate();
        CHECK_FALSE(visitor.isThrough());
        CHECK(gate.allowOnePublicPass());
        visitor.leave();
        CHECK(gate.isActivated());
    }
    CHECK(visitor.isThrough());
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that is registered already does not wait for itself") {
    MutexGate gate;
    gate.activate();
    Gate registered;
    std::thread visitor([&] {
        CHECK(gate.registerPublic());
        const ExpectedAssertion expected(cOccupied, cFile);
        gate.enterPublic();
        registered.open();
        gate.waitForPass();
    });
    registered.wait();
    CHECK(gate.allowOnePublicPass());
    visitor.join();
}

TEST_CASE_FIXTURE(LibraryTest, "threads that come to an occupied gate have their turn, or go when it is closed") {
    constexpr int cThreads = 4;
    for (const int passes : {0, 1, cThreads}) {
        CAPTURE(passes);
        MutexGate gate;
        gate.activate();
        const ExpectedAssertion expected(cOccupied, cFile, cThreads - 1);
        std::atomic<int> through{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < cThreads; ++thread) {
            threads.emplace_back([&] {
                gate.enterPublic();
                ++through;
            });
        }
        while (expected.getCount() != cThreads - 1)
            std::this_thread::yield();
        for (int pass = 0; pass < passes; ++pass) {
            // The last one to come may have asserted without being in front of the gate yet.
            std::atomic<bool> isPassed{false};
            while (!isPassed) {
                const AssertionRecorder recorder;
                isPassed = gate.allowOnePublicPass();
            }
        }
        gate.close();
        for (std::thread& thread : threads)
            thread.join();
        CHECK(through == cThreads);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "every registration takes one pass, however early the passes come") {
    constexpr uint32 cPasses = 100000;
    MutexGate gate;
    gate.activate();
    std::atomic<uint32> registered{0};
    std::atomic<uint32> passed{0};
    std::thread visitor([&] {
        for (uint32 visit = 1; visit <= cPasses; ++visit) {
            if (!gate.registerPublic())
                FAIL_CHECK("the gate was not closed");
            registered.store(visit, std::memory_order_release);
            gate.waitForPass();
            // The owner counts before it passes; it must not have passed more than this registration.
            if (passed.load(std::memory_order_relaxed) != visit)
                FAIL_CHECK("a pass was taken that was not given");
        }
    });
    for (uint32 visit = 1; visit <= cPasses; ++visit) {
        while (registered.load(std::memory_order_acquire) != visit)
            std::this_thread::yield();
        passed.store(visit, std::memory_order_relaxed);
        if (!gate.allowOnePublicPass())
            FAIL_CHECK("nobody was there");
    }
    visitor.join();
}

TEST_CASE_FIXTURE(LibraryTest, "a gate can be closed by any thread while others come and go") {
    for (int round = 0; round < 200; ++round) {
        MutexGate gate;
        gate.activate();
        const AssertionRecorder recorder;
        std::atomic<bool> isOver{false};
        const auto visit = [&] {
            while (!isOver)
                gate.enterPublic();
        };
        std::thread visitors[] = {std::thread(visit), std::thread(visit)};
        std::thread closer([&] {
            isOver = true;
            gate.close();
        });
        for (int pass = 0; pass < round; ++pass)
            gate.allowOnePublicPass();
        closer.join();
        for (std::thread& visitor : visitors)
            visitor.join();
        CHECK_FALSE(gate.isActivated());
    }
}
