#include "common/string.h"

#include "common/interface.h"
#include "common/memory/memoryexception.h"

#include "tests/container/model.h"
#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <array>
#include <climits>
#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// A text of few different characters, so that finding one in another is likely.
template <class Char>
std::basic_string<Char> rollText(Dice& dice) {
    std::basic_string<Char> text;
    for (uint32 left = dice.roll(51); left != 0; --left)
        text += static_cast<Char>("abC\xE9"[dice.roll(4)]);
    return text;
}

/// The part of the source from `roll.from` to `roll.to`.
auto partOf(auto& source, auto& roll) {
    return std::basic_string_view(source.data() + roll.from, roll.to - roll.from);
}

constexpr std::tuple cText{
    [](auto& c, auto&, auto& roll) { c += roll.fresh.c_str(); },
    [](auto& c, auto&, auto& roll) { c = roll.fresh; },
    [](auto& c, auto& source, auto& roll) { c.append(source.data() + roll.from, roll.to - roll.from); },
    [](auto& c, auto&, auto& roll) { c.append(roll.at, 'x'); },
    [](auto& c, auto&, auto&) { c += 'y'; },
    [](auto& c, auto& source, auto& roll) { c.assign(source.data() + roll.from, roll.to - roll.from); },
    [](auto& c, auto& source, auto& roll) { c.insert(roll.at, partOf(source, roll)); },
    [](auto& c, auto&, auto& roll) { c.insert(roll.at, roll.count, 'z'); },
    [](auto& c, auto& source, auto& roll) { c.replace(roll.at, roll.count * 3, partOf(source, roll)); },
    [](auto& c, auto&, auto& roll) { c.replace(roll.from, roll.to - roll.from, roll.fresh); },
    [](auto& c, auto&, auto& roll) { c.erase(roll.at, roll.own); },
    [](auto& c, auto&, auto& roll) { c.resize(roll.own + 3, 'r'); },
    [](auto& c, auto&, auto& roll) { c.reserve(roll.at * 2); },
    [](auto& c, auto&, auto&) {
        auto copy(c);
        copy += copy;
        c = copy.substr(c.size());
        c = *&c;
    },
    [](auto& c, auto&, auto& roll) {
        auto taken(std::move(c));
        c = decltype(taken)(taken.begin() + roll.from, taken.end());
        c = roll.fresh.c_str() + c + decltype(taken)(taken.rbegin(), taken.rbegin() + roll.from);
    },
    [](auto& c, auto&, auto&) { c.clear(); },
    [](auto& c, auto&, auto& roll) {
        const auto sought = roll.fresh.substr(0, 2);
        const auto from = roll.count == 0 ? std::remove_cvref_t<decltype(c)>::npos : roll.at;
        const auto narrow = [](auto position) { return static_cast<uint32>(position); };
        return std::array{narrow(c.find(sought, from)), narrow(c.rfind(sought, from)),
                          narrow(c.find_first_of(sought, from)), narrow(c.find_last_not_of(sought, from))};
    },
    [](auto& c, auto&, auto& roll) { return (c < roll.fresh) + 2 * (c == roll.fresh); },
};

constexpr std::tuple cTextOnCharacters{
    [](auto& c, auto&, auto&) { c.pop_back(); },
    [](auto& c, auto&, auto& roll) { c[roll.own] = 'f'; },
};

template <class Char>
void checkText(const Memory::AllocatorPtr& allocator) {
    checkAgainstModel(BasicString<Char>(std::basic_string<Char>(), allocator), std::basic_string<Char>(),
                      rollText<Char>, cText, cTextOnCharacters);
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a string does what a standard string does, and always ends with a NUL") {
    checkText<char>(Memory::AllocatorPtr());
    checkText<wchar_t>(allocator());
}

TEST_CASE_FIXTURE(LibraryTest, "an empty string is one NUL without storage, and null is the empty text") {
    const char* const null = nullptr;
    for (String text : {String(), String(""), String(null), String(null, 0), String(0, 'x'), String("x").substr(1)}) {
        CHECK((text[0] == '\0' && text == null && text.find(null) == 0));
        text.clear();
        text.append(null).insert(0, null).assign(null).erase() += null;
        CHECK(text.capacity() == 0);
        text = "abc";
        CHECK((text + null == "abc" && text > null));
        text = null;
        CHECK(text.empty());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "storage comes from the string allocator, or from the one that the string was made on") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    const int32 owners = Library::getStringAlloc().getReferenceCount();
    String own("text", host);
    own.assign("a longer text").append(" and more of it").replace(0, 1, "an even");
    own = "a text that is longer than what was there before, so that it does not fit";
    CHECK(ledger.mOutstanding.size() == 1);
    {
        const String copy(own);
        CHECK(ledger.mOutstanding.size() == 1);
        CHECK(Library::getStringAlloc().getReferenceCount() == owners + 1);

        // Whatever the string cannot get memory for leaves it as it was; what fits needs none.
        ledger.mLeft = 0;
        void (*const changes[])(String&) = {
            [](String& text) { text.append(text); },
            [](String& text) { text.append(1000, 'x'); },
            [](String& text) { text.assign(std::string(1000, 'x')); },
            [](String& text) { text.insert(5, text); },
            [](String& text) { text.reserve(1000); },
        };
        for (const auto change : changes) {
            catchThrown<Memory::OutOfMemoryException>([&] { change(own); });
            CHECK(own == copy);
        }
        CHECK(own.erase(0, 58).replace(3, 4, "will").insert(0, 3, '-') == "---it will not fit");
    }
    String none;
    getMemory().failAfter(0);
    catchThrown<Memory::OutOfMemoryException>([&] { none.reserve(1000); });
    getMemory().failNever();
    CHECK(Library::getStringAlloc().getReferenceCount() == owners);
}

TEST_CASE_FIXTURE(BareTest, "strings live before the library is up and after it is down") {
    String early("early");
    String empty;
    Interface::initLibrary(getMemoryCallback());
    String late("late");
    early += ", changed while it was up";
    empty += "filled while it was up";
    Interface::closeLibrary();
    CHECK(early + '.' == "early, changed while it was up.");
    late += ", changed when it is down";
    CHECK(late == "late, changed when it is down");
    CHECK(empty == "filled while it was up");
}

TEST_CASE_FIXTURE(LibraryTest, "characters are unsigned, and only the letters of ASCII have two cases") {
    CHECK((String("a") < String("\xE9") && String("\x7F") < "\x80" && String("a\0b", 3) > String("a")));
    CHECK(String("AZaz@[`{\xC4\xE4").toLower() == "azaz@[`{\xC4\xE4");
    CHECK(String("AZaz@[`{\xC4\xE4").toUpper() == "AZAZ@[`{\xC4\xE4");
}

TEST_CASE_FIXTURE(LibraryTest, "numbers are appended in decimal, up to the ends of their ranges") {
    CHECK(String().appendDecimal(INT_MIN).appendDecimal(uint8{255}) == "-2147483648255");
    CHECK(WString().appendDecimal(std::numeric_limits<int64>::min()) == L"-9223372036854775808");
    CHECK(WString().appendDecimal(std::numeric_limits<uint64>::max()) == L"18446744073709551615");
}

TEST_CASE_FIXTURE(LibraryTest, "a text that would be too long and a position beyond the end are refused") {
    String text("abc");
    const int64 taken = getMemory().getTaken();
    CHECK_THROWS_WITH_AS(text.append(0xFFFFFFFF, 'x'), "vector<T> too long", std::length_error);
    CHECK_THROWS_WITH_AS(text.reserve(0xFFFFFFFF), "vector<T> too long", std::length_error);
    CHECK_THROWS_WITH_AS(WString(L"x").resize(0xFFFFFFFF), "vector<T> too long", std::length_error);
    CHECK_THROWS_AS(text.at(3), std::out_of_range);
    CHECK_THROWS_AS(text.substr(4), std::out_of_range);
    CHECK_THROWS_AS(text.insert(4, "x"), std::out_of_range);
    CHECK(text.substr(3).empty());
    CHECK((text == "abc" && getMemory().getTaken() == taken));
}
