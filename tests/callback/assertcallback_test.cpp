#include "common/interface.h"

#include "common/debug/assert.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <cstdlib>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Callback::AssertCallback;
using Callback::AssertCallbackPtr;

namespace {

class Watched : public AssertCallback {
public:
    explicit Watched(bool& isGone, ReleaseFunction release = nullptr)
        : AssertCallback(release ? release : [](void* object) { ::operator delete(object); }), mIsGone(isGone) {}
    ~Watched() override { mIsGone = true; }
    void showAssert(const char*, const char*, unsigned int) override {
        mEntered.open();
        mMayLeave.wait();
        ++mShown;
    }

    Gate mEntered;
    Gate mMayLeave;
    int mShown = 0;

private:
    bool& mIsGone;
};

void* gReleased = nullptr;

} // namespace

TEST_CASE_FIXTURE(BareTest, "a callback is kept as long as it is installed, and deleted when it is replaced") {
    const AssertCallbackPtr previous = Interface::getAssertCallback();
    bool isFirstGone = false;
    bool isSecondGone = false;
    AssertCallbackPtr first(new Watched(isFirstGone));
    Interface::setAssertCallback(first);
    Interface::setAssertCallback(first);
    Interface::setAssertCallback(Interface::getAssertCallback());
    CHECK(first.getReferenceCount() == 2);
    first.reset();
    CHECK_FALSE(isFirstGone);

    const AssertCallbackPtr second(new Watched(isSecondGone));
    Interface::setAssertCallback(second);
    CHECK(isFirstGone);
    Interface::initLibrary(getMemoryCallback());
    CHECK(Interface::getAssertCallback() == second);
    Interface::closeLibrary();
    CHECK(Interface::getAssertCallback() == second);
    Interface::setAssertCallback(previous);
    CHECK(second.getReferenceCount() == 1);
}

TEST_CASE_FIXTURE(BareTest, "a callback that is replaced while it runs lives until it has returned") {
    const AssertCallbackPtr previous = Interface::getAssertCallback();
    bool isGone = false;
    auto* const watched = new Watched(isGone);
    Interface::setAssertCallback(AssertCallbackPtr(watched));
    std::thread asserting([] { Debug::ShowAssertMessage("text", "file", 1); });
    watched->mEntered.wait();
    Interface::setAssertCallback(previous);
    CHECK_FALSE(isGone);
    {
        const ExpectedAssertion toTheNewOne("text", "file");
        Debug::ShowAssertMessage("text", "file", 1);
    }
    watched->mMayLeave.open();
    asserting.join();
    CHECK(isGone);
}

TEST_CASE_FIXTURE(BareTest, "threads that ask first at once get the same default callback") {
    const AssertCallbackPtr previous = Interface::getAssertCallback();
    for (int round = 0; round < 10; ++round) {
        Interface::setAssertCallback(nullptr);
        Gate gate;
        std::vector<AssertCallbackPtr> seen(4);
        std::vector<std::thread> threads;
        for (AssertCallbackPtr& mine : seen)
            threads.emplace_back([&gate, &mine] {
                gate.wait();
                mine = Interface::getAssertCallback();
            });
        gate.open();
        for (std::thread& thread : threads)
            thread.join();
        for (const AssertCallbackPtr& each : seen)
            REQUIRE(each == seen[0]);
        REQUIRE(seen[0].getReferenceCount() == 5);
    }
    Interface::setAssertCallback(previous);
}

TEST_CASE_FIXTURE(BareTest, "threads assert while the callback is replaced again and again") {
    const AssertCallbackPtr previous = Interface::getAssertCallback();
    const ExpectedAssertion expected("text", "file", 400);
    std::vector<std::thread> threads;
    for (int at = 0; at < 2; ++at)
        threads.emplace_back([] {
            for (int times = 0; times < 200; ++times)
                Debug::ShowAssertMessage("text", "file", 1);
        });
    for (int times = 0; times < 100; ++times)
        Interface::setAssertCallback(AssertCallbackPtr(new TestAssertCallback));
    for (std::thread& thread : threads)
        thread.join();
    Interface::setAssertCallback(previous);
}

TEST_CASE_FIXTURE(BareTest, "the bytes of a host's object go to the function that it captured") {
    bool isGone = false;
    void* const bytes = std::malloc(sizeof(Watched));
    AssertCallbackPtr callback(::new (bytes) Watched(isGone, [](void* object) {
        gReleased = object;
        std::free(object);
    }));
    // The pointer deletes through the counted base, which stands further on in the object.
    CHECK(static_cast<void*>(static_cast<ReferenceCounted*>(callback.get())) != bytes);
    callback.reset();
    CHECK(isGone);
    CHECK(gReleased == bytes);
}
