#include "tests/support/expectedassertion.h"

#include "tests/support/doctest.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace Tarq::Test {

namespace {

std::mutex gMutex;
std::vector<ExpectedAssertion*> gExpected;
AssertionRecorder* gRecorder = nullptr;

} // namespace

void TestAssertCallback::showAssert(const char* message, const char* file, unsigned int line) {
    {
        const std::scoped_lock inside(gMutex);
        if (gRecorder) {
            gRecorder->mSeen.push_back({message, file, line});
            return;
        }
        const auto found = std::find_if(gExpected.begin(), gExpected.end(), [&](const ExpectedAssertion* expected) {
            return expected->mText == message && expected->mFile == file && expected->mCount < expected->mTimes;
        });
        if (found != gExpected.end()) {
            ++(*found)->mCount;
            return;
        }
    }
    FAIL_CHECK("unexpected assertion at " << file << ":" << line << ": " << message);
}

ExpectedAssertion::ExpectedAssertion(std::string text, std::string file, int times)
    : mText(std::move(text)), mFile(std::move(file)), mTimes(times) {
    const std::scoped_lock inside(gMutex);
    gExpected.push_back(this);
}

ExpectedAssertion::~ExpectedAssertion() {
    {
        const std::scoped_lock inside(gMutex);
        std::erase(gExpected, this);
    }
    INFO("expected assertion: " << mFile << ": " << mText);
    CHECK(mCount == mTimes);
}

int ExpectedAssertion::getCount() const {
    const std::scoped_lock inside(gMutex);
    return mCount;
}

AssertionRecorder::AssertionRecorder() {
    const std::scoped_lock inside(gMutex);
    gRecorder = this;
}

AssertionRecorder::~AssertionRecorder() {
    const std::scoped_lock inside(gMutex);
    gRecorder = nullptr;
}

std::vector<SeenAssertion> AssertionRecorder::getSeen() const {
    const std::scoped_lock inside(gMutex);
    return mSeen;
}

} // namespace Tarq::Test
