#include "tests/parser/formula/formulatest.h"

#include "common/parser/formula/operatormathvalue.h"

using namespace Tarq::Test;

namespace {

using Test = TypedMathValue<bool>;
using Tests = Container::Vector<Test*>;

struct ConjunctionTest : FormulaTest {
    /// Conditions as one sees them: "1" to "9" are variables with that function type, "(a&b)" and "(a|b)" connect.
    Test* make(const std::string& shown) {
        const char* at = shown.c_str();
        return make(at);
    }
    Test* make(const char*& at) {
        if (*at != '(')
            return new (mNodes) HostVariable<bool>(0, static_cast<uint32>(*at++ - '0'));
        std::unique_ptr<Test> left(make(++at));
        const char operation = *at++;
        std::unique_ptr<Test> right(make(at));
        ++at;
        Test* const made = operation == '&' ? static_cast<Test*>(new (mNodes) AndMathValue(left.get(), right.get()))
                                            : new (mNodes) OrMathValue(left.get(), right.get());
        left.release();
        right.release();
        return made;
    }
    static std::string shown(MathValue* node) {
        const auto operands = [](auto* both, char operation) {
            return "(" + shown(both->getLeft()) + operation + shown(both->getRight()) + ")";
        };
        if (auto* const both = dynamic_cast<AndMathValue*>(node))
            return operands(both, '&');
        if (auto* const either = dynamic_cast<OrMathValue*>(node))
            return operands(either, '|');
        return node ? std::to_string(node->getFunctionType()) : "";
    }
    /// Deletes them as well.
    static std::string shown(auto& nodes) {
        std::string text;
        for (MathValue* const each : nodes) {
            text += (text.empty() ? "" : " ") + shown(each);
            delete each;
        }
        nodes.clear();
        return text;
    }
    static bool isOdd(MathValue* node) { return node->getFunctionType() % 2 == 1; }
};

const std::string cFile = "common/parser/formula/expression: ";

} // namespace

TEST_CASE_FIXTURE(ConjunctionTest, "conditions are taken apart at each and, and connected from left to right") {
    const struct {
        const char* conditions;
        const char* parts;
        const char* joined;
        const char* extracted; ///< the odd ones
        const char* left;
    } cases[] = {
        {"1", "1", "1", "1", ""},
        {"2", "2", "2", "", "2"},
        {"(1|2)", "(1|2)", "(1|2)", "", "(1|2)"},
        {"((1&2)&(3|4))", "1 2 (3|4)", "((1&2)&(3|4))", "1", "(2&(3|4))"},
        {"(1&(2&(3&4)))", "1 2 3 4", "(((1&2)&3)&4)", "1 3", "(2&4)"},
        {"((8&7)&(6&(5&2)))", "8 7 6 5 2", "((((8&7)&6)&5)&2)", "7 5", "((8&6)&2)"},
        {"((1&3)&5)", "1 3 5", "((1&3)&5)", "1 3 5", ""},
        {"((2|(1&3))&6)", "(2|(1&3)) 6", "((2|(1&3))&6)", "", "((2|(1&3))&6)"},
    };
    for (const auto& each : cases) {
        CAPTURE(each.conditions);
        Tests parts(allocator());
        Expression::splitDisjunction(parts, make(each.conditions));
        const std::unique_ptr<Test> joined(Expression::joinTests(parts, mNodes));
        CHECK(shown(joined.get()) == each.joined);
        parts.clear();
        parts.push_back(make("9"));
        Expression::splitDisjunction(parts, make(each.conditions));
        CHECK(shown(parts) == std::string("9 ") + each.parts);

        Container::Vector<MathValue*> extracted(allocator());
        extracted.push_back(make("9"));
        const Node left(Expression::extractFromDisjunction(extracted, make(each.conditions), &isOdd));
        CHECK(shown(left.get()) == each.left);
        CHECK(shown(extracted) == (*each.extracted ? std::string("9 ") + each.extracted : "9"));
    }
    Tests none(allocator());
    CHECK(Expression::joinTests(none, mNodes) == nullptr);
}

TEST_CASE_FIXTURE(ConjunctionTest, "a condition contains the functions that it connects, and not those below them") {
    const std::unique_ptr<Test> conditions(make("((1&2)&((3|4)&(5&1)))"));
    for (const FunctionType type : {0U, 1U, 2U, 5U})
        CHECK(Expression::containsFunctionInDisjunction(type, conditions.get()));
    for (const FunctionType type : {3U, 4U, 6U})
        CHECK(!Expression::containsFunctionInDisjunction(type, conditions.get()));
    AtomicMathValue<int32> number(1);
    for (MathValue* const wrong : {static_cast<MathValue*>(&number), static_cast<MathValue*>(nullptr)}) {
        CHECK(outcomeOf([&] { CHECK(!Expression::containsFunctionInDisjunction(0, wrong)); }) ==
              cFile +
                  "(mathValue && mathValue->getDatatypeID() == GET_DATATYPE_ID(bool))\nError Message: mathValue has "
                  "to be a bool function");
    }
    const std::string noValue = cFile + "originalValue\nError Message: splitDisjunction: get nullptr as argument";
    Tests parts(allocator());
    Container::Vector<MathValue*> extracted(allocator());
    CHECK(outcomeOf([&] { Expression::splitDisjunction(parts, nullptr); }) == noValue);
    CHECK(outcomeOf([&] { CHECK(!Expression::extractFromDisjunction(extracted, nullptr, &isOdd)); }) == noValue);
    CHECK((parts.empty() && extracted.empty()));
}

TEST_CASE_FIXTURE(ConjunctionTest, "conditions that memory runs out for stay as they are") {
    const std::string before = "((8&7)&((6|(1&3))&(5&(2&4))))";
    std::unique_ptr<Test> conditions(make(before));
    Tests parts(mNodes);
    CHECK(countFailures(*this, [&] {
              CHECK(shown(conditions.get()) == before);
              Expression::splitDisjunction(parts, conditions.get());
              static_cast<void>(conditions.release());
              return true;
          }) == 1);
    CHECK(parts.size() == 6);
    CHECK(countFailures(*this, [&] {
              conditions.reset(Expression::joinTests(parts, mNodes));
              return true;
          }) == 5);
    parts.clear();
    parts.shrink_to_fit();
    const std::string joined = "(((((8&7)&(6|(1&3)))&5)&2)&4)";
    Container::Vector<MathValue*> extracted(mNodes);
    Node left;
    CHECK(countFailures(*this, [&] {
              CHECK(shown(conditions.get()) == joined);
              Container::Vector<MathValue*> taken(mNodes);
              left.reset(Expression::extractFromDisjunction(taken, conditions.get(), &isOdd));
              extracted.swap(taken);
              static_cast<void>(conditions.release());
              return true;
          }) > 3);
    CHECK(shown(left.get()) == "(((8&(6|(1&3)))&2)&4)");
    CHECK(shown(extracted) == "7 5");
}
