// tarq-debug: the debugging tool at the command line. See --help.

#include "tool/cli/commandline.h"
#include "tool/cli/exitcode.h"
#include "tool/platform/system.h"

#include "common/callback/assertcallback.h"
#include "common/exceptions/exception.h"
#include "common/interface.h"
#include "common/network/network.h"

#include <iostream>
#include <string>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Tool;

namespace {

/// An error in the program or in the library. Both go on as well as they can.
class Assertions : public Callback::AssertCallback {
public:
    void showAssert(const char* message, const char* file, unsigned int line) override {
        std::cerr << "tarq-debug: internal error in " << file << ':' << line << ": " << printable(message) << std::endl;
    }
};

int runWithNetwork(const std::vector<std::string>& arguments, const Face& face) {
    if (!Network::InitializeNetwork()) {
        face.tell("this machine has no network");
        return EXIT_INTERNAL;
    }
    const int exitCode = runCommandLine(arguments, face);
    Network::CloseNetwork();
    return exitCode;
}

} // namespace

int main(int argc, char** argv) {
    if (!System::fillStandardStreams())
        return EXIT_INTERNAL;
    const Face face{std::cout, std::cerr, &System::isStopWanted, System::getStandardInput(), System::isErrorTerminal()};
    System::catchStopSignals();
    try {
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        Interface::setAssertCallback(Callback::AssertCallbackPtr(new Assertions));
        Interface::initLibrary(nullptr);
        const int exitCode = runWithNetwork(arguments, face);
        Interface::closeLibrary();
        return exitCode;
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        face.tell(exception->getMessage().view());
    } catch (const std::exception& exception) {
        face.tell(exception.what());
    }
    return EXIT_INTERNAL;
}
