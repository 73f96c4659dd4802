#include "tests/debugger/handler/modelworld.h"

#include <algorithm>

using namespace Tarq::Test;

namespace {

/// A request as it is laid out: the names of its fields, as they are reported, and their bytes.
struct Layout {
    MessageID type;
    std::string text;
    std::vector<std::pair<std::string, std::string>> fields;
};

const std::string cZero = fieldsOf(uint32{0});
const std::string cTrue = fieldsOf(true);

const std::vector<Layout> cLayouts = {
    {MessageID::CONNECT_MODULE,
     "connectModuleMessage: { string:moduleName; uint32:moduleVersion; bool:forceConnect }",
     {{"moduleName", fieldsOf("world")}, {"moduleVersion", cZero}, {"forceConnect flag", cTrue}}},
    {MessageID::DISCONNECT_MODULE, "disconnectModuleMessage: { uint32:moduleID }", {{"moduleID", cZero}}},
    {MessageID::GET_HISTORY,
     "getHistoryMessage: { uint32:moduleID, uint32:objectInstanceID }",
     {{"moduleID", cZero}, {"objectInstanceID", cZero}}},
    {MessageID::GET_VARIABLE,
     "getVariableMessage: { uint32:moduleID; uint32:objInstanceID; uint32:variableID;}",
     {{"moduleID", cZero}, {"objInstanceID", cZero}, {"variableID", cZero}}},
    {MessageID::SET_VARIABLE,
     "setVariableMessage: { uint32:moduleID; uint32:objInstanceID; uint32:variableID; uint08[]:Data}",
     {{"mModuleID", cZero}, {"objInstanceID", cZero}, {"variableName", cZero}}},
    {MessageID::SET_WATCHES,
     "setWatchMessage: { uint32:moduleID; uint32:objInstanceID; uint32:variableID, bool:newFlag }",
     {{"moduleID", cZero}, {"objInstanceID", cZero}, {"variableID", cZero}, {"newFlag", cTrue}}},
    {MessageID::SET_BREAKPOINT,
     "setBreakpointMessage: { uint32:moduleID; uint32:breakpointInstanceID; bool:newValue }",
     {{"moduleID", cZero}, {"breakpointInstanceID", cZero}, {"newValue", cTrue}}},
    {MessageID::SET_BREAKPOINT_OBJECT_INSTANCE,
     "setBreakpointObjectInstanceMessage: { uint32:ModuleID, uint32:ObjectInstanceID, bool:newValue }",
     {{"ModuleID", cZero}, {"ObjectInstanceID", cZero}, {"newValue", cTrue}}},
    {MessageID::SET_BREAKPOINT_CONDITION,
     "setBreakpointConditionMessage: { uint32:moduleID; uint32:breakpointInstanceID; uint08[]:conditionStream }",
     {{"moduleID", cZero}, {"breakpointInstanceID", cZero}, {"conditionStream", nestedOf("<c/>")}}},
    {MessageID::MAKE_STEP,
     "makeStepMsgHandler: { bool:objectInstanceFilter, uint32:breakpointTypeFilterID }",
     {{"objectInstanceFilter", cTrue}, {"breakpointTypeFilterID", cZero}}},
};

std::string wholeOf(const Layout& layout) {
    std::string message = typeOf(layout.type);
    for (const auto& field : layout.fields)
        message += field.second;
    return message;
}

/// The assertion that ends what comes of a request.
std::string lastOf(const AssertionRecorder& assertions) {
    const std::vector<SeenAssertion> seen = assertions.getSeen();
    return seen.empty() ? "" : seen.back().text;
}

} // namespace

TEST_CASE_FIXTURE(RequestTest, "a request that is cut off anywhere is reported, and not answered") {
    for (const Layout& layout : cLayouts) {
        CAPTURE(layout.text);
        std::string before = typeOf(layout.type);
        for (const auto& [name, bytes] : layout.fields) {
            const std::string text = "\nError Message: Couldn't read the " + name + " out of the " + layout.text;
            for (std::size_t length = 0; length < bytes.size(); ++length) {
                CAPTURE(length);
                const AssertionRecorder assertions;
                mNetwork.send(mTool, before + bytes.substr(0, length));
                CHECK(lastOf(assertions) == text);
                CHECK(take().empty());
            }
            before += bytes;
        }
    }
    CHECK(mWorld.module->isClientConnected());
}

TEST_CASE_FIXTURE(RequestTest, "requests of a client that there is not are reported") {
    const std::string missing =
        "mServer->getClientInfo(myClientInfo, connectionID)\nError Message: Internal Error: ClientInfo missing";
    for (const Layout& layout : cLayouts) {
        CAPTURE(layout.text);
        const AssertionRecorder assertions;
        mNetwork.send(77, wholeOf(layout) + nestedOf(fieldsOf(1.0F)));
        if (layout.type == MessageID::CONNECT_MODULE)
            CHECK(errorsOf(assertions) == "Tried to connect client to module but the connectionID determining the "
                                          "client isn't known within the server\n");
        else if (layout.type == MessageID::DISCONNECT_MODULE)
            CHECK(errorsOf(assertions) == "Tried to disconnect client to module but the socket determining the client "
                                          "isn't known within the server\n"
                                          "Couldn't disconnect module ( id: 0 ) for client\n");
        else if (layout.type == MessageID::MAKE_STEP)
            CHECK(errorsOf(assertions) == "Tried to make step but no Breakpoint is holding\n");
        else
            CHECK(lastOf(assertions) == missing);
    }
    const AssertionRecorder assertions;
    mNetwork.send(77, typeOf(MessageID::CONTINUE));
    CHECK(lastOf(assertions) == missing);
    mNetwork.send(77, typeOf(MessageID::SET_BREAKPOINT_CLIENT));
    CHECK(lastOf(assertions) == "\nError Message: Internal Error: Unknown Client tried to set global breakpoint");
}

TEST_CASE_FIXTURE(RequestTest, "an answer that cannot be sent is reported, and deleted once") {
    mNetwork.mCanSend = false;
    for (const Layout& layout : cLayouts) {
        CAPTURE(layout.text);
        const AssertionRecorder assertions;
        mNetwork.send(mTool, wholeOf(layout) + nestedOf(fieldsOf(1.0F)));
        if (layout.type == MessageID::CONNECT_MODULE)
            CHECK(errorsOf(assertions) == "Couldn't send successful module connect message to client\n");
        else if (layout.type == MessageID::DISCONNECT_MODULE)
            CHECK(errorsOf(assertions) == "Couldn't send successful module disconnect message to client\n"
                                          "Couldn't disconnect module ( id: 0 ) for client\n");
        else if (layout.type != MessageID::MAKE_STEP)
            CHECK(lastOf(assertions) == "\nError Message: Couldn't send returning message back to client");
    }
    mNetwork.mCanSend = true;
    send(MessageID::CONNECT_MODULE, fieldsOf("world", uint32{3}, false));
    takeAll();
    const uint32 other = mNetwork.connect();
    mNetwork.mCanSend = false;
    const AssertionRecorder assertions;
    mNetwork.send(other, typeOf(MessageID::CONNECT_MODULE) + fieldsOf("world", uint32{3}, true));
    CHECK(errorsOf(assertions) == "Couldn't send module disconnect forced message to client\n"
                                  "Couldn't send successful module connect message to client\n");
    CHECK_FALSE(mWorld.module->isClientConnected());
}

TEST_CASE_FIXTURE(RequestTest, "a request that finds no memory is dropped, and answered when there is some") {
    for (const MessageID type : {MessageID::GET_VARIABLE, MessageID::GET_HISTORY, MessageID::SET_BREAKPOINT_CONDITION,
                                 MessageID::DISCONNECT_MODULE}) {
        const auto layout =
            std::find_if(cLayouts.begin(), cLayouts.end(), [type](const Layout& known) { return known.type == type; });
        CAPTURE(layout->text);
        const std::string request = wholeOf(*layout);
        bool isAnswered = false;
        int failures = 0;
        for (; !isAnswered && failures < 1000; ++failures) {
            const AssertionRecorder assertions;
            getMemory().failAfter(failures);
            mNetwork.send(mTool, request);
            getMemory().failNever();
            isAnswered = !take().empty();
        }
        CHECK(failures > 1);
        CHECK(isAnswered);
    }
}
