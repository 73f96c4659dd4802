#include "common/parser/xml/xmlnode.h"

#include "tests/parser/xml/documents.h"
#include "tests/support/librarytest.h"

#include <cmath>
#include <limits>

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;
using namespace Tarq::Test;

namespace {

/// A document, and its root for as long as it lasts.
struct Parsed {
    explicit Parsed(std::string document)
        : text(std::move(document)), root(parser.parseBuffer(text.data(), static_cast<uint32>(text.size()), false)) {}

    std::string text;
    XMLParser parser;
    XMLNodeElements* root;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "children are read in their order, each expected by its name") {
    const Parsed parsed("<r><a>1</a><b>2</b><c/><d><x/></d></r>");
    XMLNodeElements* const root = parsed.root;
    const XMLNode* const a = root->elements.front();
    CHECK(root->getCurrentNode() == nullptr);
    CHECK(root->getNextNode("b") == nullptr);
    CHECK(root->getNextNode(nullptr) == nullptr);
    CHECK(root->getCurrentNode() == nullptr);
    CHECK(root->getNextNode("a") == a);
    CHECK(root->getCurrentNode() == a);
    CHECK(!root->checkNextEmpty("b"));
    CHECK(root->getNextElements("b") == nullptr); // passed, though it is a text
    CHECK(!root->checkNextEmpty("b"));
    CHECK(root->checkNextEmpty("c"));
    CHECK(root->getNextElements("c")->isEmpty());
    CHECK(!root->atLastNode());
    CHECK(root->getNextElements("d")->elements.size() == 1);
    CHECK(root->atLastNode());
    CHECK(root->getNextNode("d") == nullptr);
    CHECK(root->getNextNode() == nullptr);
    CHECK(!root->checkNextEmpty("d"));
    CHECK(root->getCurrentNode() == root->getLastElement());
    root->initSearch();
    CHECK(root->getCurrentNode() == nullptr);
    CHECK(root->getNextNode() == a);
}

TEST_CASE_FIXTURE(LibraryTest, "values are read from texts and empty elements") {
    const Parsed parsed("<r><a> -12x</a><a/><a></a><a><b/></a></r>");
    XMLNodeElements* const root = parsed.root;
    const char* text = "before";
    CHECK((root->getNextText(text, "a") && std::string(text) == " -12x"));
    CHECK((root->getNextText(text, "a") && std::string(text).empty()));
    CHECK((text = "before", root->getNextText(text, "a") && std::string(text).empty()));
    CHECK((text = "before", !root->getNextText(text, "a") && std::string(text) == "before"));
    CHECK((!root->getNextText(text, "a") && root->atLastNode()));

    int32 number = 7;
    root->initSearch();
    CHECK((!root->getNextInt32(number, "b") && number == 7));
    CHECK((root->getNextInt32(number, "a") && number == -12));
    CHECK((root->getNextInt32(number, "a") && number == 0));
    CHECK((number = 7, !root->getNextInt32(number, "a") && number == 7));
    CHECK((!root->getNextInt32(number, "a") && number == 7));
    CHECK(root->atLastNode());
}

TEST_CASE_FIXTURE(LibraryTest, "every kind of value is read under its name") {
    const Parsed parsed(
        "<r><n>-1.5/2/3</n><n>-1.5/2/3</n><n>4294967297</n><n>-5000000000</n><n>18446744073709551615</n>"
        "<n>0.1</n><n>1e300</n><n>1.5/2/3</n><n>-1/2/-3</n><n>1/2/4294967295</n><n>0.5/-1</n>"
        "<n>-7/8</n><n>7/-1</n><n>TRUE story</n></r>");
    XMLNodeElements* const root = parsed.root;
    int32 int32Value = 0;
    uint32 uint32Value = 0;
    int64 int64Value = 0;
    uint64 uint64Value = 0;
    float floatValue = 0;
    double doubleValue = 0;
    Math::Vec3f vec3f;
    Math::Vec3i vec3i;
    Math::Vec3u vec3u;
    Math::Vec2f vec2f;
    Math::Vec2i vec2i;
    Math::Vec2u vec2u;
    bool boolValue = false;
    CHECK((root->getNextInt32(int32Value, "n") && int32Value == -1));
    CHECK((root->getNextUInt32(uint32Value, "n") && uint32Value == 0xFFFFFFFF));
    CHECK((root->getNextUInt32(uint32Value, "n") && uint32Value == 1));
    CHECK((root->getNextInt64(int64Value, "n") && int64Value == -5000000000));
    CHECK((root->getNextUInt64(uint64Value, "n") && uint64Value == std::numeric_limits<uint64>::max()));
    CHECK((root->getNextFloat32(floatValue, "n") && floatValue == 0.1F));
    CHECK((root->getNextFloat64(doubleValue, "n") && doubleValue == 1e300));
    CHECK((root->getNextVec3f(vec3f, "n") && vec3f == Math::Vec3f{1.5F, 2, 3}));
    CHECK((root->getNextVec3i32(vec3i, "n") && vec3i == Math::Vec3i{-1, 2, -3}));
    CHECK((root->getNextVec3u32(vec3u, "n") && vec3u == Math::Vec3u{1, 2, 4294967295}));
    CHECK((root->getNextVec2f(vec2f, "n") && vec2f == Math::Vec2f{0.5F, -1}));
    CHECK((root->getNextVec2i32(vec2i, "n") && vec2i == Math::Vec2i{-7, 8}));
    CHECK((root->getNextVec2u32(vec2u, "n") && vec2u == Math::Vec2u{7, 4294967295}));
    CHECK((root->getNextBool(boolValue, "n") && boolValue));
    CHECK(root->atLastNode());
}

TEST_CASE_FIXTURE(LibraryTest, "numbers are read as the C library reads them") {
    struct Case {
        const char* text;
        int32 int32Value;
        int64 int64Value;
        uint64 uint64Value;
        double doubleValue;
    };
    constexpr double cInfinity = std::numeric_limits<double>::infinity();
    constexpr int64 cLargest = std::numeric_limits<int64>::max();
    const std::string longWithZero = "0" + std::string(400, '1');
    const std::string longWithExponent = std::string(400, '1') + "e-50";
    const std::string longFraction = "0." + std::string(400, '0') + "1e5";
    const Case cases[] = {
        {"", 0, 0, 0, 0},
        {"text", 0, 0, 0, 0},
        {" \t\n12.75", 12, 12, 12, 12.75},
        {"+12", 12, 12, 12, 12},
        {"-12e1", -12, -12, 0 - uint64{12}, -120},
        {"--1", 0, 0, 0, 0},
        {"+-1", 0, 0, 0, 0},
        {"- 1", 0, 0, 0, 0},
        {".5", 0, 0, 0, 0.5},
        {"2147483648", std::numeric_limits<int32>::min(), 2147483648, 2147483648, 2147483648.0},
        {"9223372036854775808", -1, std::numeric_limits<int64>::max(), 9223372036854775808ULL, 0x1p63},
        {"-9223372036854775809", 0, std::numeric_limits<int64>::min(), 9223372036854775807ULL, -0x1p63},
        {"99999999999999999999", -1, std::numeric_limits<int64>::max(), std::numeric_limits<uint64>::max(), 1e20},
        {"1e999", 1, 1, 1, cInfinity},
        {"-1e999", -1, -1, ~uint64{0}, -cInfinity},
        {"1e-999", 1, 1, 1, 0},
        {"0x1p3/2", 0, 0, 0, 8},
        {"0x10/2", 0, 0, 0, 16},
        {longWithZero.c_str(), -1, cLargest, ~uint64{0}, cInfinity},
        {longWithExponent.c_str(), -1, cLargest, ~uint64{0}, cInfinity},
        {longFraction.c_str(), 0, 0, 0, 0},
    };
    for (const Case& each : cases) {
        CAPTURE(each.text);
        const XMLNodeText node(nullptr, "n", each.text, allocator());
        CHECK(node.getInt32() == each.int32Value);
        CHECK(node.getInt64() == each.int64Value);
        CHECK(node.getUInt64() == each.uint64Value);
        CHECK(node.getFloat64() == each.doubleValue);
        CHECK(node.getFloat32() == static_cast<float>(each.doubleValue));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "components that are missing are 0") {
    const auto vectorOf = [this](const char* text) { return XMLNodeText(nullptr, "n", text, allocator()).getVec3f(); };
    CHECK(vectorOf("1/2") == Math::Vec3f{1, 2, 0});
    CHECK(vectorOf("1 /2/3") == Math::Vec3f{1, 0, 0});
    CHECK(vectorOf("1/ 2/ 3 4") == Math::Vec3f{1, 2, 3});
    CHECK(vectorOf("1,2,3") == Math::Vec3f{1, 0, 0});
    CHECK(vectorOf("/2/3") == Math::Vec3f());
    CHECK(XMLNodeText(nullptr, "n", "1/x", allocator()).getVec2i32() == Math::Vec2i{1, 0});
}

TEST_CASE_FIXTURE(LibraryTest, "flags have several spellings, and attributes are strict about them") {
    struct Case {
        const char* text;
        bool asText;
        int asAttribute; ///< -1 for none
    };
    const Case cases[] = {{"1", true, 1},      {"0", false, 0},      {"true", true, 1},   {"TRUE", true, 1},
                          {"tRuE", true, 1},   {"false", false, 0},  {"FALSE", false, 0}, {"falsehood", false, 0},
                          {"true ", true, -1}, {"truest", true, -1}, {"tru", false, -1},  {"fals", false, -1},
                          {"", false, -1},     {"yes", false, -1},   {"10", false, -1},   {" 1", false, -1},
                          {"01", false, -1},   {" true", false, -1}};
    for (const Case& each : cases) {
        CAPTURE(each.text);
        XMLNodeText node(nullptr, "n", each.text, allocator());
        CHECK(node.getBool() == each.asText);
        node.addAttribute("flag", each.text);
        for (const bool before : {false, true}) {
            bool value = before;
            CHECK(node.getAttributeBool(value, "flag") == (each.asAttribute >= 0));
            CHECK(value == (each.asAttribute >= 0 ? each.asAttribute == 1 : before));
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "attributes are found by name and have the last value") {
    XMLNodeElements node(nullptr, "n", allocator());
    CHECK((node.attributes.empty() && node.attributes.size() == 0 && !node.attributes.contains("a")));
    std::vector<std::string> names;
    for (int number = 0; number < 300; ++number)
        names.push_back("a" + std::to_string(number * 7919 % 300));
    for (const std::string& name : names)
        node.addAttribute(name.c_str(), "first");
    for (std::size_t at = 0; at < names.size(); at += 2)
        node.addAttribute(std::string(names[at]).c_str(), names[at].c_str());
    REQUIRE(node.attributes.size() == 300);
    for (std::size_t at = 0; at < names.size(); ++at)
        REQUIRE(node.getAttributeString(names[at].c_str()) == (at % 2 == 0 ? names[at] : "first"));
    CHECK(std::is_sorted(node.attributes.begin(), node.attributes.end(),
                         [](const auto& a, const auto& b) { return std::string(a.first) < b.first; }));
    CHECK(node.getAttributeString("a") == nullptr);
    CHECK(node.getAttributeString(nullptr) == nullptr);
    CHECK(node.attributes.find("a300") == node.attributes.end());
    CHECK(std::string(node.attributes.find("a299")->first) == "a299");
}

TEST_CASE_FIXTURE(LibraryTest, "the attributes of a document are found before and after they are put in order") {
    CHECK(Parsed("<r><a x=\"1\" x=\"2\"/></r>").root->elements.front()->attributes.size() == 1);
    for (const int count : {1, 3, 8, 9, 40, 2000}) {
        std::string tag = "<r><a";
        for (int number = 0; number < count; ++number)
            tag +=
                " n" + std::to_string(number * 7 % 10) + std::to_string(number) + "=\"" + std::to_string(number) + "\"";
        tag += " n00=\"last\"/></r>";
        const Parsed parsed(tag);
        XMLNode& node = *parsed.root->elements.front();
        const std::string wanted = "n" + std::to_string((count - 1) * 7 % 10) + std::to_string(count - 1);
        CHECK(std::string(node.getAttributeString("n00")) == "last");
        if (count > 1)
            CHECK(node.getAttributeString(wanted.c_str()) == std::to_string(count - 1));
        node.addAttribute("new", "value");
        CHECK(node.attributes.size() == static_cast<uint32>(count + 1));
        CHECK(std::string(node.attributes.begin()->first) == "n00");
        CHECK(std::string(node.getAttributeString("new")) == "value");
        CHECK(std::string(node.getAttributeString("n00")) == "last");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "attributes are read as numbers") {
    XMLNodeElements node(nullptr, "n", allocator());
    node.addAttribute("number", "-12.5");
    node.addAttribute("large", "4294967298");
    int32 int32Value = 7;
    uint32 uint32Value = 7;
    float floatValue = 7;
    bool boolValue = true;
    CHECK((!node.getAttributeInt32(int32Value, "none") && int32Value == 7));
    CHECK((!node.getAttributeUInt32(uint32Value, "none") && uint32Value == 7));
    CHECK((!node.getAttributeFloat32(floatValue, "none") && floatValue == 7));
    CHECK((!node.getAttributeBool(boolValue, "none") && boolValue));
    CHECK((node.getAttributeInt32(int32Value, "number") && int32Value == -12));
    CHECK((node.getAttributeInt32(int32Value, "large") && int32Value == 2));
    CHECK((node.getAttributeUInt32(uint32Value, "number") && uint32Value == 0xFFFFFFF4));
    CHECK((node.getAttributeUInt32(uint32Value, "large") && uint32Value == 2));
    CHECK((node.getAttributeFloat32(floatValue, "number") && floatValue == -12.5F));
}

TEST_CASE_FIXTURE(LibraryTest, "nodes of a caller's own are added and taken away") {
    XMLNodeElements root(nullptr, nullptr, allocator());
    XMLNodeText first(nullptr, "first", nullptr, allocator());
    XMLNodeElements second(nullptr, "second", allocator());
    root.addElement(&first);
    root.addElement(&second);
    CHECK((first.parent == &root && second.parent == &root && root.getLastElement() == &second));
    CHECK(shown(root) == "(first\"\" second())");
    CHECK(outcomeOf([&] { root.addElement(&first); }) ==
          "common/parser/xml/xmlnode: node is nobody's child\nError Message: The node 'first' is a child already");
    CHECK(outcomeOf([&] { root.addElement(&root); }) ==
          "common/parser/xml/xmlnode: node != this\nError Message: The node '' cannot be its own child");
    CHECK(outcomeOf([&] { root.addElement(nullptr); }) ==
          "common/parser/xml/xmlnode: node\nError Message: There is no node to add");
    root.getNextNode();
    root.getNextNode();
    CHECK(root.removeLastElement() == &second);
    CHECK((second.parent == nullptr && root.getCurrentNode() == &first && root.atLastNode()));
    second.addElement(root.removeLastElement());
    CHECK((root.removeLastElement() == nullptr && root.elements.empty() && root.getCurrentNode() == nullptr));
    CHECK(shown(second) == "second(first\"\")");
}
