#pragma once

#include "tool/client/codec.h"
#include "tool/client/value.h"

#include "tests/tool/scriptedhost.h"

#include <string_view>

namespace Tarq::Test {

template <class Message>
std::string frameOfMessage(const Message& message) {
    const Tool::Frame frame = Tool::encode(message);
    return std::string(frame.begin(), frame.end());
}

inline Tool::Bytes itemOf(Tool::StreamIDs type, std::string_view text) {
    Tool::Bytes item = Tool::noBytes();
    CHECK(Tool::parseValue(type, text, item) == "");
    return item;
}

inline Tool::RecordedValue recorded(uint32 variableID, Tool::StreamIDs type, std::string_view text) {
    Tool::RecordedValue value;
    value.variableID = variableID;
    value.value = itemOf(type, text);
    return value;
}

/// A module of a few elements, number 5, as a host registers it.
struct World {
    static constexpr uint32 cModule = 5;
    static constexpr uint32 cMove = 1;
    static constexpr uint32 cSpeed = 10;
    static constexpr uint32 cName = 11;
    static constexpr uint32 cStep = 20;
    static constexpr uint32 cAnn = 30;

    World() {
        connected.moduleName = "world";
        connected.moduleVersion = 1;
        connected.moduleID = cModule;
        connected.breakpointTypes = {{"move", cMove}};
        group.moduleID = type.moduleID = cModule;
        group.name = "agents";
        group.groupID = 0;
        type.name = "walker";
        type.typeID = 2;
        type.breakpoints = {{cMove, "step", cStep}};
        type.variables = {{STREAM_TYPE_FLOAT32, "speed", cSpeed, true}, {STREAM_TYPE_BSTRING, "name", cName, false}};
        end.moduleID = cModule;
        end.instanceID = 0xFFFFFFFF;
        end.code = 3;
        end.text = "none";
    }

    static Tool::ObjectInstanceRegistration instance(const char* name, uint32 id) { return {cModule, 2, name, id}; }
    static Tool::BreakpointState hold(uint32 gameTime, const char* speed) {
        Tool::BreakpointState state;
        state.moduleID = cModule;
        state.instanceID = cAnn;
        state.entry = entry(gameTime, speed);
        return state;
    }
    static Tool::HistoryEntry entry(uint32 gameTime, const char* speed) {
        Tool::HistoryEntry entry;
        entry.gameTime = gameTime;
        entry.systemTime = gameTime * 10;
        entry.breakpointID = cStep;
        entry.values = {recorded(cSpeed, STREAM_TYPE_FLOAT32, speed), recorded(cName, STREAM_TYPE_BSTRING, "\"Ann\""),
                        recorded(cSpeed, STREAM_TYPE_FLOAT32, speed)};
        return entry;
    }

    Tool::ConnectModuleReply connected;
    Tool::ObjectGroupRegistration group;
    Tool::ObjectTypeRegistration type;
    Tool::GetHistoryReply end;
};

/// A host with that module, played by a test on a thread of its own.
class ModuleHost : public ScriptedHost {
public:
    template <class Request>
    void expect(const Request& request) {
        const std::string expected = frameOfMessage(request);
        CHECK(hexOf(receiveText(*connection(), expected.size())) == hexOf(expected));
    }
    template <class Message>
    void say(const Message& message) {
        send(frameOfMessage(message));
    }
    template <class Request, class Reply>
    void answer(const Request& request, const Reply& reply) {
        expect(request);
        say(reply);
    }

    /// Until the tool has the module.
    void meetTool(bool isForced = false) {
        meet();
        send(frameOf(identityReply()));
        giveModule(isForced);
    }
    void giveModule(bool isForced) {
        expect(Tool::ConnectModule{"world", 1, isForced});
        say(mWorld.connected);
        say(mWorld.group);
        say(mWorld.type);
        say(World::instance("ann", World::cAnn));
        say(World::instance("bob", 31));
        say(World::instance("bob", 32));
        catchUp();
    }
    /// Answers the question by which the tool knows how far the host is.
    void catchUp() { answer(Tool::GetHistory{World::cModule, 0xFFFFFFFF}, mWorld.end); }
    /// The tool has left.
    void seeOff() { CHECK(receiveText(*connection(), 1) == ""); }

private:
    World mWorld;
};

} // namespace Tarq::Test
