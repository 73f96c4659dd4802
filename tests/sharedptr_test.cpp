#include "common/sharedptr.h"

#include "common/interface.h"
#include "common/library.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

struct Front {
    virtual ~Front() = default;
};
struct Plain {
    virtual ~Plain() = default;
};

/// Adds its value at its end: whoever ends it must see what was written to it before.
template <class Counted>
struct Object : Counted {
    explicit Object(std::atomic<int>& ended) : mEnded(ended) {}
    ~Object() override { mEnded += mValue; }
    std::atomic<int>& mEnded;
    int mValue = 1;
};

/// The counted part stands elsewhere than the object.
template <class Counted>
struct Derived : Front, Object<Counted> {
    using Object<Counted>::Object;
};

struct Simple {
    using Counted = Plain;
    using Policy = SimpleReferenceCount;
};
struct Member {
    using Counted = ReferenceCounted;
    using Policy = MemberReferenceCount<ReferenceCounted, ReferenceCounter, sizeof(void*)>;
};
struct LockedMember {
    using Counted = LockedReferenceCounted;
    using Policy = LockedMemberReferenceCount<LockedReferenceCounted, ReferenceCounter, Threading::SpinLock,
                                              sizeof(void*), 2 * sizeof(void*)>;
};

} // namespace

TEST_CASE_TEMPLATE("an object goes with its last owner, also when owners know it as its base", Count, Simple, Member,
                   LockedMember) {
    using Ptr = SharedPtr<Object<typename Count::Counted>, typename Count::Policy>;
    using DerivedPtr = SharedPtr<Derived<typename Count::Counted>, typename Count::Policy>;
    const LibraryTest library;
    std::atomic<int> ended{0};
    {
        Ptr first(new Object<typename Count::Counted>(ended));
        CHECK(first.getReferenceCount() == 1);
        Ptr second(first);
        second = first;
        second = *&second;
        CHECK(first.getReferenceCount() == 2);
        Ptr third(std::move(second));
        CHECK((second.isEmpty() && second.getReferenceCount() == 0));
        first.reset();
        CHECK(third.getReferenceCount() == 1);
        third = std::move(*&third);
        CHECK(ended == 0);
        third = {};
        CHECK(ended == 1);

        const DerivedPtr derived(new Derived<typename Count::Counted>(ended));
        third = derived;
        first = Ptr(DerivedPtr(derived));
        CHECK(third.template staticCast<Derived<typename Count::Counted>>() == derived);
        CHECK(derived.getReferenceCount() == 3);
    }
    CHECK(ended == 2);
}

TEST_CASE_TEMPLATE("assigning a raw object makes it counted 1, and asserts when it is held already", Count, Simple,
                   Member, LockedMember) {
    using Thing = Object<typename Count::Counted>;
    const LibraryTest library;
    std::atomic<int> ended{0};
    SharedPtr<Thing, typename Count::Policy> pointer(new Thing(ended));
    auto* const fresh = new Thing(ended);
    pointer = fresh;
    CHECK(ended == 1);
    {
        const ExpectedAssertion expected("ptr != this->mPtr || this->mPtr == NULL\nError Message: "
                                         "No shared pointer should pointer to ptr yet",
                                         "common/sharedptr");
        pointer = fresh;
    }
    CHECK((pointer == fresh && pointer.getReferenceCount() == 1));
    pointer = static_cast<Thing*>(nullptr);
    pointer = static_cast<Thing*>(nullptr);
    CHECK(ended == 2);
}

TEST_CASE_TEMPLATE("owners on eight threads end an object once, and after all that was done to it", Count, Simple,
                   Member, LockedMember) {
    using Ptr = SharedPtr<Object<typename Count::Counted>, typename Count::Policy>;
    const LibraryTest library;
    for (int round = 0; round < 20; ++round) {
        std::atomic<int> ended{0};
        Gate gate;
        std::vector<std::thread> threads;
        Ptr shared(new Object<typename Count::Counted>(ended));
        for (int number = 0; number < 8; ++number) {
            threads.emplace_back([&gate, number, own = shared]() mutable {
                gate.wait();
                for (int count = 0; count < 200; ++count)
                    Ptr(own).swap(own);
                if (number == 0)
                    own->mValue = 7;
                own.reset();
            });
        }
        shared.reset();
        gate.open();
        for (std::thread& thread : threads)
            thread.join();
        CHECK(ended == 7);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a copy of an object that is counted has owners of its own") {
    struct Thing : ReferenceCounted {};
    const SharedPtr<Thing, Member::Policy> owner(new Thing);
    const SharedPtr<Thing, Member::Policy> secondOwner(owner.get());
    *owner = Thing(*owner);
    CHECK(owner->getReferenceCount() == 2);
    CHECK(Thing(*owner).getReferenceCount() == 0);
}

TEST_CASE_FIXTURE(BareTest, "an object may be owned from before the library is up until after it is down") {
    SharedPtr<Plain, SimpleReferenceCount> early(new Plain);
    Interface::initLibrary(getMemoryCallback());
    const SharedPtr<Plain, SimpleReferenceCount> late(new Plain);
    early.reset();
    Interface::closeLibrary();
}

TEST_CASE_FIXTURE(BareTest, "an object whose count finds no memory is deleted, and what was held stays") {
    using Thing = Object<Plain>;
    auto& ledger = *new LedgerAllocator(LedgerAllocator::EXHAUSTION_THROW);
    const Memory::AllocatorPtr host(&ledger);
    Library::init(host);
    {
        std::atomic<int> ended{0};
        std::vector<SharedPtr<Thing, SimpleReferenceCount>> pointers;
        pointers.emplace_back(new Thing(ended));
        ledger.mLeft = 0;
        catchThrown<Memory::OutOfMemoryException>([&] {
            for (int count = 0; count < 2000; ++count)
                pointers.emplace_back(new Thing(ended));
        });
        CHECK(ended == 1);
        Thing* const held = pointers[0].get();
        catchThrown<Memory::OutOfMemoryException>([&] { pointers[0] = new Thing(ended); });
        CHECK(ended == 2);
        CHECK((pointers[0] == held && held->mValue == 1));
        ledger.mLeft = -1;
    }
    Library::close();
    CHECK(ledger.mOutstanding.empty());
}
