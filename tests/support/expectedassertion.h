#pragma once

#include "common/callback/assertcallback.h"

#include <string>
#include <vector>

namespace Tarq::Test {

/// One assertion as it arrived.
struct SeenAssertion {
    std::string text;
    std::string file;
    unsigned int line;
};

/// Fails the running test for every assertion that no `ExpectedAssertion` stands for.
class TestAssertCallback : public Common::Callback::AssertCallback {
public:
    void showAssert(const char* message, const char* file, unsigned int line) override;
};

/// Permits, and demands, an assertion with exactly this text from exactly this file while it is in scope. Threads: any.
class ExpectedAssertion {
public:
    /// `file` without extension, for example "common/io/stream". `times`: how often it is to come.
    ExpectedAssertion(std::string text, std::string file, int times = 1);
    ~ExpectedAssertion();
    ExpectedAssertion(const ExpectedAssertion&) = delete;
    ExpectedAssertion& operator=(const ExpectedAssertion&) = delete;

    int getCount() const;

private:
    friend class TestAssertCallback;

    std::string mText;
    std::string mFile;
    int mTimes;
    int mCount = 0;
};

/// Collects every assertion while it is in scope, and lets them all pass.
class AssertionRecorder {
public:
    AssertionRecorder();
    ~AssertionRecorder();
    AssertionRecorder(const AssertionRecorder&) = delete;
    AssertionRecorder& operator=(const AssertionRecorder&) = delete;

    std::vector<SeenAssertion> getSeen() const;

private:
    friend class TestAssertCallback;
    std::vector<SeenAssertion> mSeen;
};

} // namespace Tarq::Test
