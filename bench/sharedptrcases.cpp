#include "bench/cases.h"
#include "common/sharedptr.h"

#include <memory>

namespace Tarq::Bench {

namespace {

using namespace Common;

struct Plain {
    uint64 mValue = 1;
};
struct Counted : ReferenceCounted {
    uint64 mValue = 1;
};
struct LockedCounted : LockedReferenceCounted {
    uint64 mValue = 1;
};

using SimplePtr = SharedPtr<Plain, SimpleReferenceCount, StandartObjectPolicy>;
using MemberPtr =
    SharedPtr<Counted, MemberReferenceCount<ReferenceCounted, ReferenceCounter, sizeof(void*)>, StandartObjectPolicy>;
using LockedMemberPtr = SharedPtr<LockedCounted,
                                  LockedMemberReferenceCount<LockedReferenceCounted, ReferenceCounter,
                                                             Threading::SpinLock, sizeof(void*), 2 * sizeof(void*)>,
                                  StandartObjectPolicy>;
using StandardPtr = std::shared_ptr<Plain>;

template <class Pointer>
Pointer makePointer() {
    if constexpr (std::is_same_v<Pointer, StandardPtr>)
        return std::make_shared<Plain>();
    else
        return Pointer(new typename Pointer::ElementType);
}

template <class Pointer>
long ownersOf(const Pointer& pointer) {
    if constexpr (std::is_same_v<Pointer, StandardPtr>)
        return pointer.use_count();
    else
        return pointer.getReferenceCount();
}

template <class Pointer>
void copyAndDrop(benchmark::State& state) {
    Pointer pointer = makePointer<Pointer>();
    {
        Pointer copy(pointer);
        benchmark::DoNotOptimize(copy);
        check(ownersOf(pointer) == 2, "a copy does not count");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(pointer);
        Pointer copy(pointer);
        benchmark::DoNotOptimize(copy);
    }
    check(ownersOf(pointer) == 1 && pointer->mValue == 1, "a drop does not count");
}

} // namespace

std::vector<Case> sharedPtrCases() {
    const char* const peer = "std::shared_ptr";
    return {
        {"sharedptr/simple", copyAndDrop<SimplePtr>, {{peer, 1.1, copyAndDrop<StandardPtr>}}},
        {"sharedptr/member", copyAndDrop<MemberPtr>, {{peer, 1.1, copyAndDrop<StandardPtr>}}},
        {"sharedptr/locked-member", copyAndDrop<LockedMemberPtr>, {{peer, 1.1, copyAndDrop<StandardPtr>}}},
    };
}

} // namespace Tarq::Bench
