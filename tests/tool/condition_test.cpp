#include "tool/condition/conditioncompiler.h"

#include "tests/support/librarytest.h"

#include <string>

using namespace Tarq::Test;
using namespace Tarq::Tool;
using namespace Tarq::Common;
using namespace Tarq::Common::Network::Message;

namespace {

using Variables = Container::Vector<ConditionVariable>;

const std::initializer_list<std::pair<const char*, StreamIDs>> cVariables = {
    {"on", STREAM_TYPE_BOOL},
    {"off", STREAM_TYPE_BOOL},
    {"code", STREAM_TYPE_UINT08},
    {"count", STREAM_TYPE_INT32},
    {"size", STREAM_TYPE_UINT32},
    {"total", STREAM_TYPE_INT64},
    {"speed", STREAM_TYPE_FLOAT32},
    {"weight", STREAM_TYPE_FLOAT64},
    {"name", STREAM_TYPE_BSTRING},
    {"title", STREAM_TYPE_WSTRING},
    {"at", STREAM_TYPE_VEC_2_FLOAT32},
    {"cell", STREAM_TYPE_VEC_3_UINT32},
    {"bytes", STREAM_TYPE_ARRAY_UINT08},
    {"list", STREAM_TYPE_ARRAY_INT32},
    {"ids", STREAM_TYPE_ARRAY_UINT64},
    {"words", STREAM_TYPE_ARRAY_BSTRING},
    {"titles", STREAM_TYPE_ARRAY_WSTRING},
    {"path", STREAM_TYPE_ARRAY_VEC_2_FLOAT32},
    {"two words", STREAM_TYPE_BOOL},
    {"true", STREAM_TYPE_BOOL},
    {"`\\\xC3\xA4", STREAM_TYPE_BOOL},
    {"a<b", STREAM_TYPE_BOOL},
    {"  ", STREAM_TYPE_BOOL},
    {"odd", static_cast<StreamIDs>(99)},
};

class ConditionTest : public LibraryTest {
public:
    ConditionTest() : mVariables(allocator()) {
        for (const auto& [name, type] : cVariables)
            mVariables.push_back({name, type});
    }

    /// The canonical text; or the column and the text of the error.
    std::string outcomeOfText(const std::string& text) {
        ConditionError error;
        if (compileCondition(text, mVariables, mCondition, error))
            return mCondition.canonical.c_str();
        return std::to_string(error.column) + ": " + error.text.c_str();
    }

    Variables mVariables;
    CompiledCondition mCondition;
};

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (; count > 0; --count)
        result += text;
    return result;
}

} // namespace

TEST_CASE_FIXTURE(ConditionTest, "a condition is told with no more parentheses than it needs, and with its types") {
    struct {
        const char* text;
        const char* canonical; ///< null: the same
    } const cases[] = {
        {"on", nullptr},
        {" \t( ( on ) )\n", "on"},
        {"true||false", "true || false"},
        {"speed>3&&name==\"x\"", "speed > 3.0 && name == \"x\""},
        // What holds tighter, and what stands side by side.
        {"on || off && on == (count < 1 + 2 * size)", "on || off && on == count < 1 + 2 * size"},
        {"((on && off) && on) || (off && (on && off))", "on && off && on || off && (on && off)"},
        {"(on || off) && !(on && off)", "(on || off) && !(on && off)"},
        {"!on == off && !(on == off) && !!on", nullptr},
        {"(on == off) != (on != off)", "on == off != (on != off)"},
        {"count - (1 - 2) - (size - 3) > 0", nullptr},
        {"(count * 2) / 3 + (4 - 1) >= count / (2 * 3)", "count * 2 / 3 + (4 - 1) >= count / (2 * 3)"},
        {"(at + at).GetLength() > at.GetDistance((at))", "(at + at).GetLength() > at.GetDistance(at)"},
        {"(name).GetLength ( ) <= words . GetElement(0x1) . GetLength()",
         "name.GetLength() <= words.GetElement(1).GetLength()"},
        // Literals take the type of what they meet.
        {"3 < speed", "3.0 < speed"},
        {"speed + 1 < 2 * (3 - .5)", "speed + 1.0 < 2.0 * (3.0 - 0.5)"},
        {"speed == 16777217 || speed < -1E-7", "speed == 16777216.0 || speed < -1e-07"},
        {"speed == 340282356000000010e21", "speed == 3.4028235e+38"},
        {"1 / 2.5 > 0", "1.0 / 2.5 > 0.0"},
        {"0x7fffffff > -2147483648", "2147483647 > -2147483648"},
        {"total - 9223372036854775807 == -9223372036854775808", nullptr},
        {"5000000000 > 1 + 1", nullptr},
        {"size == 4294967295 && size != -0", "size == 4294967295 && size != 0"},
        {"count - -3 == 010", "count - -3 == 10"},
        {"cell.GetComponent(count) == 1", nullptr},
        {"count < size && size < count", nullptr},
        {"title == \"a\" + \"b\" && \"a\" == \"b\"", nullptr},
        {"at - (1,2) == (0, -.5)", "at - (1.0, 2.0) == (0.0, -0.5)"},
        {"at.GetDistance((1, 2)) < 1", "at.GetDistance((1.0, 2.0)) < 1.0"},
        {"bytes == {0,255} || list != {}", "bytes == {0, 255} || list != {}"},
        {"path == {(1,2),(3,4)} && words == {\"a;\",\"\"}",
         "path == {(1.0, 2.0), (3.0, 4.0)} && words == {\"a;\", \"\"}"},
        // Names and texts.
        {"`on` && `two words`&&`true`", "on && `two words` && `true`"},
        {"`\\`\\\\\xC3\xA4`", nullptr},
        {"name == \"\\\"\\\\\\x41`\\`\\t\\n\\r\\x01\\x7F\xE2\x82\xAC\"",
         "name == \"\\\"\\\\A``\\t\\n\\r\\x01\\x7F\xE2\x82\xAC\""},
        {"name == \"\\xFF\\xE2\\x82\"", nullptr},
    };
    for (const auto& given : cases) {
        CAPTURE(given.text);
        const std::string expected = given.canonical ? given.canonical : given.text;
        REQUIRE(outcomeOfText(given.text) == expected);
        const CompiledCondition first = mCondition;
        CHECK(outcomeOfText(expected) == expected);
        CHECK(mCondition.document == first.document);
    }
}

TEST_CASE_FIXTURE(ConditionTest, "a condition is a document of one expression") {
    CHECK(outcomeOfText("on") == "on");
    CHECK(mCondition.document == "<condition datatype=\"Boolean\" expressiontype=\"variable\">\n"
                                 "\t<name>on</name>\n"
                                 "</condition>\n");
    CHECK(outcomeOfText("!(list.Size() == 4294967295)") == "!(list.Size() == 4294967295)");
    CHECK(mCondition.document ==
          "<condition datatype=\"Boolean\" expressiontype=\"unaryoperator\" operatortype=\"not\">\n"
          "\t<value datatype=\"Boolean\" expressiontype=\"binaryoperator\" operatortype=\"equal\">\n"
          "\t\t<lhs datatype=\"UnsignedInteger32\" expressiontype=\"memberfunction\">\n"
          "\t\t\t<value datatype=\"Container[Integer32]\" expressiontype=\"variable\">\n"
          "\t\t\t\t<name>list</name>\n"
          "\t\t\t</value>\n"
          "\t\t\t<functionname>Size</functionname>\n"
          "\t\t\t<argumentlist/>\n"
          "\t\t</lhs>\n"
          "\t\t<rhs datatype=\"UnsignedInteger32\" expressiontype=\"value\">\n"
          "\t\t\t<value>-1</value>\n" // the bits of the signed number that a host reads
          "\t\t</rhs>\n"
          "\t</value>\n"
          "</condition>\n");
    CHECK(outcomeOfText("words.GetElement(0)==\" a&b>c\"") == "words.GetElement(0) == \" a&b>c\"");
    CHECK(mCondition.document ==
          "<condition datatype=\"Boolean\" expressiontype=\"binaryoperator\" operatortype=\"equal\">\n"
          "\t<lhs datatype=\"String\" expressiontype=\"memberfunction\">\n"
          "\t\t<value datatype=\"Container[String]\" expressiontype=\"variable\">\n"
          "\t\t\t<name>words</name>\n"
          "\t\t</value>\n"
          "\t\t<functionname>GetElement</functionname>\n"
          "\t\t<argumentlist>\n"
          "\t\t\t<argument datatype=\"UnsignedInteger32\" expressiontype=\"value\">\n"
          "\t\t\t\t<value>0</value>\n"
          "\t\t\t</argument>\n"
          "\t\t</argumentlist>\n"
          "\t</lhs>\n"
          "\t<rhs datatype=\"String\" expressiontype=\"value\">\n"
          "\t\t<value> a&b>c</value>\n"
          "\t</rhs>\n"
          "</condition>\n");
}

TEST_CASE_FIXTURE(ConditionTest, "what is wrong with a condition is told with its column") {
    struct {
        const char* text;
        const char* outcome;
    } const cases[] = {
        // Characters, and what they make.
        {"", "1: at the end, an operand is missing"},
        {"speed >", "8: at the end, an operand is missing"},
        {"on && && off", "7: \"&&\" stands where an operand is expected"},
        {"on off", "4: \"off\" stands where an operator is expected"},
        {"on \"x\"", "4: \"x\" stands where an operator is expected"},
        {"on)", "3: this \")\" closes nothing"},
        {"on && (off", "7: this \"(\" is not closed"},
        {"bytes == {1, 2", "10: this \"{\" is not closed"},
        {"(on off)", "5: \"off\" stands where \")\" is expected"},
        {"name == \"a", "9: this text is not closed"},
        {"on && `off", "7: this name is not closed"},
        {"name == 'a'", "9: texts stand in double quotes"},
        {"name == \"\\q\"", "10: there is no such escape; a backslash is written \"\\\\\""},
        {"name == \"\xC3\xA4\xE2\x82\xAC\\x0g\"", "12: \"\\x\" wants two hexadecimal digits"},
        {"count = 3", "7: \"=\" means nothing here; \"==\" compares"},
        {"on & off", "4: \"&\" means nothing here; \"&&\" is the operator"},
        {"on | off", "4: \"|\" means nothing here; \"||\" is the operator"},
        {"count % 2 == 0", "7: \"%\" means nothing here"},
        {"\xC3\xA4nderung", "1: \"\xC3\xA4\" means nothing here; a name with it stands in backquotes"},
        {"on \xFF", "4: \"\\xFF\" means nothing here"},
        {"count == 12abc", "10: \"12abc\" is no number"},
        {"count == 0x", "10: \"0x\" is no number"},
        {"speed == 1.2.3", "10: \"1.2.3\" is no number"},
        {"speed == 1e", "10: \"1e\" is no number"},
        {"count == 18446744073709551616", "10: 18446744073709551616 is beyond every range of numbers"},
        {"speed == 1e999", "10: 1e999 is beyond every range of numbers"},
        {"-count < 3", "1: a host negates literals only; write \"0 - ...\""},
        // Names.
        {"sped > 3", "1: there is no variable \"sped\"; the nearest is \"speed\""},
        {"on && Count > 3", "7: there is no variable \"Count\"; the nearest is \"count\""},
        {"clamp(count) > 3", "1: a condition calls member functions of variables only"},
        {"odd == 3", "1: the variable \"odd\" has an unknown type: 99"},
        {"`a<b`", "1: a condition cannot tell a host of \"<\" in a text or a name"},
        {"on || `  `", "7: a host takes a text or a name of nothing but blanks for an empty one"},
        // Types.
        {"count", "1: a condition is Boolean, and this is Integer32"},
        {"1 + 2", "3: a condition is Boolean, and this is Integer32"},
        {"on && count + 1", "13: \"&&\" wants Boolean operands, and this is Integer32"},
        {"on || 1", "7: \"||\" wants Boolean operands, and this is Integer32"},
        {"!speed", "2: \"!\" wants Boolean operands, and this is Float"},
        {"\"\xC3\xA4\" == name && speed > count",
         "22: the operands of \">\" are Float and Integer32, and a host converts neither"},
        {"total == count", "7: the operands of \"==\" are Integer64 and Integer32, and a host converts neither"},
        {"count + \"a\" == 1", "9: a text is no Integer32"},
        {"1 + \"a\" == 2", "3: the operands of \"+\" are a whole number and a text"},
        {"count > 2.5", "9: a number with a fraction is no Integer32"},
        {"on == 1", "7: a whole number is no Boolean"},
        {"at == (1, 2, 3)", "7: a vector of 3 components is no Vec2f"},
        {"(1, 2) == (1, 2)", "8: nothing here tells the type of a vector"},
        {"(1, count) == at", "5: the components of a vector are numbers"},
        {"at == (1, 2, 3, 4)", "7: a vector has two or three components"},
        {"list == {count}", "10: the elements of a list are numbers, texts, truth values or vectors"},
        // Ranges.
        {"code == 300", "9: 300 is out of the range of UnsignedInteger08, 0 to 255"},
        {"bytes == {1, -1}", "14: -1 is out of the range of UnsignedInteger08, 0 to 255"},
        {"size - 4294967296 > 0", "8: 4294967296 is out of the range of UnsignedInteger32, 0 to 4294967295"},
        {"count > -2147483649", "9: -2147483649 is out of the range of Integer32, -2147483648 to 2147483647"},
        {"total == 9223372036854775808",
         "10: 9223372036854775808 is out of the range of Integer64, -9223372036854775808 to 9223372036854775807"},
        {"speed < 1e39", "9: 1e+39 is too great for Float"},
        {"speed < 1e-60", "9: 1e-60 is too small for Float"},
        // What a host has no operator, no function or no form for.
        {"code == 3", "6: a host has no \"==\" for UnsignedInteger08, nor any other operator"},
        {"weight < 0.5", "8: a host has no \"<\" for Double, nor any other operator"},
        {"on < off", "4: a host has no \"<\" for Boolean, only || && == !="},
        {"name < \"b\"", "6: a host has no \"<\" for String, only == != +"},
        {"at * at == at", "4: a host has no \"*\" for Vec2f, only == != + -"},
        {"name == \"a\" * \"b\"", "13: a host has no \"*\" for String, only == != +"},
        {"list + list == list", "6: a host has no \"+\" for Container[Integer32], only == !="},
        {"list.Length() > 0", "6: Container[Integer32] has no member function \"Length\"; it has Size, GetElement"},
        {"count.GetLength() > 0", "7: Integer32 has no member function \"GetLength\""},
        {"list.Clear()", "6: \"Clear\" of Container[Integer32] gives no value"},
        {"list.Size(1) > 0", "6: \"Size\" of Container[Integer32] takes no argument"},
        {"at.GetDistance() < 1", "4: \"GetDistance\" of Vec2f takes one argument, of the type Vec2f"},
        {"list.GetElement(total) > 0",
         "17: \"GetElement\" of Container[Integer32] takes UnsignedInteger32, and this is Integer64"},
        {"at.GetComponent(2) > 0", "17: the components of Vec2f are counted from 0 to 1"},
        {"on.x", "5: at the end, \"(\" is missing"},
        {"at.3", "3: \".3\" stands where an operator is expected"},
        {"name == \"a<b\"", "9: a condition cannot tell a host of \"<\" in a text or a name"},
        {"name == \"a\\x00\"", "9: a text or a name ends at a NUL"},
        {"name == \" \\t\"", "9: a host takes a text or a name of nothing but blanks for an empty one"},
        {"title == \"\xC3\xA4\"",
         "10: a host reads each byte of a WString for a character: only ASCII is the same everywhere"},
        {"titles == {\"a\"}", "11: a host cannot read a Container[WString] from a condition"},
        {"words == {\"a\", \"b\\\";\\\"c\"}",
         "16: a host cannot tell where this text ends, for its quotes and semicolons"},
        {"words == {\";\"}", "11: a host cannot tell where this text ends, for its quotes and semicolons"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.text);
        CHECK(outcomeOfText(given.text) == given.outcome);
        CHECK(mCondition.document == "");
    }
    mVariables.clear();
    CHECK(outcomeOfText("speed > 3") == "1: there is no variable \"speed\"");
}

TEST_CASE_FIXTURE(ConditionTest, "a condition is nested as deep as a host takes it, however long it is") {
    const std::string tooDeep = "nested too deep: a host takes 256 expressions inside of each other";
    const std::string deepest = repeated("on && (", 254) + "on && on" + repeated(")", 254);
    CHECK(outcomeOfText(deepest) == deepest);
    CHECK(outcomeOfText(repeated("on && (", 256) + "on" + repeated(")", 256)) == "4: " + tooDeep);
    CHECK(outcomeOfText(repeated("!", 255) + "on") == repeated("!", 255) + "on");
    CHECK(outcomeOfText(repeated("!", 256) + "on") == "1: " + tooDeep);
    CHECK(outcomeOfText(repeated("on || ", 255) + "on") == repeated("on || ", 255) + "on");
    CHECK(outcomeOfText(repeated("on || ", 100000) + "on") == std::to_string(256 * 6 - 2) + ": " + tooDeep);
    CHECK(outcomeOfText(repeated("(", 500) + "on" + repeated(")", 500)) == "on");
    for (const char* const endless : {"(", "!", "!(", "on&&(", "{", "at.GetDistance(", "1+(2*(", "on||on&&on==("}) {
        CAPTURE(endless);
        CHECK(outcomeOfText(repeated(endless, 100000)).ends_with(tooDeep));
    }
    const std::string text(1000000, 'x');
    CHECK(outcomeOfText("name == \"" + text + "\"") == "name == \"" + text + "\"");
    const std::string list = "list == {" + repeated("-1, ", 20000) + "1}";
    CHECK(outcomeOfText(list) == list);
}

TEST_CASE_FIXTURE(ConditionTest, "nothing is left of a condition for which there is no memory") {
    const std::string text = "on && (words == {\"" + std::string(100000, 'x') + "\"} || name == \"x\")";
    const AssertionRecorder recorder;
    int64 granted = 0;
    for (bool isDone = false; !isDone; ++granted) {
        ConditionError error;
        getMemory().failAfter(granted);
        try {
            isDone = compileCondition(text, mVariables, mCondition, error);
        } catch (Exceptions::Exception* exception) {
            const Exceptions::Holder holder(exception);
        }
        getMemory().failNever();
        CHECK(error.text == "");
        CHECK((mCondition.document != "") == isDone);
        Library::getTempAlloc()->freeUnusedMemory();
    }
    CHECK(granted > 5);
}
