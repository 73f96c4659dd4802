#pragma once

#include "common/debugger/clientinfo.h"
#include "fuzz/debugger/hostthread.h"
#include "fuzz/debugger/input.h"
#include "fuzz/debugger/memorylayer.h"
#include "fuzz/debugger/setcheck.h"
#include "fuzz/debugger/streamreader.h"
#include "fuzz/debugger/world.h"
#include "fuzz/require.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace Tarq::Fuzz {

/// The events of one input, and what has to hold around them.
class DebuggerScript {
public:
    /// Whether a thread that is held has been let go, although it may not have gone yet.
    using IsLetGo = bool (*)();

    DebuggerScript(MemoryLayer& layer, HostThread& host, IsLetGo isLetGo, const unsigned char* data, std::size_t size)
        : mLayer(layer), mHost(host), mIsLetGo(isLetGo), mInput(data, size), mReader(layer) {
        toggle(mWorlds.all[0], "world");
        mValues = mWorlds.encode();
    }
    ~DebuggerScript() {
        for (std::optional<uint32>& client : mClients) {
            if (client)
                lose(client);
        }
        require(!mHost.getHeld());
        require(mWorlds.encode() == mValues);
    }
    DebuggerScript(const DebuggerScript&) = delete;
    DebuggerScript& operator=(const DebuggerScript&) = delete;

    void run() {
        while (!mInput.isAtEnd())
            perform(mInput.takeByte());
    }

private:
    /// What the host does.
    enum Change {
        TOGGLE_MODULE,
        TOGGLE_TYPE,
        ADD_GROUP,
        STOP_IN_MODULE,
        SET_GAME_TIME,
        ADD_ATTACHED,
        ADD_UNATTACHED,
        REMOVE,
        ATTACH,
        UNREGISTER_VARIABLE,
        STOP_WITH_INSTANCE,
        CHANGE_VARIABLES,
        PASS_ON_SERVER_THREAD,
        SET_ACTIVE,
        ASK,
        READ_STREAM, ///< and all others
    };

    void perform(unsigned char event) {
        std::optional<uint32>& client = mClients[event % 4 % 3];
        std::unique_ptr<World>& world = mWorlds.all[event % 2];
        const int what = event / 4 % 8;
        if (what == 7)
            change(world, event % 2 == 0 ? "world" : "moon");
        else if (what == 6)
            pass(world.get());
        else if (what == 0 && client)
            lose(client);
        else if (!client)
            client = mLayer.open();
        if (what >= 1 && what <= 5)
            say(*client, what <= 3 ? mInput.takeMessage() : mInput.takeRequest(), what == 2 ? 5 : 65535,
                what != 3 && what != 5);
    }

    // Tools.

    void lose(std::optional<uint32>& client) {
        const bool isOwner = ownsHeld(*client);
        mLayer.lose(*client);
        client.reset();
        require(settle() == isOwner);
    }
    void say(uint32 client, const std::string& message, uint32 blockSize, bool canSend) {
        const bool isOwner = ownsHeld(client);
        const SetCheck set(mWorlds, message);
        const MemoryLayer::Request& request = mLayer.receive(client, message, blockSize, canSend);
        if (request.type == MessageID::CALL)
            mLayer.waitForCalls(client);
        if (set.check(request, canSend))
            mValues = mWorlds.encode();
        const bool mustLetGo = isOwner && endsHold(request);
        const bool isLetGo = settle();
        require(isLetGo || !mustLetGo);
        // Nobody else can, but for one that takes the module over and then cannot be told so.
        require(!isLetGo || isOwner || (request.type == MessageID::CONNECT_MODULE && !canSend));
    }
    /// For the one that has the module in which the thread is held.
    bool endsHold(const MemoryLayer::Request& request) const {
        if (!request.isWhole)
            return false;
        if (request.type == MessageID::DISCONNECT_MODULE)
            return request.fields == std::to_string(getHeldModule()->getModuleID()) + '\0';
        return request.type == MessageID::CONTINUE || request.type == MessageID::MAKE_STEP;
    }
    Debugger::Module* getHeldModule() const {
        return mHost.getHeld() ? &mHost.getHeld()->getType()->getModule() : nullptr;
    }
    bool ownsHeld(uint32 client) const {
        const Server::DataLock inside(Server::getDataMutex());
        return getHeldModule() && getHeldModule()->getClient()->mConnectionID == client;
    }
    /// Whether the thread that was held goes on. Somebody can let it go otherwise.
    bool settle() {
        if (!mHost.getHeld())
            return false;
        if (mIsLetGo()) {
            mHost.waitForReturn();
            return true;
        }
        require(getHeldModule()->isClientConnected());
        return false;
    }

    // The host.

    void pass(World* world) {
        const unsigned char which = mInput.takeByte();
        Kind* const kind = world ? world->getKind(which & 1) : nullptr;
        if (!kind || mHost.getHeld())
            return;
        // It may be of another type, or none.
        Kind* const triggers = which & 64 ? world->getKind(~which & 1) : kind;
        const Thing* const thing = triggers ? triggers->find(which >> 2 & 3) : nullptr;
        ObjectInstance* const trigger = thing ? thing->instance : nullptr;
        const bool canSend = which < 128;
        const bool isToStop = trigger && which & 32;
        if (isToStop)
            trigger->stopInNextBreakpoint();
        const bool canHold =
            trigger && triggers == kind && trigger->isAttached() && canSend && world->getModule().isClientConnected();
        mLayer.setCanSend(canSend);
        mHost.enter(kind->getBreakpoint(which >> 1 & 1), trigger);
        mLayer.setCanSend(true);
        require(mHost.getHeld() ? canHold : !canHold || !isToStop);
    }
    void change(std::unique_ptr<World>& world, const char* name) {
        const unsigned char which = mInput.takeByte();
        if (which % 16 == TOGGLE_MODULE)
            toggle(world, name);
        else if (which % 16 == READ_STREAM)
            read(which / 16);
        else if (world)
            change(*world, which % 16, which / 16);
        mValues = mWorlds.encode();
    }
    /// What would be the longest read cannot be asked for.
    void read(uint32 id) {
        const uint32 offset = mInput.takeByte();
        const uint32 count = mInput.takeByte();
        mLayer.setCanSend(count != 255);
        mReader.read(id, offset, count);
        mLayer.setCanSend(true);
    }
    void toggle(std::unique_ptr<World>& world, const char* name) {
        if (!world) {
            world = std::make_unique<World>(name);
        } else if (&world->getModule() != getHeldModule()) {
            world.reset();
        } else {
            Debugger::Module* module = &world->getModule();
            require(!Server::getInstance()->destroyModule(module) && module == getHeldModule());
        }
    }
    void change(World& world, int what, std::size_t index) {
        Kind* const kind = world.getKind(index & 1);
        if (what == TOGGLE_TYPE)
            return world.toggleKind(mHost.getHeld());
        if (what == ADD_GROUP)
            return world.addGroup();
        if (what == STOP_IN_MODULE)
            return world.getModule().stopInNextBreakpoint();
        if (what == SET_GAME_TIME)
            return Server::getInstance()->setGameTime({mInput.takeByte()});
        if (!kind)
            return;
        if (what == ADD_ATTACHED || what == ADD_UNATTACHED)
            return kind->add(what == ADD_ATTACHED);
        if (what == REMOVE)
            return kind->remove(index >> 1 & 3, mHost.getHeld());
        if (Thing* const thing = kind->find(index >> 1 & 3))
            change(world, *kind, *thing, what);
    }
    void change(World& world, Kind& kind, Thing& thing, int what) {
        ObjectInstance& instance = *thing.instance;
        switch (what) {
        case ATTACH:
            return instance.attach();
        case UNREGISTER_VARIABLE:
            instance.unregisterVariable(mInput.takeByte());
            return;
        case STOP_WITH_INSTANCE:
            return instance.stopInNextBreakpoint();
        case CHANGE_VARIABLES:
            return thing.variables->change(mInput.takeByte());
        case PASS_ON_SERVER_THREAD:
            // The thread that lets others go is not held.
            return kind.getBreakpoint(0)->enterBreakpoint(&instance);
        case SET_ACTIVE:
            kind.getBreakpoint(0)->setActive();
            return;
        default:
            require(world.getModule().isBreakpointHolding() == (getHeldModule() == &world.getModule()));
            require(world.getModule().isBreakpointActivated() == (mHost.getHeld() != nullptr));
        }
    }

    MemoryLayer& mLayer;
    HostThread& mHost;
    IsLetGo mIsLetGo;
    Input mInput;
    Worlds mWorlds;
    StreamReader mReader;
    std::optional<uint32> mClients[3];
    std::string mValues; ///< of all variables, as tools and the host have set them
};

} // namespace Tarq::Fuzz
