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

/// A base in front, so that the counted part of a `Derived` stands elsewhere than the object.
struct Front {
    virtual ~Front() = default;
    int mFront = 1;
};

/// Counts itself out; what it is written to before its end, whoever ends it must see.
template <class Counted>
struct Object : Counted {
    explicit Object(std::atomic<int>& ended) : mEnded(ended) {}
    Object(const Object&) = default;
    ~Object() override { mEnded += mValue; }
    std::atomic<int>& mEnded;
    int mValue = 1;
};

template <class Counted>
struct Derived : Front, Object<Counted> {
    using Object<Counted>::Object;
};

struct Plain {
    virtual ~Plain() = default;
};

struct SimplePolicy {
    using Counted = Plain;
    using Count = SimpleReferenceCount;
};
struct MemberPolicy {
    using Counted = ReferenceCounted;
    using Count = MemberReferenceCount<ReferenceCounted, ReferenceCounter, sizeof(void*)>;
};
struct LockedPolicy {
    using Counted = LockedReferenceCounted;
    using Count = LockedMemberReferenceCount<LockedReferenceCounted, ReferenceCounter, Threading::SpinLock,
                                             sizeof(void*), 2 * sizeof(void*)>;
};

static_assert(sizeof(Memory::AllocatorPtr) == 2 * sizeof(void*));

template <class Policy>
void checkOwners() {
    using Thing = Object<typename Policy::Counted>;
    using Ptr = SharedPtr<Thing, typename Policy::Count>;
    std::atomic<int> ended{0};
    {
        Ptr first(new Thing(ended));
        CHECK(first.getReferenceCount() == 1);
        Ptr second(first);
        CHECK(first.getReferenceCount() == 2);
        second = first;
        second = *&second;
        CHECK(second.getReferenceCount() == 2);
        Ptr third(std::move(second));
        CHECK(second.isEmpty());
        CHECK(second.getReferenceCount() == 0);
        CHECK(third.getReferenceCount() == 2);
        first.reset();
        CHECK(first == nullptr);
        CHECK(third.getReferenceCount() == 1);
        CHECK(ended == 0);
        third = std::move(*&third);
        CHECK(third->mValue == 1);
        third = nullptr;
        CHECK(ended == 1);

        const SharedPtr<Derived<typename Policy::Counted>, typename Policy::Count> derived(
            new Derived<typename Policy::Counted>(ended));
        third = derived;
        CHECK(third == derived.get());
        CHECK(derived.getReferenceCount() == 2);
        first = Ptr(SharedPtr<Derived<typename Policy::Counted>, typename Policy::Count>(derived));
        CHECK(derived.getReferenceCount() == 3);
    }
    CHECK(ended == 2);
}

template <class Policy>
void checkRawAssignment() {
    using Thing = Object<typename Policy::Counted>;
    using Ptr = SharedPtr<Thing, typename Policy::Count>;
    std::atomic<int> ended{0};
    Ptr pointer(new Thing(ended));
    auto* const fresh = new Thing(ended);
    pointer = fresh;
    CHECK(ended == 1);
    CHECK(pointer.get() == fresh);
    CHECK(pointer.getReferenceCount() == 1);
    {
        const ExpectedAssertion expected("ptr != this->mPtr || this->mPtr == NULL\nError Message: "
                                         "No shared pointer should pointer to ptr yet",
                                         "common/sharedptr");
        pointer = fresh;
    }
    CHECK(pointer.get() == fresh);
    CHECK(pointer.getReferenceCount() == 1);
    pointer = static_cast<Thing*>(nullptr);
    pointer = static_cast<Thing*>(nullptr);
    CHECK(pointer.isEmpty());
    CHECK(ended == 2);
}

/// Eight threads copy, hand around and drop one object; the last one of all ends it.
template <class Policy>
void checkThreads() {
    using Thing = Object<typename Policy::Counted>;
    using Ptr = SharedPtr<Thing, typename Policy::Count>;
    constexpr int cThreads = 8;
    for (int round = 0; round < 20; ++round) {
        std::atomic<int> ended{0};
        Gate gate;
        std::vector<std::thread> threads;
        Ptr shared(new Thing(ended));
        for (int number = 0; number < cThreads; ++number) {
            threads.emplace_back([&gate, number, own = shared]() mutable {
                gate.wait();
                std::vector<Ptr> copies;
                for (int count = 0; count < 200; ++count) {
                    copies.push_back(own);
                    if (count % 3 == 0)
                        copies.erase(copies.begin());
                }
                if (number == 0)
                    own->mValue = 7;
                own.reset();
            });
        }
        shared.reset();
        CHECK(ended == 0);
        gate.open();
        for (std::thread& thread : threads)
            thread.join();
        CHECK(ended == 7);
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an object goes with its last owner, also when owners know it as its base") {
    checkOwners<SimplePolicy>();
    checkOwners<MemberPolicy>();
    checkOwners<LockedPolicy>();
}

TEST_CASE_FIXTURE(LibraryTest, "assigning a raw object makes it counted 1, and asserts when it is held already") {
    checkRawAssignment<SimplePolicy>();
    checkRawAssignment<MemberPolicy>();
    checkRawAssignment<LockedPolicy>();
}

TEST_CASE_FIXTURE(LibraryTest, "owners on eight threads end an object once, and after all that was done to it") {
    checkThreads<SimplePolicy>();
    checkThreads<MemberPolicy>();
    checkThreads<LockedPolicy>();
}

TEST_CASE_FIXTURE(LibraryTest, "a member count starts at 0, goes up when owned, and is not copied with the object") {
    struct Thing : ReferenceCounted {};
    using Ptr = SharedPtr<Thing, MemberPolicy::Count>;
    auto* const thing = new Thing;
    CHECK(thing->getReferenceCount() == 0);
    const Ptr owner(thing);
    const Ptr secondOwner(thing);
    CHECK(thing->getReferenceCount() == 2);
    Thing copy(*thing);
    CHECK(copy.getReferenceCount() == 0);
    *thing = copy;
    CHECK(thing->getReferenceCount() == 2);
}

TEST_CASE_FIXTURE(LibraryTest, "a count's block comes from the temporary allocator and goes back to it") {
    struct Block {
        int32 count;
        Memory::AllocatorPtr allocator;
    };
    // The block that was given back last is the next to be given out.
    const auto nextPlace = [&] {
        void* const place = allocator()->alloc(sizeof(Block));
        allocator()->free(place);
        return place;
    };
    void* const place = nextPlace();
    SharedPtr<Plain, SimpleReferenceCount> pointer(new Plain);
    SharedPtr<Plain, SimpleReferenceCount> copy(pointer);
    pointer.reset();
    CHECK(nextPlace() != place);
    copy.reset();
    CHECK(nextPlace() == place);
}

TEST_CASE_FIXTURE(BareTest, "a shared pointer may be made before the library is up and dropped after it is down") {
    using Ptr = SharedPtr<Object<Plain>, SimpleReferenceCount>;
    std::atomic<int> ended{0};
    Ptr early(new Object<Plain>(ended));
    Interface::initLibrary(getMemoryCallback());
    Ptr late(new Object<Plain>(ended));
    early.reset();
    Interface::closeLibrary();
    late.reset();
    CHECK(ended == 2);
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
        CHECK(pointers[0].get() == held);
        CHECK(pointers[0].getReferenceCount() == 1);
        ledger.mLeft = -1;
    }
    Library::close();
    CHECK(ledger.mOutstanding.empty());
}
