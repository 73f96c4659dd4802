#include "tests/reflection/function/functiontest.h"

using namespace Tarq::Test;

namespace {

const std::string cFile = "common/reflection/function/functionargumentlist: ";

std::ptrdiff_t distance(const FunctionArgumentList& list, uint32 from, uint32 to) {
    return static_cast<char*>(list.getValuePtr(to)) - static_cast<char*>(list.getValuePtr(from));
}

} // namespace

TEST_CASE_FIXTURE(FunctionTest, "values stand one behind the other, and none across the end of the inline area") {
    using D = double;
    const List doubles(types<D, D, D, D, D, D, D, D, D, D>(), allocator());
    CHECK((distance(doubles, 0, 3) == 24 && distance(doubles, 4, 9) == 40));
    const List mixed(types<int8, Math::Vec3<double>, int64, int8>(), allocator());
    CHECK((distance(mixed, 0, 1) == 1 && distance(mixed, 2, 3) == 8));
    const List boundary(types<D, D, D, D, int32, int8>(), allocator());
    const auto* const list = reinterpret_cast<const char*>(&boundary);
    const auto* const last = static_cast<const char*>(boundary.getValuePtr(4));
    CHECK((last < list || last >= list + sizeof(boundary)));
    CHECK(distance(boundary, 4, 5) == 4);
}

TEST_CASE_FIXTURE(FunctionTest, "every type stands at every offset, from its default on") {
    Datatype::forEachBuiltinDatatype([this]<class Type>(const Type& type) {
        using T = typename Type::Native;
        const T given = type.makeDefault(allocator());
        FunctionRegistrar registrar(allocator());
        const FunctionID isSame = registrar.registerFunction(
            "isSame", [](int8, T a, const T& b, int8, const T& c) { return a == T(b) && a == T(c); });
        // The numbers move the values to places that do not suit them, with and without overflow.
        List list(types<int8, T, T, int8, T>(), allocator());
        CHECK(list.setValue(&given, Datatype::GET_DATATYPE_ID<T>(), 4));
        bool result = false;
        CHECK((registrar.callFunction(&result, isSame, nullptr, list) && result));
        CHECK(list.setValue(List(list).getValuePtr(4), 1));
        CHECK((registrar.callFunction(&result, isSame, nullptr, list) && result));
    });
}

TEST_CASE_FIXTURE(FunctionTest, "a copy has values of its own") {
    const String text("a text that takes storage of its own, wherever it stands");
    List list = listOf(int8(1), text, int8(2), text);
    FunctionRegistrar registrar(allocator());
    const FunctionID join = registrar.registerFunction(
        "join", [](int8 a, String b, int8 c, const String& d) { return (b + d).appendDecimal(a).appendDecimal(c); });
    List copy(list);
    List assigned = listOf(1.5, text);
    assigned = copy;
    assigned = *&assigned;
    const String changed("changed");
    copy.setValue(&changed, 1);
    list = copy;
    String joined;
    for (const List* each : {&list, &copy, &assigned}) {
        CHECK(registrar.callFunction(&joined, join, nullptr, *each));
        CHECK(joined == (each == &assigned ? text : changed) + text + "12");
    }
}

TEST_CASE_FIXTURE(FunctionTest, "what a list cannot hold is reported") {
    const auto outcomeFor = [this](const Types& signature) {
        return outcomeOf([&] { CHECK(List(signature, allocator()).size() == 0); });
    };
    CHECK(outcomeFor(Types(allocator(), 11, Datatype::DatatypeID(0)))
              .ends_with("at most ten arguments, but there are 11"));
    for (const uint32 id : {42U, 0xFFFFFFFEU, 0xFFFFFFFFU})
        CHECK(outcomeFor(Types(allocator(), 2, Datatype::DatatypeID(id))).ends_with("of the datatype of argument 0"));
    List list = listOf(int32(7));
    const float wrong = 1;
    const std::string range = cFile + "index < mSize\nError Message: index out of range";
    CHECK(outcomeOf([&] { CHECK(!list.set(0, wrong)); }) ==
          cFile + "mSignature[index] == datatypeID\nError Message: access argumentlist with wrong datatypeid");
    CHECK(outcomeOf([&] { CHECK(!list.setValue(nullptr, 0)); }).ends_with("there is no value to store"));
    CHECK(outcomeOf([&] { CHECK(!list.setValue(&wrong, 1)); }) == range);
    CHECK(outcomeOf([&] { CHECK(list.getValuePtr(1) == nullptr); }) == range);
    CHECK(outcomeOf([&] { CHECK(list.getDatatypeID(1) == Datatype::INVALID_DATATYPE_ID); }) == range);
    CHECK(*static_cast<int32*>(list.getValuePtr(0)) == 7);
}

TEST_CASE_FIXTURE(FunctionTest, "a list that memory runs out for leaves nothing behind") {
    const String text(5000, 'x');
    const List list = listOf(text, int8(1), text, text);
    for (uint32 granted = 0; granted < 4; ++granted) {
        getMemory().failAfter(granted);
        const std::string outcome = outcomeOf([&] { List copy(list); });
        getMemory().failNever();
        CHECK((granted > 1 || outcome == "OutOfMemoryException: No Memory available"));
    }
}
