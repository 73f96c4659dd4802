#include "common/parser/formula/functionenvironment.h"

#include "tests/parser/formula/formulatest.h"

using namespace Tarq::Test;

namespace {

const std::string cReader = "common/parser/xml/xmltreereader: \nError Message: In 'formulas'->'formula'";
const std::string cNoResult =
    "common/parser/formula/internal/nodefactory: returnValueType != DatatypeID() && returnValueType != "
    "GET_DATATYPE_ID(void)\nError Message: cannot use functions inside a function without returnvalue or unknown "
    "returnvaluetype";
const std::string cCaller = "common/parser/formula/functionmathvalue: ";
const std::string cRegistrar = "common/reflection/function/functionregistrar: \nError Message: ";

std::string joined(bool first, const String& a, const auto& b, const auto& c) {
    return shownValue(first) + " " + shownValue(a) + " " + shownValue(b) + " " + shownValue(c);
}

struct FunctionsTest : FormulaTest {
    FunctionsTest() {
        const auto add = [&](const char* name, auto function) { mRegistrar.registerFunction(name, function); };
        add(
            "yes", +[] { return true; });
        add(
            "twice", +[](int32 of) { return of * 2; });
        add(
            "half", +[](uint32 of) { return of / 2; });
        add(
            "wide", +[](int64 of) { return of << 8; });
        add(
            "root", +[](float of) { return of * of; });
        add(
            "text", +[](const String& of) { return of + "!"; });
        add(
            "exact", +[](double of) { return of / 4; });
        add(
            "moved", +[](const Math::Vec2<float>& of) { return of; });
        add(
            "mixed", +[](const Colour& a, const Colour& b) { return a + b; });
        add(
            "nothing", +[](int32) {});
        add(
            "sum", +[](int32 a, int32 b, int32 c, int32 d, int32 e, int32 f, int32 g, int32 h, int32 i, int32 j) {
                return a + 2 * (b + c + d + e + f + g + h + i) + 3 * j;
            });
        // Values whose places do not suit them, in the list and behind its end.
        add(
            "after", +[](bool a, float b) { return a ? b : -b; });
        add(
            "after", +[](bool a, int64 b) { return a ? b : -b; });
        add(
            "after", +[](bool a, double b) { return a ? b : -b; });
        add(
            "after", +[](bool a, const String& b) { return a ? b : ""; });
        add(
            "after", +[](bool a, const Colour& b, bool c, const Math::Vec2<float>& d) {
                return a && c ? d[1] : static_cast<float>(b.grey);
            });
        add(
            "joined", +[](bool a, const String& b, int64 c, double d) { return String(joined(a, b, c, d).c_str()); });
        add(
            "joined", +[](bool a, const String& b, const String& c, bool d, const String& e) {
                return String((joined(a, b, c, d) + " " + e.c_str()).c_str());
            });
    }
};

struct FormulaCase {
    const char* name;
    Body body;
    std::string outcome;
};

} // namespace

TEST_CASE_FIXTURE(FunctionsTest, "calls have the values of their functions, whatever their types and places are") {
    const FormulaCase cases[] = {
        {"without arguments", call("yes"), "true"},
        {"Integer32", call("twice", {cCount}), "14"},
        {"UnsignedInteger32", call("half", {cSize}), "4"},
        {"Integer64", call("wide", {cTotal}), "281474976710656"},
        {"Float", call("root", {cSpeed}), "2.25"},
        {"String", call("text", {cName}), "north!"},
        {"a constant text", call("text", {lit("String", "")}), "!"},
        {"Double", call("exact", {cWeight}), "0.025"},
        {"a vector", call("moved", {cAt}), "(3,4)"},
        {"a type of the host", call("mixed", {cTint, lit(cColour, "3")}), "grey8"},
        {"unsigned for signed", call("twice", {lit("UnsignedInteger32", "-1")}), "-2"},
        {"signed for unsigned", call("half", {lit("Integer32", "-1")}), "2147483647"},
        {"ten arguments", call("sum", std::vector<Body>(10, cCount)), "140"},
        {"as an operand", op("add", call("twice", {cCount}), op("mul", call("twice", {cCount}), cTwo)), "42"},
        {"of the pair", op("sub", call("twice", {cCount}), call("half", {cSize})), "10"},
        {"without types to compute with", op("add", call("moved", {cAt}), cAt), "(6,8)"},
        {"calls in calls", call("twice", {call("twice", {op("add", cCount, call("twice", {cCount}))})}), "84"},
        {"a float behind a truth", call("after", {cOn, cSpeed}), "1.5"},
        {"an Integer64 behind a truth", call("after", {negated(cOn), cTotal}), "-1099511627776"},
        {"a double behind a truth", call("after", {cOn, cWeight}), "0.1"},
        {"a text behind a truth", call("after", {cOn, cName}), "north"},
        {"a sum behind a truth", call("after", {cOn, op("add", cName, cWest)}), "northwest"},
        {"a vector behind truths", call("after", {cOn, cTint, cOn, cAt}), "4"},
        {"all behind a truth", call("joined", {cOn, cName, cTotal, cWeight}), "true north 1099511627776 0.1"},
        {"texts behind the end", call("joined", {cOn, cName, cName, negated(cOn), call("text", {cName})}),
         "true north north false north!"},
        {"a member of a text", memberCall(lit("String", "four"), "GetLength"), "4"},
        {"a member of a field", memberCall(cName, "GetLength"), "5"},
        {"a member of a sum", memberCall(op("add", cName, cName), "GetLength"), "10"},
        {"a member with a float", memberCall(cAt, "GetLength"), "5"},
        {"a member of a call", memberCall(call("moved", {cAt}), "GetDistance", {cAt}), "0"},
        {"an index of the other sign", memberCall(cAt, "GetComponent", {cOne}), "4"},
        {"an Integer32 of a container", memberCall(lit("Container[Integer32]", "{5;6}"), "GetElement", {cUnsigned}),
         "6"},
        {"an Integer64 of a container",
         memberCall(lit("Container[Integer64]", "{5;6}"), "GetElement", {lit("UnsignedInteger32", "0")}), "5"},
        {"a truth of a container", memberCall(lit("Container[Boolean]", "{0;1}"), "GetElement", {cUnsigned}), "true"},
        {"a text of a container",
         memberCall(lit("Container[String]", "{\"a\";\"b\"}"), "GetElement", {lit("UnsignedInteger32", "0")}), "a"},
        {"a type of the host of a member", memberCall(cTint, "Mixed", {cGrey}), "grey7"},
        {"a copy that is changed", memberCall(cGrey, "Brighten", {cCount}), "9"},
        {"a distant variable that is copied", memberCall(var(cColour, "distant colour"), "Brighten", {cCount}), "12"},
        {"a member as an operand", op("div", memberCall(cAt, "GetLength"), lit("Float", "2")), "2.5"},
    };
    for (const FormulaCase& each : cases) {
        CAPTURE(each.name);
        CHECK(outcomeOfFormula(each.body) == each.outcome);
    }
    CHECK(mPlace.colour.grey == 5);
}

TEST_CASE_FIXTURE(FunctionsTest, "a member of a variable that has an address works on the variable") {
    for (const char* const name : {"colour", "host colour"}) {
        mPlace.colour.grey = 5;
        const Node node = parse(memberCall(var(cColour, name), "Brighten", {cTwo}));
        CHECK((valueOf(*node) == "7" && valueOf(*node) == "9" && mPlace.colour.grey == 9));
        CHECK((valueOf(*Node(node->clone())) == "11" && mPlace.colour.grey == 11));
    }
}

TEST_CASE_FIXTURE(FunctionsTest, "calls that do not fit are refused, and say why") {
    mDeclarations->createFunctionDeclaration("unknown", Types(allocator(), 1, Datatype::DatatypeID()));
    mDeclarations->createFunctionDeclaration(
        "odd", Types(allocator(), {Datatype::GET_DATATYPE_ID<float>(), Datatype::DatatypeID()}));
    const std::string required = " is required !";
    const std::string name = "<functionname>twice</functionname>",
                      arguments = "<argumentlist>" + element("argument", cOne) + "</argumentlist>";
    const auto callWith = [](const std::string& rest) { return expression("Float", "function", ">" + rest); };
    const auto memberWith = [](const std::string& rest) { return expression("Float", "memberfunction", ">" + rest); };
    const auto unknown = [](const std::string& called) {
        return "unknown function or wrong signature: \"" + called + "\"";
    };
    const auto noMember = [](const std::string& type, const std::string& called) {
        return "\"" + type + "\" does not provide an memberfunction: \"" + called + "\" with this signature";
    };
    const std::string notBool = "cannot apply not operator on other types than bool";
    const FormulaCase cases[] = {
        {"an unknown function", call("thrice", {cOne}), unknown("thrice")},
        {"too few arguments", call("twice"), unknown("twice")},
        {"another argument", call("twice", {cHalf}), unknown("twice")},
        {"eleven arguments", call("sum", std::vector<Body>(11, cOne)), unknown("sum")},
        {"no name", callWith(arguments), cReader + " the tag 'functionname'" + required},
        {"a name with children", callWith("<functionname><a/></functionname>" + arguments),
         cReader + " the tag 'functionname'" + required},
        {"no list", callWith(name), cReader + " the tag 'argumentlist'" + required},
        {"neither", callWith("<a/>"),
         cReader + " the tag 'functionname'" + required + "; " + cReader + " the tag 'argumentlist'" + required},
        {"a text for a list", callWith(name + "<argumentlist>1</argumentlist>"),
         cReader + " the tag 'argumentlist'" + required},
        {"an argument by another name", callWith(name + "<argumentlist>" + element("value", cOne) + "</argumentlist>"),
         cReader + "->'argumentlist' the tag 'argument'" + required},
        {"a text for an argument", callWith(name + "<argumentlist><argument>1</argument></argumentlist>"),
         cReader + "->'argumentlist' the tag 'argument'" + required},
        {"a refused argument", call("sum", {cOne, cOne, negated(cOne)}), notBool},
        {"an argument without a type", call("twice", {var("Float", "untyped")}), unknown("twice")},
        {"an argument without a type, as declared", call("odd", {var("Float", "untyped")}), unknown("odd")},
        {"no result", call("nothing", {cOne}), cNoResult},
        {"a result of no type", call("unknown"), cNoResult},
        {"no object", memberWith("<functionname>GetLength</functionname><argumentlist/>"),
         cReader + " the tag 'value'" + required},
        {"a text for an object", memberWith("<value>a</value><functionname>GetLength</functionname><argumentlist/>"),
         cReader + " the tag 'value'" + required},
        {"a refused object", memberCall(negated(cOne), "GetLength"), notBool},
        {"no name of a member", memberWith(element("value", cNorth) + "<argumentlist/>"),
         cReader + " the tag 'functionname'" + required},
        {"no list of a member", memberWith(element("value", cNorth) + "<functionname>GetLength</functionname>"),
         cReader + " the tag 'argumentlist'" + required},
        {"a refused argument of a member", memberCall(cNorth, "GetLength", {negated(cOne)}), notBool},
        {"no such member", memberCall(cNorth, "GetWidth"), noMember("String", "GetWidth")},
        {"another signature of a member", memberCall(cNorth, "GetLength", {cOne}), noMember("String", "GetLength")},
        {"eleven arguments of a member", memberCall(cNorth, "GetLength", std::vector<Body>(11, cOne)),
         noMember("String", "GetLength")},
        {"a type without members", memberCall(cOne, "GetLength"), noMember("Integer32", "GetLength")},
        {"an object of no type", memberCall(var("Float", "untyped"), "GetLength"), noMember("", "GetLength")},
        {"no result of a member", memberCall(cTint, "Reset"), cNoResult},
    };
    for (const FormulaCase& each : cases) {
        CAPTURE(each.name);
        CHECK(outcomeOfFormula(each.body) == each.outcome);
    }
}

TEST_CASE_FIXTURE(FunctionsTest, "a list of arguments is appended as a whole, or not at all") {
    const auto parsed = [&](const std::vector<Body>& bodies, Container::Vector<MathValue*>& arguments) {
        const Document document(call("any", bodies));
        Expression::ErrorMsg error;
        return mEnvironment.parseFunctionArgumentList(arguments, document.get()->elements.back()->asElements(),
                                                      &mResolver, &mEnvironment, error);
    };
    Container::Vector<MathValue*> arguments(allocator());
    CHECK((parsed({}, arguments) && arguments.empty()));
    CHECK((parsed({cOne, cSpeed}, arguments) && arguments.size() == 2));
    CHECK(!parsed({cOne, negated(cOne)}, arguments));
    REQUIRE((parsed({lit("String", "a")}, arguments) && arguments.size() == 3));
    CHECK((valueOf(*arguments[0]) == "1" && valueOf(*arguments[1]) == "1.5" && valueOf(*arguments[2]) == "a"));
    for (MathValue* const argument : arguments)
        delete argument;
    arguments.clear();
    Expression::ErrorMsg error;
    const std::string nothing = outcomeOf([&] {
        CHECK(!mEnvironment.parseFunctionArgumentList(arguments, nullptr, &mResolver, &mEnvironment, error));
        CHECK(mEnvironment.getMathValue(nullptr, &mResolver, error) == nullptr);
    });
    CHECK(nothing.find("there is no list of arguments to parse") != nothing.npos);
    CHECK(nothing.find("there is no element to parse") != nothing.npos);
}

TEST_CASE_FIXTURE(FunctionsTest, "functions that formulas call are required of the registrar") {
    const FunctionID declared = mDeclarations->createFunctionDeclaration("distance", types<float, Math::Vec2<float>>());
    mRegistrar.registerFunction(
        "later", +[] { return 1; });
    FunctionRegistrar other(mDeclarations, allocator());
    const FunctionEnvironment copied(mEnvironment);
    FunctionEnvironment environment(FunctionDeclarationManagerPtr(), &other, mNodes);
    CHECK(environment.getFunctionDeclarations().isEmpty());
    const Body distance = call("distance", {cAt});
    const Document document(distance);
    Expression::ErrorMsg error;
    CHECK(environment.getMathValue(document.get(), &mResolver, error) == nullptr);
    CHECK(error.getText() == "unknown function or wrong signature: \"distance\"");

    environment = copied;
    CHECK(environment.getFunctionDeclarations() == mDeclarations);
    const Node refused = parse(op("smaller", distance, call("root", {distance})));
    CHECK(mRegistrar.getRequiredFunctions() ==
          FunctionRegistrar::FunctionIDs(allocator(), {declared, mRegistrar.getFunctionID("root", types<float>())}));
    CHECK(outcomeOf([&] { CHECK(!mRegistrar.checkRegisteredFunctions()); }) ==
          "common/reflection/function/functionregistrar: missing.empty()\nError Message: the following functions are "
          "not registered:\nFloat (*distance) (Vec2f)\n");
    document.get()->initSearch();
    const Node node(environment.getMathValue(document.get(), &mResolver, error));
    CHECK(outcomeOf([&] { CHECK(valueOf(*node) == "0"); }) ==
          cRegistrar + "try to call not registered functiondistance");
    mRegistrar.registerFunction(
        "distance", +[](const Math::Vec2<float>& of) { return of[0] + of[1]; });
    CHECK((mRegistrar.checkRegisteredFunctions() && valueOf(*node) == "7"));

    // Without a registrar, nobody is told.
    FunctionEnvironment silent(mDeclarations, nullptr, mNodes);
    const Document twice(call("twice", {cOne}));
    CHECK(valueOf(*Node(silent.getMathValue(twice.get(), &mResolver, error))) == "2");
    CHECK(mRegistrar.getRequiredFunctions().size() == 2);
}

TEST_CASE_FIXTURE(FunctionsTest, "a call that nobody can answer leaves the result as it is") {
    const auto typed = parse<TypedMathValue<int32>>(call("twice", {lit("Integer32", "4")}));
    const Node untyped = parse(call("mixed", {lit(cColour, "1"), cGrey}));
    TestAccessor accessor;
    int32 number = 5;
    Colour colour{6};
    const auto ask = [&](VariableAccessor* asked) {
        return outcomeOf([&] { typed->getValue(number, asked); }) + "|" +
               outcomeOf([&] { untyped->getValue(&colour, asked); });
    };
    const std::string noAccessor = cCaller + "accessor\nError Message: a function can only be called with an accessor";
    const std::string noRegistrar =
        cCaller + "registrar\nError Message: a function can only be called with a registrar";
    CHECK(ask(nullptr) == noAccessor + "|" + noAccessor);
    CHECK(ask(&accessor) == noRegistrar + "|" + noRegistrar);
    FunctionRegistrar other(mDeclarations, allocator());
    other.registerFunction(
        "later", +[] { return 1; });
    accessor.mRegistrar = &other;
    CHECK(ask(&accessor) == cRegistrar + "try to call not registered functiontwice|" + cRegistrar +
                                "try to call not registered functionmixed");
    CHECK((number == 5 && colour.grey == 6));
    CHECK((ask(&mAccessor) == "|" && number == 8 && colour.grey == 3));
}

TEST_CASE_FIXTURE(FunctionsTest, "both operands are evaluated, the left one first, whatever its value is") {
    static std::string order;
    order.clear();
    mRegistrar.registerFunction(
        "note", +[](int32 name, bool value) {
            order += std::to_string(name);
            return value;
        });
    const auto note = [](const char* name, const char* value) {
        return call("note", {lit("Integer32", name), lit("Boolean", value)});
    };
    for (const char* const each : {"and", "or", "equal", "unequal"})
        valueOf(*parse(op(each, note("1", "0"), op(each, note("2", "1"), negated(note("3", "0"))))));
    CHECK(order == "123123123123");
    // To merge calls nothing, nor does a comparison.
    const Node node = parse(op("and", lit("Boolean", "0"), note("4", "1")));
    CHECK((!node->merge() && node->isEqual(node.get()) && !node->isConstant()));
    CHECK(order.size() == 12);
}
