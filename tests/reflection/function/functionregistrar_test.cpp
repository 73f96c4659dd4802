#include "tests/reflection/function/functiontest.h"

#include <memory>
#include <thread>
#include <vector>

#include <dlfcn.h>

using namespace Tarq::Test;

namespace {

const std::string cFile = "common/reflection/function/functionregistrar: ";

struct World {
    int64 spawned = 0;
    int32 spawn(int32 count) {
        spawned += count;
        return count + 1;
    }
    long long count() const noexcept { return spawned; }
    const String& echo(const String& text) const& { return text; }
    virtual double scaled(float by) { return static_cast<double>(spawned) * by; }
    virtual ~World() = default;
};
struct SmallWorld : World {
    double scaled(float by) override { return -by; }
};

void (*const nothing)() = [] {};
int32 (*const seven)() = [] { return 7; };
int32 (*const eight)() noexcept = []() noexcept { return 8; };
uint32 (*const inUnsigned)(uint32) = [](uint32 a) { return a + 1; };
double sumOf(int8 a, int16 b, int32 c, long d, float e, double f, bool g, uint8 h, const Math::Vec3<double>& i,
             const String& j) {
    return a + b + c + static_cast<double>(d) + e + f + (g ? 1 : 0) + h + i[0] + i[1] + i[2] + j.length();
}

// What a call could write to, or could not make, is no argument.
static_assert(FunctionArgument<const String&> && FunctionArgument<long> && FunctionArgument<const char>);
static_assert(!FunctionArgument<String&> && !FunctionArgument<int32&&> && !FunctionArgument<int32*>);
static_assert(!FunctionArgument<wchar_t> && !FunctionArgument<long double> && !FunctionArgument<void>);
static_assert(FunctionResult<void> && FunctionResult<const String&> && !FunctionResult<const char*>);

/// Reaches what is for registrars of another make.
struct OpenRegistrar : FunctionRegistrar {
    using FunctionRegistrar::FunctionRegistrar;
    using FunctionRegistrar::internalRegister;
};
bool refuse(void*, CFunction*, void*, const FunctionArgumentList&) {
    return false;
}

} // namespace

TEST_CASE_FIXTURE(FunctionTest, "every kind of function can be registered and called") {
    FunctionRegistrar registrar(allocator());
    World world;
    SmallWorld small;
    const auto call = [&]<class Result>(Result result, FunctionID id, void* object, const auto&... values) {
        CHECK(registrar.callFunction(&result, id, object, listOf(values...)));
        return result;
    };
    CHECK(call(int32(), registrar.registerFunction("eight", eight), nullptr) == 8);
    CHECK(call(double(), registrar.registerFunction("sumOf", &sumOf), nullptr, int8(1), int16(2), int32(3), long(4),
               5.0F, 6.0, true, uint8(7), Math::Vec3<double>{8, 9, 10}, String("eleven ....")) == 67);
    CHECK(call(int32(), registrar.registerFunction("spawn", &World::spawn), &world, int32(4)) == 5);
    CHECK(call(int64(), registrar.registerFunction("count", &World::count), &world) == 4);
    CHECK(call(int32(), registrar.registerFunction("spawn here", &World::spawn, &world), nullptr, int32(2)) == 3);
    CHECK(call(double(), registrar.registerFunction("scaled", &World::scaled), &world, 2.0F) == 12);
    CHECK(call(double(), registrar.registerFunction("scaled small", &World::scaled, &small), nullptr, 2.0F) == -2);
    CHECK(call(String(), registrar.registerFunction("echo", &World::echo), &world, String("text")) == "text");
    const FunctionID times =
        registrar.registerFunction("times", [factor = 3](int32 by) mutable { return factor *= by; });
    for (const int32 expected : {6, 12})
        CHECK(call(int32(), times, nullptr, int32(2)) == expected);
    // A result may refer to an argument, also to one that is moved for the call.
    const FunctionID larger = registrar.registerFunction(
        "larger", [](const int32& a, const int32& b) -> const int32& { return a < b ? b : a; });
    CHECK(call(int32(), larger, nullptr, int32(3), int32(9)) == 9);
    const FunctionID last =
        registrar.registerFunction("last", [](int8, const String& a) -> const String& { return a; });
    CHECK(call(String(), last, nullptr, int8(1), String("a text")) == "a text");
    const FunctionID add = registrar.registerFunction("add", [by = 1.5F](float a) { return a + by; });
    CHECK(call(float(), add, nullptr, 2.0F) == 3.5F);
    const FunctionID count = registrar.registerMemberFunction("of", [](const World& of) { return of.spawned; });
    CHECK(call(int64(), count, &world) == 6);

    const FunctionID spawnHere = registrar.getFunctionID("spawn here", types<int32>());
    CHECK(registrar.callFunction(spawnHere, nullptr, listOf(int32(9))));
    CHECK(registrar.callFunction(nullptr, spawnHere, nullptr, listOf(int32(1))));
    CHECK(world.spawned == 16);
    int32 untouched = 5;
    CHECK(registrar.callFunction(&untouched, registrar.registerFunction("nothing", nothing), nullptr, listOf()));
    CHECK(untouched == 5);
}

TEST_CASE_FIXTURE(FunctionTest, "a call that does not fit calls nothing and leaves the result") {
    FunctionRegistrar registrar(allocator());
    const FunctionID id = registrar.registerFunction("inUnsigned", inUnsigned);
    const FunctionID member = registrar.registerFunction("spawn", &World::spawn);
    uint32 result = 5;
    for (const FunctionArgumentList& each : {listOf(), listOf(1.0F), listOf(uint32(1), uint32(2)), listOf(uint64(1))}) {
        CHECK(!registrar.callFunction(&result, id, nullptr, each));
        CHECK(!registrar.callFunction(id, nullptr, each));
    }
    CHECK(!registrar.callFunction(&result, member, nullptr, listOf(int32(1))));
    CHECK(result == 5);
    CHECK((registrar.callFunction(&result, id, nullptr, listOf(int32(1))) && result == 2));
}

TEST_CASE_FIXTURE(FunctionTest, "a second registration replaces the first in its registrar, and not in copies of it") {
    FunctionRegistrar registrar(allocator());
    const FunctionID id = registrar.registerFunction("f", seven);
    FunctionRegistrar copy(registrar);
    FunctionRegistrar assigned(allocator());
    assigned.registerFunction("other", nothing);
    assigned = copy;
    CHECK(registrar.registerFunction("f", eight) == id);
    int32 result = 0;
    for (const auto& [each, expected] : {std::pair(&registrar, 8), std::pair(&copy, 7), std::pair(&assigned, 7)})
        CHECK((each->callFunction(&result, id, nullptr, listOf()) && result == expected));
    CHECK(assigned.getFunctionDeclarations()->getName() == "default");
}

TEST_CASE_FIXTURE(FunctionTest, "a module that registers functions can be unloaded") {
    const std::string file = TARQ_TEST_MODULE_DIR "/functions" TARQ_TEST_MODULE_SUFFIX;
    for (int round = 0; round < 2; ++round) {
        std::unique_ptr<void, int (*)(void*)> module(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL), &dlclose);
        REQUIRE(module);
        const auto registerAndCall =
            reinterpret_cast<int32 (*)(FunctionRegistrar&)>(dlsym(module.get(), "registerAndCall"));
        {
            FunctionRegistrar registrar(allocator());
            CHECK(registerAndCall(registrar) == 41);
        }
        module.reset();
        CHECK(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr);
    }
}

TEST_CASE_FIXTURE(FunctionTest, "what is not provided is reported and not called") {
    const FunctionDeclarationManagerPtr shared(new (allocator()) FunctionDeclarationManager("shared"));
    FunctionRegistrar registrar(shared, allocator());
    FunctionRegistrar other(shared, allocator());
    const FunctionID required = registrar.addRequiredFunction("f", types<int32, float, String>());
    const FunctionID provided = registrar.registerFunction("g", nothing);
    registrar.addRequiredFunction("h", types<void>());
    for (const FunctionID each : {provided, required})
        registrar.addRequiredFunction(each);
    const std::string beyond = cFile +
                               "mCFunctions.size() >= GetIDWrapperValue(id)\nError Message: invalid functionID - "
                               "internal error";
    CHECK(outcomeOf([&] { CHECK(!registrar.callFunction(required, nullptr, listOf())); }) ==
          cFile + "\nError Message: try to call not registered functionf");
    for (const FunctionID each : {FunctionID(2), FunctionID()})
        CHECK(outcomeOf([&] { CHECK(!registrar.callFunction(each, nullptr, listOf())); }) == beyond);
    CHECK(outcomeOf([&] { CHECK(!registrar.checkRegisteredFunctions()); }) ==
          cFile + "missing.empty()\nError Message: the following functions are not registered:\n"
                  "Integer32 (*f) (Float,String)\nvoid (*h) ()\n");
    CHECK(registrar.existsFunction("f", types<float, String>(), true));
    CHECK(other.getFunctionIDWithFullSignature("f", types<int32, float, String>()) == required);
    Types signature(allocator());
    CHECK((other.getFullSignature(signature, required) && signature == types<int32, float, String>()));
    CHECK((other.getArgumentSignature(signature, required) && signature == types<float, String>()));
    CHECK((other.getReturnValueType(required) == types<int32>()[0] && other.getFunctionName(required) == "f"));
    CHECK((!registrar.existsFunction("f", types<float, String>(), false) &&
           !registrar.existsFunction("f", types<>(), true)));
    CHECK((registrar.existsFunction("g", types<>(), false) && !other.existsFunction("g", types<>(), false)));
    registrar.registerFunction("f", [](float, const String&) { return int32(0); });
    registrar.registerFunction("h", nothing);
    CHECK(registrar.checkRegisteredFunctions());
    CHECK((outcomeOf([&] { registrar.addRequiredFunction(FunctionID(9)); }) != "" &&
           registrar.getRequiredFunctions().size() == 3));
}

TEST_CASE_FIXTURE(FunctionTest, "what cannot be registered is refused with a report") {
    OpenRegistrar registrar(allocator());
    struct Unknown {};
    registrar.registerFunction("f", [](const String&) { return int16(0); });
    const auto outcomeFor = [&](const auto&... function) {
        return outcomeOf([&] { CHECK(registrar.registerFunction("f", function...) == FunctionID()); });
    };
    const auto outcomeForShape = [&](CallRoutine routine, const Types& full) {
        return outcomeOf([&] { registrar.internalRegister("f", routine, &refuse, nullptr, 0, &full, 4, full); });
    };
    void (*const noFunction)() = nullptr;
    void (World::*const noMember)() = nullptr;
    World* const noWorld = nullptr;
    CHECK(outcomeFor(noFunction).ends_with("Error Message: functionpointer is a zero pointer"));
    CHECK(outcomeFor(noMember).ends_with("Error Message: functionpointer is a zero pointer"));
    CHECK(outcomeFor(&World::spawn, noWorld).ends_with("there is no object to bind a function to"));
    CHECK(outcomeFor([](Unknown) {}).ends_with("is not registered"));
    CHECK(outcomeFor([](const String&) { return true; }) ==
          cFile + "\nError Message: function: \"f\" is already registered with identical signature and different "
                  "returnvaluetype: \"Integer16\"");
    CHECK(outcomeForShape(&refuse, Types(allocator(), 12, types<int8>()[0])).ends_with("but there are 11"));
    CHECK(outcomeForShape(&refuse, types<>()).ends_with("begins with the type of the result"));
    CHECK(outcomeForShape(nullptr, types<void>()).ends_with("needs its call routines"));
    CHECK(registrar.getFunctionIDs("f")->size() == 1);
}

TEST_CASE_FIXTURE(FunctionTest, "functions are called while threads register and replace the same ones") {
    FunctionRegistrar registrar(allocator());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            const FunctionArgumentList none = listOf();
            for (int round = 0; round < 60; ++round) {
                const std::string name = std::to_string(round % 30);
                const FunctionID id = registrar.registerFunction(name, round % 2 == 0 ? eight : seven);
                registrar.registerFunction(name, inUnsigned);
                const auto* const ids = registrar.getFunctionIDs(name);
                CHECK(std::find(ids->begin(), ids->end(), id) != ids->end());
                int32 result = 0;
                CHECK((registrar.callFunction(&result, id, nullptr, none) && (result == 7 || result == 8)));
            }
            const auto declarations = registrar.getFunctionDeclarations();
            for (FunctionIterator at = declarations->getFunctionIterator(); !at.reachedEnd(); ++at)
                CHECK(registrar.existsFunction(at.getFunctionName(), types<>(), false));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK(registrar.getFunctionDeclarations()->createFunctionDeclaration("new", types<void>()) == FunctionID(60));
}
