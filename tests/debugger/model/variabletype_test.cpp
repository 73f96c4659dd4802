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
