#include "common/geom/geomutility.h"
#include "common/interface.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>

using namespace Tarq::Common;

namespace {

int gLeft = -1; ///< grants of what asks without wanting an exception; all when negative
int gOutstanding = 0;

} // namespace

// The global heap of this process, the library's part in it included.
void* operator new(std::size_t size) {
    if (void* block = std::malloc(size)) {
        ++gOutstanding;
        return block;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (gLeft == 0) {
        std::printf("%zu bytes refused; ", size);
        return nullptr;
    }
    gLeft -= gLeft > 0;
    return operator new(size);
}
void operator delete(void* block) noexcept {
    gOutstanding -= block != nullptr;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

struct Printing : Callback::AssertCallback {
    void showAssert(const char* message, const char* file, unsigned int) override {
        std::printf("%s (%s); ", message, file);
    }
};

} // namespace

/// Triangulates a polygon of so many corners with a heap that grants so many tables.
int main(int, char* arguments[]) {
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new Printing));
    {
        const auto corners = static_cast<uint32>(std::atoi(arguments[1]));
        const Memory::AllocatorPtr heap;
        const Container::Vector<uint32> polygon(heap, corners);
        const Container::Vector<Math::Vec3<float>> vertices(heap, 1);
        Container::Vector<uint32> out(heap, 1, 7);
        const int outstanding = gOutstanding;
        gLeft = std::atoi(arguments[2]);
        Geom::Utility::TriangulatePolygon(out, polygon, vertices);
        gLeft = -1;
        std::printf("%u appended, %d leaked\n", static_cast<unsigned>(out.size() - 1), gOutstanding - outstanding);
    }
    Interface::setAssertCallback(nullptr);
    return 0;
}
