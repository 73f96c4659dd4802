#pragma once

#include "tests/debugger/holdingtest.h"
#include "tests/support/gate.h"

#include "common/debugger/call/rpchelper.h"
#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"

/// Tools that call functions of the host.
namespace Tarq::Test {

using Debugger::RPCHelper;
using Reflection::Function::FunctionRegistrar;

template <class... Arguments>
std::string callOf(const String& name, const Arguments&... arguments) {
    return requestOf(MessageID::CALL, name, arguments...);
}
/// What comes back, with the result if there is one.
template <class... Result>
std::string answerOf(const String& name, const Result&... result) {
    return requestOf(Debugger::replyTo(MessageID::CALL), name, result...);
}

/// Makes the types known here, so that functions can be registered.
inline void learnTypes() {
    using Reflection::ReflectionInterface;
    CHECK(Reflection::Datatype::registerDebuggerDatatypes(ReflectionInterface::getDatatypeManager()));
}

template <class T>
T echo(const T& value) {
    return value;
}

/// A server with the function "done", a module "world", and a tool that is not connected to that.
struct CallTest : HoldingTest {
    CallTest() {
        mNetwork.mLongestRead = ~uint64{0}; // the arguments are copied from stream to stream
        mTool = mNetwork.connect();
        learnTypes();
        add("done", [] {});
        add("wait", [this] {
            mIsEntered.open();
            mIsToLeave.wait();
        });
        add("count", [this] { ++mCount; });
    }
    /// What the functions work on stays until nobody calls them any more.
    ~CallTest() {
        mIsToLeave.open();
        CHECK(Server::destroyInstance());
    }

    template <class Function>
    static void add(const char* name, Function function) {
        server().getFunctionRegistrar()->registerFunction(name, function);
    }
    FunctionRegistrar& functions() { return *mWorld.module->getFunctionRegistrar(); }

    void send(const std::string& message) { mNetwork.send(mTool, message); }
    /// What comes before the answer to one more call: all that there will be.
    std::string takeUntilDone() {
        send(callOf("done"));
        std::string all;
        std::string message;
        const auto isDone = [&] {
            all += message;
            message = mNetwork.takeReply(mTool);
            return message == answerOf("done");
        };
        CHECK(comesTrue(isDone));
        return all;
    }
    /// What comes of a message.
    std::string outcomeOf(const std::string& message) {
        send(message);
        return hexOf(takeUntilDone());
    }
    /// Has a call run until `mIsToLeave`.
    void occupy() {
        send(callOf("wait"));
        mIsEntered.wait();
    }

    uint32 mTool = 0;
    Gate mIsEntered;
    Gate mIsToLeave;
    std::atomic<int> mCount = 0;
};

} // namespace Tarq::Test
