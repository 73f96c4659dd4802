#include "common/debug/assert.h"
#include "common/interface.h"

#include <cstdio>

#include <cxxabi.h>

using namespace Tarq::Common;

namespace {

class PrintingAssertCallback : public Callback::AssertCallback {
public:
    ~PrintingAssertCallback() override {
        std::puts("the callback is gone");
        std::fflush(stdout);
    }
    void showAssert(const char* message, const char* file, unsigned int) override {
        std::printf("%s: %s\n", file, message);
    }
};

/// Goes before the library's own static objects: it was made after them.
struct HostObject {
    ~HostObject() { Debug::ShowAssertMessage("the host's callback", "an object of the host", 1); }
} gHostObject;

void assertAfterEverything(void*) {
    Debug::ShowAssertMessage("nobody is left", "after everything", 2);
}

// What is registered before any shared library has started, and for none of them, runs after all have ended.
void registerFirst() {
    abi::__cxa_atexit(&assertAfterEverything, nullptr, nullptr);
}
[[gnu::section(".preinit_array"), gnu::used]] void (*gRegisterFirst)() = &registerFirst;

} // namespace

int main() {
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new PrintingAssertCallback));
    Interface::initLibrary(nullptr);
    Interface::closeLibrary();
    std::puts("main ends");
    return 0;
}
