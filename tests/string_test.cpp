#include "common/string.h"

#include "common/interface.h"

#include "tests/container/failures.h"
#include "tests/support/librarytest.h"

#include <climits>
#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

template <class Char>
using StdString = std::basic_string<Char>;

/// A text of few different characters, so that finding one in another is likely.
template <class Char>
StdString<Char> rollText(Dice& dice, uint32 most) {
    StdString<Char> text;
    for (uint32 left = dice.roll(most + 1); left != 0; --left)
        text += static_cast<Char>("abC\xE9"[dice.roll(4)]);
    return text;
}

uint32 narrow(std::size_t position) {
    return position == std::string::npos ? String::npos : static_cast<uint32>(position);
}

template <class Char>
void checkFinding(Dice& dice, const BasicString<Char>& text, const StdString<Char>& model) {
    const StdString<Char> sought = rollText<Char>(dice, 3);
    const Char c = static_cast<Char>("abC\xE9"[dice.roll(4)]);
    const uint32 from = dice.roll(4) == 0 ? String::npos : dice.roll(model.size() + 3);
    const std::size_t modelFrom = from == String::npos ? std::string::npos : from;
    REQUIRE(text.find(sought, from) == narrow(model.find(sought, modelFrom)));
    REQUIRE(text.find(c, from) == narrow(model.find(c, modelFrom)));
    REQUIRE(text.rfind(sought, from) == narrow(model.rfind(sought, modelFrom)));
    REQUIRE(text.rfind(c, from) == narrow(model.rfind(c, modelFrom)));
    REQUIRE(text.find_first_of(sought, from) == narrow(model.find_first_of(sought, modelFrom)));
    REQUIRE(text.find_last_of(sought, from) == narrow(model.find_last_of(sought, modelFrom)));
    REQUIRE(text.find_first_not_of(sought, from) == narrow(model.find_first_not_of(sought, modelFrom)));
    REQUIRE(text.find_last_not_of(sought, from) == narrow(model.find_last_not_of(sought, modelFrom)));
    REQUIRE(text.contains(sought) == (model.find(sought) != std::string::npos));
    REQUIRE(text.contains(c) == (model.find(c) != std::string::npos));
    REQUIRE(text.starts_with(sought) == model.starts_with(sought));
    REQUIRE(text.ends_with(c) == model.ends_with(c));
    REQUIRE((text < BasicString<Char>(sought)) == (model < sought));
    REQUIRE((text == sought) == (model == sought));
}

/// One random operation, done to the text and to its model.
template <class Char>
void step(Dice& dice, BasicString<Char>& text, StdString<Char>& model) {
    const StdString<Char> fresh = rollText<Char>(dice, 50);
    const StdString<Char> before = model;
    const uint32 at = dice.roll(model.size() + 1);
    const uint32 count = dice.roll(model.size() + 5);
    const Char c = static_cast<Char>('a' + dice.roll(26));
    const auto own = text.view().substr(at, count);
    const auto modelOwn = before.substr(at, count);
    switch (dice.roll(model.size() > 120 ? 18 : 15)) {
    case 0:
        text += fresh.c_str();
        model += fresh;
        break;
    case 1:
        text.append(own);
        model.append(modelOwn);
        break;
    case 2:
        text += c;
        model += c;
        break;
    case 3:
        text.append(count, c);
        model.append(count, c);
        break;
    case 4:
        text.assign(own);
        model = modelOwn;
        break;
    case 5:
        text = fresh;
        model = fresh;
        break;
    case 6:
        text.insert(at, own);
        model.insert(at, modelOwn);
        break;
    case 7:
        text.replace(at, count, fresh);
        model.replace(at, count, fresh);
        break;
    case 8:
        text.erase(at, count);
        model.erase(at, count);
        break;
    case 9:
        text.resize(at + 3, c);
        model.resize(at + 3, c);
        break;
    case 10:
        text.reserve(count * 2);
        REQUIRE(text.capacity() >= count * 2);
        break;
    case 11: {
        BasicString<Char> copy(text);
        copy += copy;
        REQUIRE(copy == text + text);
        text = copy.substr(text.length());
        break;
    }
    case 12: {
        BasicString<Char> taken(std::move(text));
        text = c + taken + fresh.c_str();
        model = c + model + fresh;
        break;
    }
    case 13:
        if (!model.empty()) {
            text.pop_back();
            text[0] = c;
            model.pop_back();
            if (!model.empty())
                model[0] = c;
            else
                text.clear();
        }
        break;
    case 14:
        text = *&text;
        text = std::move(*&text);
        break;
    default:
        text.clear();
        model.clear();
        break;
    }
}

template <class Char>
void runSteps(const Memory::AllocatorPtr& allocator, unsigned int seed) {
    Dice dice(seed);
    BasicString<Char> text(StdString<Char>(), allocator);
    StdString<Char> model;
    for (int count = 0; count < 6000; ++count) {
        step(dice, text, model);
        REQUIRE(text.view() == model);
        REQUIRE(text.c_str()[model.size()] == Char());
        REQUIRE(text.empty() == model.empty());
        checkFinding(dice, text, model);
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a string does what a standard string does, and always ends with a NUL") {
    runSteps<char>(Memory::AllocatorPtr(), 1);
    runSteps<char>(allocator(), 2);
    runSteps<wchar_t>(Memory::AllocatorPtr(), 3);
}

TEST_CASE_FIXTURE(LibraryTest, "an empty string is one NUL without storage, and null is the empty text") {
    const char* const null = nullptr;
    for (String text : {String(), String(""), String(null), String(null, 0), String(0, 'x'), String("x").substr(1)}) {
        CHECK(text.length() == 0);
        CHECK(text.c_str()[0] == '\0');
        CHECK(text[0] == '\0');
        CHECK(text.begin() == text.end());
        CHECK(text.capacity() == 0);
        CHECK(text == null);
        CHECK(text.find(null) == 0);
        text.clear();
        text.append(null).insert(0, null).assign(null) += null;
        CHECK(text.capacity() == 0);
        text = "abc";
        CHECK(text + null == "abc");
        CHECK(text > null);
        text = null;
        CHECK(text.empty());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "storage comes from the string allocator, or from the one that the string was made on") {
    auto& ledger = *new LedgerAllocator(LedgerAllocator::EXHAUSTION_THROW);
    const Memory::AllocatorPtr host(&ledger);
    const int32 owners = Library::getStringAlloc().getReferenceCount();
    {
        String own("text", host);
        own.assign("a longer text").append(" and more of it").replace(0, 1, "an even");
        own = "a text that is longer than what was there before, so that it does not fit";
        CHECK(Library::getStringAlloc().getReferenceCount() == owners);
        CHECK(ledger.mOutstanding.size() == 1);
        const String copy(own);
        CHECK(Library::getStringAlloc().getReferenceCount() == owners + 1);
        CHECK(ledger.mOutstanding.size() == 1);
        CHECK(String("exactly", host).capacity() == 7);

        // Whatever the string cannot get memory for leaves it as it was.
        ledger.mLeft = 0;
        void (*const changes[])(String&) = {
            [](String& text) { text.append(text); },
            [](String& text) { text.append(1000, 'x'); },
            [](String& text) { text.assign(std::string(1000, 'x')); },
            [](String& text) { text.insert(5, text); },
            [](String& text) { text.reserve(1000); },
        };
        for (const auto change : changes) {
            checkThrown<Memory::OutOfMemoryException>([&] { change(own); }, "OutOfMemoryException",
                                                      "No Memory available");
            CHECK(own == copy);
        }
        ledger.mLeft = -1;
    }
    CHECK(ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(BareTest, "strings live before the library is up and after it is down") {
    String early("made before the library was up");
    String empty;
    Interface::initLibrary(getMemoryCallback());
    String late("made while the library was up");
    early += ", changed while it was";
    empty += "filled while it was up";
    Interface::closeLibrary();
    CHECK(early + " and compared when it is down" ==
          "made before the library was up, changed while it was and compared when it is down");
    late += ", changed when it is down";
    CHECK(late == "made while the library was up, changed when it is down");
    CHECK(empty.toUpper() == "FILLED WHILE IT WAS UP");
}

TEST_CASE_FIXTURE(LibraryTest, "characters are unsigned, and only the letters of ASCII have two cases") {
    CHECK(String("a") < String("\xE9"));
    CHECK(String("\x7F") < "\x80");
    CHECK(String("ab") > String("a"));
    CHECK(String("a\0b", 3) > String("a"));
    CHECK(String("AZaz@[`{\xC4\xE4").toLower() == "azaz@[`{\xC4\xE4");
    CHECK(String("AZaz@[`{\xC4\xE4").toUpper() == "AZAZ@[`{\xC4\xE4");
    CHECK(WString(L"\xC4"
                  L"Ab")
              .toLower() == L"\xC4"
                            L"ab");
    for (int c = 0; c < 256; ++c) {
        const auto character = static_cast<char>(c);
        CHECK(String::Traits::isSpace(character) == (c == ' ' || (c >= 9 && c <= 13)));
        CHECK(String::Traits::isDigit(character) == (c >= '0' && c <= '9'));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "numbers are appended in decimal, up to the ends of their ranges") {
    String text;
    text.appendDecimal(0)
        .appendDecimal(INT_MIN)
        .appendDecimal(uint8{255})
        .appendDecimal(std::numeric_limits<int64>::min());
    CHECK(text == "0-2147483648255-9223372036854775808");
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
    CHECK(text == "abc");
    CHECK(getMemory().getTaken() == taken);
}
