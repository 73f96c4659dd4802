#include "tests/tool/modulehost.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

/// The message behind the length.
template <class Message>
std::string hexOfMessage(const Message& message) {
    return hexOf(frameOfMessage(message).substr(4));
}

/// What comes of a message's fields, and of those that are cut off anywhere.
template <class Message>
void checkReading(const Message& message) {
    const std::string fields = frameOfMessage(message).substr(4 + 5);
    for (std::size_t length = 0; length <= fields.size(); ++length) {
        CAPTURE(length);
        MemoryStream stream("message", 7);
        stream.write(fields.data(), length);
        FieldReader reader(stream);
        Message found;
        const bool isWhole = decode(reader, found);
        CHECK(isWhole == (length == fields.size()));
        CHECK(reader.getProblem().empty() == isWhole);
        if (isWhole)
            CHECK(hexOfMessage(found) == hexOfMessage(message));
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a request has its fields in their order, each with its tag") {
    SetCondition condition;
    condition.moduleID = 1;
    condition.breakpointID = 2;
    condition.condition.push_back('<');
    const struct {
        const char* name;
        std::string found;
        const char* bytes;
    } cases[] = {
        {"connect module", hexOfMessage(ConnectModule{"m", 2, true}),
         "07 01 00 00 03 0b 00 00 00 01 6d 07 00 00 00 02 00 01"},
        {"disconnect module", hexOfMessage(DisconnectModule{3}), "07 01 00 00 05 07 00 00 00 03"},
        {"get history", hexOfMessage(GetHistory{1, 0xFFFFFFFF}), "07 01 00 00 0c 07 00 00 00 01 07 ff ff ff ff"},
        {"get variable", hexOfMessage(GetVariable{1, 2, 3}),
         "07 01 00 00 10 07 00 00 00 01 07 00 00 00 02 07 00 00 00 03"},
        {"set variable", hexOfMessage(SetVariable{1, 2, 3, itemOf(STREAM_TYPE_UINT16, "258")}),
         "07 01 00 00 12 07 00 00 00 01 07 00 00 00 02 07 00 00 00 03 85 00 00 00 03 06 01 02"},
        {"set client break flag", hexOfMessage(BreakClient()), "07 01 00 00 14"},
        {"set object instance break flag", hexOfMessage(BreakInstance{1, 2, true}),
         "07 01 00 00 16 07 00 00 00 01 07 00 00 00 02 00 01"},
        {"set breakpoint active", hexOfMessage(SetBreakpoint{1, 2, false}),
         "07 01 00 00 1a 07 00 00 00 01 07 00 00 00 02 00 00"},
        {"set breakpoint condition", hexOfMessage(condition),
         "07 01 00 00 1c 07 00 00 00 01 07 00 00 00 02 85 00 00 00 01 3c"},
        {"make step", hexOfMessage(MakeStep{true, 0xFFFFFFFF}), "07 01 00 00 1e 00 01 07 ff ff ff ff"},
        {"continue", hexOfMessage(Continue()), "07 01 00 00 1f"},
        {"set watch", hexOfMessage(SetWatch{1, 2, 3, true}),
         "07 01 00 00 20 07 00 00 00 01 07 00 00 00 02 07 00 00 00 03 00 01"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.name);
        CHECK(given.found == given.bytes);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an entry of a history lists all variables, then all values") {
    BreakpointState state = World::hold(1, "1");
    state.entry.values.pop_back();
    CHECK(hexOfMessage(state) ==
          "07 01 00 00 00 07 00 00 00 05 07 00 00 00 1e 07 00 00 00 01 07 00 00 00 0a 07 00 00 00 14 07 00 00 00 02 "
          "07 00 00 00 0a 07 00 00 00 0b 85 00 00 00 05 09 3f 80 00 00 85 00 00 00 08 0b 00 00 00 03 41 6e 6e");
}

TEST_CASE_FIXTURE(LibraryTest, "what a host says is read whole or not at all") {
    const World world;
    GetHistoryReply history;
    history.entries = {World::entry(1, "1"), World::entry(2, "2")};
    ConnectModuleReply refused = world.connected;
    refused.code = 2;
    refused.text = "no";
    checkReading(World::hold(1, "2"));
    checkReading(ModuleDisconnectForced{1, "box", "john"});
    checkReading(world.connected);
    checkReading(world.group);
    checkReading(world.type);
    checkReading(ObjectTypeUnregistration{1, 2});
    checkReading(World::instance("ann", 1));
    checkReading(ObjectInstanceUnregistration{1, 2});
    checkReading(history);
    checkReading(world.end);
    checkReading(GetVariableReply{1, 2, 3, 0, "", itemOf(STREAM_TYPE_BOOL, "true")});
    checkReading(SetVariable::Reply{{1, 2, 3}, 4, "no"});
    checkReading(BreakInstance::Reply{{1, 2, true}, 0, ""});
    checkReading(SetBreakpoint::Reply{{1, 2, true}, 0, ""});
    checkReading(SetCondition::Reply{{1, 2}, 4, "no"});
    checkReading(SetWatch::Reply{{1, 2, 3, true}, 0, ""});
    checkReading(DisconnectModule::Reply{{1}, 0, ""});
    checkReading(ModuleShutdown{1});
    // What follows a code that is not 0 is not there.
    CHECK(hexOfMessage(refused) == "07 01 00 00 04 0b 00 00 00 05 77 6f 72 6c 64 07 00 00 00 01 05 02 0b 00 00 00 02 "
                                   "6e 6f");
    // A number of elements takes no memory.
    MemoryStream stream("message", 64);
    const std::string fields =
        bytesOf("07 00 00 00 05 07 00 00 00 1e 07 00 00 00 01 07 00 00 00 0a 07 00 00 00 14 07 ff ff ff ff");
    stream.write(fields.data(), fields.size());
    FieldReader reader(stream);
    BreakpointState state;
    CHECK_FALSE(decode(reader, state));
    CHECK(reader.getProblem() == "the field \"variable ID\" is missing");
    CHECK(state.entry.values.size() <= 1);
}
