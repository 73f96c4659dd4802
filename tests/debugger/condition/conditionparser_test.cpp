#include "common/debugger/condition/conditionparser.h"

#include "tests/debugger/condition/conditiontest.h"

using namespace Tarq::Test;

namespace {

struct Walker {
    bool isOn = false;
    int32 count = 4;
    uint32 size = 9;
    int64 total = int64{1} << 40;
    float speed = 1.5F;
    double weight = 2;
    String name = "ann";
    WString title = L"Dr";
    Math::Vec3<float> position{3, 4, 0};
    Math::Vec2<int32> cell{6, 7};
    Container::Vector<int32> list{Memory::AllocatorPtr(), {4, 5}};
};

struct WalkerTest : ConditionTest {
    WalkerTest() {
        declare("isOn", mWalker.isOn);
        declare("count", mWalker.count);
        declare("size", mWalker.size);
        declare("total", mWalker.total);
        declare("speed", mWalker.speed);
        declare("weight", mWalker.weight);
        declare("name", mWalker.name);
        declare("title", mWalker.title);
        declare("position", mWalker.position);
        declare("cell", mWalker.cell);
        declare("list", mWalker.list);
        makeInstance();
    }
    Walker mWalker;
};

const Body cIsOn = variable("Boolean", "isOn"), cNumber = variable("Integer32", "count");
const Body cUnsignedSize = variable("UnsignedInteger32", "size"), cSum = variable("Integer64", "total");
const Body cRate = variable("Float", "speed"), cMass = variable("Double", "weight"), cWho = variable("String", "name");
const Body cTitle = variable("WString", "title"), cPosition = variable("Vec3f", "position");
const Body cCell = variable("Vec2i32", "cell"), cList = variable("Container[Integer32]", "list");
const Body cFive = lit("Integer32", "5"), cFirst = lit("UnsignedInteger32", "0");

std::string formula(const Body& body) {
    return element("condition", body);
}

const std::string cIncomplete = "the expression is not complete, or of an unknown kind";
const std::string cParser = "common/parser/formula/internal/expressionparser: ";
const std::string cNotImplemented =
    "common/debugger/condition/debuggervariableresolver: \nError Message: not implement "
    "and should not be calld in debugger";

std::string requiredTag(const std::string& name) {
    return "common/parser/xml/xmltreereader: \nError Message: In 'condition' the tag '" + name + "' is required !";
}

std::string nestedNegations(int count) {
    std::string inside = expression("Boolean", "value", "><value>1</value>");
    while (--count > 0)
        inside = negated(inside);
    return inside;
}

} // namespace

TEST_CASE_FIXTURE(WalkerTest, "a condition sees what the host's variables are at that moment") {
    const struct {
        const char* name;
        Body body;
        const char* value;
        void (*change)(Walker& walker);
        const char* valueThen;
    } cases[] = {
        {"a flag", cIsOn, "false", [](Walker& of) { of.isOn = true; }, "true"},
        {"a negated one", negated(cIsOn), "true", [](Walker& of) { of.isOn = true; }, "false"},
        {"a number and a literal", op("equal", cNumber, cFive), "false", [](Walker& of) { of.count = 5; }, "true"},
        {"numbers of two signs", op("greater", cNumber, cUnsignedSize), "false", [](Walker& of) { of.size = 3; },
         "true"},
        {"a long number", op("unequal", cSum, lit("Integer64", "1099511627776")), "false",
         [](Walker& of) { of.total = 0; }, "true"},
        {"a computed number", op("smaller", op("mul", cRate, lit("Float", "2")), lit("Float", "3.5")), "true",
         [](Walker& of) { of.speed = 1.75F; }, "false"},
        {"a text", op("equal", cWho, lit("String", "ann")), "true", [](Walker& of) { of.name = "bea"; }, "false"},
        {"a wide text", op("equal", cTitle, lit("WString", "Dr")), "true", [](Walker& of) { of.title = L"Dra"; },
         "false"},
        {"three terms",
         op("and", op("or", cIsOn, op("smaller", cRate, lit("Float", "2"))), op("equal", cNumber, cFive)), "false",
         [](Walker& of) { of.count = 5; }, "true"},
        {"a vector", op("equal", cPosition, lit("Vec3f", "3 4 0")), "true", [](Walker& of) { of.position.mZ = 1; },
         "false"},
        {"the length of a vector", op("equal", memberCall(cPosition, "GetLength"), lit("Float", "5")), "true",
         [](Walker& of) { of.position.mX = 5; }, "false"},
        {"a component", op("equal", memberCall(cCell, "GetComponent", {lit("UnsignedInteger32", "1")}), cNumber),
         "false", [](Walker& of) { of.count = 7; }, "true"},
        {"a distance between variables", op("equal", memberCall(cPosition, "GetDistance", {cPosition}), cRate), "false",
         [](Walker& of) { of.speed = 0; }, "true"},
        {"the length of a text", op("greater", memberCall(cWho, "GetLength"), lit("UnsignedInteger32", "3")), "false",
         [](Walker& of) { of.name = "anna"; }, "true"},
        {"the size of a list", op("equal", memberCall(cList, "Size"), lit("UnsignedInteger32", "2")), "true",
         [](Walker& of) { of.list.push_back(6); }, "false"},
        {"an element of a list", op("equal", memberCall(cList, "GetElement", {cFirst}), cNumber), "true",
         [](Walker& of) { of.list[0] = 3; }, "false"},
        {"none at all", lit("Boolean", "true"), "true", [](Walker&) {}, "true"},
    };
    const Walker before = mWalker;
    for (const auto& tried : cases) {
        CAPTURE(tried.name);
        const Node node = parse(tried.body);
        CHECK(valueOf(*node) == tried.value);
        CHECK(valueOf(*node) == tried.value);
        tried.change(mWalker);
        CHECK(valueOf(*node) == tried.valueThen);
        mWalker = before;
        CHECK(valueOf(*node) == tried.value);
    }
}

TEST_CASE_FIXTURE(WalkerTest, "member functions of conditions work on copies") {
    using PositionType = Datatype::Datatype<Math::Vec3<float>>;
    auto& datatype = static_cast<PositionType&>(*Datatype::TypedDatatype<Math::Vec3<float>>::getInstance());
    datatype.getFunctions().registerMemberFunction(
        "Grow", +[](Math::Vec3<float>& of) { return ++of.mX; });
    auto& listType = static_cast<Datatype::Datatype<Container::Vector<int32>>&>(
        *Datatype::TypedDatatype<Container::Vector<int32>>::getInstance());
    listType.getFunctions().registerMemberFunction(
        "Pop", +[](Container::Vector<int32>& of) {
            of.clear();
            return true;
        });
    const Node grown = parse(op("equal", memberCall(cPosition, "Grow"), lit("Float", "4")));
    const Node emptied = parse(memberCall(cList, "Pop"));
    for (int round = 0; round < 2; ++round) {
        CHECK(valueOf(*grown) == "true");
        CHECK(valueOf(*emptied) == "true");
    }
    CHECK((mWalker.position.mX == 3 && mWalker.list.size() == 2));
}

TEST_CASE_FIXTURE(WalkerTest, "a bad condition says why it is refused") {
    const struct {
        const char* name;
        std::string document;
        std::string error, reports;
    } cases[] = {
        {"nothing", "", "XMLParser: Invalid XML format. Found nodetype : -4 (line 1, row 0)", ""},
        {"white space", " \n ", "XMLParser: Invalid XML format. Found nodetype : -4 (line 1, row 0)", ""},
        {"no markup", "speed > 3", "XMLParser: Invalid XML format. Found nodetype : -4 (line 1, row 0)", ""},
        {"an end in a tag", "<condition datatype=\"Boolean\"",
         "XMLParser: Invalid XML format. Found nodetype : -4 (line 1, row 0)", ""},
        {"an end in a text", "<condition><value>1", "XMLParser: End of buffer reached. (line 1, row 19)", ""},
        {"an end without the end tag", "<condition>\n <value>1</value>",
         "XMLParser: End of buffer reached. (line 2, row 18)", ""},
        {"tags that do not fit", "<condition><value>1</lhs></condition>",
         "XMLParser: Name in starttag and endtag are not equal (line 1, row 25)", ""},
        {"a value without quotes", "<condition datatype=Boolean/>",
         "XMLParser: First tag must be a root node (line 1, row 0)", ""},
        {"a document type", "<!DOCTYPE condition><condition></condition>",
         "XMLParser: Invalid XML format. Found nodetype : -4 (line 1, row 0)", ""},
        {"zeros", std::string("<condition\0\0></condition>", 26),
         "XMLParser: Invalid character '" + std::string(1, '\0') + "' in name. (line 1, row 10)", ""},
        {"a text for a root", "<condition>1</condition>", "XMLParser: First tag must be a root node (line 1, row 0)",
         ""},
        {"an included file", "<condition><xi:include href=\"/etc/passwd\"/></condition>",
         "XMLParser: We have no FileSystem defined, but there is an xi:include tag in the current xml definition (line "
         "1, row 43)",
         ""},
        {"an included operand",
         element("condition",
                 expression("Boolean", "unaryoperator", " operatortype=\"not\"><xi:include href=\"value.xml\"/>")),
         "XMLParser: We have no FileSystem defined, but there is an xi:include tag in the current xml definition (line "
         "1, row 110)",
         ""},
        {"an entity", "<!ENTITY x \"y\"><condition></condition>",
         "XMLParser: Invalid XML format. Found nodetype : -4 (line 1, row 0)", ""},
        {"no data type", "<condition></condition>", cIncomplete, requiredTag("datatype")},
        {"no kind", "<condition datatype=\"Boolean\"></condition>", cIncomplete, requiredTag("expressiontype")},
        {"a data type that is unknown", formula(variable("Bool", "isOn")), "expression is of unknown datatype: Bool",
         ""},
        {"a data type that has no values", formula(lit("void", "1")), "expression is of unknown datatype: void", ""},
        {"a kind that is unknown", formula(expression("Boolean", "guess", ">")), cIncomplete,
         cNotImplemented + "; common/parser/formula/internal/expressionparser: customMathValue != NULL || "
                           "errorMsg.existsError()\nError Message: unknown or not implemented expressiontype: guess"},
        {"a constant", formula(expression("Boolean", "constant", "><name>isOn</name>")),
         "expression is not known to the resolver: constant", cNotImplemented},
        {"a constant inside", formula(negated(expression("Boolean", "constant", "/"))),
         "expression is not known to the resolver: constant", cNotImplemented},
        {"a variable that is unknown", formula(variable("Boolean", "hidden")), "unknown variable: hidden", ""},
        {"a variable in other letters", formula(variable("Boolean", "ison")), "unknown variable: ison", ""},
        {"a variable that is unknown on the right", formula(op("equal", cNumber, variable("Integer32", "counts"))),
         "unknown variable: counts", ""},
        {"a variable that is an argument",
         formula(memberCall(cList, "GetElement", {variable("UnsignedInteger32", "index")})), "unknown variable: index",
         ""},
        {"a variable without a name", formula(expression("Boolean", "variable", "/")),
         "XMLParser: First tag must be a root node (line 1, row 0)", ""},
        {"a name that is an attribute", formula(var("Boolean", "isOn")),
         "XMLParser: First tag must be a root node (line 1, row 0)", ""},
        {"a name that has children", formula(expression("Boolean", "variable", "><name><a/></name>")),
         "expression is not known to the resolver: variable", requiredTag("name")},
        {"an empty name", formula(variable("Boolean", "")), "unknown variable: ", ""},
        {"a literal without a value", formula(expression("Boolean", "value", ">")), cIncomplete, requiredTag("value")},
        {"a literal without a text form", formula(lit("Container[WString]", "{}")), cIncomplete,
         "common/reflection/datatype/datatypebase: mParseFunction\nError Message: no parse function defined for type: "
         "Container[WString]; " +
             requiredTag("value")},
        {"an unknown unary operator", formula(expression("Boolean", "unaryoperator", " operatortype=\"minus\">")),
         cIncomplete, cParser + "\nError Message: unknown or not implemented unary operator: minus"},
        {"a unary operator without a name", formula(expression("Boolean", "unaryoperator", ">")), cIncomplete,
         requiredTag("operatortype")},
        {"a negation of nothing", formula(expression("Boolean", "unaryoperator", " operatortype=\"not\">")),
         "not operator does not contain a value", ""},
        {"a negated number", formula(negated(cNumber)), "cannot apply not operator on other types than bool", ""},
        {"an unknown operator", formula(op("xor", cIsOn, cIsOn)), cIncomplete,
         cParser + "\nError Message: unknown or not implemented binary operator: xor"},
        {"an operator without a name", formula(expression("Boolean", "binaryoperator", ">")), cIncomplete,
         requiredTag("operatortype")},
        {"an operator without operands", formula(expression("Boolean", "binaryoperator", " operatortype=\"and\">")),
         "binary operator does not contain a left hand side operand: and", ""},
        {"an operator with one operand",
         formula(expression("Boolean", "binaryoperator", " operatortype=\"and\">" + element("lhs", cIsOn))),
         "binary operator does not contain a right hand side operand: and", ""},
        {"operands in the wrong order",
         formula(expression("Boolean", "binaryoperator",
                            " operatortype=\"and\">" + element("rhs", cIsOn) + element("lhs", cIsOn))),
         "binary operator does not contain a left hand side operand: and", ""},
        {"an operand that is a text",
         formula(expression("Boolean", "binaryoperator", " operatortype=\"and\"><lhs>1</lhs><rhs>2</rhs>")),
         "binary operator does not contain a left hand side operand: and", ""},
        {"operands of different types", formula(op("equal", cNumber, lit("Float", "5"))),
         "binary operator cannot be applied on different datatypes: \"equal\". Datatype left: \"Integer32\". Datatype "
         "right: \"Float\".",
         ""},
        {"a text and a number", formula(op("equal", cWho, cFive)),
         "binary operator cannot be applied on different datatypes: \"equal\". Datatype left: \"String\". Datatype "
         "right: \"Integer32\".",
         ""},
        {"numbers that are connected", formula(op("and", cNumber, cNumber)),
         "datatype: \"Integer32\" does not support And", ""},
        {"lists that are added", formula(op("add", cList, cList)),
         "datatype: \"Container[Integer32]\" does not support addition", ""},
        {"vectors that are multiplied", formula(op("mul", cPosition, cPosition)),
         "datatype: \"Vec3f\" does not support multiplication", ""},
        {"a function", formula(call("f", {cNumber})), "unknown function or wrong signature: \"f\"", ""},
        {"a function without a name", formula(expression("Boolean", "function", ">")), cIncomplete,
         requiredTag("functionname") + "; " + requiredTag("argumentlist")},
        {"a member that is unknown", formula(memberCall(cPosition, "GetSize")),
         "\"Vec3f\" does not provide an memberfunction: \"GetSize\" with this signature", ""},
        {"a member with a wrong argument", formula(memberCall(cCell, "GetComponent", {cRate})),
         "\"Vec2i32\" does not provide an memberfunction: \"GetComponent\" with this signature", ""},
        {"a member of a number", formula(memberCall(cNumber, "GetLength")),
         "\"Integer32\" does not provide an memberfunction: \"GetLength\" with this signature", ""},
        {"a member that changes its object", formula(memberCall(cList, "Clear")), cIncomplete,
         "common/parser/formula/internal/nodefactory: returnValueType != DatatypeID() && returnValueType != "
         "GET_DATATYPE_ID(void)\nError Message: cannot use functions inside a function without returnvalue or unknown "
         "returnvaluetype"},
        {"a member without an object", formula(expression("Boolean", "memberfunction", ">" + callOf("Size", {}))),
         cIncomplete, requiredTag("value")},
        {"more than ten arguments", formula(memberCall(cCell, "GetComponent", std::vector<Body>(11, cFirst))),
         "\"Vec2i32\" does not provide an memberfunction: \"GetComponent\" with this signature", ""},
        {"one level too deep", formula(nestedNegations(257)), "expression is nested too deep, at most 256", ""},
        {"far too deep", formula(nestedNegations(5000)), "expression is nested too deep, at most 256", ""},
    };
    for (const auto& bad : cases) {
        CAPTURE(bad.name);
        String text;
        Node node;
        const std::string seen = outcomeOf([&] { node = parseDocument(bad.document, text); });
        CHECK(!node);
        CHECK(std::string(text.view()) == bad.error);
        CHECK(seen == bad.reports);
    }
}

TEST_CASE_FIXTURE(WalkerTest, "the document begins where the stream is, and may come in any pieces") {
    const std::string document = element("condition", op("equal", cNumber, lit("Integer32", "4")));
    const std::string padding(5000, ' ');
    for (const std::string& text : {document, padding + document + padding}) {
        RecordingStream stream("<no/>" + text);
        stream.seek(5, IO::Stream::SORIGIN_BEGIN);
        stream.limitReads(text.size() < 5000 ? 1 : 100);
        String error;
        const Node node = Debugger::parseCondition(stream, mResolver, allocator(), error);
        CHECK(error == "");
        REQUIRE(node);
        CHECK(valueOf(*node) == "true");
        CHECK(stream.getPosition() == stream.getLength());
    }
    RecordingStream broken(document);
    broken.failAt(2);
    String error;
    CHECK(!Debugger::parseCondition(broken, mResolver, allocator(), error));
    CHECK(error == "test failure");
}

TEST_CASE_FIXTURE(WalkerTest, "nothing is left behind where the memory is exhausted") {
    const std::string document =
        element("condition", op("and", op("equal", cWho, lit("String", std::string(50, 'n'))),
                                op("equal", memberCall(cList, "GetElement", {cFirst}), cNumber)));
    const CountingMemoryPtr memory(new CountingMemory);
    {
        const Memory::AllocatorPtr nodes(::new (memory->allocate(sizeof(Callback::CallbackAllocator)))
                                             Callback::CallbackAllocator("", memory));
        Debugger::DebuggerVariableResolver resolver(nodes, mType);
        Node node;
        int64 granted = 0;
        for (; !node; ++granted) {
            RecordingStream stream(document);
            String error;
            memory->failAfter(granted);
            const std::string outcome =
                outcomeOf([&] { node = Debugger::parseCondition(stream, resolver, nodes, error); });
            memory->failNever();
            if (!node) {
                REQUIRE(outcome != "");
                REQUIRE(memory->getBlocks() == 1);
            }
        }
        CHECK(granted > 10);
        CHECK(valueOf(*node) == "false");
    }
    CHECK(memory->getBlocks() == 0);
}
