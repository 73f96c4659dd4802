#include "common/interface.h"

#include <cstdio>
#include <string_view>

using namespace Tarq::Common;

namespace {

class PrintingAssertCallback : public Callback::AssertCallback {
public:
    ~PrintingAssertCallback() override { std::puts("the callback is gone"); }
    void showAssert(const char* message, const char* file, unsigned int) override {
        std::printf("%s: %s\n", file, message);
    }
};

} // namespace

/// Ends with the library initialised twice.
int main(int, char** arguments) {
    if (std::string_view(arguments[1]) == "own")
        Interface::setAssertCallback(Callback::AssertCallbackPtr(new PrintingAssertCallback));
    Interface::initLibrary(nullptr);
    Interface::initLibrary(nullptr);
    return 0;
}
