#include "common/debug/report.h"
#include "common/exceptions/exception.h"
#include "common/interface.h"
#include "common/library.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace Tarq::Common;

namespace {

std::atomic<int> gRounds{0};

/// Lets the other thread through some more rounds.
void waitForRounds() {
    for (const int from = gRounds; gRounds < from + 200;)
        std::this_thread::yield();
}

/// The thread runs on while the library reports that it is still up, and while it takes itself down.
class WaitingAssertCallback : public Callback::AssertCallback {
public:
    ~WaitingAssertCallback() override {
        waitForRounds();
        std::puts("the callback is gone");
        std::fflush(stdout);
    }
    void showAssert(const char*, const char*, unsigned int) override {
        waitForRounds();
        std::puts("reported");
    }
};

class HeapMemory : public Callback::MemoryCallback {
public:
    void* allocate(uint32 size) override { return std::malloc(size); }
    void free(void* block) override { std::free(block); }
};

void use() {
    const Memory::AllocatorPtr global = Interface::getGlobalAllocator();
    for (;; ++gRounds) {
        const Memory::AllocatorPtr small = Library::getTempAlloc();
        void* const block = small->alloc(static_cast<uint32>(gRounds % 400));
        const String text("a text on the string allocator");
        const Exceptions::Holder exception(new Exceptions::Exception(text));
        Debug::report({Debug::LOG_MESSAGE, "use"}, text);
        global->free(global->alloc(64));
        small->free(block);
    }
}

} // namespace

/// Ends without `closeLibrary` while a thread uses the library.
int main() {
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new WaitingAssertCallback));
    Interface::initLibrary(Callback::MemoryCallbackPtr(new HeapMemory));
    std::thread(&use).detach();
    waitForRounds();
    return 0;
}
