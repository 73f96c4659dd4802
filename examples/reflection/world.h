#pragma once

#include "support/colour.h"

#include "common/container/list.h"
#include "common/container/vector.h"
#include "common/debug/report.h"
#include "common/library.h"
#include "common/math/vec3.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/serialize/serializeexception.h"
#include "common/serialize/serializestorage.h"
#include "common/string.h"

#include <cstring>

/// A small world of agents that know each other: what a host has, and lets data get at.
class World {
public:
    using String = Tarq::Common::String;
    using Position = Tarq::Common::Math::Vec3<float>;
    using Storage = Tarq::Common::Serialize::SerializeStorage;

    struct Agent {
        String name;
        Position position;
        Colour colour;
        const Agent* leader = nullptr; ///< another agent of the same world, or none
    };
    using Agents = Tarq::Common::Container::List<Agent>;

    const Agents& getAgents() const { return mAgents; }

    // What data may call.

    /// Returns how many agents there are now.
    Tarq::Common::uint32 spawn(const String& name, const Position& position, const Colour& colour) {
        mAgents.push_back({name, position, colour});
        return mAgents.size();
    }
    /// Both are known by their names.
    void follow(const String& name, const String& leader) {
        Agent* const agent = find(name);
        const Agent* const ahead = find(leader);
        if (agent && ahead)
            agent->leader = ahead;
        else
            Tarq::Common::Debug::report({Tarq::Common::Debug::LOG_ERROR, "World::follow"}, "there is no agent \"",
                                        agent ? leader : name, "\"");
    }

    // The stored form: a class "world", in it a class "agent" for each, numbered from 1, with a class for each of its
    // members that is named after the type of the value inside. A leader is a number, 0 for none, so that agents may
    // follow each other in a circle.

    void write(Storage& storage) const {
        storage.writeClassEnter("world", "World", "", 0);
        for (Number number = 0; const Agent& agent : mAgents) {
            storage.writeClassEnter("agent", "Agent", "", ++number);
            writeMember(storage, "name", agent.name);
            writeMember(storage, "position", agent.position);
            writeMember(storage, "colour", agent.colour);
            writeMember(storage, "leader", numberOf(agent.leader));
            storage.writeClassExit();
        }
        storage.writeClassExit();
    }

    /// Reads into an empty world. Throws `SerializeException`, and leaves what it has got, when this is no world.
    void read(Storage& storage) {
        Tarq::Common::Container::Vector<Number> leaders(Tarq::Common::Library::getTempAlloc());
        enter(storage, "world", "World");
        while (storage.peekItemType() == Storage::ITEMTYPE_CLASS_ENTER) {
            Agent agent;
            Number leader = 0;
            enter(storage, "agent", "Agent");
            readMember(storage, "name", agent.name);
            readMember(storage, "position", agent.position);
            readMember(storage, "colour", agent.colour);
            readMember(storage, "leader", leader);
            storage.readClassExit();
            mAgents.push_back(agent);
            leaders.push_back(leader);
        }
        storage.readClassExit();
        for (Tarq::Common::uint32 index = 0; Agent & agent : mAgents)
            agent.leader = agentOf(leaders[index++]);
    }

private:
    using Number = Tarq::Common::uint32;

    template <class T>
    static const auto& typeOf() {
        return *Tarq::Common::Reflection::Datatype::TypedDatatype<T>::getInstance();
    }
    template <class T>
    static void writeMember(Storage& storage, const char* name, const T& value) {
        storage.writeClassEnter(name, typeOf<T>().getName().c_str(), "", 0);
        typeOf<T>().writeValue(&value, &storage);
        storage.writeClassExit();
    }
    template <class T>
    static void readMember(Storage& storage, const char* name, T& value) {
        enter(storage, name, typeOf<T>().getName());
        typeOf<T>().readValue(&value, &storage);
        storage.readClassExit();
    }
    static void enter(Storage& storage, const String& name, const String& typeName) {
        const char* foundName;
        const char* foundTypeName;
        const char* second;
        Number value;
        storage.readClassEnter(foundName, foundTypeName, second, value);
        if (name != foundName || typeName != foundTypeName)
            throw new Tarq::Common::Serialize::SerializeException("this is no world: " + name + " is missing");
    }

    Agent* find(const String& name) {
        for (Agent& agent : mAgents) {
            if (agent.name == name)
                return &agent;
        }
        return nullptr;
    }
    Number numberOf(const Agent* wanted) const {
        for (Number number = 0; const Agent& agent : mAgents) {
            ++number;
            if (&agent == wanted)
                return number;
        }
        return 0;
    }
    const Agent* agentOf(Number wanted) const {
        for (Number number = 0; const Agent& agent : mAgents) {
            if (++number == wanted)
                return &agent;
        }
        return nullptr;
    }

    Agents mAgents{Tarq::Common::Library::getTempAlloc()};
};
