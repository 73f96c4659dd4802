#include "common/interface.h"
#include "common/io/filestream.h"
#include "common/io/ioexception.h"
#include "common/memory/memorystream.h"
#include <cstdio>
using namespace Tarq::Common;
struct Assertions : Callback::AssertCallback { // the default one would end the process
    void showAssert(const char* message, const char* file, unsigned int line) override {
        std::fprintf(stderr, "%s:%u: %s\n", file, line, message);
    }
};

int main(int argc, char** argv) {
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new Assertions));
    Interface::initLibrary(nullptr); // on the global heap; or on a MemoryCallback of your own
    try {
        IO::FileStream file(argc > 1 ? argv[1] : "", IO::FileStream::FACCESS_READ, IO::FileStream::FMODE_OPEN);
        Memory::MemoryStream copy("copy", 4096);
        copy.writeFromStream(&file);
        std::printf("%llu bytes\n", static_cast<unsigned long long>(copy.getLength()));
    } catch (Exceptions::Exception* exception) { // thrown as pointers; whoever catches deletes
        Exceptions::Holder(exception)->showException(Exceptions::Exception::CALLSTACK_ALL);
    }
    Interface::closeLibrary(); // everything made on the library's memory is gone before
}
