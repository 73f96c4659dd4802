#include "common/debugger/model/objectinstance.h"

#include "tests/debugger/model/modeltest.h"

#include "common/memory/memoryexception.h"

#include <type_traits>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Result = Debugger::VariableInstance::Result;
using Debugger::VariableInstance;

namespace {

const std::string cNoVariableInMessage = "The replied message doesn't contain the reply variable";

/// What a tool is sent as the value, in hexadecimal.
std::string dataOf(const ObjectInstance& instance, uint32 variable) {
    return hexOf(messageOf([&](MessageBuilder& builder) { CHECK(instance.getVariableData(builder, variable)); }));
}

/// The item inside an array of uint8.
std::string nested(const std::string& item) {
    return messageOf([&](MessageBuilder& builder) {
        MemoryStream stream("stream", 16);
        stream.write(item.data(), item.size());
        stream.seek(0, IO::Stream::SORIGIN_BEGIN);
        builder.writeStream(&stream, item.size(), false);
    });
}

/// What becomes of a value, and what is said last.
std::pair<Result, std::string> setData(ObjectInstance& instance, uint32 variable, const std::string& message) {
    const AssertionRecorder assertions;
    RecordingStream stream(message);
    MessageReader reader(&stream, true);
    const Result result = instance.setVariableData(variable, reader);
    if (assertions.getSeen().empty())
        return {result, ""};
    const std::string text = assertions.getSeen().back().text;
    return {result, text.substr(text.find(": ") + 2)};
}

/// An attached type "walker" with the variables "age" (id 0) and "speed" (id 1), and its instance "ann".
struct WalkerTest : ModelTest {
    WalkerTest()
        : mType(makeType(mModule->createObjectGroup("agents"), "walker", {"age", "speed"})),
          mAnn(mType->createObjectInstance("ann")) {}

    void attach() {
        CHECK(mAnn->registerVariable("age", &mAge));
        CHECK(mAnn->registerVariable("speed", &mSpeed));
        mAnn->attach();
    }

    ObjectType* mType;
    ObjectInstance* mAnn;
    uint32 mAge = 7;
    uint32 mSpeed = 8;
};

} // namespace

TEST_CASE_FIXTURE(WalkerTest, "what is not for an unattached instance is refused") {
    RecordingStream stream(nested("07 00000005"));
    MessageReader reader(&stream, true);
    MessageBuilder builder(&stream, true);
    CHECK(mAnn->registerVariable("age", &mAge));
    uint32 id = 77;
    checkRefusals({
        {"no location", [&] { return mAnn->registerVariable("speed", nullptr); },
         "Tried to register NULL pointer as variable"},
        {"unknown name", [&] { return mAnn->registerVariable("height", &mAge); },
         "Tried to registered variable (height) of objectInstance (ann) that isn't known within ObjectType (walker)"},
        {"unregister", [&] { return mAnn->unregisterVariable(0); },
         "Tried to unregister variable to an unattached ObjectInstance"},
        {"watch", [&] { return mAnn->registerWatchedVariable(0); },
         "Tried to register watched variable to an unattached ObjectInstance"},
        {"unwatch", [&] { return mAnn->unregisterWatchedVariable(0); },
         "Tried to unregister watched variable to an unattached ObjectInstance"},
        {"is watched", [&] { return mAnn->isWatchedVariable(0); },
         "Tried to ask about existence of a watched variable of an unattached ObjectInstance"},
        {"get", [&] { return mAnn->getVariableData(builder, 0); },
         "Tried to get variable data of an unattached ObjectInstance"},
        {"set", [&] { return mAnn->setVariableData(0, reader) != VariableInstance::VARIABLE_UNKNOWN; },
         "Tried to set variable data of an unattached ObjectInstance"},
        {"value pointer", [&] { return mAnn->getVariableValuePointer("age") != nullptr; },
         "Tried to get variable value pointer of an unattached ObjectInstance"},
        {"accessor", [&] { return mAnn->getVariableAccessor() != nullptr; },
         "Tried to getVariableAccessor of an unattached ObjectInstance"},
        {"not registered yet", [&] { return mAnn->getVarID(id, "speed"); }, ""},
    });
    CHECK(id == 77);
    CHECK(mAge == 7);
    CHECK(stream.getPosition() == 0);
    CHECK(mAnn->getVarID(id, "age"));
    CHECK(id == 0);
}

TEST_CASE_FIXTURE(WalkerTest, "an instance is attached when every variable is registered, and once") {
    mModule->attach();
    const uint32 tool = connectToModule();
    const auto attachText = [&] { return assertedBy([&] { mAnn->attach(); }); };
    CHECK(attachText() ==
          "Missing (2) Variables within ObjectInstance (ann) that are known within ObjectType (walker)");
    CHECK(mAnn->registerVariable("speed", &mSpeed));
    CHECK(mAnn->registerVariable("speed", &mSpeed));
    CHECK(attachText() ==
          "Missing (1) Variables within ObjectInstance (ann) that are known within ObjectType (walker)");
    CHECK_FALSE(mAnn->isAttached());
    CHECK(takeLines(tool).empty());
    CHECK(mAnn->registerVariable("age", &mAge));
    mAnn->attach();
    CHECK(mAnn->isAttached());
    CHECK(takeLines(tool) == linesOf({wire(0x0A, 0u, 0u, "ann", 0u)}));
    {
        const ExpectedAssertion expected("!mIsAttached\nError Message: Tried to attach an ObjectInstance (ann) second "
                                         "time",
                                         "common/debugger/model/objectinstance");
        mAnn->attach();
    }
    checkRefusals({{"late", [&] { return mAnn->registerVariable("age", &mSpeed); },
                    "Tried to register variable (age) to already attached ObjectInstance (ann)"}});
    CHECK(takeLines(tool).empty());
    CHECK(dataOf(*mAnn, 0) == "85 00 00 00 05 07 00 00 00 07");
    CHECK(mAnn->getVariableAccessor());
}

TEST_CASE_FIXTURE(WalkerTest, "a variable that is registered twice is where it was registered last") {
    uint32 before = 1;
    CHECK(mAnn->registerVariable("age", &before));
    attach();
    CHECK(dataOf(*mAnn, 0) == "85 00 00 00 05 07 00 00 00 07");
    CHECK(setData(*mAnn, 0, bytesOf("85 00000005 07 00000009")).first == VariableInstance::VARIABLE_WRITTEN);
    CHECK(mAge == 9);
    CHECK(before == 1);
    CHECK(mAnn->getVariableValuePointer("age") == &mAge);
}

TEST_CASE_FIXTURE(WalkerTest, "a variable that was unregistered is unknown everywhere") {
    attach();
    ObjectInstance* const bob = makeInstance(mType, "bob", {"age", "speed"});
    CHECK(mAnn->registerWatchedVariable(1));
    CHECK(mAnn->registerWatchedVariable(0));
    CHECK(mAnn->unregisterVariable(0));
    RecordingStream stream;
    MessageBuilder builder(&stream, true);
    uint32 id = 77;
    checkRefusals({
        {"again", [&] { return mAnn->unregisterVariable(0); },
         "Tried to unregister unknown variable (id: 0) within ObjectInstance (name: ann, id: 0)"},
        {"never there", [&] { return mAnn->unregisterVariable(2); },
         "Tried to unregister unknown variable (id: 2) within ObjectInstance (name: ann, id: 0)"},
        {"get", [&] { return mAnn->getVariableData(builder, 0); },
         "Tried to get data for unknown variable (0) within objectInstance (ann)"},
        {"watch", [&] { return mAnn->registerWatchedVariable(0); },
         "Tried to register watched variable for unknown variable (id: 0) within object (ann)"},
        {"unwatch", [&] { return mAnn->unregisterWatchedVariable(0); },
         "Tried to unregister watched variable for unknown variable (id: 0) within object (ann)"},
        {"is watched", [&] { return mAnn->isWatchedVariable(0); }, ""},
        {"id", [&] { return mAnn->getVarID(id, "age"); }, ""},
        {"value pointer", [&] { return mAnn->getVariableValuePointer("age") != nullptr; }, ""},
    });
    CHECK(stream.getBytes().empty());
    CHECK(setData(*mAnn, 0, nested(bytesOf("07 00000009"))) ==
          std::pair<Result, std::string>(VariableInstance::VARIABLE_UNKNOWN, ""));
    CHECK(mAge == 7);
    // The others are as they were.
    CHECK(mType->existsVariable(0));
    CHECK(mAnn->isWatchedVariable(1));
    CHECK(dataOf(*mAnn, 1) == "85 00 00 00 05 07 00 00 00 08");
    CHECK(dataOf(*bob, 0) == "85 00 00 00 05 07 00 00 00 2a");
}

TEST_CASE_FIXTURE(WalkerTest, "variables are watched in the order in which the watches were set") {
    attach();
    const auto watched = [&] {
        std::string ids;
        for (const VariableInstance* const variable : mAnn->getWatchedVariables())
            ids += std::to_string(variable->getVarType()->getID()) + ' ';
        return ids;
    };
    CHECK(mAnn->registerWatchedVariable(1));
    checkRefusals({
        {"twice", [&] { return mAnn->registerWatchedVariable(1); },
         "Tried to set watch on already watched variable (name: speed) within object (ann)"},
        {"unknown", [&] { return mAnn->registerWatchedVariable(2); },
         "Tried to register watched variable for unknown variable (id: 2) within object (ann)"},
        {"unwatch unknown", [&] { return mAnn->unregisterWatchedVariable(cNone); },
         "Tried to unregister watched variable for unknown variable (id: 4294967295) within object (ann)"},
        {"unwatch", [&] { return mAnn->unregisterWatchedVariable(0); },
         "Tried to unset watch on not watched variable (name: age) within object (ann)"},
        {"is watched", [&] { return mAnn->isWatchedVariable(0); }, ""},
    });
    CHECK(mAnn->registerWatchedVariable(0));
    CHECK(watched() == "1 0 ");
    CHECK(mAnn->isWatchedVariable(0));
    CHECK(mAnn->unregisterWatchedVariable(1));
    CHECK(watched() == "0 ");
    CHECK(mAnn->registerWatchedVariable(1));
    CHECK(watched() == "0 1 ");
}

TEST_CASE_FIXTURE(ModelTest,
                  "values of every built-in type are read and written, and kept when what comes is no such") {
    ObjectGroup* const group = mModule->createObjectGroup("values");
    int count = 0;
    forEachBuiltinDatatype([&]<class Type>(const Type& datatype) {
        using T = typename Type::Native;
        CAPTURE(datatype.getName().c_str());
        ++count;
        ObjectType* const type = group->createObjectType(datatype.getName());
        CHECK(type->registerVariableType(getStreamID<T>(), "free", true));
        CHECK(type->registerVariableType(getStreamID<T>(), "fixed", false));
        type->attach();
        uint32 free = 0;
        uint32 fixed = 0;
        CHECK(type->getVarID(free, "free"));
        CHECK(type->getVarID(fixed, "fixed"));
        const T sample = sampleOf<T>(allocator());
        const T empty = emptyOf<T>(allocator());
        T value = sample;
        ObjectInstance* const instance = type->createObjectInstance("value");
        CHECK(instance->registerVariable("free", &value));
        CHECK(instance->registerVariable("fixed", &value));
        instance->attach();

        const std::string item = messageOf([&](MessageBuilder& builder) { builder.write(sample); });
        CHECK(dataOf(*instance, free) == hexOf(nested(item)));
        CHECK(dataOf(*instance, fixed) == hexOf(nested(item)));
        value = empty;
        CHECK(setData(*instance, free, nested(item)) == std::pair(VariableInstance::VARIABLE_WRITTEN, std::string()));
        CHECK(value == sample);

        value = empty;
        const std::string whole = nested(item);
        const struct {
            const char* name;
            std::string message;
        } bad[] = {
            {"nothing", ""},
            {"no value", nested("")},
            {"not nested", item},
            {"another type", nested(bytesOf(std::is_same_v<T, bool> ? "05 01" : "00 01"))},
            {"no tag", nested(item.substr(1))},
            {"a value that is cut off", nested(item.substr(0, item.size() - 1))},
            {"more than a value", nested(item + '\0')},
            {"an array that is cut off", whole.substr(0, whole.size() - 1)},
        };
        for (const auto& message : bad) {
            CAPTURE(message.name);
            CHECK(setData(*instance, free, message.message) ==
                  std::pair(VariableInstance::VARIABLE_MISMATCH, cNoVariableInMessage));
            CHECK(value == empty);
        }
        CHECK(setData(*instance, fixed, whole) ==
              std::pair(VariableInstance::VARIABLE_READ_ONLY,
                        std::string("Tried to write variable (name: fixed) that has no write access")));
        CHECK(value == empty);
        CHECK(group->destroyObjectType(type->getID()));
    });
    CHECK(count == 42);
}

TEST_CASE_FIXTURE(ModelTest, "a value that there is no memory for changes nothing") {
    ObjectType* const type = mModule->createObjectGroup("agents")->createObjectType("walker");
    CHECK(type->registerVariableType(STREAM_TYPE_ARRAY_BSTRING, "items", true));
    type->attach();
    ObjectInstance* const instance = type->createObjectInstance("ann");
    const std::string text(100, 'x');
    Vector<String> items(allocator(), {String("before"), String(text.c_str())});
    const Vector<String> before = items;
    CHECK(instance->registerVariable("items", &items));
    instance->attach();
    const Vector<String> after(allocator(), {String(text.c_str()), String("after"), String(text.c_str())});
    const std::string message = nested(messageOf([&](MessageBuilder& builder) { builder.write(after); }));
    for (int granted = 0;; ++granted) {
        REQUIRE(granted < 100);
        RecordingStream stream(message);
        const AssertionRecorder assertions;
        MessageReader reader(&stream, true);
        Result result = VariableInstance::VARIABLE_MISMATCH;
        getMemory().failAfter(granted);
        try {
            result = instance->setVariableData(0, reader);
        } catch (Memory::OutOfMemoryException* exception) {
            delete exception;
        }
        getMemory().failNever();
        if (result == VariableInstance::VARIABLE_WRITTEN)
            break;
        CHECK(items == before);
    }
    CHECK(items == after);
}

TEST_CASE_FIXTURE(ModelTest, "thousands of instances come, are seen, and go in any order") {
    constexpr uint32 cCount = 5000;
    ObjectType* const type = makeType(mModule->createObjectGroup("agents"), "walker", {"age"});
    mModule->attach();
    for (uint32 id = 0; id < cCount; ++id)
        CHECK(makeInstance(type, "ann", {"age"})->getID() == id);
    const uint32 tool = connectTool();
    connectModule(tool);
    CHECK(takeMessages(tool).size() == cCount + 3);
    // Every seventh one after the other: 7 and the number have no common divisor.
    for (uint32 step = 0; step < cCount; ++step)
        CHECK(type->destroyObjectInstance(step * 7 % cCount));
    CHECK(takeMessages(tool).size() == cCount);
    CHECK(type->createObjectInstance("bob")->getID() == (cCount - 1) * 7 % cCount);
}
