#pragma once

#include "demo/agentworld.h"

#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"
#include "common/debugger/server.h"
#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"

#include <algorithm>
#include <sstream>
#include <string>

/// Shows a world of agents to debugging tools: module "world", version 1, with the type "agents/walker".
///
/// Nothing here knows whether a tool is there. A thread that moves the world is held in `onStepped` or `onArrived` when
/// a tool wants that.
///
/// Tools may call `follow(String agent, UnsignedInteger32 stream) -> UnsignedInteger32`: the agent goes to the places
/// in a file of the tool's, a line "x y" for each. Returns their number; 0, and nothing changes, when the agent is
/// unknown, or there is no such file.
class DebuggedWorld final : public AgentWorld::Observer {
public:
    /// The world outlives this. The server is stopped before this goes, and the module with it: a tool may be calling.
    DebuggedWorld(Tarq::Common::Debugger::Server& server, AgentWorld& world)
        : mServer(server), mWorld(world), mModule(server.createModule("world", 1, cHistoryLength)),
          mInstances(Tarq::Common::Library::getTempAlloc()) {
        mModule->registerBreakpointType("step");
        mModule->registerBreakpointType("arrival");
        Tarq::Common::Debugger::ObjectType* const walker =
            mModule->createObjectGroup("agents")->createObjectType("walker");
        declare(*walker);
        // The built-in types become known in this program.
        using Tarq::Common::Reflection::ReflectionInterface;
        Tarq::Common::Reflection::Datatype::registerDebuggerDatatypes(ReflectionInterface::getDatatypeManager());
        mModule->getFunctionRegistrar()->registerFunction("follow", &DebuggedWorld::follow, this);
        mModule->attach();
        for (AgentWorld::Agent& agent : world.getAgents())
            mInstances.push_back(show(*walker, agent));
    }
    DebuggedWorld(const DebuggedWorld&) = delete;
    DebuggedWorld& operator=(const DebuggedWorld&) = delete;

    void onStepped(Tarq::Common::uint32 agent) override { mStepped->enterBreakpoint(mInstances[agent]); }
    void onArrived(Tarq::Common::uint32 agent) override { mArrived->enterBreakpoint(mInstances[agent]); }

private:
    /// Of each agent, so many of its last steps can be looked at.
    static constexpr Tarq::Common::uint32 cHistoryLength = 8;

    static constexpr std::size_t cLongestFile = 65536;

    void declare(Tarq::Common::Debugger::ObjectType& walker) {
        using namespace Tarq::Common::Network::Message;
        walker.registerVariableType(STREAM_TYPE_BSTRING, "name", false);
        walker.registerVariableType(STREAM_TYPE_VEC_2_FLOAT32, "position", true);
        walker.registerVariableType(STREAM_TYPE_VEC_2_FLOAT32, "target", true);
        walker.registerVariableType(STREAM_TYPE_FLOAT32, "speed", true);
        walker.registerVariableType(STREAM_TYPE_FLOAT32, "energy", true);
        walker.registerVariableType(STREAM_TYPE_UINT32, "visits", false);
        walker.registerVariableType(STREAM_TYPE_BOOL, "isResting", true);
        Tarq::Common::Container::List<Tarq::Common::String> stored(Tarq::Common::Library::getTempAlloc());
        stored.push_back("position");
        stored.push_back("energy");
        mStepped = walker.registerBreakpointInstance("stepped", "step", &stored);
        mArrived = walker.registerBreakpointInstance("arrived", "arrival", &stored);
        walker.attach();
    }

    Tarq::Common::uint32 follow(const Tarq::Common::String& agent, Tarq::Common::uint32 stream) {
        AgentWorld::Route route(Tarq::Common::Library::getTempAlloc());
        std::istringstream file(read(stream));
        for (AgentWorld::Position place; file >> place.mX >> place.mY;)
            route.push_back(place);
        std::reverse(route.begin(), route.end());
        return !route.empty() && mWorld.follow(agent, route) ? route.size() : 0;
    }
    /// The beginning of a file of the tool's; empty when there is none.
    std::string read(Tarq::Common::uint32 id) {
        Tarq::Common::Debugger::NetworkStream* stream = nullptr;
        if (!mServer.getNetworkStream(stream, id))
            return {};
        std::string content(std::min(static_cast<std::size_t>(stream->getLength()), cLongestFile), '\0');
        content.resize(static_cast<std::size_t>(stream->read(content.data(), content.size())));
        mServer.releaseNetworkStream(stream);
        return content;
    }

    static Tarq::Common::Debugger::ObjectInstance* show(Tarq::Common::Debugger::ObjectType& walker,
                                                        AgentWorld::Agent& agent) {
        Tarq::Common::Debugger::ObjectInstance* const instance = walker.createObjectInstance(agent.name);
        instance->registerVariable("name", &agent.name);
        instance->registerVariable("position", &agent.position);
        instance->registerVariable("target", &agent.target);
        instance->registerVariable("speed", &agent.speed);
        instance->registerVariable("energy", &agent.energy);
        instance->registerVariable("visits", &agent.visits);
        instance->registerVariable("isResting", &agent.isResting);
        instance->attach();
        return instance;
    }

    Tarq::Common::Debugger::Server& mServer;
    AgentWorld& mWorld;
    Tarq::Common::Debugger::Module* mModule;
    Tarq::Common::Debugger::BreakpointInstance* mStepped = nullptr;
    Tarq::Common::Debugger::BreakpointInstance* mArrived = nullptr;
    Tarq::Common::Container::Vector<Tarq::Common::Debugger::ObjectInstance*> mInstances;
};
