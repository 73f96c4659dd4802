#include "tests/debugger/call/calltest.h"
#include "tests/debugger/scriptedtool.h"

#include "common/debugger/call/calljob.h"

using namespace Tarq::Test;

namespace {

using Tarq::Common::Debug::LOG_ERROR;
using Tarq::Common::Debug::LOG_MESSAGE;

const std::string cHelper = "common/debugger/call/rpchelper";

/// The errors that are logged, with the functions that report them.
template <class Body>
std::string logOf(const Body& body) {
    const RecordingListener log(LOG_ERROR);
    body();
    std::string all;
    for (const auto& heard : log.mHeard)
        all += heard.function + ": " + heard.message + '\n';
    return all;
}
std::string helperLog(const char* function, const std::string& message) {
    return std::string("Tarq::Common::Debugger::RPCHelper::") + function + ": " + message + '\n';
}

/// Hands the helper a call without arguments, of nobody.
bool enqueue(const char* function) {
    Server& server = *Server::getInstance();
    const auto& registrar = server.getFunctionRegistrar();
    std::unique_ptr<Memory::MemoryStream> none(new (server.getAllocator()) Memory::MemoryStream("stream", 16));
    std::unique_ptr<Debugger::CallJob> job(new (server.getAllocator()) Debugger::CallJob(
        {}, function, registrar, registrar->getFunctionIDs(function)->front(), std::move(none)));
    return RPCHelper::getInstance()->call(std::move(job));
}

} // namespace

TEST_CASE_FIXTURE(TCPServerTest, "ten thousand calls that are on their way at once are answered in order") {
    REQUIRE(run());
    learnTypes();
    server().getFunctionRegistrar()->registerFunction("echo", &echo<uint32>);
    ScriptedTool tool = connect();
    REQUIRE(tool.identify());
    constexpr uint32 cCalls = 10000;
    std::string calls;
    for (uint32 index = 0; index < cCalls; ++index)
        calls += packetOf(callOf("echo", index));
    sendText(tool.socket(), calls);
    uint32 answered = 0;
    while (answered < cCalls && tool.receive() == answerOf("echo", answered))
        ++answered;
    CHECK(answered == cCalls);
}

TEST_CASE_FIXTURE(CallTest, "calls wait while one is held at a breakpoint") {
    add("walk", [this] { mWorld.stepped->enterBreakpoint(mWorld.ann); });
    mTool = connectTool();
    request(mTool, MessageID::SET_BREAKPOINT_CLIENT);
    send(callOf("walk"));
    waitForHold();
    takeAll(mTool);
    for (int index = 0; index < 3; ++index)
        send(callOf("count"));
    CHECK(mCount == 0);
    request(mTool, MessageID::CONTINUE);
    CHECK(hexOf(takeUntilDone()) ==
          hexOf(answerOf("walk") + answerOf("count") + answerOf("count") + answerOf("count")));
    CHECK(mCount == 3);
}

TEST_CASE_FIXTURE(CallTest, "a function that throws is logged, and the next one is called") {
    add("standard", [] { throw std::runtime_error("test failure"); });
    add("own", [] { throw new Exceptions::Exception("own failure"); });
    add("number", []() -> uint32 { throw 7; });
    CHECK(logOf([&] { CHECK(outcomeOf(callOf("standard")) == ""); }) ==
          helperLog("run", "The call of standard has failed: test failure"));
    CHECK(logOf([&] { CHECK(outcomeOf(callOf("own")) == ""); }) ==
          helperLog("run", "The call of own has failed: own failure"));
    CHECK(logOf([&] { CHECK(outcomeOf(callOf("number")) == ""); }) ==
          helperLog("run", "The call of number has failed: an exception of a type unknown here"));
}

TEST_CASE_FIXTURE(CallTest, "a function may destroy its module, whose calls are dropped, and register others") {
    functions().registerFunction("fall", [this] {
        mIsEntered.open();
        mIsToLeave.wait();
        Debugger::Module* module = mWorld.module;
        CHECK(server().destroyModule(module));
        add("learnt", &echo<uint32>);
        return uint32{1};
    });
    functions().registerFunction("stand", [this] { mCount += 100; });
    send(callOf("fall"));
    mIsEntered.wait();
    send(callOf("stand"));
    send(callOf("count"));
    send(callOf("stand"));
    mIsToLeave.open();
    CHECK(hexOf(takeUntilDone()) == hexOf(answerOf("fall", uint32{1}) + answerOf("count")));
    CHECK(mCount == 1);
    CHECK(outcomeOf(callOf("learnt", uint32{5})) == hexOf(answerOf("learnt", uint32{5})));
}

TEST_CASE_FIXTURE(CallTest, "what a module's functions work on may go when the call that runs has returned") {
    std::atomic<bool> isOver{false};
    functions().registerFunction("work", [&] {
        mIsEntered.open();
        mIsToLeave.wait();
        isOver = true;
    });
    send(callOf("work"));
    mIsEntered.wait();
    CHECK(server().destroyModule(mWorld.module));
    HostThread waiting([&] {
        CHECK(RPCHelper::getInstance()->waitForCall());
        CHECK(isOver);
    });
    mIsToLeave.open();
    waiting.join();
    CHECK(RPCHelper::getInstance()->waitForCall());
}

TEST_CASE_FIXTURE(CallTest, "a function cannot stop what calls it") {
    add("stop", [] {
        CHECK_FALSE(Server::exitAsync());
        CHECK_FALSE(Server::destroyInstance());
        CHECK_FALSE(RPCHelper::exitAsync());
        RPCHelper::destroyInstance();
        CHECK_FALSE(RPCHelper::getInstance()->waitForCall());
    });
    const RecordingListener log(LOG_ERROR);
    CHECK(outcomeOf(callOf("stop")) == hexOf(answerOf("stop")));
    const std::string server = "The debugger server cannot be started or stopped from inside of it ";
    const std::string helper = "The RPCHelper cannot be started, stopped or waited for by what it calls ";
    CHECK(log.messages() == server + server + helper + helper + helper);
}

TEST_CASE_FIXTURE(CallTest, "a function that ends the thread is the last one until the server is started again") {
    add("leave", [] { Threading::Thread::exit(3); });
    RecordingListener log(LOG_ERROR);
    send(callOf("leave"));
    CHECK(comesTrue([] { return !enqueue("count"); }));
    CHECK(Server::exitAsync());
    CHECK(log.messages().find("The RPCHelper does not run: the call of count is dropped ") != std::string::npos);
    REQUIRE(run());
    mTool = mNetwork.connect();
    CHECK(takeUntilDone() == "");
    CHECK(mCount == 0);
}

TEST_CASE_FIXTURE(CallTest, "who comes after the client that has called gets no answer") {
    RecordingListener log(LOG_ERROR);
    occupy();
    send(callOf("count"));
    mNetwork.lose(mTool);
    CHECK(mNetwork.connect() == mTool);
    log.mHeard.clear();
    mIsToLeave.open();
    CHECK(takeUntilDone() == "");
    CHECK(log.messages() == "The client that has called wait is gone The client that has called count is gone ");
    CHECK(mCount == 1);
}

TEST_CASE_FIXTURE(CallTest, "an answer that cannot be sent is reported") {
    const ExpectedAssertion expected("\nError Message: Couldn't send returning message back to client",
                                     "common/debugger/call/calljob");
    mNetwork.mCanSend = false;
    send(callOf("count"));
    CHECK(comesTrue([&] { return expected.getCount() == 1; }));
    mNetwork.mCanSend = true;
    CHECK(takeUntilDone() == "");
}

TEST_CASE_FIXTURE(CallTest, "the server stops when the call that runs is over, and drops those that wait") {
    // Until the helper takes no more.
    add("last", [this] {
        mIsEntered.open();
        CHECK(comesTrue([] { return !enqueue("count"); }));
    });
    send(callOf("last"));
    mIsEntered.wait();
    send(callOf("count"));
    CHECK(Server::exitAsync());
    REQUIRE(run());
    mTool = mNetwork.connect();
    CHECK(takeUntilDone() == "");
    CHECK(mCount == 0);
}

TEST_CASE_FIXTURE(CallTest, "no more calls wait than the limits allow") {
    struct Case {
        uint64 bytes; // of the call itself, its name, and its arguments
        uint32 messages;
        std::string message;
        std::string name;
    };
    constexpr uint64 cBytesOfThree = 3 * sizeof(Debugger::CallJob) + 10 + 9;
    add("echo", &echo<uint32>);
    occupy();
    for (const Case& c :
         {Case{1000000, 2, callOf("count"), "count"}, Case{cBytesOfThree, 100, callOf("echo", uint32{1}), "echo"}}) {
        server().setConnectionLimits({.mMaxQueuedBytes = c.bytes, .mMaxQueuedMessages = c.messages});
        RecordingListener log(LOG_ERROR);
        CHECK(comesTrue([&] {
            send(c.message);
            return !log.mHeard.empty();
        }));
        CHECK(log.messages() == "Too many calls wait already: the one of " + c.name + " is dropped ");
    }
    server().setConnectionLimits({}); // the last call finds room
    mIsToLeave.open();
    CHECK(hexOf(takeUntilDone()) ==
          hexOf(answerOf("wait") + answerOf("count") + answerOf("count") + answerOf("echo", uint32{1})));
    CHECK(mCount == 2);
    // What has been called makes room again.
    server().setConnectionLimits({.mMaxQueuedBytes = cBytesOfThree, .mMaxQueuedMessages = 2});
    CHECK(outcomeOf(callOf("echo", uint32{2})) == hexOf(answerOf("echo", uint32{2})));
}

TEST_CASE_FIXTURE(CallTest, "a call that finds no memory is not answered, and the next one is") {
    add("texts", &echo<Vector<String>>);
    const String text("a text that is too long to stand in the string itself, and longer than a block of a message");
    const Vector<String> texts(allocator(), {text, text, text});
    const std::string call = callOf("texts", texts);
    const std::string answer = answerOf("texts", texts);
    bool isAnswered = false;
    int failures = 0;
    for (; !isAnswered && failures < 1000; ++failures) {
        const AssertionRecorder assertions;
        const RecordingListener log(LOG_ERROR);
        const int64 refused = getMemory().getRefused();
        std::string message;
        getMemory().failAfter(failures);
        send(call);
        CHECK(comesTrue([&] {
            message = mNetwork.takeReply(mTool);
            return !message.empty() || getMemory().getRefused() != refused;
        }));
        getMemory().failNever();
        message += takeUntilDone();
        isAnswered = message == answer;
        CHECK((isAnswered || message.empty()));
        CHECK((isAnswered || !log.mHeard.empty() || !assertions.getSeen().empty()));
    }
    CHECK(failures > 5);
    CHECK(isAnswered);
}

TEST_CASE_FIXTURE(ServerTest, "the helper tells what is wrong with a start or a stop") {
    const auto logOfRefused = [](bool (*operation)()) { return logOf([&] { CHECK_FALSE(operation()); }); };
    std::atomic<int> called = 0;
    server().getFunctionRegistrar()->registerFunction("add", [&called] { ++called; });
    {
        const ExpectedAssertion expected("\nError Message: there is already an instance of RPCHelper", cHelper);
        RPCHelper::createInstance();
    }
    CHECK(logOfRefused(&RPCHelper::exitAsync) ==
          helperLog("exitAsync", "RPCHelper thread isn't running - did you start RPCHelper with runAsync() ?"));
    CHECK(enqueue("add")); // before the start: not lost
    CHECK(RPCHelper::runAsync());
    CHECK(enqueue("add"));
    CHECK(comesTrue([&] { return called == 2; }));
    CHECK(RPCHelper::getInstance()->waitForCall()); // it also says that nobody is there for the answer
    CHECK(logOfRefused(&RPCHelper::runAsync) ==
          helperLog("runAsync", "There is already a running RPCHelper: use getInstance() instead of starting a new "
                                "one"));
    CHECK(RPCHelper::exitAsync());
    CHECK(logOf([] { CHECK_FALSE(enqueue("add")); }) ==
          helperLog("call", "The RPCHelper does not run: the call of add is dropped"));
    CHECK(RPCHelper::runAsync());
    RPCHelper::destroyInstance();
    CHECK(logOfRefused(&RPCHelper::runAsync) ==
          helperLog("runAsync", "Forgot to call createInstance() before runAsync() ? RPCHelper instance missing"));
    CHECK(logOfRefused(&RPCHelper::exitAsync) ==
          helperLog("exitAsync", "RPCHelper instance doesn't exist, did you call destroyInstance before"));
    {
        const ExpectedAssertion expected("\nError Message: There isn't a RPCHelper to destroy", cHelper);
        RPCHelper::destroyInstance();
    }
    RPCHelper::createInstance(Interface::getGlobalAllocator());
    getMemory().failAfter(0);
    CHECK(logOfRefused(&RPCHelper::runAsync) ==
          helperLog("runAsync", "There is no thread for the RPCHelper: nothing can be called"));
    getMemory().failNever();
    CHECK(RPCHelper::runAsync());
}
