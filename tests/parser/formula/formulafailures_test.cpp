#include "tests/parser/formula/formulatest.h"

using namespace Tarq::Test;

namespace {

struct FailuresTest : FormulaTest {
    FailuresTest() {
        mRegistrar.registerFunction(
            "f", +[](int32 of, const String& name) { return of + static_cast<int32>(name.length()); });
        mRegistrar.registerFunction(
            "mixed", +[](bool, const Colour& of, const String&, float) { return of; });
    }

    const Body mSum = op("add", cOne, lit("UnsignedInteger32", "2"));
    const Body mCall = call("mixed", {cYes, cGrey, op("add", cName, cWest), lit("Float", "1")});
    /// With something of everything.
    const Body mBodies[5] = {
        op("and", negated(op("smaller", op("add", cCount, mSum), mSum)), op("equal", cName, op("add", cWest, cWest))),
        op("div", op("add", cGrey, mCall), cGrey),
        op("sub", call("f", {mSum, cWest}),
           op("mul", mSum, expression("Integer32", "resolved", ">" + element("inner", cOne)))),
        memberCall(memberCall(mCall, "Mixed", {cGrey}), "Brighten", {op("mul", mSum, mSum)}),
        memberCall(lit("Container[Integer32]", "{1;2;3;4}"), "GetElement", {mSum}),
    };
};

/// Ends before somebody makes a text of what was thrown.
struct ScarceMemory {
    ScarceMemory(CountingMemory& memory, int64 granted) : mMemory(memory) { mMemory.failAfter(granted); }
    ~ScarceMemory() { mMemory.failNever(); }
    CountingMemory& mMemory;
};

} // namespace

TEST_CASE_FIXTURE(FailuresTest, "nothing is left behind where nodes run out of memory") {
    for (const Body& body : mBodies) {
        CAPTURE(body);
        const Document document(body);
        Node node, copy;
        CHECK(countFailures(*this, [&] {
                  // The registrar takes its memory where the nodes do.
                  FunctionRegistrar registrar(mDeclarations, mNodes);
                  FunctionEnvironment environment(mDeclarations, &registrar, mNodes);
                  Expression::ErrorMsg error;
                  node.reset(Expression::parse(document.get(), &mResolver, &environment, mNodes, error));
                  CHECK(!error.existsError());
                  return node != nullptr;
              }) > 5);
        const Node original = parse(body);
        CHECK(countFailures(*this, [&] {
                  copy.reset(node->clone());
                  return true;
              }) > 5);
        CHECK(copy->isEqual(original.get()));
        const std::string value = valueOf(*original);
        // What has been merged until then stays so.
        for (int64 granted = 0; granted < 8; ++granted) {
            const int64 before = mNodeMemory->getBlocks();
            mNodeMemory->failAfter(granted);
            Node merged;
            outcomeOf([&] { merged.reset(copy->merge()); });
            mNodeMemory->failNever();
            CHECK(!merged);
            CHECK(mNodeMemory->getBlocks() <= before);
            CHECK(valueOf(*copy) == value);
        }
        const std::string refusal = outcomeOfFormula(op("and", body, negated(cOne)));
        CHECK(refusal == "cannot apply not operator on other types than bool");
    }
}

TEST_CASE_FIXTURE(FailuresTest, "nothing is left behind where texts run out of memory") {
    // No page of the library's allocators has room for these names.
    const std::string name(100000, 'n');
    const std::pair<Body, std::string> cases[] = {
        {lit(name, "1"), "expression is of unknown datatype: " + name},
        {call(name, {mCall}), "unknown function or wrong signature: \"" + name + "\""},
        {memberCall(cGrey, name, {mCall}),
         "\"<Colour>\" does not provide an memberfunction: \"" + name + "\" with this signature"},
        {op(name, cOne, lit("Float", "1")), "binary operator cannot be applied on different datatypes: \"" + name +
                                                "\". Datatype left: \"Integer32\". Datatype right: \"Float\"."},
        {expression("Boolean", "binaryoperator", " operatortype=\"" + name + "\"/"),
         "binary operator does not contain a left hand side operand: " + name},
        {memberCall(lit("String", name), "GetLength"), ""},
    };
    for (const auto& [body, text] : cases) {
        const Document document(body);
        const int64 blocks = mNodeMemory->getBlocks();
        bool isDone = false;
        int64 granted = 0;
        for (; !isDone; ++granted) {
            Expression::ErrorMsg error;
            Node node;
            const std::string outcome = outcomeOf([&] {
                const ScarceMemory scarce(getMemory(), granted);
                node = parse(document.get(), error);
            });
            isDone = outcome.empty();
            CHECK((isDone ? error.getText() == text.c_str() : !node && !error.existsError()));
            node.reset();
            REQUIRE(mNodeMemory->getBlocks() == blocks);
            allocator()->freeUnusedMemory();
        }
        CHECK(granted > 1);
    }
}
