#include "tests/debugger/call/calltest.h"
#include "tests/debugger/handler/modelworld.h"
#include "tests/reflection/datatype/colour.h"

#include "common/reflection/datatype/datatype.h"
#include "common/reflection/datatype/datatypemanager.h"
#include "common/reflection/reflectioninterface.h"

using namespace Tarq::Test;

namespace {

const std::string cUntyped = "Type couldn't be verified by MessageReader: couldn't read the type out of the stream\n";
const std::string cNoValue = "Couldn't read data type from stream\n";
const std::string cNoSize = "Couldn't read the size of the vector\n";

int32 minus(int32 left, const int32& right) {
    return left - right;
}
int32 length(const Vector<int32>& values) {
    return static_cast<int32>(values.size());
}
String join(const Vector<String>& values) {
    String all;
    for (const String& value : values)
        all += value + ";";
    return all;
}
int32 greyOf(const Colour& colour) {
    return colour.grey;
}
Colour mixed(int32 grey) {
    return {grey};
}

/// Returns its number.
struct Numbered {
    int32 number;
    int32 operator()() const { return number; }
};

} // namespace

TEST_CASE_FIXTURE(CallTest, "every type is taken and returned as it is, and arguments come in order") {
    int types = 0;
    forEachBuiltinDatatype([&]<class Entry>(const Entry& entry) {
        using T = typename Entry::Native;
        const String name = entry.getName();
        CAPTURE(name.c_str());
        server().getFunctionRegistrar()->registerFunction(name, &echo<T>);
        for (const T& value : {sampleOf<T>(allocator()), emptyOf<T>(allocator())})
            CHECK(outcomeOf(callOf(name, value)) == hexOf(answerOf(name, value)));
        ++types;
    });
    CHECK(types == 42);
    const WString wide = L"w\x00E4\xFFFD";
    CHECK(outcomeOf(callOf("WString", wide)) == hexOf(answerOf("WString", wide)));
    add("minus", &minus);
    add("join", &join);
    CHECK(outcomeOf(callOf("minus", int32{5}, int32{7})) == hexOf(answerOf("minus", int32{-2})));
    CHECK(outcomeOf(callOf("join", Vector<String>(allocator(), {"b", "", "a"}))) == hexOf(answerOf("join", "b;;a;")));
    // Without a result.
    CHECK(outcomeOf(callOf("count")) == "07 01 00 00 25 0b 00 00 00 05 63 6f 75 6e 74");
    CHECK(mCount == 1);
}

TEST_CASE_FIXTURE(CallTest, "what cannot be called is reported, and not answered") {
    Reflection::ReflectionInterface::getDatatypeManager()->registerNFDatatype<Colour>("Colour", Colour(), nullptr);
    add("minus", &minus);
    add("length", &length);
    add("join", &join);
    add("twice", &echo<int32>);
    add("twice", &echo<String>);
    add("greyOf", &greyOf);
    add("mixed", &mixed);
    add("member", &Numbered::operator());
    functions().registerFunction("both", &echo<int32>);
    functions().registerFunction("both", &echo<float>);
    Debugger::Module* const second = server().createModule("second", 1, 1);
    second->getFunctionRegistrar()->registerFunction("both", &minus);
    const auto raw = [](uint32 number) { return fieldsOf(number).substr(1); };
    const std::string one = fieldsOf(int32{1});
    const struct {
        const char* name;
        const char* function;
        std::string arguments;
        std::string asserted;
        const char* failed = nullptr; ///< which argument cannot be read
    } cases[] = {
        {"unknown", "fly", one,
         "the RPC (fly) isn't known within the server or any connected module (2 connected ) (trying to call function "
         "of removed module?)\n"},
        {"two in the server", "twice", one,
         "The called RPC isn't unique by name (twice) within Server, found (2) registered RPC for given name\n"},
        {"two in the first module that has it", "both", one,
         "The called RPC isn't unique by name (both) within Module (world), found (2) registered RPC for given name\n"},
        {"none of two arguments", "minus", "", cUntyped + cNoValue, "0"},
        {"one of two arguments", "minus", one, cUntyped + cNoValue, "1"},
        {"an argument that is cut off", "minus", one + one.substr(0, 3), cNoValue, "1"},
        {"one too many", "minus", one + one + one, "", "2"},
        {"a byte where nothing is taken", "done", "x", "", "0"},
        {"another type", "minus", one + fieldsOf(uint32{1}),
         "MessageReader verification found wrong type: expected(STREAM_TYPE_INT32) found(STREAM_TYPE_UINT32)\n" +
             cNoValue,
         "1"},
        {"a value in the place of a container", "length", one, cNoSize, "0"},
        {"a count that is cut off", "length", "\x83" + raw(1).substr(0, 3), cNoSize, "0"},
        {"a container that is cut off", "length", "\x83" + raw(3) + raw(1) + raw(2) + "x",
         "Can't read the (2)th element from stream\n", "0"},
        {"a count of more than there is", "length", "\x83" + raw(~0u), "Can't read the (0)th element from stream\n",
         "0"},
        {"texts that end early", "join", "\x8b" + raw(3) + raw(1) + "a" + raw(1) + "b",
         "number of children of an array/String couldn't be extracted from the stream\n"
         "Can't read the (2)th element from stream\n",
         "0"},
        {"an argument that messages do not know", "greyOf", one, "Should read unsupported DatatypeID:42\n", "0"},
        {"a result that messages do not know", "mixed", one, "Couldn't write value to stream\n"},
        {"no object for a member function", "member", "", "Couldn't call the RPC (member)\n"},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        const AssertionRecorder assertions;
        CHECK(outcomeOf(callOf(c.function) + c.arguments) == "");
        std::string expected = c.asserted;
        if (c.failed)
            expected += std::string("Couldn't set the") + c.failed + "th value out of the stream for an RPC (" +
                        c.function + ")\n";
        CHECK(errorsOf(assertions) == expected);
    }
    CHECK(outcomeOf(callOf("length", Vector<int32>(allocator()))) == hexOf(answerOf("length", int32{0})));
    const AssertionRecorder assertions;
    send(requestOf(MessageID::CALL));
    mNetwork.send(77, callOf("done"));
    CHECK(errorsOf(assertions) ==
          cUntyped + "Couldn't read the name of the remote procedure\nInternal Error: ClientInfo missing\n");
}

TEST_CASE_FIXTURE(CallTest, "the server's function counts before those of modules, and these in order") {
    Debugger::Module* second = server().createModule("second", 1, 1);
    const FunctionRegistrar::Types signature(allocator(), {Reflection::Datatype::GET_DATATYPE_ID<int32>()});
    const auto isAnsweredBy = [&](int32 number) { return outcomeOf(callOf("who")) == hexOf(answerOf("who", number)); };
    // Who only needs it does not provide it.
    server().getFunctionRegistrar()->addRequiredFunction("who", signature);
    second->getFunctionRegistrar()->registerFunction("who", Numbered{2});
    CHECK(isAnsweredBy(2));
    functions().registerFunction("who", Numbered{1});
    CHECK(isAnsweredBy(1));
    CHECK(server().destroyModule(second));
    add("who", Numbered{0});
    CHECK(isAnsweredBy(0));
    add("who", Numbered{9});
    CHECK(isAnsweredBy(9));
}
