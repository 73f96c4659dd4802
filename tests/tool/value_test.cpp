#include "tool/client/value.h"

#include "tool/cli/valuejson.h"

#include "tests/tool/modulehost.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

Bytes bytesWith(const std::string& hex) {
    const std::string bytes = bytesOf(hex);
    Bytes item = noBytes();
    item.assign(bytes.begin(), bytes.end());
    return item;
}

std::string hexOfItem(const Bytes& item) {
    return hexOf(item.data(), item.size());
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a value of any type is written as a text that reads back, and cut off nowhere else") {
    int numTypes = 0;
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        for (const T& sample : {sampleOf<T>(allocator()), emptyOf<T>(allocator())}) {
            const std::string bytes = messageOf([&](MessageBuilder& builder) { builder.write(sample); });
            Bytes item = noBytes();
            item.assign(bytes.begin(), bytes.end());
            const std::string text = textOfValue(item);
            CAPTURE(text);
            Bytes again = noBytes();
            CHECK(parseValue(getStreamID<T>(), text, again) == "");
            CHECK(hexOfItem(again) == hexOfItem(item));
            CHECK_FALSE(jsonOfValue(item).is_null());
            for (; !item.empty(); item.pop_back()) {
                Bytes shorter = item;
                shorter.pop_back();
                CHECK(textOfValue(shorter).starts_with("<the field \"value\" is "));
                CHECK(jsonOfValue(shorter).is_null());
            }
        }
        ++numTypes;
    });
    CHECK(numTypes == 42);
}

TEST_CASE_FIXTURE(LibraryTest, "a value has one text and one JSON") {
    struct {
        StreamIDs type;
        const char* text; ///< as it is typed
        const char* written;
        const char* json;
    } const cases[] = {
        {STREAM_TYPE_BOOL, " true ", "true", "true"},
        {STREAM_TYPE_INT08, "-128", "-128", "-128"},
        {STREAM_TYPE_INT64, "-9223372036854775808", "-9223372036854775808", "-9223372036854775808"},
        {STREAM_TYPE_UINT64, "18446744073709551615", "18446744073709551615", "18446744073709551615"},
        {STREAM_TYPE_FLOAT32, "0.1", "0.1", "0.1"},
        {STREAM_TYPE_FLOAT32, "16777217", "16777216", "16777216.0"},
        {STREAM_TYPE_FLOAT64, "0.1000000000000000055", "0.1", "0.1"},
        {STREAM_TYPE_FLOAT64, "1e300", "1e+300", "1e+300"},
        {STREAM_TYPE_FLOAT64, "-0", "-0", "-0.0"},
        {STREAM_TYPE_FLOAT64, "inf", "inf", "\"inf\""},
        {STREAM_TYPE_FLOAT32, "-inf", "-inf", "\"-inf\""},
        {STREAM_TYPE_FLOAT32, "nan", "nan", "\"nan\""},
        {STREAM_TYPE_BSTRING, R"("a\"b\\c\n\x1b\xff")", R"("a\"b\\c\x0A\x1B\xFF")",
         "\"a\\\"b\\\\c\\n\\u001b\xEF\xBF\xBD\""},
        {STREAM_TYPE_WSTRING, "\"\xC3\xA4\xF0\x9F\x98\x80\"", "\"\xC3\xA4\xF0\x9F\x98\x80\"",
         "\"\xC3\xA4\xF0\x9F\x98\x80\""},
        {STREAM_TYPE_VEC_3_INT32, "( 1,-2 , 3)", "(1, -2, 3)", "[1,-2,3]"},
        {STREAM_TYPE_ARRAY_BOOL, "[true,false]", "[true, false]", "[true,false]"},
        {STREAM_TYPE_ARRAY_UINT08, "[ ]", "[]", "[]"},
        {STREAM_TYPE_ARRAY_BSTRING, R"(["", "],"])", R"(["", "],"])", R"(["","],"])"},
        {STREAM_TYPE_ARRAY_VEC_2_FLOAT32, "[(1, 2), (0.5,nan)]", "[(1, 2), (0.5, nan)]", "[[1.0,2.0],[0.5,\"nan\"]]"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.text);
        Bytes item = noBytes();
        CHECK(parseValue(given.type, given.text, item) == "");
        CHECK(item[0] == given.type);
        CHECK(textOfValue(item) == given.written);
        CHECK(dumpLine(jsonOfValue(item)) == given.json);
    }
    CHECK(textOfValue(bytesWith("0c 00 00 00 01 00 41")) == "\"A\"");
    CHECK(textOfValue(bytesWith("00 ff")) == "true");
}

TEST_CASE_FIXTURE(LibraryTest, "what is no value is told with its place") {
    struct {
        StreamIDs type;
        const char* text;
        const char* problem;
    } const cases[] = {
        {STREAM_TYPE_BOOL, "1", "this is no bool: \"1\" is neither true nor false (column 1)"},
        {STREAM_TYPE_INT08, "128", "this is no int08: \"128\" is not from -128 to 127 (column 1)"},
        {STREAM_TYPE_UINT08, " -1", "this is no uint08: \"-1\" is no whole number (column 2)"},
        {STREAM_TYPE_INT32, "1.5", "this is no int32: \"1.5\" is no whole number (column 1)"},
        {STREAM_TYPE_UINT64, "18446744073709551616",
         "this is no uint64: \"18446744073709551616\" is not from 0 to 18446744073709551615 (column 1)"},
        {STREAM_TYPE_FLOAT32, "1e39", "this is no float32: \"1e39\" is too large or too small (column 1)"},
        {STREAM_TYPE_FLOAT64, "", "this is no float64: a number is missing (column 1)"},
        {STREAM_TYPE_FLOAT64, "1 2", "this is no float64: something follows the value (column 3)"},
        {STREAM_TYPE_BSTRING, "x", "this is no bstring: a string stands in double quotes: \"text\" (column 1)"},
        {STREAM_TYPE_BSTRING, "\"x", "this is no bstring: a string stands in double quotes: \"text\" (column 1)"},
        {STREAM_TYPE_BSTRING, R"("\q")",
         "this is no bstring: in the string, a backslash is not followed by one of \\ \" n t r xHH (column 1)"},
        {STREAM_TYPE_WSTRING, R"("\xff")", "this is no wstring: the string is not UTF-8 (column 7)"},
        {STREAM_TYPE_VEC_2_INT32, "(1)", "this is no vec_2_int32: a \",\" is missing (column 3)"},
        {STREAM_TYPE_VEC_2_INT32, "1, 2", "this is no vec_2_int32: a \"(\" is missing (column 1)"},
        {STREAM_TYPE_ARRAY_INT16, "[1,", "this is no array_int16: a number is missing (column 4)"},
        {STREAM_TYPE_ARRAY_INT16, "[1 2]", "this is no array_int16: a \"]\" is missing (column 4)"},
        {static_cast<StreamIDs>(77), "1", "nobody knows values of type 77"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.text);
        Bytes item = noBytes();
        CHECK(parseValue(given.type, given.text, item) == given.problem);
        CHECK(item.empty());
    }
    CHECK(textOfValue(bytesWith("")) == "<the field \"value\" is missing>");
    CHECK(textOfValue(bytesWith("0d 00")) == "<the field \"value\" is type 13>");
    CHECK(textOfValue(bytesWith("00 01 00")) == "<1 bytes follow the last field>");
    CHECK(textOfValue(bytesWith("8b ff ff ff ff")) == "<the field \"value\" is cut off>");
}
