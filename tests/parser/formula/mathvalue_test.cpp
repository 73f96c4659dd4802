#include "common/parser/formula/mathvalue.h"

#include "tests/parser/formula/formulatest.h"

#include "common/parser/formula/operatormathvalue.h"
#include "common/parser/formula/untypedoperatormathvalue.h"

#include <dlfcn.h>

#include <set>
#include <thread>

using namespace Tarq::Test;

namespace {

const Body cThree = lit("Integer32", "3"), cNoNumber = lit("Float", "nan");

struct NodesTest : FormulaTest {
    NodesTest() {
        mRegistrar.registerFunction(
            "f", +[](int32 of) { return of; });
        mRegistrar.registerFunction(
            "f", +[](int32 of, float) { return of; });
        mRegistrar.registerFunction(
            "g", +[](int32 of) { return of; });
        mRegistrar.registerFunction(
            "mixed", +[](const Colour& of, int32) { return of; });
    }
    std::string variablesOf(const MathValue& node) {
        Container::Vector<uint32> accessIDs(allocator());
        node.getContainingVariables(accessIDs);
        std::string shown;
        for (const uint32 accessID : accessIDs)
            shown += std::to_string(accessID) + " ";
        return shown;
    }
    std::string typeName(DatatypeID id) {
        return ReflectionInterface::getDatatypeManager()->getDatatypeName(id).c_str();
    }
};

/// Has a merged value of another type.
class Turncoat final : public TypedMathValue<int32> {
public:
    bool isConstant() override { return false; }
    MathValue* merge() override { return new (getAllocator()) AtomicMathValue<float>(1); }
    using TypedMathValue<int32>::getValue;
    void getValue(int32& result, VariableAccessor*) override { result = 4; }
    MathValue* clone() override { return new (getAllocator()) Turncoat; }
    bool isEqual(MathValue* other) override { return dynamic_cast<Turncoat*>(other) != nullptr; }
    uint32 getMathValueTypeID() override { return MathValueTypeIDHolder::getIDOf<Turncoat>(); }
};

/// A host's own operator, which has another value each time.
class Counted final : public OperatorMathValue<int32, int32, int32> {
public:
    Counted(TypedMathValue<int32>* left, TypedMathValue<int32>* right) : OperatorMathValue(left, right) {}

    bool isConstant() override { return false; }
    using OperatorMathValue::getValue;
    void getValue(int32& result, VariableAccessor* accessor) override {
        result = getLeft()->evaluate(accessor) + getRight()->evaluate(accessor) * ++mCount;
    }
    MathValue* clone() override { return nullptr; }
    bool isEqual(MathValue* other) override { return other == this; }
    uint32 getMathValueTypeID() override { return MathValueTypeIDHolder::getIDOf<Counted>(); }

private:
    int32 mCount = 0;
};

} // namespace

TEST_CASE_FIXTURE(NodesTest, "a host has operators of its own, which are constant only if they say so") {
    auto* const left = parse<TypedMathValue<int32>>(op("add", cOne, cOne)).release();
    auto* const right = parse<TypedMathValue<int32>>(cCount).release();
    auto* const counted = new (mNodes) Counted(left, right);
    const Node sum(new (mNodes) AdditionMathValue<int32, int32>(counted, parse<TypedMathValue<int32>>(cTwo).release()));
    CHECK((counted->getOperationType() == Expression::OPERATION_UNKNOWN && valueOf(*sum) == "11"));
    CHECK((sum->merge() == nullptr && !sum->isConstant()));
    CHECK((dynamic_cast<AtomicMathValue<int32>*>(counted->getLeft()) && valueOf(*sum) == "18"));
}

TEST_CASE_FIXTURE(NodesTest, "a node tells what it does, and with which types") {
    const struct {
        const char* name;
        uint32 typed;
    } operators[] = {{"add", 11},          {"sub", 10},   {"mul", 6},           {"div", 5},      {"smaller", 20},
                     {"smallerequal", 21}, {"equal", 22}, {"greaterequal", 23}, {"greater", 24}, {"unequal", 25}};
    std::set<uint32> numbers;
    std::size_t classes = 0;
    const auto check = [&](const Body& body, uint32 code, const char* operands) {
        const Node node = parse(body), copy(node->clone());
        CAPTURE(body);
        CHECK((node->getOperationType() == code && node->getFunctionType() == 0 && !node->isReferenceValue()));
        CHECK(typeName(node->getLeftDatatypeID()) == operands);
        CHECK(typeName(node->getRightDatatypeID()) == operands);
        CHECK(node->getValueReference(&mAccessor) == nullptr);
        CHECK(copy->getMathValueTypeID() == node->getMathValueTypeID());
        numbers.insert(node->getMathValueTypeID());
        CHECK(numbers.size() == ++classes);
    };
    for (const auto& [name, code] : operators) {
        for (const char* const type : {"Integer32", "UnsignedInteger32", "Integer64", "Float"})
            check(op(name, lit(type, "1"), lit(type, "1")), code, type);
        check(op(name, cTint, cTint), code >= 20 ? code : 100, "<Colour>");
    }
    for (const auto& [name, code] : {std::pair("equal", 22), {"unequal", 25}, {"and", 30}, {"or", 31}})
        check(op(name, cYes, cOn), static_cast<uint32>(code), "Boolean");
    const Body others[] = {negated(cYes),
                           cYes,
                           cOne,
                           cUnsigned,
                           cLong,
                           lit("Float", "1"),
                           cNorth,
                           call("f", {cOne}),
                           call("mixed", {cTint, cOne}),
                           memberCall(cNorth, "GetLength"),
                           memberCall(cTint, "Mixed", {cTint}),
                           memberCall(cAt, "GetLength"),
                           memberCall(cTint, "Brighten", {cOne})};
    for (const Body& body : others)
        check(body, 100, "");
}

TEST_CASE_FIXTURE(NodesTest, "a module that makes nodes can be unloaded") {
    const std::string file = TARQ_TEST_MODULE_DIR "/formulas" TARQ_TEST_MODULE_SUFFIX;
    std::unique_ptr<void, int (*)(void*)> module(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL), &dlclose);
    REQUIRE(module);
    const auto evaluateFormulas =
        reinterpret_cast<bool (*)(const Memory::AllocatorPtr&)>(dlsym(module.get(), "evaluateFormulas"));
    CHECK(evaluateFormulas(mNodes));
    module.reset();
    CHECK(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr);
}

TEST_CASE_FIXTURE(NodesTest, "classes are numbered once, on whichever threads they are first asked for") {
    std::vector<uint32> drawn(400);
    const auto draw = [&](std::size_t from) {
        for (std::size_t at = from; at < from + 200; ++at)
            drawn[at] = at % 200 == 0 ? MathValueTypeIDHolder::getIDOf<NodesTest>() : MathValueTypeIDHolder::getNewID();
    };
    std::thread other(draw, 200);
    draw(0);
    other.join();
    CHECK(drawn[0] == drawn[200]);
    CHECK(std::set(drawn.begin(), drawn.end()).size() == 399);
    // A class of the library has the same number here as there.
    const std::unique_ptr<FieldMathValue<float>> field(new (mNodes) FieldMathValue<float>(4, 1));
    const Node copy(field->clone());
    CHECK((field->getMathValueTypeID() == copy->getMathValueTypeID() && field->isEqual(copy.get())));
}

TEST_CASE_FIXTURE(NodesTest, "two formulas are equal when they are the same, but for operands that may change places") {
    const struct {
        const char* name;
        Body a, b;
        bool areEqual;
    } cases[] = {
        {"constants", cOne, cOne, true},
        {"other constants", cOne, cTwo, false},
        {"constants of another sign", cOne, cUnsigned, false},
        {"texts", cNorth, cNorth, true},
        {"other texts", cNorth, cWest, false},
        {"texts and colours", cNorth, cGrey, false},
        {"no numbers", cNoNumber, cNoNumber, false},
        {"variables", cSpeed, cSpeed, true},
        {"variables and constants", cCount, cOne, false},
        {"conjunctions", op("and", cOn, cYes), op("and", cYes, cOn), true},
        {"disjunctions", op("or", cOn, cYes), op("or", cYes, cOn), true},
        {"both of them", op("or", cOn, cYes), op("and", cOn, cYes), false},
        {"conjunctions of others", op("and", cOn, cYes), op("and", cOn, cOn), false},
        {"sums", op("add", cCount, cOne), op("add", cCount, cOne), true},
        {"sums the other way round", op("add", cCount, cOne), op("add", cOne, cCount), false},
        {"differences the other way round", op("sub", cCount, cOne), op("sub", cOne, cCount), false},
        {"sums and differences", op("add", cCount, cOne), op("sub", cCount, cOne), false},
        {"sums with a converted one", op("add", cCount, cUnsigned), op("add", cCount, cUnsigned), true},
        {"sums with and without a converted one", op("add", cCount, cUnsigned), op("add", cCount, cOne), false},
        {"comparisons the other way round", op("equal", cCount, cOne), op("equal", cOne, cCount), false},
        {"untyped sums the other way round", op("add", cName, cWest), op("add", cWest, cName), true},
        {"untyped products the other way round", op("mul", cTint, cGrey), op("mul", cGrey, cTint), true},
        {"untyped differences the other way round", op("sub", cTint, cGrey), op("sub", cGrey, cTint), false},
        {"untyped differences", op("sub", cTint, cGrey), op("sub", cTint, cGrey), true},
        {"untyped quotients the other way round", op("div", cTint, cGrey), op("div", cGrey, cTint), false},
        {"untyped comparisons", op("equal", cName, cWest), op("equal", cName, cWest), true},
        {"untyped comparisons the other way round", op("equal", cName, cWest), op("equal", cWest, cName), false},
        {"untyped comparisons of other types", op("equal", cName, cName), op("equal", cTint, cTint), false},
        {"negations", negated(cOn), negated(cOn), true},
        {"negations of others", negated(cOn), negated(cYes), false},
        {"calls", call("f", {cCount}), call("f", {cCount}), true},
        {"calls with other arguments", call("f", {cCount}), call("f", {cOne}), false},
        {"calls with more arguments", call("f", {cCount}), call("f", {cCount, cSpeed}), false},
        {"calls of others", call("f", {cCount}), call("g", {cCount}), false},
        {"untyped calls", call("mixed", {cTint, cOne}), call("mixed", {cTint, cOne}), true},
        {"untyped calls with other arguments", call("mixed", {cTint, cOne}), call("mixed", {cTint, cTwo}), false},
        {"calls on another object", memberCall(cNorth, "GetLength"), memberCall(cName, "GetLength"), true},
        {"calls of members with other arguments", memberCall(cAt, "GetComponent", {cUnsigned}),
         memberCall(cAt, "GetComponent", {cOne}), false},
        {"calls of other members", memberCall(cAt, "GetLength"), memberCall(cAt, "GetDistance", {cAt}), false},
        {"untyped calls on another object", memberCall(cTint, "Mixed", {cGrey}), memberCall(cGrey, "Mixed", {cGrey}),
         true},
        {"untyped calls of members with other arguments", memberCall(cTint, "Mixed", {cGrey}),
         memberCall(cTint, "Mixed", {cTint}), false},
    };
    for (const auto& each : cases) {
        CAPTURE(each.name);
        const Node a = parse(each.a), b = parse(each.b);
        CHECK((a->isEqual(b.get()) == each.areEqual && b->isEqual(a.get()) == each.areEqual));
    }
    FieldMathValue<float> field(4, 1), elsewhere(8, 1), renamed(4, 2);
    CHECK((!field.isEqual(&elsewhere) && !field.isEqual(&renamed) && !field.isEqual(nullptr)));
}

TEST_CASE_FIXTURE(NodesTest, "to merge computes what is constant, and no more than that") {
    const Body five = lit("Integer32", "5"), sum = op("add", cTwo, cThree), text = op("add", cNorth, cWest);
    const Body no = op("equal", cOne, cTwo);
    const struct {
        const char* name;
        Body formula;
        Body merged; ///< what stands in the place of the formula then
    } cases[] = {
        {"constants", sum, five},
        {"a constant", five, five},
        {"a constant operand", op("add", cCount, sum), op("add", cCount, five)},
        {"constants deep down", op("mul", op("sub", sum, cCount), sum), op("mul", op("sub", five, cCount), five)},
        {"a condition", op("and", cYes, op("smaller", cOne, sum)), cYes},
        {"variables", op("equal", cCount, cCount), op("equal", cCount, cCount)},
        {"a constant that is converted", op("add", cCount, cUnsigned), op("add", cCount, cOne)},
        {"a sum that is converted", op("sub", cCount, op("add", cUnsigned, cUnsigned)), op("sub", cCount, cTwo)},
        {"a sum inside what is converted", op("sub", cSize, op("add", cCount, sum)),
         op("sub", cSize, op("add", cCount, five))},
        {"texts", text, lit("String", "northwest")},
        {"texts that are compared", op("equal", text, lit("String", "northwest")), cYes},
        {"texts below a variable one", op("add", cName, text), op("add", cName, text)},
        {"texts that are compared below a condition", op("or", cOn, op("equal", cNorth, cNorth)), op("or", cOn, cYes)},
        {"what is negated", negated(no), negated(no)},
        {"what is negated below a condition", op("and", negated(no), cYes), cYes},
        {"arguments", call("f", {sum}), call("f", {sum})},
        {"arguments of a member", memberCall(cTint, "Brighten", {sum}), memberCall(cTint, "Brighten", {sum})},
        {"calls below a condition", op("equal", call("f", {cOne}), sum), op("equal", call("f", {cOne}), five)},
    };
    for (const auto& each : cases) {
        CAPTURE(each.name);
        Node node = parse(each.formula);
        const Node expected = parse(each.merged);
        if (Node merged(node->merge()); merged)
            node = std::move(merged);
        CHECK(node->isEqual(expected.get()));
        const int64 taken = mNodeMemory->getTaken();
        CHECK(!node->merge());
        CHECK(mNodeMemory->getTaken() == taken);
    }
    const std::unique_ptr<MathValue> node(
        new (mNodes) AdditionMathValue<int32, int32>(new (mNodes) Turncoat, new (mNodes) AtomicMathValue<int32>(2)));
    CHECK(outcomeOf([&] { CHECK(!node->merge()); }).ends_with("another type than the one whose place it takes"));
    CHECK(valueOf(*node) == "6");
}

TEST_CASE_FIXTURE(NodesTest, "a formula tells its variables in their order, and takes others for them") {
    const struct {
        Body body;
        const char* variables;
        const char* replaced; ///< with 20 for 2
    } cases[] = {
        {cOne, "", ""},
        {cCount, "2 ", "20 "},
        {op("add", op("sub", cCount, cOne), op("add", cSize, cCount)), "2 3 2 ", "20 3 20 "},
        {op("and", negated(cOn), op("equal", cCount, cCount)), "1 2 2 ", "1 20 20 "},
        {op("unequal", cTint, call("mixed", {cTint, cCount})), "8 8 2 ", "8 8 20 "},
        {op("add", cName, cName), "6 6 ", "6 6 "},
        {call("f", {cCount, cSpeed}), "2 5 ", "20 5 "},
        {memberCall(cTint, "Brighten", {cCount}), "2 ", "20 "},
        {memberCall(cTint, "Mixed", {memberCall(call("mixed", {cTint, cCount}), "Mixed", {cTint})}), "8 8 2 8 ",
         "8 8 20 8 "},
    };
    for (const auto& each : cases) {
        CAPTURE(each.body);
        const Node node = parse(each.body);
        CHECK(variablesOf(*node) == each.variables);
        node->replaceVariableAccessID(99, 1);
        node->replaceVariableAccessID(2, 20);
        CHECK(variablesOf(*node) == each.replaced);
        CHECK(variablesOf(*Node(node->clone())) == each.replaced);
    }
    CHECK(!LyingMathValue(DatatypeID()).isReferenceValue());
}
