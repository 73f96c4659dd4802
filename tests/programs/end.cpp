#include "common/debug/assert.h"
#include "common/interface.h"

#include <cstdio>
#include <string_view>

#include <cxxabi.h>

using namespace Tarq::Common;

namespace {

std::string_view gWay;

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
    ~HostObject() {
        if (gWay == "asserting")
            Debug::ShowAssertMessage("the host's callback", "an object of the host", 1);
    }
} gHostObject;

void assertAfterEverything(void*) {
    if (gWay == "asserting")
        Debug::ShowAssertMessage("nobody is left", "after everything", 2);
}

// What is registered before any shared library has started, and for none of them, runs after all have ended.
void registerFirst() {
    abi::__cxa_atexit(&assertAfterEverything, nullptr, nullptr);
}
[[gnu::section(".preinit_array"), gnu::used]] void (*gRegisterFirst)() = &registerFirst;

} // namespace

/// Ends in one of three ways: "asserting"; or with the library initialised twice, with a callback ("own") or "default".
int main(int, char** arguments) {
    gWay = arguments[1];
    if (gWay != "default")
        Interface::setAssertCallback(Callback::AssertCallbackPtr(new PrintingAssertCallback));
    if (gWay != "asserting") {
        Interface::initLibrary(nullptr);
        Interface::initLibrary(nullptr);
    }
    return 0;
}
