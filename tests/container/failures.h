#pragma once

#include "common/memory/memoryexception.h"

#include "tests/container/element.h"
#include "tests/memory/ledgerallocator.h"
#include "tests/support/doctest.h"

namespace Tarq::Test {

/// Something that is done to a container, and what has to be so when an element cannot be copied on the way: all or
/// nothing, or just no harm. When there is no memory, it is always all or nothing.
template <class Container>
struct Change {
    const char* name;
    bool isAllOrNothing;
    void (*make)(Container& container);
};

/// Makes the change again and again, with the first, second, ... copy of an element failing, and then with the first,
/// second, ... block refused, until it goes through.
///
/// `makeContainer` makes the container that is changed on a given allocator.
template <class Container, class MakeContainer>
void checkFailures(const Change<Container>& change, MakeContainer makeContainer) {
    CAPTURE(change.name);
    auto& ledger = *new LedgerAllocator(LedgerAllocator::EXHAUSTION_THROW);
    const Common::Memory::AllocatorPtr host(&ledger);
    const Container before = makeContainer(Common::Memory::AllocatorPtr());
    const auto goesThrough = [&](int copies, int blocks) {
        Container container = makeContainer(host);
        bool isDone = false;
        Element::sCopiesBeforeFailure = copies;
        ledger.mLeft = blocks;
        try {
            change.make(container);
            isDone = true;
        } catch (const CopyFailure&) {
        } catch (Common::Memory::OutOfMemoryException* exception) {
            delete exception;
        }
        Element::sCopiesBeforeFailure = -1;
        ledger.mLeft = -1;
        CHECK((isDone || container == before || (copies >= 0 && !change.isAllOrNothing)));
        return isDone;
    };
    const int live = Element::sLive;
    int copies = 0;
    while (!goesThrough(copies, -1))
        ++copies;
    CHECK(copies > 0);
    for (int blocks = 0; !goesThrough(-1, blocks);)
        ++blocks;
    CHECK(ledger.mOutstanding.empty());
    CHECK(Element::sLive == live);
    CHECK(Element::sWrong == 0);
}

} // namespace Tarq::Test
