#include "common/debugger/model/variabletype.h"

#include "tests/network/message/messages.h"
#include "tests/reflection/function/functiontest.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Common::Debugger;
using namespace Tarq::Common::Reflection::Datatype;
using namespace Tarq::Test;

namespace {

constexpr char cFile[] = "common/debugger/model/variabletype";
constexpr char cIDFile[] = "common/debugger/model/elementid";

using VariableTypePtr = std::unique_ptr<VariableType>;

VariableTypePtr make(const Memory::AllocatorPtr& allocator, int type) {
    return VariableTypePtr(
        VariableType::createVariableType(allocator, static_cast<StreamIDs>(type), "speed", true, nullptr, 7));
}

} // namespace

TEST_CASE_FIXTURE(FunctionTest, "each built-in type has a variable type, which reads what it has written") {
    forEachBuiltinDatatype([&]<class Type>(const Type& type) {
        using T = typename Type::Native;
        CAPTURE(type.getName().c_str());
        const VariableTypePtr variable = make(allocator(), getStreamID<T>());
        REQUIRE(variable);
        CHECK(dynamic_cast<TypedVariableType<T>*>(variable.get()));
        CHECK(variable->getType() == getStreamID<T>());
        CHECK(variable->getDatatypeID() == ReflectionInterface::getDatatypeManager()->getDatatypeID(type.getName()));
        const T value = sampleOf<T>(allocator());
        MemoryStream stream("stream", 64);
        MessageBuilder builder(&stream, true);
        variable->write(&value, builder);
        T found = emptyOf<T>(allocator());
        // The tag is read whatever the reader does with others.
        for (const bool useType : {true, false}) {
            MessageReader reader(&stream, useType);
            CHECK(variable->read(&found, reader));
            CHECK(found == value);
            found = emptyOf<T>(allocator());
        }
    });
}

TEST_CASE_FIXTURE(LibraryTest, "a variable type has what it was made with, and the class of its number") {
    int place = 0; // nothing looks into it
    auto* const owner = reinterpret_cast<ObjectType*>(&place);
    const VariableTypePtr variable(
        VariableType::createVariableType(allocator(), STREAM_TYPE_ARRAY_VEC_3_UINT32, "path", false, owner, 3));
    CHECK(dynamic_cast<VariableTypeArrayVec3u32*>(variable.get()));
    CHECK(variable->getName() == "path");
    CHECK_FALSE(variable->isWritable());
    CHECK(variable->getObjectType() == owner);
    CHECK(variable->getIndex() == 3);
    CHECK(dynamic_cast<VariableTypeBString*>(make(allocator(), 0x0B).get()));
    CHECK(dynamic_cast<VariableTypeFloat64*>(make(allocator(), 0x0A).get()));
}

TEST_CASE_FIXTURE(LibraryTest, "numbers that name no type make no variable type") {
    int made = 0;
    for (int number = 0; number < 256; ++number) {
        CAPTURE(number);
        if (getStreamIDName(static_cast<StreamIDs>(number))) {
            CHECK(make(allocator(), number));
            ++made;
            continue;
        }
        const ExpectedAssertion expected(
            "\nError Message: variable type not supported yet: (" + std::to_string(number) + ")", cFile);
        CHECK_FALSE(make(allocator(), number));
    }
    CHECK(made == 42);
}

TEST_CASE_FIXTURE(LibraryTest, "a variable keeps its value unless another whole one of its type comes") {
    const struct {
        const char* name;
        int type;
        const char* hex;
    } rows[] = {
        {"nothing", 7, ""},
        {"a tag alone", 7, "07"},
        {"a number that is cut off", 7, "07 00 00 00"},
        {"a number of another type", 7, "03 00 00 00 05"},
        {"more than a number", 7, "07 00 00 00 05 00"},
        {"a text that is cut off", 11, "0b 00 00 00 03 61 62"},
        {"a text without a tag", 11, "00 00 00 01 61"},
        {"a text that is a container", 11, "85 00 00 00 01 61"},
        {"two texts", 11, "0b 00 00 00 01 61 0b 00 00 00 01 62"},
        {"a container that is cut off", 0x87, "87 00 00 00 02 00 00 00 01 00 00"},
        {"a container of another type", 0x87, "83 00 00 00 01 00 00 00 01"},
        {"a container of more than there can be", 0x87, "87 ff ff ff ff 00 00 00 01"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        const VariableTypePtr variable = make(allocator(), row.type);
        uint32 number = 42;
        String text = "before";
        Vector<uint32> numbers(allocator(), {1, 2});
        void* const location = row.type == 7    ? static_cast<void*>(&number)
                               : row.type == 11 ? static_cast<void*>(&text)
                                                : &numbers;
        inEachStream(bytesOf(row.hex), [&](IO::Stream& stream) {
            const AssertionRecorder recorder;
            MessageReader reader(&stream, true);
            CHECK_FALSE(variable->read(location, reader));
        });
        CHECK(number == 42);
        CHECK(text == "before");
        CHECK(numbers == Vector<uint32>(allocator(), {1, 2}));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an id is set once") {
    const struct {
        std::string kind;
        std::string invalid;
    } rows[] = {{"ObjectGroup", "OBJECT_GROUP"},       {"ObjectType", "OBJECT_TYPE"},
                {"ObjectInstance", "OBJECT_INSTANCE"}, {"VariableType", "VARIABLE_TYPE"},
                {"BreakpointType", "BREAKPOINT_TYPE"}, {"BreakpointInstance", "BREAKPOINT_INSTANCE"}};
    for (const auto& row : rows) {
        CAPTURE(row.kind);
        ElementID id(row.kind.c_str());
        CHECK(id.get() == 0xFFFFFFFF);
        {
            const ExpectedAssertion expected(
                "\nError Message: Tried to set " + row.kind + "ID with INVALID_" + row.invalid + "_ID", cIDFile);
            CHECK_FALSE(id.set(0xFFFFFFFF));
        }
        CHECK(id.set(5));
        const ExpectedAssertion expected("\nError Message: Tried to set " + row.kind + "ID for second time", cIDFile,
                                         2);
        CHECK_FALSE(id.set(6));
        CHECK_FALSE(id.set(0xFFFFFFFF));
        CHECK(id.get() == 5);
    }
    const VariableTypePtr variable = make(allocator(), 0);
    CHECK(variable->getID() == INVALID_VARIABLE_TYPE_ID);
    CHECK(variable->setID(0));
    CHECK(variable->getID() == 0);
}
