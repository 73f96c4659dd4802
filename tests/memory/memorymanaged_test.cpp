#include "common/memory/memorymanaged.h"

#include "common/callback/callbackptr.h"
#include "common/library.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <memory>
#include <stdexcept>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Memory::AllocatorPtr;
using Memory::MemoryManaged;

namespace {

/// A host's allocator beside the library's own: what belongs to one must never reach the other.
struct HostTest : LibraryTest {
    ~HostTest() {
        CHECK(host.getReferenceCount() == 1);
        CHECK(ledger.mOutstanding.empty());
    }
    LedgerAllocator& ledger = *new LedgerAllocator;
    AllocatorPtr host{&ledger};
};

class Leaf : public MemoryManaged {
public:
    explicit Leaf(bool isBroken = false) {
        if (isBroken)
            throw std::runtime_error("a constructor");
    }
};

/// Owns what is made for it before its own constructor starts, and has a managed member.
class Tree : public MemoryManaged {
public:
    Tree(Leaf* left, Leaf* right) : mLeft(left), mRight(right) {}
    const std::unique_ptr<Leaf> mLeft;
    const std::unique_ptr<Leaf> mRight;
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

} // namespace

TEST_CASE_FIXTURE(HostTest, "an object knows its allocator, whatever is made in its constructor's arguments") {
    const auto* const tree = new (host) Tree(new (nullptr) Leaf, new (host) Leaf);
    CHECK(tree->getAllocator() == host);
    CHECK(tree->mLeft->getAllocator() == nullptr);
    CHECK(tree->mRight->getAllocator() == host);
    // Nobody has made these two on an allocator.
    CHECK(tree->mInner.getAllocator() == Library::getTempAlloc());
    CHECK(Mixed().getAllocator() == Library::getTempAlloc());
    delete tree;
}

TEST_CASE_FIXTURE(HostTest,
                  "what throws between the taking of the block and the end of the constructor leaves nothing") {
    const auto failing = []() -> Leaf* { throw std::runtime_error("an argument"); };
    CHECK_THROWS_WITH(new (host) Leaf(true), "a constructor");
    CHECK_THROWS_WITH(new (host) Mixed(true), "a constructor");
    CHECK_THROWS_WITH(new (host) Tree(nullptr, failing()), "an argument");
    CHECK_THROWS_WITH(new (host) Tree(nullptr, new (nullptr) Leaf(true)), "a constructor");
    // Nobody is taken for the object that never came, wherever it stands.
    CHECK(Leaf().getAllocator() == Library::getTempAlloc());
    CHECK(std::unique_ptr<Leaf>(new (host) Leaf)->getAllocator() == host);
    ledger.mLeft = 0;
    catchThrown<Memory::OutOfMemoryException>([&] { delete new (host) Leaf; });
    CHECK(std::unique_ptr<Leaf>(new (nullptr) Leaf)->getAllocator() == nullptr);
}

TEST_CASE_FIXTURE(HostTest, "an object is deleted through any of its bases") {
    void (*const ways[])(Mixed*) = {
        [](Mixed* mixed) { delete static_cast<MemoryManaged*>(mixed); },
        [](Mixed* mixed) { delete static_cast<Named*>(mixed); },
        [](Mixed* mixed) { delete static_cast<ReferenceCounted*>(mixed); },
        [](Mixed* mixed) { Callback::CallbackPtr<Mixed>(mixed).reset(); },
    };
    for (const auto way : ways) {
        way(new (host) Mixed);
        CHECK(ledger.mOutstanding.empty());
    }
}
