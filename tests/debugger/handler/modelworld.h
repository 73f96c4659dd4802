#pragma once

#include "tests/debugger/holdingtest.h"

#include "common/math/vec2.h"

/// A host with a model of several types, and tools that ask about it.
namespace Tarq::Test {

/// A module of two groups. The ids of the elements, in the order in which they are declared, count from 0.
struct ModelWorld {
    explicit ModelWorld(const char* moduleName, bool isAttached = true, uint32 historyLength = 2)
        : module(Server::getInstance()->createModule(moduleName, 3, historyLength)) {
        module->registerBreakpointType("step");
        module->registerBreakpointType("turn");
        walker = module->createObjectGroup("agents")->createObjectType("walker");
        walker->registerVariableType(STREAM_TYPE_FLOAT32, "speed", true);
        walker->registerVariableType(STREAM_TYPE_BSTRING, "name", true);
        walker->registerVariableType(STREAM_TYPE_UINT32, "age", false);
        walker->registerVariableType(STREAM_TYPE_VEC_2_FLOAT32, "position", true);
        walker->registerVariableType(STREAM_TYPE_ARRAY_UINT16, "path", true);
        Container::List<String> stored{Memory::AllocatorPtr()};
        stored.push_back("speed");
        stepped = walker->registerBreakpointInstance("stepped", "step", &stored);
        turned = walker->registerBreakpointInstance("turned", "turn", nullptr);
        walker->attach();
        place = module->createObjectGroup("places")->createObjectType("place");
        place->registerVariableType(STREAM_TYPE_BOOL, "open", true);
        place->attach();
        if (isAttached)
            module->attach();
        ann = makeWalker("ann");
        ben = makeWalker("ben");
        ben->attach();
        ann->attach();
        home = place->createObjectInstance("home");
        home->registerVariable("open", &isOpen);
        home->attach();
    }

    /// Still to be attached.
    ObjectInstance* makeWalker(const char* instance) {
        ObjectInstance* const made = walker->createObjectInstance(instance);
        made->registerVariable("speed", &speed);
        made->registerVariable("name", &name);
        made->registerVariable("age", &age);
        made->registerVariable("position", &position);
        made->registerVariable("path", &path);
        return made;
    }

    float speed = 1.5F;
    String name = "ann";
    uint32 age = 42;
    Math::Vec2<float> position{1, 2};
    Vector<uint16> path{Memory::AllocatorPtr(), {1, 2}};
    bool isOpen = true;

    Debugger::Module* module;
    Debugger::ObjectType* walker;
    Debugger::ObjectType* place;
    BreakpointInstance* stepped;
    BreakpointInstance* turned;
    ObjectInstance* ann;
    ObjectInstance* ben;
    ObjectInstance* home;
};

/// The bytes of fields, one behind the other, each with its tag.
template <class... Fields>
std::string fieldsOf(const Fields&... fields) {
    return messageOf([&](MessageBuilder& builder) { (builder.write(fields), ...); });
}
/// The bytes as a message holds them: a container of uint8.
inline std::string nestedOf(const std::string& bytes) {
    return fieldsOf(Vector<uint8>(Memory::AllocatorPtr(), bytes.begin(), bytes.end()));
}
inline std::string typeOf(MessageID type) {
    return fieldsOf(static_cast<uint32>(type));
}

/// One request, what comes back and what is asserted.
struct RequestCase {
    const char* name;
    std::string fields; ///< which the answer repeats
    uint8 code;
    std::string text;
    std::string data = {};   ///< of the request, behind the fields
    std::string answer = {}; ///< behind code and text
    std::string asserted = {};
};

/// A tool that is connected to the module "world", and another module without one, "moon". Their ids are 0 and 1.
struct RequestTest : ServerTest {
    RequestTest() : mWorld("world"), mMoon("moon") {
        mNetwork.mLongestRead = ~uint64{0}; // values and conditions are streams in the message
        REQUIRE(run());
        mTool = connectTool("desk", "ada");
        send(MessageID::CONNECT_MODULE, fieldsOf("world", uint32{3}, false));
        takeAll();
    }

    uint32 connectTool(const char* computer, const char* user) {
        const uint32 tool = mNetwork.connect();
        mNetwork.send(tool, identityOf(computer, user, 2));
        CHECK(mNetwork.takeReply(tool) == identityReplyOf(0, ""));
        return tool;
    }
    void send(MessageID type, const std::string& fields) { mNetwork.send(mTool, typeOf(type) + fields); }
    std::string take() { return hexOf(mNetwork.takeReply(mTool)); }
    void takeAll() {
        while (!mNetwork.takeReply(mTool).empty())
            continue;
    }
    /// What comes back, with the assertions' texts.
    void check(MessageID type, const std::vector<RequestCase>& cases) {
        for (const RequestCase& c : cases) {
            CAPTURE(c.name);
            const AssertionRecorder assertions;
            send(type, c.fields + c.data);
            CHECK(take() ==
                  hexOf(typeOf(Debugger::replyTo(type)) + c.fields + fieldsOf(c.code, c.text.c_str()) + c.answer));
            CHECK(take().empty());
            CHECK(errorsOf(assertions) == c.asserted);
        }
    }

    ModelWorld mWorld;
    ModelWorld mMoon;
    uint32 mTool = 0;
};

} // namespace Tarq::Test
