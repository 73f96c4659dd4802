// Makes one of everything that gdb has a printer for, and calls `stopHere`, where gdb looks at it.

#include "common/callback/assertcallback.h"
#include "common/container/idvector.h"
#include "common/container/list.h"
#include "common/container/segmentvector.h"
#include "common/container/stringlookup.h"
#include "common/interface.h"
#include "common/memory/defaultallocator.h"
#include "common/string.h"

#include <cstdint>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;

namespace {

struct Point {
    int mX;
    int mY;
};

using PointPtr = SharedPtr<Point, SimpleReferenceCount>;

[[gnu::noinline]] void stopHere() {
    asm volatile("");
}

/// Addresses that are the same in every run; nobody follows them.
Point* pointAt(std::uintptr_t address) {
    return reinterpret_cast<Point*>(address);
}

void showStrings() {
    const String noText;
    String emptied("gone");
    emptied.clear();
    const String text("forty-two");
    const String& reference = text;
    const String withNul("a\0b", 3);
    const WString wide(L"gr\u00fcn");
    const WString noWide;
    stopHere();
    static_cast<void>(reference);
}

void showVectors(const Memory::AllocatorPtr& allocator) {
    const Vector<int> noNumbers(allocator);
    Vector<int> numbers(allocator, {1, 2, 3});
    numbers.reserve(8);
    const Vector<String> texts(allocator, {"one", "", "three"});
    Vector<bool> bits(allocator, 34, true);
    bits.set(0, false);
    bits.set(33, false);
    SegmentVector<int, 2> segments(allocator);
    for (int value = 10; value < 13; ++value)
        segments.push_back(value);
    stopHere();
}

void showLists(const Memory::AllocatorPtr& allocator) {
    const List<int> noList(allocator);
    const List<String> list(allocator, {"first", "second"});
    LookUp<int, String> lookUp(allocator);
    for (int key = 7; key > 0; --key)
        lookUp[key] = String().appendDecimal(key * key);
    StringLookUp<Point> byName(allocator);
    byName["b"] = {2, 3};
    byName["a"] = {0, 1};
    IDVector<Point> ids(allocator);
    for (std::uintptr_t address = 0; address < 3; ++address)
        ids.add(pointAt(address * 16));
    ids.remove(1);
    stopHere();
}

void showSharedPointers() {
    const PointPtr noPoint;
    const PointPtr point(new Point{4, 5});
    const PointPtr samePoint = point;
    const Callback::AssertCallbackPtr callback(new Callback::AssertCallback);
    const Memory::AllocatorPtr noAllocator;
    const Memory::AllocatorPtr allocator(new Memory::DefaultAllocator);
    stopHere();
}

} // namespace

int main() {
    Interface::initLibrary(nullptr);
    {
        const Memory::AllocatorPtr allocator = Interface::getGlobalAllocator();
        showStrings();
        showVectors(allocator);
        showLists(allocator);
        showSharedPointers();
    }
    Interface::closeLibrary();
    return 0;
}
