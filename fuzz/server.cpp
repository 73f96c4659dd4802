#include "common/debugger/server.h"
#include "common/reflection/function/functionbinding.h"
#include "fuzz/debugger/memorylayer.h"
#include "fuzz/debugger/script.h"
#include "fuzz/library.h"

#include <cstddef>
#include <cstring>

// A running server with modules hears what three clients say, while a thread of the host passes breakpoints. The input
// is a list of events. Each begins with a byte: its two lowest bits choose the client, 3 being the first one again, or
// the module; the next three say what happens.
//
//     0   the client connects, or disconnects when it is connected
//     1   a message, in one piece: its length in two bytes, the higher one first, and its bytes; the client connects
//         before it if it has not
//     2   the same, in pieces
//     3   the same, and no answer to it can be sent
//     4   a request that is well formed: a byte chooses its type, and so does one for each of its fields; the bytes
//         inside of it are as in a message
//     5   the same, and no answer to it can be sent
//     6   the host passes a breakpoint: a byte chooses it and the instance, whether it is to stop there, and whether
//         tools can be told; the input goes on when the host's thread has come back, or is held
//     7   the host does something else: a byte chooses what, and with which instance, or which stream it reads
//
// Tools may call functions by the names that there are for fields; the input goes on when a call is over.
//
// A message that is cut off is as long as what is left. In the end all clients go, and the server knows none of them;
// the thread is back, and the modules are gone. What the server takes stands on the global heap, where the sanitizers
// see it. All events happen on the server's thread, as it owns the gate at which the other one is held.

using namespace Tarq::Common;
using namespace Tarq::Fuzz;

namespace {

const Memory::AllocatorPtr cHeap;

MemoryLayer* gLayer = nullptr;
HostThread* gHost = nullptr;

/// What is said about a step when nobody is held, or is let go already.
class ListeningCallback final : public Callback::AssertCallback {
public:
    void showAssert(const char* message, const char*, unsigned int) override {
        if (std::strstr(message, "Tried to make step but no Breakpoint is holding"))
            sHasHeard = true;
    }

    static inline bool sHasHeard = false; ///< of the server's thread
};

/// A step for nobody is refused in any case.
bool isLetGo() {
    const Server::DataLock inside(Server::getDataMutex());
    ListeningCallback::sHasHeard = false;
    require(!Server::getInstance()->makeStep(0xFFFFFFFF, false, 0));
    return ListeningCallback::sHasHeard;
}

void runScript(MemoryLayer& layer, const unsigned char* data, std::size_t size) {
    DebuggerScript(layer, *gHost, isLetGo, data, size).run();
}

uint32 next(uint32 number) {
    return number + 1;
}
String chosen(bool isFirst, const String& text) {
    return isFirst ? text : String();
}
void doNothing() {}

void registerFunctions(Reflection::Function::FunctionRegistrar& functions) {
    functions.registerFunction("world", &next);
    functions.registerFunction("desk", &chosen);
    functions.registerFunction("ada", &doNothing);
    functions.registerFunction(MemoryLayer::cLastCall, &doNothing);
}

class LayerFactory final : public Debugger::ConnectionLayerFactory {
public:
    Debugger::ConnectionLayer* createConnectionLayer(const Memory::AllocatorPtr& allocator, Server* server,
                                                     Platform::MilliSeconds) override {
        return gLayer = new (allocator) MemoryLayer(server, *gHost, runScript);
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    bringUp();
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new ListeningCallback));
    gHost = new HostThread;
    Server::createInstance(cHeap, {100});
    registerFunctions(*Server::getInstance()->getFunctionRegistrar());
    std::atexit([] {
        require(Server::destroyInstance());
        delete gHost;
    });
    LayerFactory factory;
    require(Server::runAsync({Network::Sockets::IPV4::LOOPBACK, 0}, factory));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    gLayer->perform(data, size);
    require(gLayer->isQuiet());
    return 0;
}
