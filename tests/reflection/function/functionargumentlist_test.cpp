#include "common/reflection/datatype/datatype.h"
#include "tests/reflection/function/functiontest.h"

using namespace Tarq::Test;

namespace {

const std::string cFile = "common/reflection/function/functionargumentlist: ";

/// Has a default that takes memory, and counts assignments.
struct Costly {
    static inline int32 sAssignments = 0;
    String text = String(5000, 'x');

    Costly() = default;
    Costly(const Costly&) = default;
    Costly& operator=(const Costly& other) {
        ++sAssignments;
        text = other.text;
        return *this;
    }
};

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
        const T initial = type.makeDefault(allocator());
        T given = initial;
        if constexpr (std::is_arithmetic_v<T>)
            given = 1;
        else if constexpr (requires { given.push_back({}); })
            given.push_back({});
        else
            given[0] = 1;
        FunctionRegistrar registrar(allocator());
        const FunctionID count =
            registrar.registerFunction("count", [&initial, &given](int8, T a, const T& b, int8, const T& c) -> int32 {
                const auto worth = [&](const T& value) { return value == given ? 10 : value == initial ? 1 : 0; };
                return worth(a) + worth(T(b)) + worth(c);
            });
        // The numbers move the values to places that do not suit them, with and without overflow.
        List list(types<int8, T, T, int8, T>(), allocator());
        const auto countValues = [&] {
            int32 result = 0;
            CHECK(registrar.callFunction(&result, count, nullptr, list));
            return result;
        };
        CHECK(countValues() == 3);
        CHECK(list.setValue(&given, Datatype::GET_DATATYPE_ID<T>(), 4));
        CHECK(countValues() == 12);
        CHECK((list.setValue(List(list).getValuePtr(4), 1) && list.setValue(list.getValuePtr(4), 2)));
        CHECK(countValues() == 30);
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

TEST_CASE_FIXTURE(FunctionTest, "a value that is set to itself is not assigned") {
    ReflectionInterface::getDatatypeManager()->registerNFDatatype<Costly>("Costly", Costly(), nullptr);
    List list(types<int8, Costly>(), allocator());
    Costly::sAssignments = 0;
    CHECK((list.set(1, Costly()) && list.setValue(list.getValuePtr(1), 1)));
    CHECK(Costly::sAssignments == 1);
}

TEST_CASE_FIXTURE(FunctionTest, "a list that memory runs out for leaves nothing behind, and has no arguments") {
    ReflectionInterface::getDatatypeManager()->registerNFDatatype<Costly>("Costly", Costly(), nullptr);
    const Types signature = types<Costly, int8, Costly, Costly>();
    const List list(signature, allocator());
    List assigned = listOf(1.5);
    const auto countFailures = [&](const auto& make) {
        for (uint32 granted = 0;; ++granted) {
            getMemory().failAfter(granted);
            const std::string outcome = outcomeOf(make);
            getMemory().failNever();
            if (outcome.empty())
                return granted;
            REQUIRE(outcome == "OutOfMemoryException: No Memory available");
        }
    };
    CHECK(countFailures([&] { List(signature, allocator()); }) >= 3);
    CHECK(countFailures([&] { List copy(list); }) >= 3);
    getMemory().failAfter(1);
    CHECK(outcomeOf([&] { assigned = list; }) != "");
    getMemory().failNever();
    CHECK(assigned.size() == 0);
    CHECK(countFailures([&] { assigned = list; }) >= 3);
}
