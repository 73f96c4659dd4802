#include "common/memory/memorymanaged.h"

#include "common/callback/callbackptr.h"
#include "common/library.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <stdexcept>
#include <thread>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Memory::AllocatorPtr;
using Memory::MemoryManaged;

namespace {

/// Two hosts' allocators: what belongs to one must never reach the other.
struct Hosts : LibraryTest {
    ~Hosts() {
        CHECK(one.getReferenceCount() == 1);
        CHECK(two.getReferenceCount() == 1);
        CHECK(ledgerOne.mOutstanding.empty());
        CHECK(ledgerTwo.mOutstanding.empty());
    }
    LedgerAllocator& ledgerOne = *new LedgerAllocator;
    LedgerAllocator& ledgerTwo = *new LedgerAllocator;
    AllocatorPtr one{&ledgerOne};
    AllocatorPtr two{&ledgerTwo};
};

class Leaf : public MemoryManaged {
public:
    explicit Leaf(bool isBroken = false) {
        if (isBroken)
            throw std::runtime_error("a constructor");
    }
    uint64 mValue = 0;
};

/// Owns what is made for it before its own constructor starts, and has a managed member.
class Tree : public MemoryManaged {
public:
    Tree(Leaf* left, Leaf* right) : mLeft(left), mRight(right) {}
    ~Tree() override {
        delete mLeft;
        delete mRight;
    }
    Leaf* mLeft;
    Leaf* mRight;
    Leaf mInner;
};

struct Named {
    virtual ~Named() = default;
    uint64 mName[3] = {};
};

/// Its managed base comes second, and virtually inherited things move about.
class Mixed : public Named, public virtual ReferenceCounted, public Leaf {
public:
    using Leaf::Leaf;
};

Leaf* failingArgument() {
    throw std::runtime_error("an argument");
}

} // namespace

TEST_CASE_FIXTURE(Hosts, "an object knows its allocator, whatever is made in its constructor's arguments") {
    auto* const tree = new (one) Tree(new (two) Leaf, new (one) Leaf);
    CHECK(tree->getAllocator() == one);
    CHECK(tree->mLeft->getAllocator() == two);
    CHECK(tree->mRight->getAllocator() == one);
    CHECK(tree->mInner.getAllocator() == allocator());
    CHECK(ledgerOne.mOutstanding.size() == 2);
    delete tree;
}

TEST_CASE_FIXTURE(Hosts, "what throws between the taking of the block and the end of the constructor leaves nothing") {
    CHECK_THROWS_WITH(new (one) Leaf(true), "a constructor");
    CHECK_THROWS_WITH(new (one) Mixed(true), "a constructor");
    CHECK_THROWS_WITH(new (one) Tree(nullptr, failingArgument()), "an argument");
    CHECK_THROWS_WITH(new (one) Tree(nullptr, new (two) Leaf(true)), "a constructor");
    // Nobody is taken for the object that never came, wherever it stands.
    CHECK(Leaf().getAllocator() == allocator());
    ledgerOne.mLeft = 0;
    catchThrown<Memory::OutOfMemoryException>([&] { delete new (one) Leaf; });
    ledgerOne.mLeft = -1;
    Leaf* const leaf = new (two) Leaf;
    CHECK(leaf->getAllocator() == two);
    delete leaf;
}

TEST_CASE_FIXTURE(Hosts, "an object is deleted through any of its bases") {
    auto* mixed = new (one) Mixed;
    CHECK(mixed->getAllocator() == one);
    SUBCASE("the managed one") {
        delete static_cast<MemoryManaged*>(mixed);
    }
    SUBCASE("the first one") {
        delete static_cast<Named*>(mixed);
    }
    SUBCASE("a virtual one") {
        delete static_cast<ReferenceCounted*>(mixed);
    }
    SUBCASE("the last pointer to a counted one") {
        Callback::CallbackPtr<Mixed> pointer(mixed);
        const auto copy = pointer;
        pointer.reset();
        CHECK(ledgerOne.mOutstanding.size() == 1);
    }
}

TEST_CASE_FIXTURE(Hosts, "an object that nobody allocated takes its buffers from the temporary allocator") {
    const Leaf leaf;
    const Mixed mixed;
    CHECK(leaf.getAllocator() == Library::getTempAlloc());
    CHECK(mixed.getAllocator() == Library::getTempAlloc());
    Leaf* const onGlobalHeap = new (AllocatorPtr(nullptr)) Leaf;
    CHECK(onGlobalHeap->getAllocator() == Library::getTempAlloc());
    delete onGlobalHeap;
}

TEST_CASE_FIXTURE(BareTest, "an object keeps its allocator alive, from the block to the end of the release") {
    bool isGone = false;
    auto& ledger = *new LedgerAllocator;
    ledger.mIsGone = &isGone;
    const Leaf* const leaf = new (AllocatorPtr(&ledger)) Leaf;
    CHECK(leaf->getAllocator().getReferenceCount() == 2);
    delete leaf;
    CHECK(isGone);
}

TEST_CASE_FIXTURE(BareTest, "exceptions that end on another thread leave nothing behind on their own") {
    // The library is down: their bytes are the global heap's, where a sanitizer sees who comes back to them.
    std::vector<Exceptions::Exception*> exceptions;
    for (int at = 0; at < 20; ++at)
        exceptions.push_back(new Exceptions::Exception("made here, deleted there"));
    std::thread([&] {
        for (const Exceptions::Exception* exception : exceptions)
            delete exception;
    }).join();
    Leaf* const leaf = new (AllocatorPtr(nullptr)) Leaf;
    CHECK(leaf->getAllocator() == AllocatorPtr());
    delete leaf;
}
