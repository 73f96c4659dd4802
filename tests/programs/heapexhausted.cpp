#include "common/interface.h"
#include "common/library.h"
#include "common/memory/allocate.h"
#include "common/memory/memoryexception.h"
#include "common/string.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

using namespace Tarq::Common;
using Memory::OutOfMemoryException;

namespace {

int gLeft = -1; ///< grants of the global heap until it is exhausted; never when negative
int gOutstanding = 0;

void* take(std::size_t size) noexcept {
    if (gLeft == 0)
        return nullptr;
    gLeft -= gLeft > 0;
    ++gOutstanding;
    return std::malloc(size);
}

} // namespace

// The global heap of this process, the library's part in it included.
void* operator new(std::size_t size) {
    if (void* block = take(size))
        return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return take(size);
}
void operator delete(void* block) noexcept {
    gOutstanding -= block != nullptr;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

using Caught = std::vector<std::unique_ptr<OutOfMemoryException>>;

/// Memory that ends together with the global heap.
struct HostMemory : Callback::MemoryCallback {
    void* allocate(uint32 size) override { return take(size); }
    void free(void* block) override { operator delete(block); }
};

struct Printing : Callback::AssertCallback {
    void showAssert(const char* message, const char* file, unsigned int) override {
        std::printf("%s (%s); ", message, file);
    }
};

/// There is no way back from this one.
struct Ending : Printing {
    void showAssert(const char* message, const char* file, unsigned int line) override {
        Printing::showAssert(message, file, line);
        std::fflush(stdout);
        std::_Exit(0);
    }
};

template <class Body>
bool isRefused(Caught& exceptions, Body body) {
    try {
        body();
    } catch (OutOfMemoryException* exception) {
        exceptions.emplace_back(exception);
        return true;
    }
    return false;
}

/// The library comes up on the global heap as soon as that has enough, and is down until then.
bool comeUp(Caught& exceptions) {
    const int outstanding = gOutstanding;
    int failures = 0;
    for (gLeft = 0; isRefused(exceptions, [] { Interface::initLibrary(nullptr); }); gLeft = ++failures) {
        exceptions.clear();
        if (gOutstanding != outstanding || Interface::getGlobalAllocator())
            return false;
    }
    if (failures > 2)
        std::printf("failed at each of several, then came up; ");
    return true;
}

void exhaustHeap(Caught& exceptions) {
    while (exceptions.size() < 40) {
        if (!isRefused(exceptions, [] { Interface::getGlobalAllocator()->alloc(64); }) ||
            !isRefused(exceptions, [] { Library::getTempAlloc()->alloc(5000); }))
            return;
    }
    std::printf("40 exceptions; ");
}

void exhaustCallback(Caught& exceptions) {
    if (!Library::getTempAlloc()->alloc(248))
        std::printf("null; ");
    if (isRefused(exceptions, [] { const String text(300, 'x'); }))
        std::printf("a string threw; ");
}

void exhaustReserve(Caught& exceptions) {
    while (isRefused(exceptions, [] { Memory::throwOutOfMemory(); })) {
    }
}

} // namespace

int main(int, char* arguments[]) {
    const std::string_view mode = arguments[1];
    const int outstanding = gOutstanding;
    {
        Caught exceptions;
        exceptions.reserve(200);
        Interface::setAssertCallback(Callback::AssertCallbackPtr(mode == "reserve" ? new Ending : new Printing));
        if (mode == "callback")
            Interface::initLibrary(Callback::MemoryCallbackPtr(new HostMemory));
        else if (!comeUp(exceptions))
            return 1;
        gLeft = 0;
        (mode == "callback" ? exhaustCallback : mode == "reserve" ? exhaustReserve : exhaustHeap)(exceptions);
    }
    gLeft = -1;
    Interface::closeLibrary();
    Interface::setAssertCallback(nullptr);
    std::puts(gOutstanding <= outstanding ? "closed" : "leaked");
    return 0;
}
