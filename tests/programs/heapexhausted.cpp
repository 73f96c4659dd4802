#include "common/interface.h"
#include "common/library.h"
#include "common/memory/memoryexception.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
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

int main() {
    const int outstanding = gOutstanding;
    int failures = 0;
    for (bool isUp = false; !isUp; ++failures) {
        gLeft = failures;
        try {
            Interface::initLibrary(nullptr);
            isUp = true;
        } catch (OutOfMemoryException* exception) {
            delete exception;
            if (gOutstanding != outstanding || Interface::getGlobalAllocator())
                return 1;
        }
    }
    gLeft = -1;
    if (failures > 3)
        std::printf("failed at each of several, then came up; ");

    std::vector<std::unique_ptr<OutOfMemoryException>> exceptions;
    exceptions.reserve(100);
    gLeft = 0;
    while (exceptions.size() < 40) {
        try {
            Interface::getGlobalAllocator()->alloc(64);
            return 2;
        } catch (OutOfMemoryException* exception) {
            exceptions.emplace_back(exception);
        }
        try {
            Library::getTempAlloc()->alloc(5000);
            return 3;
        } catch (OutOfMemoryException* exception) {
            delete exception;
        }
    }
    std::printf("40 exceptions; ");
    exceptions.clear();
    gLeft = -1;
    Interface::closeLibrary();
    std::puts(gOutstanding <= outstanding + 1 ? "closed" : "leaked");
    return 0;
}
