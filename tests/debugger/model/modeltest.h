#pragma once

#include "tests/debugger/servertest.h"

#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/breakpointtype.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"

#include <thread>

namespace Tarq::Test {

using Debugger::BreakpointInstance;
using Debugger::BreakpointType;
using Debugger::Module;
using Debugger::ObjectGroup;
using Debugger::ObjectInstance;
using Debugger::ObjectType;
using Debugger::Server;

constexpr uint32 cNone = 0xFFFFFFFF;

/// A message between server and tool, by the last byte of its type.
template <class... Fields>
std::string wire(uint32 type, const Fields&... fields) {
    return messageOf([&](MessageBuilder& builder) {
        builder.write(0x01000000 + type);
        (builder.write(fields), ...);
    });
}

/// Messages as a failed comparison shows them: each on a line of its own.
inline std::string linesOf(const std::vector<std::string>& messages) {
    std::string lines;
    for (const std::string& message : messages)
        lines += hexOf(message) + '\n';
    return lines;
}

/// What `call` asserts, without the conditions, joined by "; ". All of it is of the debugger.
template <class Call>
std::string assertedBy(const Call& call) {
    static const std::string cBefore = "\nError Message: ";
    const AssertionRecorder assertions;
    call();
    std::string all;
    for (const SeenAssertion& seen : assertions.getSeen()) {
        CHECK(seen.file.starts_with("common/debugger/"));
        const std::size_t at = seen.text.find(cBefore);
        REQUIRE(at != std::string::npos);
        all += (all.empty() ? "" : "; ") + seen.text.substr(at + cBefore.size());
    }
    return all;
}

/// Something that is refused, and what is said of it.
struct Refusal {
    const char* name;
    std::function<bool()> call; ///< returns whether it was done
    std::string text;
};
inline void checkRefusals(const std::vector<Refusal>& refusals) {
    for (const Refusal& refusal : refusals) {
        CAPTURE(refusal.name);
        bool isDone = true;
        CHECK(assertedBy([&] { isDone = refusal.call(); }) == refusal.text);
        CHECK_FALSE(isDone);
    }
}

/// A running server with a module "world" of version 3, which is not attached yet.
struct ModelTest : ServerTest {
    ModelTest() : mModule(server().createModule("world", 3, 2)) { REQUIRE(run()); }

    /// A tool, which has said who it is.
    uint32 connectTool() {
        const uint32 connection = mNetwork.connect();
        mNetwork.send(connection, identityOf("desk", "ada", 2));
        CHECK(mNetwork.takeReply(connection) == identityReplyOf(0, ""));
        return connection;
    }
    void connectModule(uint32 connection) { mNetwork.send(connection, wire(0x03, "world", 3u, false)); }
    /// A tool that is connected to the module, and has looked through what it was sent.
    uint32 connectToModule() {
        const uint32 connection = connectTool();
        connectModule(connection);
        CHECK(mModule->isClientConnected());
        static_cast<void>(takeMessages(connection));
        return connection;
    }
    std::vector<std::string> takeMessages(uint32 connection) {
        std::vector<std::string> messages;
        for (std::string next = mNetwork.takeReply(connection); !next.empty(); next = mNetwork.takeReply(connection))
            messages.push_back(next);
        return messages;
    }
    std::string takeLines(uint32 connection) { return linesOf(takeMessages(connection)); }

    /// A type with a variable for each of the names, which are numbers.
    static ObjectType* makeType(ObjectGroup* group, const char* name, std::initializer_list<const char*> variables) {
        ObjectType* const type = group->createObjectType(name);
        REQUIRE(type);
        for (const char* const variable : variables)
            CHECK(type->registerVariableType(STREAM_TYPE_UINT32, variable, true));
        type->attach();
        return type;
    }
    /// An attached instance, whose variables all are `mNumber`.
    ObjectInstance* makeInstance(ObjectType* type, const char* name, std::initializer_list<const char*> variables) {
        ObjectInstance* const instance = type->createObjectInstance(name);
        REQUIRE(instance);
        for (const char* const variable : variables)
            CHECK(instance->registerVariable(variable, &mNumber));
        instance->attach();
        CHECK(instance->isAttached());
        return instance;
    }
    uint32 countEntries(uint32 instanceID) {
        const Server::DataLock inside(server().getDataMutex());
        const Debugger::HistoryEntries* entries = nullptr;
        return mModule->getHistory().getEntries(instanceID, entries) ? entries->size() : 0;
    }

    Module* mModule;
    uint32 mNumber = 42;
};

} // namespace Tarq::Test
