#include "tests/parser/formula/formulatest.h"

#include <sstream>

using namespace Tarq::Test;

namespace {

const std::string cParser = "common/parser/formula/internal/expressionparser: ";
const std::string cReader = "common/parser/xml/xmltreereader: \nError Message: In 'formulas'->'formula'";

struct Operator {
    const char* name;
    const char* missing; ///< how a type is refused that does not have it
    const char* call;    ///< how a type is asked for it
};
constexpr Operator cOperators[] = {
    {"add", "addition", "callAddition"},
    {"sub", "substraction", "callSubstraction"},
    {"mul", "multiplication", "callMultiplication"},
    {"div", "division", "callDivision"},
    {"smaller", "smaller", "callSmaller"},
    {"smallerequal", "SmallerEqual", "callSmallerEqual"},
    {"equal", "Equal", "callEqual"},
    {"greaterequal", "GreaterEqual", "callGreaterEqual"},
    {"greater", "Greater", "callGreater"},
    {"unequal", "Unequal", "callUnequal"},
    {"and", "And", ""},
    {"or", "Or", ""},
};

/// What the operators make of two literals, one after the other: a value, of which "t" is true and "f" is false; "-"
/// where the type is refused; "!" where it is accepted, and then asserts when it is asked, which leaves the default.
struct OperatorCase {
    std::string type;
    const char* left;
    const char* right;
    const char* outcomes;
};

std::string expectedOutcome(const std::string& type, std::size_t index, const std::string& outcome) {
    if (outcome == "-")
        return "datatype: \"" + type + "\" does not support " + cOperators[index].missing;
    if (outcome == "!")
        return std::string(index >= 4 || type == "Boolean" ? "false" : "0") +
               "; common/reflection/datatype/datatypebase: \nError Message: " + cOperators[index].call +
               " only usable with non basic datatypes";
    return outcome == "t" ? "true" : outcome == "f" ? "false" : outcome;
}

/// Each formula with its outcome.
struct FormulaCase {
    const char* name;
    Body body;
    std::string outcome;
};

/// `expressions` of them inside of each other, in turns: negations, arguments, and what a resolver parses.
Body nested(int expressions) {
    Body body = cYes;
    for (int depth = 1; depth < expressions; ++depth) {
        if (depth % 3 == 0)
            body = call("same", {body});
        else if (depth % 3 == 1)
            body = negated(body);
        else
            body = expression("Boolean", "resolved", ">" + element("inner", body));
    }
    return body;
}

} // namespace

TEST_CASE_FIXTURE(FormulaTest, "every operator has its value on every family of types, or is refused by name") {
    const OperatorCase cases[] = {
        {"Integer32", "-7", "2", "-5 -9 -14 -3 t t f f f t - -"},
        {"Integer32", "7", "0", "7 7 0 0 f f f t t t - -"},
        {"Integer32", "2147483647", "1", "-2147483648 2147483646 2147483647 2147483647 f f f t t t - -"},
        {"Integer32", "-2147483648", "-1", "2147483647 -2147483647 -2147483648 -2147483648 t t f f f t - -"},
        {"UnsignedInteger32", "7", "2", "9 5 14 3 f f f t t t - -"},
        {"UnsignedInteger32", "2", "-1", "1 3 4294967294 0 t t f f f t - -"},
        {"UnsignedInteger32", "2", "0", "2 2 0 0 f f f t t t - -"},
        {"Integer64", "-9223372036854775808", "-1",
         "9223372036854775807 -9223372036854775807 -9223372036854775808 -9223372036854775808 t t f f f t - -"},
        {"Integer64", "5", "5", "10 0 25 1 f t t t f f - -"},
        {"Integer64", "5", "0", "5 5 0 0 f f f t t t - -"},
        {"Float", "7", "2", "9 5 14 3.5 f f f t t t - -"},
        {"Float", "16777216", "1", "16777216 16777215 16777216 16777216 f f f t t t - -"},
        {"Float", "1", "0", "1 1 0 inf f f f t t t - -"},
        {"Vec2f", "(1/2)", "(3/5)", "(4,7) (-2,-3) - - - - f - - t - -"},
        {"Vec3i32", "1 2 3", "1 2 3", "(2,4) (0,0) - - - - t - - f - -"},
        {"String", "ab", "c", "abc - - - - - f - - t - -"},
        {"Container[Integer32]", "{1;2}", "{1;2}", "- - - - - - t - - f - -"},
        {"<Colour>", "6", "4", "grey10 grey2 grey24 grey1 f f f t t t - -"},
        {"Boolean", "1", "0", "! ! ! ! ! ! f ! ! t f t"},
        {"Integer08", "1", "1", "! ! ! ! ! ! ! ! ! ! - -"},
        {"Integer16", "1", "1", "! ! ! ! ! ! ! ! ! ! - -"},
        {"UnsignedInteger08", "1", "1", "! ! ! ! ! ! ! ! ! ! - -"},
        {"UnsignedInteger16", "1", "1", "! ! ! ! ! ! ! ! ! ! - -"},
        {"UnsignedInteger64", "1", "1", "! ! ! ! ! ! ! ! ! ! - -"},
        {"Double", "1", "1", "! ! ! ! ! ! ! ! ! ! - -"},
    };
    for (const OperatorCase& each : cases) {
        const std::string written = each.type == "<Colour>" ? cColour : each.type;
        std::istringstream outcomes(each.outcomes);
        std::string outcome;
        for (std::size_t index = 0; outcomes >> outcome; ++index) {
            CAPTURE(each.type);
            CAPTURE(cOperators[index].name);
            CHECK(outcomeOfFormula(op(cOperators[index].name, lit(written, each.left), lit(written, each.right))) ==
                  expectedOutcome(each.type, index, outcome));
        }
    }
}

TEST_CASE_FIXTURE(FormulaTest, "formulas have their values") {
    const Body nan = op("div", lit("Float", "0"), lit("Float", "0")), zero = lit("Float", "0");
    const Body minus1 = lit("Integer32", "-1"), large = lit("UnsignedInteger32", "4294967295");
    const FormulaCase cases[] = {
        {"a truth in capitals", lit("Boolean", "TRUE"), "true"},
        {"no truth", lit("Boolean", "yes"), "false"},
        {"no truth in numbers", lit("Boolean", "2"), "false"},
        {"text behind a number", lit("Integer32", "12 apples"), "12"},
        {"no number", lit("UnsignedInteger32", "apples"), "0"},
        {"an unsigned number from a signed text", lit("UnsignedInteger32", "-1"), "4294967295"},
        {"a large number", lit("Integer64", "-1099511627776"), "-1099511627776"},
        {"a float", lit("Float", "-2.5e-1"), "-0.25"},
        {"an empty text", lit("String", ""), ""},
        {"a container", lit("Container[Integer32]", "{1;2;3}"), "3 elements"},
        {"a constant of the host", expression("Float", "constant", "/"), "0.5"},
        {"a kind of the host", expression("Float", "resolved", ">" + element("inner", cSpeed)), "1.5"},
        {"an operand of a kind of the host", negated(expression("Boolean", "resolved", ">" + element("inner", cYes))),
         "false"},
        {"a sum with variables", op("add", cSpeed, op("mul", cSpeed, lit("Float", "4"))), "7.5"},
        {"a condition", op("and", op("smaller", cCount, lit("Integer32", "8")), negated(negated(cOn))), "true"},
        {"a constant condition below a variable one", op("or", op("equal", cLong, lit("Integer64", "2")), cOn), "true"},
        {"variables without types to compute with", op("add", cAt, cAt), "(6,8)"},
        {"an untyped comparison as an operand", op("and", op("unequal", cName, lit("String", "south")), cYes), "true"},
        {"a comparison of conditions", op("equal", op("equal", nan, nan), cOn), "false"},
        {"signed and unsigned: the sum wraps", op("add", cCount, large), "6"},
        {"signed and unsigned: the quotient", op("div", minus1, large), "1"},
        {"signed and unsigned: the comparison", op("smaller", minus1, cUnsigned), "true"},
        {"unsigned and signed: the comparison", op("smaller", cUnsigned, minus1), "true"},
        {"unsigned and signed: the quotient", op("div", large, minus1), "1"},
        {"unsigned and signed: with variables", op("sub", cSize, op("add", cCount, lit("Integer32", "3"))),
         "4294967295"},
        {"unsigned and signed: nested",
         op("add", cSize, op("mul", op("add", minus1, minus1), lit("UnsignedInteger32", "2"))), "5"},
        {"no number is not equal to itself", op("equal", nan, nan), "false"},
        {"no number is unequal to itself", op("unequal", nan, nan), "true"},
        {"no number is not smaller", op("smaller", nan, zero), "false"},
        {"no number is not smaller or equal", op("smallerequal", nan, nan), "false"},
        {"no number is not greater", op("greater", nan, zero), "false"},
        {"no number is not greater or equal", op("greaterequal", nan, nan), "false"},
    };
    for (const FormulaCase& each : cases) {
        CAPTURE(each.name);
        CHECK(outcomeOfFormula(each.body) == each.outcome);
    }
}

TEST_CASE_FIXTURE(FormulaTest, "what is no formula is refused, and says why") {
    const auto required = [](const std::string& name) { return cReader + " the tag '" + name + "' is required !"; };
    const auto different = [](const std::string& name, const std::string& left, const std::string& right) {
        return "binary operator cannot be applied on different datatypes: \"" + name + "\". Datatype left: \"" + left +
               "\". Datatype right: \"" + right + "\".";
    };
    const auto operatorOf = [](const std::string& operands) {
        return expression("Boolean", "binaryoperator", " operatortype=\"add\">" + operands);
    };
    const std::string noLeft = "binary operator does not contain a left hand side operand: add";
    const std::string noRight = "binary operator does not contain a right hand side operand: add";
    const std::string notBool = "cannot apply not operator on other types than bool";
    const std::string noKind = cParser + "customMathValue != NULL || errorMsg.existsError()\nError Message: "
                                         "unknown or not implemented expressiontype: ";
    const auto lying = [](const char* type) { return var(type, "lying"); };
    const FormulaCase cases[] = {
        {"no type", " expressiontype=\"value\"><value>1</value>", required("datatype")},
        {"no kind", " datatype=\"Float\"><value>1</value>", required("expressiontype")},
        {"an unknown type", lit("Integer&lt;32", "1"), "expression is of unknown datatype: Integer<32"},
        {"the type of nothing", lit("void", "1"), "expression is of unknown datatype: void"},
        {"no literal", expression("Float", "value", "/"), required("value")},
        {"a literal by another name", expression("Float", "value", "><v>1</v>"), required("value")},
        {"a literal of a type that texts cannot be of", lit("Container[WString]", ""),
         "common/reflection/datatype/datatypebase: mParseFunction\nError Message: no parse function defined for type: "
         "Container[WString]; " +
             required("value")},
        {"a literal with children", expression("Float", "value", "><value><v/></value>"), required("value")},
        {"an unknown kind", expression("Float", "magic", "/"), noKind + "magic"},
        {"an unwanted kind", expression("Float", "unwanted", "/"), "this kind is unwanted"},
        {"no unary operator", expression("Boolean", "unaryoperator", ">" + element("value", cYes)),
         required("operatortype")},
        {"an unknown unary operator",
         expression("Boolean", "unaryoperator", " operatortype=\"neg\">" + element("value", cYes)),
         cParser + "\nError Message: unknown or not implemented unary operator: neg"},
        {"nothing to negate", expression("Boolean", "unaryoperator", " operatortype=\"not\"/"),
         "not operator does not contain a value"},
        {"a text to negate", expression("Boolean", "unaryoperator", " operatortype=\"not\"><value>1</value>"),
         "not operator does not contain a value"},
        {"a number to negate", negated(cOne), notBool},
        {"a false truth to negate", negated(lying("Boolean")), notBool},
        {"a refused truth to negate", negated(negated(cOne)), notBool},
        {"no binary operator",
         expression("Boolean", "binaryoperator", ">" + element("lhs", cOne) + element("rhs", cOne)),
         required("operatortype")},
        {"an unknown binary operator", op("xor", cOne, cOne),
         cParser + "\nError Message: unknown or not implemented binary operator: xor"},
        {"no left operand", operatorOf(element("rhs", cOne)), noLeft},
        {"a text as left operand", operatorOf("<lhs>1</lhs>" + element("rhs", cOne)), noLeft},
        {"no right operand", operatorOf(element("lhs", cOne)), noRight},
        {"a text as right operand", operatorOf(element("lhs", cOne) + "<rhs>1</rhs>"), noRight},
        {"the right operand first", operatorOf(element("rhs", cOne) + element("lhs", cOne)), noLeft},
        {"a refused left operand", op("add", negated(cOne), cOne), notBool},
        {"a refused right operand", op("add", cOne, negated(cOne)), notBool},
        {"different types", op("add", cOne, cHalf), different("add", "Integer32", "Float")},
        {"different sizes", op("equal", cLong, cUnsigned), different("equal", "Integer64", "UnsignedInteger32")},
        {"different types for an unknown operator", op("xor", cOne, cYes), different("xor", "Integer32", "Boolean")},
        {"logic of the pair", op("and", cOne, cUnsigned), "datatype: \"Integer32\" does not support And"},
        {"a false left operand", op("add", lying("Float"), cHalf), "datatype: \"Float\" does not support addition"},
        {"a false right operand", op("greater", cLong, lying("Integer64")),
         "datatype: \"Integer64\" does not support Greater"},
        {"a false truth", op("or", cYes, lying("Boolean")), "datatype: \"Boolean\" does not support Or"},
        {"a false one of the pair", op("add", cOne, lying("UnsignedInteger32")),
         different("add", "Integer32", "UnsignedInteger32")},
        {"operands of no type", op("add", var("Float", "untyped"), var("Float", "untyped")),
         "datatype: \"\" does not support addition"},
        {"a refused variable", op("add", cHalf, var("Float", "refused")), "there is no such variable"},
        {"no variable", op("add", cHalf, var("Float", "nowhere")), "expression is not known to the resolver: variable"},
        {"a throwing variable", op("add", cHalf, var("Float", "throwing")), "Exception: no such place"},
        {"a refused kind of the host", expression("Float", "resolved", ">" + element("inner", negated(cOne))), notBool},
    };
    for (const FormulaCase& each : cases) {
        CAPTURE(each.name);
        CHECK(outcomeOfFormula(each.body) == each.outcome);
    }
}

TEST_CASE_FIXTURE(FormulaTest, "what is refused is named by its element, also where nobody holds the error") {
    const Document document(op("add", lit("Float", "1"), negated(var("Boolean", "refused"))));
    Expression::ErrorMsg error;
    error.set("an older error");
    CHECK(!parse(document.get(), error));
    CHECK(error.getText() == "there is no such variable");
    REQUIRE(error.getElement() != nullptr);
    CHECK((error.getElement()->name == std::string("value") && error.getElement()->parent->name == std::string("rhs")));
    CHECK(outcomeOf([&] { CHECK(!Expression::parse(document.get(), &mResolver, &mEnvironment, mNodes)); }) ==
          "common/parser/formula/expression: mathValue != NULL\nError Message: there is no such variable");
    CHECK(outcomeOf([&] { CHECK(!parse(nullptr, error)); }).ends_with("there is no element to parse"));
}

TEST_CASE_FIXTURE(FormulaTest, "without a resolver and functions there are neither variables nor calls") {
    const std::string noResolver =
        cParser + "mResolver\nError Message: there is no resolver for an expression of the type ";
    const FormulaCase cases[] = {
        {"a literal", lit("Float", "1"), "made"},
        {"a variable", cSpeed, noResolver + "variable"},
        {"a constant", expression("Float", "constant", "/"), noResolver + "constant"},
        {"an unknown kind", expression("Float", "resolved", "/"),
         cParser + "customMathValue != NULL || errorMsg.existsError()\nError Message: unknown or not implemented "
                   "expressiontype: resolved"},
        {"a call", call("same", {cYes}), "unknown function or wrong signature: \"same\""},
    };
    for (const FormulaCase& each : cases) {
        CAPTURE(each.name);
        const Document document(each.body);
        Expression::ErrorMsg error;
        std::string outcome;
        const std::string reports = outcomeOf([&] {
            const Node node(Expression::parse(document.get(), nullptr, nullptr, mNodes, error));
            outcome = node ? "made" : error.getText().c_str();
        });
        CHECK(outcome + reports == each.outcome);
    }
}

TEST_CASE_FIXTURE(FormulaTest, "an older error is no excuse for an unknown kind, nor for an unknown variable") {
    const auto outcomeAfter = [this](const Body& body) {
        const Document document(body);
        Expression::ErrorMsg error;
        error.set("an older error");
        const std::string reports = outcomeOf([&] { CHECK(!parse(document.get(), error)); });
        return std::string(error.getText().c_str()) + "|" + reports;
    };
    const Body magic = expression("Float", "magic", ">");
    const std::string unknown = "unknown or not implemented expressiontype: magic";
    CHECK(outcomeAfter(magic).starts_with("an older error|"));
    CHECK(outcomeAfter(magic).ends_with(unknown));
    CHECK(outcomeAfter(op("add", var("Float", "praised"), magic)).ends_with(unknown));
    CHECK(outcomeAfter(op("add", var("Float", "praised"), magic)).starts_with("an older error|"));
    CHECK(outcomeAfter(var("Float", "nowhere")) == "expression is not known to the resolver: variable|");
    CHECK(outcomeAfter(var("Float", "refused")) == "there is no such variable|");
}

TEST_CASE_FIXTURE(FormulaTest, "256 expressions nest inside of each other, and no more") {
    mRegistrar.registerFunction(
        "same", +[](bool value) { return value; });
    for (int round = 0; round < 2; ++round) {
        CHECK(outcomeOfFormula(nested(256)) == "false");
        CHECK(outcomeOfFormula(nested(257)) == "expression is nested too deep, at most 256");
        CHECK(outcomeOfFormula(negated(negated(var("Boolean", "throwing")))) == "Exception: no such place");
    }
    Body conditions = cYes;
    for (int depth = 1; depth < 256; ++depth)
        conditions = op("and", conditions, cYes);
    CHECK(outcomeOfFormula(conditions) == "true");
    CHECK(outcomeOfFormula(op("and", cYes, conditions)).starts_with("expression is nested"));
}

TEST_CASE_FIXTURE(FormulaTest, "an element can be parsed again, and the formula does not need it any more") {
    mRegistrar.registerFunction(
        "same", +[](bool value) { return value; });
    auto document = std::make_unique<Document>(
        op("equal", call("same", {cOn}), op("equal", memberCall(cNorth, "GetLength"), lit("UnsignedInteger32", "5"))));
    Expression::ErrorMsg error;
    const Node first = parse(document->get(), error);
    const Node second = parse(document->get(), error);
    document.reset();
    REQUIRE((first && second));
    CHECK((first->isEqual(second.get()) && valueOf(*first) == "true" && valueOf(*second) == "true"));
}
