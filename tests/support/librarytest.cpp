#include "tests/support/librarytest.h"

#include "common/interface.h"
#include "common/library.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

namespace Tarq::Test {

using namespace Common;

std::set<std::string> listDescriptors() {
    std::set<std::string> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::filesystem::path target = std::filesystem::read_symlink(entry.path(), error);
        // The iterator's own descriptor is the one that shows this very directory.
        if (!error && target.string().find("/fd") == std::string::npos)
            descriptors.insert(entry.path().filename().string() + " -> " + target.string());
    }
    return descriptors;
}

int countThreads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

namespace {

/// What the process keeps from its first use on is not a leak of the test that happens to come first.
void useOnce() {
    static const bool used = [] {
        const Exceptions::Holder holder(new Exceptions::Exception("first use"));
        holder->getCallStack();
        // A sanitizer starts a thread of its own with the first one.
        std::thread([] {}).join();
        return true;
    }();
    static_cast<void>(used);
}

/// A joined thread stays listed for a moment, until the kernel has cleaned up behind it.
int countThreadsDownTo(int expected) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (countThreads() > expected && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    return countThreads();
}

} // namespace

BareTest::BareTest() : mPreviousCallback(Interface::getAssertCallback()), mMemory(new CountingMemory) {
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new TestAssertCallback));
    useOnce();
    mDescriptors = listDescriptors();
    mThreads = countThreads();
}

BareTest::~BareTest() {
    CHECK(countThreadsDownTo(mThreads) <= mThreads);
    std::string leaked;
    for (const std::string& descriptor : listDescriptors()) {
        if (!mDescriptors.contains(descriptor))
            leaked += descriptor + "; ";
    }
    CHECK(leaked == "");
    CHECK(mMemory->getBytes() == 0);
    CHECK(mMemory->getBlocks() == 0);
    CHECK(mMemory->getReferenceCount() == 1);
    Interface::setAssertCallback(mPreviousCallback);
}

LibraryTest::LibraryTest() {
    Interface::initLibrary(getMemoryCallback());
}

LibraryTest::~LibraryTest() {
    getMemory().failNever();
    Interface::closeLibrary();
}

const Memory::AllocatorPtr& LibraryTest::allocator() const {
    return Library::getTempAlloc();
}

} // namespace Tarq::Test
