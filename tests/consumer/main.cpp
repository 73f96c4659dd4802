#include "common/interface.h"

using namespace Tarq::Common;

/// Succeeds when the library comes up and goes down again.
int main() {
    Interface::initLibrary(Callback::MemoryCallbackPtr());
    const bool up = Interface::getLogReporter() != nullptr;
    Interface::closeLibrary();
    const bool down = Interface::getLogReporter() == nullptr;
    return up && down ? 0 : 1;
}
