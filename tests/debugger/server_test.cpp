#include "common/debugger/server.h"

#include "tests/debugger/servertest.h"
#include "tests/support/gate.h"

#include "common/reflection/reflectioninterface.h"

#include <atomic>
#include <thread>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debugger::Server;

namespace {

const std::string cPrefix = "Tarq::Common::Debugger::Server::";

/// Logs of a call, each with the function that says so.
std::string logOf(const std::function<void()>& call) {
    const RecordingListener log(Debug::LOG_MESSAGE | Debug::LOG_WARNING | Debug::LOG_ERROR);
    call();
    std::string all;
    for (const auto& heard : log.mHeard) {
        CHECK(heard.file.starts_with(cServer));
        REQUIRE(heard.function.starts_with(cPrefix));
        all += std::to_string(heard.type) + ' ' + heard.function.substr(cPrefix.size()) + ": " + heard.message + '\n';
    }
    return all;
}

/// Tries from the server thread what would wait for it.
class StoppingHandler final : public Network::Message::MessageHandler {
public:
    explicit StoppingHandler(bool& isRefused) : MessageHandler(99), mIsRefused(isRefused) {}
    bool handleMessage(MessageReader*, uint32) override {
        mIsRefused = !Server::exitAsync() && !Server::destroyInstance() && !Server::runAsync(ServerTest::cAddress);
        return true;
    }

private:
    bool& mIsRefused;
};

std::string messageOfType(uint32 type) {
    return messageOf([&](MessageBuilder& builder) { builder.write(type); });
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "the life of a server, and every call in the wrong order") {
    MemoryNetwork network;
    const auto run = [&] { return Server::runAsync(ServerTest::cAddress, network); };
    CHECK(logOf([&] { CHECK_FALSE(run()); }) == "16 runAsync: Forgot to call createInstance() before runAsync() ? "
                                                "Debugger Server instance missing\n");
    CHECK(logOf([] { CHECK_FALSE(Server::exitAsync()); }) ==
          "16 exitAsync: Debugger Server instance doesn't exist, did you call destroyInstance before\n");
    {
        const ExpectedAssertion expected("\nError Message: There isn't a Debugger Server to destroy", cServer);
        CHECK_FALSE(Server::destroyInstance());
    }
    CHECK_FALSE(Reflection::ReflectionInterface::getDatatypeManager());
    CHECK(logOf([&] { Server::createInstance(allocator(), {10}); }) ==
          "4 createInstance: Debugger server was created\n");
    {
        const ExpectedAssertion expected("\nError Message: there is already an instance of Debugger Server", cServer);
        Server::createInstance(allocator(), {20});
    }
    CHECK(Server::getInstance()->getWaitTime().mCount == 10);
    CHECK(Reflection::ReflectionInterface::getDatatypeManager()->getDatatypeID("Container[WString]") ==
          Reflection::Datatype::DatatypeID(41));
    CHECK(logOf([] { CHECK_FALSE(Server::exitAsync()); }) ==
          "16 exitAsync: Debugger Server thread isn't running - did you start debugger server with runAsync() ?\n");
    for (int again = 0; again < 2; ++again) {
        CHECK(logOf([&] { CHECK(run()); }) == "4 runAsync: Debugger server runs within his own thread\n");
        CHECK(logOf([&] { CHECK_FALSE(run()); }) == "16 runAsync: There is already a running debugger server: use "
                                                    "getInstance() instead of starting a new one\n");
        network.connect();
        if (again == 0) {
            CHECK(logOf([] { CHECK(Server::exitAsync()); }) ==
                  "4 disconnectClient: Disconnecting client (name: , user: )\n"
                  "4 exitAsync: Debugger server was stopped and his thread was deleted\n");
            CHECK(Server::getInstance()->getResult() == MemoryNetwork::cResult);
        }
    }
    CHECK(logOf([] { CHECK(Server::destroyInstance()); }) ==
          "4 disconnectClient: Disconnecting client (name: , user: )\n"
          "4 exitAsync: Debugger server was stopped and his thread was deleted\n"
          "4 destroyInstance: Debugger server was destroyed\n");
    CHECK_FALSE(Server::getInstance());
    CHECK_FALSE(Reflection::ReflectionInterface::getDatatypeManager());
}

TEST_CASE_FIXTURE(ServerTest, "a start that fails says why, leaves nothing, and can be repeated") {
    mNetwork.mCanListen = false;
    CHECK(logOf([&] { CHECK_FALSE(run()); }) == "16 runAsync: Couldn't start debugger server because of error during "
                                                "connect of ConnectionLayer\n");
    mNetwork.mCanListen = true;
    bool isRefused = false;
    StoppingHandler handler(isRefused);
    int failures = 0;
    for (;; ++failures) {
        REQUIRE(failures < 100);
        const AssertionRecorder assertions;
        const RecordingListener log(Debug::LOG_ERROR);
        getMemory().failAfter(failures);
        const bool isRunning = run();
        getMemory().failNever();
        if (isRunning)
            break;
        CHECK_FALSE(log.mHeard.empty());
        CHECK_FALSE(server().registerMessageHandler(&handler));
    }
    CHECK(failures > 3);
    CHECK(mNetwork.connect() == 0);
}

TEST_CASE_FIXTURE(ServerTest, "an address that others can reach is warned of") {
    const auto addressOf6 = [](const std::string& bytes) {
        Platform::SocketAddress address;
        address.family = Platform::cFamilyInet6;
        std::copy(bytes.begin(), bytes.end(), address.rest.begin() + 4);
        return Network::Sockets::HostAddress(address);
    };
    const struct {
        const char* name;
        Network::Sockets::HostAddress address;
        bool isWarned;
    } cases[] = {
        {"everybody", Network::Sockets::HostAddress(), true},
        {"127.0.0.1", cAddress, false},
        {"::", addressOf6(bytesOf("00000000 00000000 00000000 00000000")), true},
        {"::1", addressOf6(bytesOf("00000000 00000000 00000000 00000001")), false},
        {"::ffff:127.0.0.1", addressOf6(bytesOf("00000000 00000000 0000ffff 7f000001")), false},
        {"::ffff:10.0.0.1", addressOf6(bytesOf("00000000 00000000 0000ffff 0a000001")), true},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        const std::string log = logOf([&] { CHECK(Server::runAsync(c.address, mNetwork)); });
        CHECK(log.starts_with("8 runAsync: Debugger server listens on ") == c.isWarned);
        CHECK(Server::exitAsync());
    }
}

TEST_CASE_FIXTURE(ServerTest, "a client says who it is, and hears whether it is understood") {
    REQUIRE(run());
    const struct {
        uint32 version;
        uint8 code;
        std::string text;
        std::string log;
        std::string name;
    } cases[] = {
        {1, 1, "Client ( PCName: desk, user: ada, protocolVersion: 1 ) used wrong protocolNumber. Server used (2)", "",
         ""},
        {2, 0, "", "4 setClientInfo: Connected client (name: desk, user: ada)\n", "desk"},
        {3, 1, "Client ( PCName: desk, user: ada, protocolVersion: 3 ) used wrong protocolNumber. Server used (2)", "",
         ""},
    };
    for (const auto& c : cases) {
        CAPTURE(c.version);
        const uint32 client = mNetwork.connect();
        CHECK(logOf([&] { mNetwork.send(client, identityOf("desk", "ada", c.version)); }) == c.log);
        CHECK(hexOf(mNetwork.takeReply(client)) == hexOf(identityReplyOf(c.code, c.text)));
        const Server::DataLock inside(server().getDataMutex());
        Debugger::ClientInfo* info = nullptr;
        REQUIRE(server().getClientInfo(info, client));
        CHECK(info->mComputerName == c.name.c_str());
        CHECK(info->mUserName == (c.name.empty() ? "" : "ada"));
        CHECK_FALSE(info->mBreakflag);
    }
}

TEST_CASE_FIXTURE(ServerTest, "an identity that is cut off anywhere is reported, and not answered") {
    REQUIRE(run());
    const uint32 client = mNetwork.connect();
    const std::string whole = identityOf("desk", "ada", 2);
    // Where type, name and user end.
    const std::string layout =
        " out of the clientInfo: { string:ComputerName; string:UserName, uint32:protocolVersion }";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        CAPTURE(length);
        const AssertionRecorder assertions;
        mNetwork.send(client, whole.substr(0, length));
        REQUIRE_FALSE(assertions.getSeen().empty());
        const std::string last = assertions.getSeen().back().text;
        if (length < 5)
            CHECK(last ==
                  "\nError Message: Couldn't read the MessageTypeID out of the Stream -> messageStream can't be "
                  "dispatched");
        else if (length < 14)
            CHECK(last == "\nError Message: Couldn't read the ComputerName" + layout);
        else if (length < 22)
            CHECK(last == "\nError Message: Couldn't read the UserName" + layout);
        else
            CHECK(last == "\nError Message: Couldn't read the protocolVersion" + layout);
        CHECK(mNetwork.takeReply(client).empty());
    }
    mNetwork.send(client, whole);
    CHECK_FALSE(mNetwork.takeReply(client).empty());
}

TEST_CASE_FIXTURE(ServerTest, "a reply that cannot be sent is reported and deleted") {
    REQUIRE(run());
    const uint32 client = mNetwork.connect();
    mNetwork.mCanSend = false;
    const ExpectedAssertion expected("\nError Message: Couldn't send returning message back to client",
                                     "common/debugger/handler/requesthandler");
    mNetwork.send(client, identityOf("desk", "ada", 2));
}

TEST_CASE_FIXTURE(ServerTest, "a late answer does not reach the next client on the same connection ID") {
    REQUIRE(run());
    CHECK(mNetwork.connect() == 0);
    CHECK(mNetwork.connect() == 1);
    Debugger::ClientKey first;
    REQUIRE(server().getClientKey(first, 0));
    mNetwork.lose(0);
    CHECK(mNetwork.connect() == 0);
    const std::unique_ptr<RecordingStream> late(new (allocator()) RecordingStream("late"));
    CHECK_FALSE(server().sendMessage(first, late.get()));
    Debugger::ClientKey second;
    REQUIRE(server().getClientKey(second, 0));
    CHECK(server().sendMessage(second, new (allocator()) RecordingStream("in time")));
    CHECK(mNetwork.takeReply(0) == "in time");
    CHECK_FALSE(server().getClientKey(second, 2));
}

TEST_CASE_FIXTURE(ServerTest, "clients that there are not are reported") {
    REQUIRE(run());
    mNetwork.connect();
    Debugger::ClientInfo* info = nullptr;
    const struct {
        const char* name;
        std::function<bool()> call;
        std::string text;
    } cases[] = {
        {"get", [&] { return server().getClientInfo(info, 5); },
         "Internal error: missing ClientInfo for connectionID (5), known Clients (1)"},
        {"set", [&] { return server().setClientInfo(5, "desk", "ada", 2); },
         "Tried to set ClientInfo (desk, ada) for not connected socket"},
        {"break", [&] { return server().setClientBreakflag(5); }, "Tried to set Breakflag for unknown Client"},
        {"known", [&] { return server().notifyConnection(0); },
         "Tried to notify about a connection that is already known within the server"},
        {"handler", [&] { return server().registerMessageHandler(nullptr); },
         "Tried to register a NULL pointer as a new MessageHandler"},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        const AssertionRecorder assertions;
        CHECK_FALSE(c.call());
        REQUIRE(assertions.getSeen().size() == 1);
        CHECK(assertions.getSeen()[0].text == "\nError Message: " + c.text);
    }
    const AssertionRecorder assertions;
    CHECK_FALSE(server().disconnectClient(5));
    CHECK(assertions.getSeen().back().text == "getClientInfo(ownClInfo, connectionID)\nError Message: "
                                              "Tried to disconnect unkown Client (not connected)");
    CHECK(logOf([&] { CHECK_FALSE(server().setClientInfo(0, "desk", "ada", 3)); }) ==
          "4 setClientInfo: Client (desk, ada) tried to connected with wrong protocolNumber (3) server uses (2)\n");
    CHECK(server().setClientBreakflag(0));
    CHECK(server().getClientCount() == 1);
}

TEST_CASE_FIXTURE(ServerTest, "what would wait for the server is refused from inside of it") {
    REQUIRE(run());
    bool isRefused = false;
    CHECK(server().registerMessageHandler(new (allocator()) StoppingHandler(isRefused)));
    const uint32 client = mNetwork.connect();
    const std::string refused = "The debugger server cannot be started or stopped from inside of it\n";
    CHECK(logOf([&] { mNetwork.send(client, messageOfType(99)); }) ==
          "16 exitAsync: " + refused + "16 destroyInstance: " + refused + "16 runAsync: " + refused);
    CHECK(isRefused);
    const Server::DataLock inside(server().getDataMutex());
    CHECK(logOf([] { CHECK_FALSE(Server::exitAsync()); }) == "16 exitAsync: " + refused);
}

TEST_CASE_FIXTURE(ServerTest, "nothing is sent and no handler taken while it does not run") {
    bool isRefused = false;
    StoppingHandler handler(isRefused);
    RecordingStream message("message");
    for (int again = 0; again < 2; ++again) {
        CHECK_FALSE(server().sendMessage(0, &message));
        CHECK_FALSE(server().registerMessageHandler(&handler));
        CHECK(server().getListeningAddress().getPort() == 0);
        REQUIRE(Server::runAsync(cAddress, mNetwork));
        CHECK(server().getListeningAddress().getPort() == 4711);
        REQUIRE(Server::exitAsync()); // at once: its thread need not have begun
    }
}

TEST_CASE_FIXTURE(ServerTest, "a pass that throws is logged, and the server goes on") {
    REQUIRE(run());
    CHECK(logOf([&] {
              mNetwork.failPass();
              mNetwork.connect();
          }) == "16 run: A pass of the debugger server was left by an exception: test failure\n");
}

TEST_CASE_FIXTURE(ServerTest, "whatever the transport does, the server stops, and can be started again") {
    const struct {
        const char* name;
        bool MemoryNetwork::*fault;
        bool value;
    } cases[] = {{"keeps its clients", &MemoryNetwork::mCanDisconnect, false},
                 {"throws", &MemoryNetwork::mMustThrow, true}};
    for (const auto& c : cases) {
        CAPTURE(c.name);
        REQUIRE(run());
        mNetwork.connect();
        mNetwork.connect();
        mNetwork.*c.fault = c.value;
        const std::unique_ptr<RecordingStream> message(new (allocator()) RecordingStream("message"));
        if (mNetwork.mMustThrow)
            CHECK_FALSE(server().sendMessage(0, message.get()));
        CHECK(Server::exitAsync());
        CHECK(server().getClientCount() == 0);
        CHECK_FALSE(server().sendMessage(0, message.get()));
        mNetwork.*c.fault = !c.value;
    }
    REQUIRE(run());
    CHECK(mNetwork.connect() == 0);
}

TEST_CASE_FIXTURE(ServerTest, "a handler that ends the server's thread leaves nothing behind") {
    struct EndingHandler final : Network::Message::MessageHandler {
        explicit EndingHandler(uint32 type) : MessageHandler(type) {}
        bool handleMessage(MessageReader*, uint32) override { Threading::Thread::exit(3); }
    };
    REQUIRE(run());
    CHECK(server().registerMessageHandler(new (allocator()) EndingHandler(98)));
    const uint32 client = mNetwork.connect();
    mNetwork.send(client, messageOfType(98));
    CHECK(Server::exitAsync());
    CHECK(server().getClientCount() == 0);
    CHECK(run());
}

TEST_CASE_FIXTURE(ServerTest, "a server that is being stopped is not stopped from inside of that") {
    struct Assertions final : Callback::AssertCallback {
        void showAssert(const char*, const char*, unsigned int) override {
            mIsRefused = !Server::exitAsync() && !Server::destroyInstance();
        }
        bool mIsRefused = false;
    };
    REQUIRE(run());
    auto* const callback = new Assertions;
    const Callback::AssertCallbackPtr before = Interface::getAssertCallback();
    Interface::setAssertCallback(Callback::AssertCallbackPtr(callback));
    CHECK_FALSE(server().setClientBreakflag(4));
    const bool isRefused = callback->mIsRefused;
    Interface::setAssertCallback(before);
    CHECK(isRefused);

    bool wasStopped = true;
    RecordingListener log(Debug::LOG_MESSAGE);
    log.onEach = [&] {
        if (log.mHeard.back().message == "Debugger server was stopped and his thread was deleted")
            wasStopped = Server::destroyInstance();
    };
    CHECK(Server::destroyInstance());
    CHECK_FALSE(wasStopped);
}

TEST_CASE_FIXTURE(ServerTest, "the game time is set when nobody is inside a break area") {
    CHECK(server().getGameTime().mCount == 0);
    Gate entered;
    Gate leave;
    std::atomic<bool> hasLeft = false;
    std::thread host([&] {
        server().getBreakAreaMutex().lock();
        entered.open();
        leave.wait();
        hasLeft = true;
        server().getBreakAreaMutex().unlock();
    });
    entered.wait();
    std::thread setter([&] {
        server().setGameTime({1234});
        CHECK(hasLeft);
    });
    // It is stored already while the other thread is inside.
    while (server().getGameTime().mCount == 0)
        std::this_thread::yield();
    leave.open();
    setter.join();
    host.join();
    CHECK(server().getGameTime().mCount == 1234);
}

TEST_CASE_FIXTURE(LibraryTest, "any thread starts and stops it, over and over") {
    std::vector<std::thread> hosts;
    const AssertionRecorder assertions;
    std::atomic<int> count = 0;
    for (int host = 0; host < 3; ++host) {
        hosts.emplace_back([&] {
            MemoryNetwork network;
            for (int cycle = 0; cycle < 100; ++cycle) {
                Server::createInstance(allocator(), {1});
                count += Server::runAsync(ServerTest::cAddress, network);
                Server::exitAsync();
                Server::destroyInstance();
            }
        });
    }
    for (std::thread& host : hosts)
        host.join();
    CHECK(count > 0);
    CHECK_FALSE(Server::getInstance());
}
