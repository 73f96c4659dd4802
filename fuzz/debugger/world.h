#pragma once

#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/variabletype.h"
#include "common/debugger/server.h"
#include "common/reflection/function/functionbinding.h"
#include "fuzz/debugger/messages.h"
#include "fuzz/debugger/variables.h"
#include "fuzz/require.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

/// What a host shows to the debugging tools that a fuzzer makes up.
namespace Tarq::Fuzz {

using Debugger::BreakpointInstance;
using Debugger::Server;

/// An object of the host, and what tools see of it.
struct Thing {
    ObjectInstance* instance;
    std::unique_ptr<Variables> variables;
};

/// A type with two breakpoints, and its instances. Whoever destroys the type or its module forgets this.
class Kind {
public:
    Kind(Debugger::ObjectGroup& group, const char* name) : mType(group.createObjectType(name)) {
        Variables::declare(*mType);
        Container::List<String> stored{Memory::AllocatorPtr()};
        stored.push_back("STREAM_TYPE_FLOAT32");
        stored.push_back("STREAM_TYPE_ARRAY_BSTRING");
        mBreakpoints[0] = mType->registerBreakpointInstance("moved", "step", &stored);
        mBreakpoints[1] = mType->registerBreakpointInstance("turned", "turn", nullptr);
        mType->setUniqueID(1, 2, 3, 4);
        mType->attach();
        add(true);
    }

    /// One that is not attached is unknown to tools.
    void add(bool isAttached) {
        if (mThings.size() == cMostThings)
            return;
        Thing thing{mType->createObjectInstance("thing"), std::make_unique<Variables>()};
        thing.variables->show(*thing.instance);
        if (isAttached)
            thing.instance->attach();
        mThings.push_back(std::move(thing));
    }
    /// Not one that a thread is held with.
    void remove(std::size_t index, const ObjectInstance* held) {
        if (index >= mThings.size())
            return;
        ObjectInstance* const instance = mThings[index].instance;
        require(mType->destroyObjectInstance(instance->getID()) == (instance != held));
        if (instance != held)
            mThings.erase(mThings.begin() + static_cast<std::ptrdiff_t>(index));
    }
    /// Null for one that there is not.
    Thing* find(std::size_t index) { return index < mThings.size() ? &mThings[index] : nullptr; }
    Thing* findInstance(uint32 id) {
        const auto found =
            std::find_if(mThings.begin(), mThings.end(), [id](const Thing& t) { return t.instance->getID() == id; });
        return found == mThings.end() ? nullptr : &*found;
    }
    std::vector<Thing>& getThings() { return mThings; }
    ObjectType& getType() const { return *mType; }
    BreakpointInstance* getBreakpoint(std::size_t index) const { return mBreakpoints[index % 2]; }

private:
    static constexpr std::size_t cMostThings = 3;

    ObjectType* mType;
    BreakpointInstance* mBreakpoints[2];
    std::vector<Thing> mThings;
};

/// A module with groups and two types, one of which comes and goes.
class World {
public:
    explicit World(const char* name) : mModule(Server::getInstance()->createModule(name, 1, cHistoryLength)) {
        mModule->registerBreakpointType("step");
        mModule->registerBreakpointType("turn");
        mGroups[0] = mModule->createObjectGroup("agents");
        mGroups[1] = mGroups[0]->registerSubObjectGroup("rocks");
        mKinds[0] = std::make_unique<Kind>(*mGroups[0], "walker");
        mModule->getFunctionRegistrar()->registerFunction("moon", &count);
        mModule->attach();
    }
    ~World() { require(Server::getInstance()->destroyModule(mModule)); }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    Debugger::Module& getModule() const { return *mModule; }
    /// Null when there is none.
    Kind* getKind(std::size_t index) const { return mKinds[index % 2].get(); }
    /// The second type is made or destroyed; not when a thread is held there.
    void toggleKind(const ObjectInstance* held) {
        std::unique_ptr<Kind>& kind = mKinds[1];
        if (!kind) {
            kind = std::make_unique<Kind>(*mGroups[1], "rock");
            return;
        }
        const bool isFree = !held || held->getType() != &kind->getType();
        require(mGroups[1]->destroyObjectType(kind->getType().getID()) == isFree);
        if (isFree)
            kind.reset();
    }
    void addGroup() {
        if (mGroupNumber < 4)
            mGroups[mGroupNumber % 2]->registerSubObjectGroup(std::to_string(mGroupNumber).c_str());
        ++mGroupNumber;
    }
    Thing* findInstance(uint32 id) const {
        Thing* thing = nullptr;
        for (const std::unique_ptr<Kind>& kind : mKinds) {
            if (kind && !thing)
                thing = kind->findInstance(id);
        }
        return thing;
    }
    /// All values, but for one variable of one thing.
    std::string encode(const Thing* thing = nullptr, StreamIDs without = Variables::cNone) const {
        std::string all;
        for (const std::unique_ptr<Kind>& kind : mKinds) {
            if (!kind)
                continue;
            for (const Thing& each : kind->getThings())
                all += each.variables->encode(&each == thing ? without : Variables::cNone);
        }
        return all;
    }

private:
    static uint32 count(const Container::Vector<uint8>& bytes) { return bytes.size(); }

    Debugger::Module* mModule;
    Debugger::ObjectGroup* mGroups[2];
    std::unique_ptr<Kind> mKinds[2];
    int mGroupNumber = 0;
};

/// The modules of the host; null where there is none.
struct Worlds {
    Thing* find(uint32 moduleID, uint32 instanceID) const {
        for (const std::unique_ptr<World>& world : all) {
            if (world && world->getModule().getModuleID() == moduleID)
                return world->findInstance(instanceID);
        }
        return nullptr;
    }
    /// All values, but for one variable of one thing.
    std::string encode(const Thing* thing = nullptr, StreamIDs without = Variables::cNone) const {
        std::string values;
        for (const std::unique_ptr<World>& world : all) {
            if (world)
                values += world->encode(thing, without);
        }
        return values;
    }

    std::unique_ptr<World> all[2];
};

} // namespace Tarq::Fuzz
