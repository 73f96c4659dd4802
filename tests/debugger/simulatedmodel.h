#pragma once

#include "tests/debugger/holdingtest.h"
#include "tests/debugger/simulation.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <utility>

/// Modules, and threads at their breakpoints, in a simulation.
namespace Tarq::Test {

/// The groups, types and instances of a module: their kind and id, and what they are in and are called.
using Elements = std::map<std::pair<MessageID, uint32>, std::pair<uint32, std::string>>;

inline Elements elementsOf(const Debugger::Module& module) {
    Elements all;
    for (uint32 id = 0; id < 64; ++id) {
        if (const auto* const group = module.findObjectGroup(id))
            all[{MessageID::REGISTER_OBJECT_GROUP, id}] = {
                group->getParent() ? group->getParent()->getID() : 0xFFFFFFFF, group->getName().c_str()};
        if (const auto* const type = module.findObjectType(id); type && type->isAttached())
            all[{MessageID::REGISTER_OBJECT_TYPE, id}] = {type->getGroup()->getID(), type->getName().c_str()};
        if (const auto* const instance = module.findObjectInstance(id); instance && instance->isAttached())
            all[{MessageID::REGISTER_OBJECT_INSTANCE, id}] = {instance->getType()->getID(),
                                                              instance->getName().c_str()};
    }
    return all;
}

/// What a tool knows of the modules that it is connected to, by what it has heard.
class ModelView {
public:
    static bool isOfModel(const std::string& message) {
        return typeOf(message) >> 24 == 1 && typeOf(message) != static_cast<uint32>(MessageID::IDENTITY_REPLY);
    }

    /// A request of any kind, and the beginning of its answer.
    std::string ask(Random& random) {
        const uint32 module = random.below(3);
        const uint32 element = random.below(4);
        const bool isSet = random.oneIn(2);
        switch (random.below(15)) {
        case 0:
            return requestOf(MessageID::CONTINUE);
        case 1:
            return requestOf(MessageID::MAKE_STEP, isSet, random.oneIn(2) ? 0xFFFFFFFF : element);
        case 2:
            return request(MessageID::DISCONNECT_MODULE, "", module);
        case 3:
            return request(MessageID::GET_VARIABLE, "", module, element, random.below(3));
        case 4:
            return request(MessageID::SET_VARIABLE, bytesOf("85 00 00 00 05 07 00 00 00 05"), module, element,
                           random.below(3));
        case 5:
            return request(MessageID::SET_WATCHES, "", module, element, random.below(3), isSet);
        case 6:
            return request(MessageID::SET_BREAKPOINT, "", module, random.below(3), isSet);
        case 7:
            return request(MessageID::SET_BREAKPOINT_OBJECT_INSTANCE, "", module, element, isSet);
        case 8:
            return request(MessageID::GET_HISTORY, "", module, element);
        case 9:
            return request(MessageID::REGISTER_NETWORK_STREAM, "", "file", element, random.below(100));
        case 10:
            return request(MessageID::DEREGISTER_NETWORK_STREAM, "", element);
        case 11: // nobody wants or knows that
            return isSet ? requestOf(MessageID::NETWORK_STREAM_DATA, element) + bytesOf("85 00 00 00 01 2a")
                         : requestOf(MessageID::CALL, "spawn", element);
        default:
            const char* const name = isSet ? "world 0" : "world 1";
            mReplies.push_back(requestOf(replyTo(MessageID::CONNECT_MODULE), name, uint32{1}));
            return requestOf(MessageID::CONNECT_MODULE, name, uint32{1}, random.oneIn(2));
        }
    }
    void hear(const std::string& message, Fault& fault) {
        RecordingStream stream(message);
        MessageReader reader(&stream, true);
        const auto type = MessageID{read(reader)};
        switch (type) {
        case MessageID::REGISTER_OBJECT_GROUP:
        case MessageID::REGISTER_OBJECT_TYPE:
        case MessageID::REGISTER_OBJECT_INSTANCE:
            return enter(type, reader, fault);
        case MessageID::UNREGISTER_OBJECT_TYPE:
        case MessageID::UNREGISTER_OBJECT_INSTANCE:
            return leave(type, reader, fault);
        case MessageID::MODULE_DISCONNECT_FORCED:
        case MessageID::MODULE_SHUTDOWN:
            return fault.check(mModules.erase(read(reader)) == 1, "a module goes that was not connected");
        case MessageID::BREAKPOINT_STATE:
            return fault.check(mModules.contains(read(reader)), "a module holds that is not connected");
        default:
            hearReply(type, message, reader, fault);
        }
    }
    bool isAnswered() const { return mReplies.empty(); }
    const std::map<uint32, Elements>& getModules() const { return mModules; }

private:
    template <class... Fields>
    std::string request(MessageID type, const std::string& rest, const Fields&... fields) {
        mReplies.push_back(requestOf(replyTo(type), fields...));
        return requestOf(type, fields...) + rest;
    }
    static uint32 read(MessageReader& reader) {
        uint32 value = 0;
        reader.read(value);
        return value;
    }
    static std::string readText(MessageReader& reader) {
        String text;
        reader.read(text);
        return text.c_str();
    }
    void enter(MessageID type, MessageReader& reader, Fault& fault) {
        const auto module = mModules.find(read(reader));
        if (module == mModules.end())
            return fault.note("there is a registration in a module that is not connected");
        uint32 owner = type == MessageID::REGISTER_OBJECT_GROUP ? 0 : read(reader);
        const std::string name = readText(reader);
        const uint32 id = read(reader);
        if (type == MessageID::REGISTER_OBJECT_GROUP)
            owner = read(reader);
        fault.check(module->second.insert({{type, id}, {owner, name}}).second, name + " is registered twice");
    }
    /// The instances of a type go with it.
    void leave(MessageID type, MessageReader& reader, Fault& fault) {
        Elements& elements = mModules[read(reader)];
        const uint32 id = read(reader);
        const bool isType = type == MessageID::UNREGISTER_OBJECT_TYPE;
        const auto kind = isType ? MessageID::REGISTER_OBJECT_TYPE : MessageID::REGISTER_OBJECT_INSTANCE;
        fault.check(elements.erase({kind, id}) == 1, "something is unregistered that is not registered");
        std::erase_if(elements, [&](const auto& element) {
            return isType && element.first.first == MessageID::REGISTER_OBJECT_INSTANCE && element.second.first == id;
        });
    }
    void hearReply(MessageID type, const std::string& message, MessageReader& reader, Fault& fault) {
        if (mReplies.empty() || !message.starts_with(mReplies.front()))
            return fault.note("a tool hears " + hexOf(message) + " instead of " +
                              (mReplies.empty() ? "nothing" : hexOf(mReplies.front())));
        mReplies.pop_front();
        const bool isConnect = type == replyTo(MessageID::CONNECT_MODULE);
        if (!isConnect && type != replyTo(MessageID::DISCONNECT_MODULE))
            return;
        uint32 module = 0;
        if (isConnect)
            readText(reader);
        module = read(reader);
        uint8 code = 0;
        reader.read(code);
        readText(reader);
        if (code == 0 && isConnect)
            mModules[read(reader)].clear();
        else if (code == 0)
            mModules.erase(module);
    }

    std::map<uint32, Elements> mModules;
    std::deque<std::string> mReplies; ///< how those begin that are to come
};

/// What the host does with its modules, and the two threads that come by their breakpoints. They take turns with all
/// the others: whoever lets one go on waits until it is away, or held again, or waits behind the other.
class SimulatedModel {
public:
    SimulatedModel(Random& random, Fault& fault) : mRandom(random), mFault(fault) {}

    void act() {
        const uint32 number = mRandom.below(mWorlds.size());
        std::unique_ptr<SteppedWorld>& world = mWorlds[number];
        if (!world) {
            world = std::make_unique<SteppedWorld>(("world " + std::to_string(number)).c_str(), 3);
            return;
        }
        switch (mRandom.below(12)) {
        case 0:
            if (!isInUse(*world) && mRandom.oneIn(3)) {
                mFault.check(Server::getInstance()->destroyModule(world->module), "a module is not destroyed");
                world.reset();
            }
            return;
        case 1:
            world->make(("agent " + std::to_string(mRandom.below(3))).c_str(), world->count);
            return;
        case 2:
            return destroyInstance(*world);
        case 3:
            return changeTypes(*world);
        default:
            enter(*world);
        }
    }
    /// Does what concerns a connection: the message, or none when it is lost. True when that has let a thread go on.
    bool around(uint32 connectionID, const std::string& message, const std::function<void()>& event) {
        const bool isEnd = isEndOfHold(connectionID, message);
        event();
        if (!isEnd) {
            mFault.check(isHolding() == (mHeld != nullptr) && !(mHeld && mHeld->hasReturned()),
                         "a thread goes on that nobody has let go");
            return false;
        }
        mHeld.reset();
        mHeldWorld = nullptr;
        settle();
        return true;
    }
    /// The server has let out all threads, and deleted the modules.
    void forget() {
        mHeld.reset();
        mWaiting.reset();
        mHeldWorld = mWaitingWorld = nullptr;
        for (std::unique_ptr<SteppedWorld>& world : mWorlds)
            world.reset();
    }
    bool isHolding() const { return HoldingTest::isHolding(); }
    /// What comes of modules that have lost their client, and of tools that ask for what is over.
    static bool isExpected(const std::string& assertion) {
        static const std::string cExpected[] = {
            "Tried to make step but no Breakpoint is holding",
            ") tried to makeStep but Module (",
            "Breakpoint becomes holding but no client",
            "Module is sending BreakpointState but no client",
            "Couldn't report to client that module",
            "Can't hold on Breakpoint because",
            "Couldn't enter breackpoint",
            "Couldn't send breakpoint state message",
            "Couldn't send (late)bound message",
            "Couldn't send reportUnregistrationObjectInstance message",
            "Couldn't send module ",
            "Couldn't send successful module ",
            "Couldn't disconnect module ( id: ",
            "MessageReader verification found wrong type",
            "The replied message doesn't contain the reply variable",
            "NetworkStream received more data than needed",
            "Update of NetworkStream resulted in Error",
            "Tried to update unknown NetworkStream",
            "the RPC (spawn) isn't known within the server",
        };
        return std::any_of(std::begin(cExpected), std::end(cExpected),
                           [&](const std::string& text) { return assertion.find(text) != std::string::npos; });
    }
    int countHolds() const { return mHolds; }
    /// Whether the tool behind the connection knows exactly what there is.
    void check(uint32 connectionID, const ModelView& view) const {
        std::map<uint32, Elements> own;
        for (const std::unique_ptr<SteppedWorld>& world : mWorlds) {
            const Server::DataLock inside(Server::getDataMutex());
            if (world && world->module->getClient() && world->module->getClient()->mConnectionID == connectionID)
                own[world->module->getModuleID()] = elementsOf(*world->module);
        }
        mFault.check(own == view.getModules(), "a tool knows other things than there are");
        mFault.check(view.isAnswered(), "a tool waits for replies to what it has asked of a module");
    }

private:
    bool isInUse(const SteppedWorld& world) const { return mHeldWorld == &world || mWaitingWorld == &world; }
    bool isEndOfHold(uint32 connectionID, const std::string& message) const {
        const Server::DataLock inside(Server::getDataMutex());
        const Debugger::ClientInfo* const owner = mHeldWorld ? mHeldWorld->module->getClient() : nullptr;
        if (!owner || owner->mConnectionID != connectionID)
            return false;
        return message.empty() || typeOf(message) == static_cast<uint32>(MessageID::CONTINUE) ||
               typeOf(message) == static_cast<uint32>(MessageID::MAKE_STEP) ||
               message == requestOf(MessageID::DISCONNECT_MODULE, mHeldWorld->module->getModuleID());
    }
    void enter(SteppedWorld& world) {
        if (mWaiting)
            return;
        ObjectInstance* const trigger = mRandom.oneIn(2) ? world.ann : world.ben;
        BreakpointInstance* const breakpoint = mRandom.oneIn(2) ? world.stepped : world.ended;
        if (mRandom.oneIn(2) && world.module->isClientConnected())
            trigger->stopInNextBreakpoint();
        mWaiting = std::make_unique<HostThread>([=] { breakpoint->enterBreakpoint(trigger); });
        mWaitingWorld = &world;
        if (!mHeld)
            settle();
        // Whoever comes when the modules are deleted is not waited for.
        else if (!comesTrue([this] { return mWaiting->isAsleep(); }))
            std::abort();
    }
    /// Nobody is held any more, so that the one who waits passes, or is held itself.
    void settle() {
        if (!mWaiting)
            return;
        if (!comesTrue([this] { return mWaiting->hasReturned() || isHolding(); }))
            std::abort();
        if (isHolding()) {
            mHeld = std::move(mWaiting);
            ++mHolds;
        }
        mHeldWorld = mHeld ? mWaitingWorld : nullptr;
        mWaiting.reset();
        mWaitingWorld = nullptr;
    }
    /// But not the two that come by breakpoints.
    void destroyInstance(SteppedWorld& world) {
        const uint32 id = mRandom.below(8);
        ObjectInstance* instance = nullptr;
        if (!world.module->getObjectInstance(instance, id) || instance == world.ann || instance == world.ben)
            return;
        mFault.check(instance->getType()->destroyObjectInstance(id), "an instance is not destroyed");
    }
    void changeTypes(SteppedWorld& world) {
        Debugger::ObjectType* type = nullptr;
        if (world.agents->getObjectType(type, "rock")) {
            mFault.check(world.agents->destroyObjectType(type->getID()), "a type is not destroyed");
            return;
        }
        type = world.agents->createObjectType("rock");
        type->attach();
        type->createObjectInstance("stone")->attach();
    }

    Random& mRandom;
    Fault& mFault;
    std::array<std::unique_ptr<SteppedWorld>, 2> mWorlds;
    SteppedWorld* mHeldWorld = nullptr;
    SteppedWorld* mWaitingWorld = nullptr;
    int mHolds = 0;
    std::unique_ptr<HostThread> mHeld;
    std::unique_ptr<HostThread> mWaiting; ///< at the entry
};

} // namespace Tarq::Test
