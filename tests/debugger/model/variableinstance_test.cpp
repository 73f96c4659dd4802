#include "common/debugger/model/variableinstance.h"

#include "tests/network/message/messages.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Common::Debugger;
using namespace Tarq::Test;

namespace {

/// A variable of a host that is 42, and a text that is "before".
struct Fixture : LibraryTest {
    VariableInstance number(bool isWritable = true) {
        mNumberType.reset(
            VariableType::createVariableType(allocator(), STREAM_TYPE_UINT32, "count", isWritable, nullptr, 0));
        return VariableInstance(&mNumber, mNumberType.get());
    }

    std::unique_ptr<VariableType> mNumberType;
    uint32 mNumber = 42;
};

const std::string cNoVariable = "common/debugger/model/variableinstance: "
                                "\nError Message: The replied message doesn't contain the reply variable";

} // namespace

TEST_CASE_FIXTURE(Fixture, "a variable is written as it is at that moment") {
    const VariableInstance variable = number();
    CHECK(variable.getPointer() == &mNumber);
    CHECK(variable.getVarType() == mNumberType.get());
    CHECK(hexOf(messageOf([&](MessageBuilder& builder) { variable.writeTo(builder); })) == "07 00 00 00 2a");
    mNumber = 43;
    CHECK(hexOf(messageOf([&](MessageBuilder& builder) { variable.writeTo(builder); })) == "07 00 00 00 2b");
    CHECK_FALSE(VariableInstance().getPointer());
}

TEST_CASE_FIXTURE(Fixture, "a value that was sent is assigned only if it is one of the variable's type") {
    const struct {
        const char* name;
        const char* hex;
        VariableInstance::Result result;
        std::string report;
    } rows[] = {
        {"a value", "85 00 00 00 05 07 00 00 00 05", VariableInstance::VARIABLE_WRITTEN, ""},
        {"nothing", "", VariableInstance::VARIABLE_MISMATCH, cNoType + "; " + cNoVariable},
        {"a value that is not nested", "07 00 00 00 05", VariableInstance::VARIABLE_MISMATCH,
         cReader +
             "MessageReader verification found wrong type: expected(STREAM_TYPE_ARRAY_UINT08) "
             "found(STREAM_TYPE_UINT32); " +
             cNoVariable},
        {"an empty value", "85 00 00 00 00", VariableInstance::VARIABLE_MISMATCH, cNoType + "; " + cNoVariable},
        {"a value of another type", "85 00 00 00 05 03 00 00 00 05", VariableInstance::VARIABLE_MISMATCH,
         cReader +
             "MessageReader verification found wrong type: expected(STREAM_TYPE_UINT32) "
             "found(STREAM_TYPE_INT32); " +
             cNoVariable},
        {"a value that is cut off", "85 00 00 00 03 07 00 00", VariableInstance::VARIABLE_MISMATCH, cNoVariable},
        {"two values", "85 00 00 00 0a 07 00 00 00 05 07 00 00 00 06", VariableInstance::VARIABLE_MISMATCH,
         cNoVariable},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        const VariableInstance variable = number();
        VariableInstance::Result result = VariableInstance::VARIABLE_UNKNOWN;
        mNumber = 42;
        RecordingStream stream(bytesOf(row.hex));
        MessageReader reader(&stream, true);
        CHECK(outcomeOf([&] { result = variable.assignFrom(reader); }) == row.report);
        CHECK(result == row.result);
        CHECK(mNumber == (row.result == VariableInstance::VARIABLE_WRITTEN ? 5 : 42));
    }
}

TEST_CASE_FIXTURE(Fixture, "a variable without write access keeps its value, whatever comes") {
    const VariableInstance variable = number(false);
    RecordingStream stream(bytesOf("85 00 00 00 05 07 00 00 00 05"));
    MessageReader reader(&stream, true);
    const ExpectedAssertion expected("\nError Message: Tried to write variable (name: count) that has no write access",
                                     "common/debugger/model/variableinstance");
    CHECK(variable.assignFrom(reader) == VariableInstance::VARIABLE_READ_ONLY);
    CHECK(mNumber == 42);
    CHECK(stream.getPosition() == 0);
}
