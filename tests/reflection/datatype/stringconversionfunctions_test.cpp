#include "common/reflection/datatype/stringconversionfunctions.h"

#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionargumentlist.h"
#include "tests/reflection/function/functiontest.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection::Datatype;
using namespace Tarq::Test;
using Math::Vec2d, Math::Vec2f, Math::Vec2i, Math::Vec2u, Math::Vec3d, Math::Vec3f, Math::Vec3i, Math::Vec3u;

namespace {

const std::string cConversionFile = "common/reflection/datatype/stringconversionfunctions";
const std::string cNoBraces =
    "string[0] == '{' && string[string.getLength()-1] == '}'\nError Message: default value of "
    "a vector has to have to form \"{a;b;c;d}\"";
const std::string cNoQuotes =
    "tokens.size() >= 2 && tokens[0] == '\"' && lastToken[lastToken.getLength() - 1] == '\"'\nError Message: first or "
    "last element in the last does not contain necessary \"";
const std::string cTraitsFile = "common/reflection/datatype/internal/builtintraits";

constexpr float cInfinity = std::numeric_limits<float>::infinity();

class TextTest : public FunctionTest {
public:
    /// The value that the data type makes of the text.
    template <class T>
    T parse(std::string_view text) const {
        const DatatypeBase& type = *TypedDatatype<T>::getInstance();
        void* const value = type.parseValue(String(text), allocator());
        REQUIRE(value);
        const T result = *static_cast<T*>(value);
        type.deleteValue(value, allocator());
        return result;
    }
    /// Checks texts, each followed by its value.
    template <class T, class Value, class... More>
    void checkAll(const char* text, const Value& value, const More&... more) const {
        CAPTURE(text);
        CHECK(parse<T>(text) == static_cast<T>(value));
        if constexpr (sizeof...(More) != 0)
            checkAll<T>(more...);
    }
    /// An element of a container has the rules of its type.
    template <class E>
    void checkList(const char* text, const std::vector<E>& elements) const {
        CAPTURE(text);
        const auto list = parse<Container::Vector<E>>(text);
        CHECK(std::vector<E>(list.begin(), list.end()) == elements);
    }
    /// Calls a member function by its name and the types of its arguments, and checks its result's type.
    template <class R, class T, class... Arguments>
    R call(const char* name, T& object, const Arguments&... arguments) const {
        CAPTURE(name);
        const DatatypeBase& type = *TypedDatatype<T>::getInstance();
        const auto id = type.getFunctionID(name, types<Arguments...>());
        REQUIRE(id != Reflection::Function::FunctionID());
        CHECK(type.getReturnValueType(id) == GET_DATATYPE_ID<R>());
        if constexpr (std::is_void_v<R>) {
            CHECK(type.callFunction(id, &object, listOf(arguments...)));
        } else {
            R result{};
            CHECK(type.callFunction(&result, id, &object, listOf(arguments...)));
            return result;
        }
    }
};

} // namespace

TEST_CASE_FIXTURE(TextTest, "only 1 and true, in any case, are true") {
    checkAll<bool>("1", true, "TRUE", true, "True", true, "yes", false, " true", false, "true ", false, "10", false, "",
                   false);
}

TEST_CASE_FIXTURE(TextTest, "whole numbers stop at the limits of 64 bits, and keep the low bits of that") {
    checkAll<int32>(" \t\n\v\f\r-12x", -12, "+7", 7, "+-7", 0, "- 7", 0, "0x10", 0, "010", 10, "abc", 0, "", 0, "-", 0,
                    "2147483648", -2147483647 - 1, "4294967297", 1, "99999999999999999999", -1, "-99999999999999999999",
                    0);
    checkAll<int64>("9223372036854775807", std::numeric_limits<int64>::max(), "9223372036854775808",
                    std::numeric_limits<int64>::max(), "-9223372036854775808", std::numeric_limits<int64>::min(),
                    "-9223372036854775809", std::numeric_limits<int64>::min(), "0000000000000000000000000000012", 12,
                    "1234567890123456789", 1234567890123456789, "18446744073709551616",
                    std::numeric_limits<int64>::max());
    checkAll<uint64>("-1", ~uint64{0}, "18446744073709551615", 0x7FFFFFFFFFFFFFFF);
    checkAll<uint8>("200", 200, "-1", 255, "256", 0);
    checkAll<int8>("200", -56, "-129", 127);
    checkAll<uint16>("65537", 1, "-2", 65534);
    checkAll<int16>("32768", -32768, "12", 12);
    checkAll<uint32>("4294967295", 4294967295U, "-1", 4294967295U);
}

TEST_CASE_FIXTURE(TextTest, "floating numbers are the nearest to their text, whichever way they are read") {
    const double infinity = cInfinity;
    checkAll<double>(" -1.5e2", -150, "1.", 1, ".5", 0.5, ".", 0, "1e", 1, "1e+x", 1, "1,5", 1, "--1", 0, "0.1", 0.1,
                     "123456789012345678901234567890", 123456789012345678901234567890.0, "9007199254740993",
                     9007199254740992, "1.00000000000000011102230246251565", 1, "1.000000000000000111022302462515655",
                     1.0000000000000002, "1e23", 1e23, "2.2250738585072011e-308", 2.2250738585072011e-308, "4.9e-324",
                     4.9406564584124654e-324, "2e-324", 0, "1e-99999999999999999999", 0, "0e99999999999999999999", 0,
                     "1.7976931348623159e308", infinity, "-1e99999999999999999999", -infinity, "0x1.8p3", 12, "-0x.8",
                     -0.5, "0x1p9999", infinity, "0x1p-9999", 0, "0x1p+-5", 1, "0x0.0p9999", 0, "0x", 0, "Infinity",
                     infinity, "-inf", -infinity);
    // Through a double; a component of a vector takes the direct way.
    checkAll<float>("0.1", 0.1F, "16777217", 16777216.0F, "1.000000059604644775390626", 1.0F, "3.4028236e38", cInfinity,
                    "-1e39", -cInfinity);
    checkAll<Vec2f>("1.000000059604644775390626 16777217", Vec2f{1.00000012F, 16777216.0F}, "1e39 1e-46",
                    Vec2f{cInfinity, 0});
    const std::string zeros(300, '0');
    CHECK(parse<double>("0x0." + zeros + "1") == 0);
    CHECK(parse<double>("0x1" + zeros + "p-5") == infinity);
    CHECK(parse<double>("0x1" + zeros + "p-1200") == 1);
    CHECK(std::isnan(parse<double>("NaN")));
    CHECK(std::signbit(parse<double>("-0")));
}

TEST_CASE_FIXTURE(TextTest, "a vector has the form of which most components can be read") {
    checkAll<Vec2f>("1.5 2", Vec2f{1.5F, 2}, " 1.5\n\t2", Vec2f{1.5F, 2}, "(1.5,2)", Vec2f{1.5F, 2}, "(1.5/2",
                    Vec2f{1.5F, 2}, "( 1.5, 2)", Vec2f{1.5F, 2}, "(1.5 ,2)", Vec2f{1.5F, 0}, " (1.5,2)", Vec2f{0, 0},
                    "7", Vec2f{7, 0}, "7,8", Vec2f{7, 0}, "1-2", Vec2f{1, -2}, "1e 2", Vec2f{1, 2}, "0x 2", Vec2f{0, 0},
                    "0x. 2", Vec2f{0, 2}, "0x1p+ 2", Vec2f{1, 2}, "0x1p3p 2", Vec2f{8, 0}, "(", Vec2f{0, 0}, "",
                    Vec2f{0, 0}, "abc", Vec2f{0, 0});
    checkAll<Vec2d>("0.1 1e400", Vec2d{0.1, cInfinity}, "(0.1/-2.5)", Vec2d{0.1, -2.5});
    checkAll<Vec2i>("0x10 010", Vec2i{16, 8}, "(-0X7f/-0)", Vec2i{-127, 0}, "08 9", Vec2i{0, 8}, "0x 5", Vec2i{0, 5},
                    "1.5 2", Vec2i{1, 0}, "99999999999999999999 -99999999999999999999", Vec2i{-1, 0},
                    "0xFFFFFFFFFFFFFFFFF 4294967298", Vec2i{-1, 2});
    checkAll<Vec2u>("-1 4294967295", Vec2u{4294967295U, 4294967295U}, "99999999999999999999 -99999999999999999999",
                    Vec2u{4294967295U, 4294967295U}, "-18446744073709551615 2", Vec2u{1, 2}, "0x10 010", Vec2u{0, 0},
                    "(010,3)", Vec2u{10, 3});
    checkAll<Vec3f>("1 2 3", Vec3f{1, 2, 3}, "(1,2,3)", Vec3f{1, 2, 3}, "(1/2/3)", Vec3f{1, 2, 3}, "(1,2/3)",
                    Vec3f{1, 2, 0}, "(1/2,3)", Vec3f{1, 2, 0});
    checkAll<Vec3d>("1 2", Vec3d{1, 2, 0}, "(1/2/3)", Vec3d{1, 2, 3});
    checkAll<Vec3i>("(010,0x10,-1)", Vec3i{8, 16, -1});
    checkAll<Vec3u>("1 2 3 4", Vec3u{1, 2, 3});
}

TEST_CASE_FIXTURE(TextTest,
                  "a string is its text, and bytes that the locale does not know are widened by their value") {
    const std::string bytes("a\0 \x7F\x80\xFF", 6);
    CHECK(parse<String>(bytes).view() == bytes);
    CHECK(parse<String>("") == "");
    CHECK(parse<WString>(bytes).view() == std::wstring_view(L"a\0 \x7F\x80\xFF", 6));
    CHECK(parse<WString>("") == L"");
}

TEST_CASE_FIXTURE(TextTest,
                  "a list has the elements between its braces that are not empty, each by the rules of its type") {
    forEachElementType([&]<class E>(const ElementType<E>& element) {
        CAPTURE(element.name);
        if constexpr (HasListForm<E> && !std::is_same_v<E, String>) {
            checkList<E>("", {});
            checkList<E>("{}", {});
            checkList<E>("{;}", {});
            checkList<E>("{1;;0 3 0x1;}", {parse<E>("1"), parse<E>("0 3 0x1")});
            const ExpectedAssertion noBraces(cNoBraces, cConversionFile, 5);
            for (const char* const text : {"{", "}", "1;2", "{1;2", " {1}"})
                checkList<E>(text, {});
        }
    });
    checkList<int32>("{1;;2;}", {1, 2});
    checkList<bool>("{true; true;1}", {true, false, true});
    checkList<uint8>("{200;-1}", {200, 255});
    checkList<Vec3f>("{(1,2,3);(4/5/6);7 8}", {{1, 2, 3}, {4, 5, 6}, {7, 8, 0}});
    const ExpectedAssertion none(
        "mParseFunction\nError Message: no parse function defined for type: Container[WString]",
        "common/reflection/datatype/datatypebase");
    CHECK(TypedDatatype<Container::Vector<WString>>::getInstance()->parseValue("", allocator()) == nullptr);
}

TEST_CASE_FIXTURE(TextTest, "a list of strings is taken apart at its quotes alone") {
    checkList<String>("", {});
    checkList<String>("{\"only\"}", {"only"});
    checkList<String>("{\"a\";\"b\"}", {"a", "b"});
    checkList<String>("{\"\"}", {""});
    checkList<String>("{\"\";\"\";\"c\"}", {"", "", "c"});
    checkList<String>("{\" a;b \";\"c}{\"d\"}", {" a;b ", "c}{\"d"});
    checkList<String>("{\"a\" ;\"b\"}", {"a\" ;\"b"});
    {
        const ExpectedAssertion noBraces(cNoBraces, cConversionFile, 2);
        checkList<String>("{", {});
        checkList<String>("\"a\"", {});
    }
    const ExpectedAssertion noQuotes(cNoQuotes, cConversionFile, 9);
    for (const char* const text :
         {"{}", "{\"}", "{a;b}", "{\"a}", "{a\"}", "{\"a\";\"}", "{\"\";\"}", "{\";\"}", "{\";\";\"x\"}"})
        checkList<String>(text, {});
}

TEST_CASE_FIXTURE(TextTest, "text without memory for its value is null, wherever it runs out") {
    String text = "{\"" + String(4000, 'a');
    for (int count = 0; count < 20; ++count)
        text += "\";\"" + String(4000, 'b');
    text += "\"}";
    auto* list = stringToVectorString(text, allocator());
    REQUIRE(list);
    CHECK(list->size() == 21);
    CHECK((*list)[20] == String(4000, 'b'));
    TypedDatatype<Container::Vector<String>>::getInstance()->deleteValue(list, allocator());
    list = nullptr;
    int nulls = 0;
    for (int granted = 0; !list; ++granted) {
        const int64 before = getMemory().getBlocks();
        getMemory().failAfter(granted);
        list = stringToVectorString(text, allocator());
        getMemory().failNever();
        nulls += list ? 0 : 1;
        REQUIRE((list || getMemory().getBlocks() == before));
    }
    CHECK(nulls > 5);
    TypedDatatype<Container::Vector<String>>::getInstance()->deleteValue(list, allocator());
}

TEST_CASE_FIXTURE(TextTest, "every vector has components, a length and a distance, and every container its elements") {
    forEachElementType([&]<class E>(const ElementType<E>& element) {
        CAPTURE(element.name);
        const auto outOfRange = [](int64 index, int times) {
            return ExpectedAssertion("index < size\nError Message: index out of range: " + std::to_string(index),
                                     cTraitsFile, times);
        };
        if constexpr (requires(E value) { value.mX; }) {
            using C = decltype(E::mX);
            E vector = TextForm<E>::convert("3 4", allocator());
            CHECK(call<C>("GetLength", vector) == 5);
            CHECK(call<C>("GetDistance", vector, TextForm<E>::convert("9 12", allocator())) == 10);
            call<void>("SetComponent", vector, uint32{1}, C{8});
            CHECK(call<C>("GetComponent", vector, uint32{0}) == 3);
            CHECK(call<C>("GetComponent", vector, uint32{1}) == 8);
            const uint32 end = sizeof(E) / sizeof(C);
            CHECK(call<C>("GetComponent", vector, end - 1) == (end == 2 ? 8 : 0));
            const ExpectedAssertion expected = outOfRange(end, 2);
            call<void>("SetComponent", vector, end, C{9});
            CHECK(call<C>("GetComponent", vector, end) == 0);
            CHECK(vector == TextForm<E>::convert("3 8", allocator()));
        }
        const E one = TextForm<E>::convert("1", allocator());
        const E zero = TextForm<E>::convert("0", allocator());
        Container::Vector<E> list(allocator());
        for (const E& each : {one, one, zero})
            call<void>("PushBack", list, each);
        call<void>("SetElement", list, uint32{0}, zero);
        CHECK(call<uint32>("Size", list) == 3);
        CHECK(call<E>("GetElement", list, uint32{1}) == one);
        call<void>("RemoveElement", list, int32{0});
        CHECK(list == Container::Vector<E>(allocator(), {one, zero}));
        {
            const ExpectedAssertion expected = outOfRange(2, 3);
            const ExpectedAssertion negative = outOfRange(-1, 1);
            CHECK(call<E>("GetElement", list, uint32{2}) == element.makeDefault(allocator()));
            call<void>("SetElement", list, uint32{2}, one);
            call<void>("RemoveElement", list, int32{2});
            call<void>("RemoveElement", list, int32{-1});
            CHECK(list == Container::Vector<E>(allocator(), {one, zero}));
        }
        call<void>("Clear", list);
        CHECK(call<uint32>("Size", list) == 0);
    });
    String text("four");
    WString wide(L"seven..");
    CHECK(call<uint32>("GetLength", text) == 4);
    CHECK(call<uint32>("GetLength", wide) == 7);
}

TEST_CASE_FIXTURE(TextTest, "lengths are cut off towards zero, and whole numbers wrap before the root is taken") {
    Vec2i one{1, 1};
    CHECK(call<int32>("GetLength", one) == 1);
    Vec2i large{46341, 0}; // The square is above the range of an int32.
    CHECK(call<int32>("GetLength", large) == 46341);
    Vec2i wrapping{65536, 3};
    CHECK(call<int32>("GetLength", wrapping) == 3);
    Vec3i lowest{-2147483647 - 1, 0, 0};
    CHECK(call<int32>("GetDistance", lowest, Vec3i{2147483647, 0, 2}) == 2);
    Vec2u unsignedOne{1, 0};
    CHECK(call<uint32>("GetDistance", unsignedOne, Vec2u{4, 4}) == 5);
    Vec2f tiny{3e-30F, 4e-30F}; // Squares that a float has no room for.
    CHECK(call<float>("GetLength", tiny) == 0);
    Vec2d precise{1, 1};
    CHECK(call<double>("GetLength", precise) == std::sqrt(2.0));
}
