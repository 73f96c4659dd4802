#include "common/container/bitvector.h"
#include "common/container/lookup.h"
#include "common/container/segmentvector.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

namespace {

struct CopyFailure {};

/// An element that can only be copied, can be told to fail at that, and knows how many of its kind live and whether its
/// bytes were moved behind its back.
struct Element {
    Element(int value = 0) : mValue(value) { ++sLive; }
    Element(const Element& other) : mValue(other.mValue) {
        countCopy();
        ++sLive;
    }
    ~Element() {
        sWrong += mSelf != this;
        --sLive;
    }
    Element& operator=(const Element& other) {
        countCopy();
        mValue = other.mValue;
        return *this;
    }
    friend bool operator==(const Element& a, const Element& b) { return a.mValue == b.mValue; }
    friend bool operator<(const Element& a, const Element& b) { return a.mValue < b.mValue; }
    static void countCopy() {
        if (sCopiesLeft-- == 0)
            throw CopyFailure();
    }

    static inline int sLive = 0;
    static inline int sWrong = 0;
    static inline int sCopiesLeft = -1; ///< before one fails; none does when negative
    int mValue;
    Element* mSelf = this;
};

/// What is done to a container, and whether it has to be all or nothing when an element cannot be copied on the way, or
/// just no harm. When there is no memory, it always has to.
template <class Container>
struct Change {
    const char* name;
    bool isAllOrNothing;
    void (*make)(Container& container);
};

/// Makes the change again and again, with the first, second, ... copy of an element failing, and then with the first,
/// second, ... block refused, until it goes through.
template <class Changes, class MakeContainer>
void checkFailures(const Changes& changes, MakeContainer makeContainer) {
    for (const auto& change : changes) {
        CAPTURE(change.name);
        auto& ledger = *new LedgerAllocator(LedgerAllocator::EXHAUSTION_THROW);
        const Memory::AllocatorPtr host(&ledger);
        const auto before = makeContainer(Memory::AllocatorPtr());
        const int live = Element::sLive;
        const auto goesThrough = [&](int copies, int blocks) {
            auto container = makeContainer(host);
            bool isDone = false;
            Element::sCopiesLeft = copies;
            ledger.mLeft = blocks;
            try {
                change.make(container);
                isDone = true;
            } catch (const CopyFailure&) {
            } catch (Memory::OutOfMemoryException* exception) {
                delete exception;
            }
            Element::sCopiesLeft = -1;
            ledger.mLeft = -1;
            CHECK((isDone || container == before || (copies >= 0 && !change.isAllOrNothing)));
            return isDone;
        };
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
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a vector that cannot copy an element, or gets no memory, loses nothing") {
    using C = Vector<Element>;
    const Change<C> changes[] = {
        {"push_back", true, [](C& c) { c.push_back(9); }},
        {"push_back of an own element", true, [](C& c) { c.push_back(c[1]); }},
        {"reserve and shrink_to_fit", true, [](C& c) { c.reserve(50), c.shrink_to_fit(); }},
        {"resize", true, [](C& c) { c.resize(20, Element(9)); }},
        {"insert of an own range at the end", true, [](C& c) { c.insert(c.end(), c.begin(), c.end()); }},
        {"insert of copies in the middle", false, [](C& c) { c.insert(c.begin() + 1, 9, c[0]); }},
        {"emplace in the middle", false, [](C& c) { c.emplace(c.begin() + 1, 9); }},
        {"erase", false, [](C& c) { c.erase(c.begin()); }},
        {"assign", true, [](C& c) { c.assign(30, Element(9)); }},
        {"assign a copy", true,
         [](C& c) { c = std::as_const(*std::make_unique<C>(c.getAllocator(), 12, Element(9))); }},
    };
    checkFailures(changes, [](const Memory::AllocatorPtr& host) { return C(host, {1, 2, 3, 4}); });
}

TEST_CASE_FIXTURE(LibraryTest, "a look-up that cannot copy a key or a value, or gets no memory, stays as it was") {
    using C = LookUp<Element, Element>;
    const Change<C> changes[] = {
        {"insert", true, [](C& c) { c.insert(5, 9); }},
        {"operator[]", true, [](C& c) { c[Element(5)]; }},
        {"insert_or_assign of what is there", true, [](C& c) { c.insert_or_assign(3, 9); }},
        {"assign a copy", true, [](C& c) { c = std::as_const(*std::make_unique<C>(c)); }},
    };
    checkFailures(changes, [](const Memory::AllocatorPtr& host) { return C(host, {{1, 1}, {2, 2}, {3, 3}, {2, 5}}); });
}

TEST_CASE_FIXTURE(LibraryTest, "a segment vector that cannot copy an element, or gets no memory, stays as it was") {
    using C = SegmentVector<Element, 2>;
    const Change<C> changes[] = {{"push_back of an own element", true, [](C& c) { c.push_back(c[0]); }}};
    checkFailures(changes, [](const Memory::AllocatorPtr& host) {
        C vector(host);
        vector.emplace_back(1);
        vector.emplace_back(2);
        return vector;
    });
}

TEST_CASE_FIXTURE(LibraryTest, "a vector that would be too long says so before it takes memory") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    constexpr uint32 cMost = Vector<uint64>::max_size();
    Vector<uint64> vector(host, 1, 5);
    Vector<char> bytes(host, 1, 'b');
    Vector<bool> bits(host, 32, true);
    const std::size_t asked = ledger.mAsked.size();
    const char* const text = "vector<T> too long";
    CHECK_THROWS_WITH_AS(vector.reserve(cMost + 1), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.resize(0xFFFFFFFF), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.resizeForOverwrite(cMost + 1), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.insert(vector.begin(), cMost, 5), text, std::length_error);
    CHECK_THROWS_WITH_AS(bytes.insert(bytes.end(), 0xFFFFFFFF, 'b'), text, std::length_error);
    CHECK_THROWS_WITH_AS(bits.resize(0x80000000), "vector<bool> too long", std::length_error);
    CHECK_THROWS_AS(vector.at(1), std::out_of_range);
    CHECK_THROWS_AS(bits.at(32), std::out_of_range);
    CHECK(ledger.mAsked.size() == asked);
    CHECK(vector == Vector<uint64>(allocator(), {5}));
    ledger.mLeft = 0;
    catchThrown<Memory::OutOfMemoryException>([&] { bits.push_back(false); });
    CHECK(bits == Vector<bool>(allocator(), 32, true));
}
