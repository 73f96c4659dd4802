#pragma once

#include "tests/support/countingmemory.h"
#include "tests/support/doctest.h"
#include "tests/support/expectedassertion.h"
#include "tests/support/thrown.h"

#include <set>
#include <string>

namespace Tarq::Test {

/// The open descriptors of the process, each with what it refers to.
std::set<std::string> listDescriptors();
/// The threads of the process.
int countThreads();

/// What every test runs in: the assertion callback of the tests, and nothing left behind by the end: no byte, no
/// descriptor, no thread. The library is down, for tests that bring it up themselves.
class BareTest {
public:
    BareTest();
    ~BareTest();
    BareTest(const BareTest&) = delete;
    BareTest& operator=(const BareTest&) = delete;

    CountingMemory& getMemory() const { return *mMemory; }
    /// The memory as a host hands it to the library.
    Common::Callback::MemoryCallbackPtr getMemoryCallback() const { return mMemory; }

private:
    Common::Callback::AssertCallbackPtr mPreviousCallback;
    CountingMemoryPtr mMemory;
    std::set<std::string> mDescriptors;
    int mThreads;
};

/// The same, with the library brought up on the counting memory.
class LibraryTest : public BareTest {
public:
    LibraryTest();
    ~LibraryTest();

    /// The library's allocator, for `new (allocator()) ...`.
    const Common::Memory::AllocatorPtr& allocator() const;
};

} // namespace Tarq::Test
