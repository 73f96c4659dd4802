#include "bench/blockingclient.h"
#include "bench/cases.h"
#include "bench/echoserver.h"
#include "bench/secondthread.h"
#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"
#include "common/debugger/server.h"
#include "common/library.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"
#include "common/threading/fairmutex.h"
#include "common/threading/spinlock.h"

#include <array>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace Tarq::Bench {

namespace {

using namespace Common;
using Debugger::Server;
using Memory::MemoryStream;
using Network::Message::MessageBuilder;

constexpr uint32 cHistoryLength = 100;
constexpr uint32 cManyInstances = 10000;

struct Agent {
    float speed = 3.5F;
    uint32 visits = 17;
    bool isResting = false;
    String name = "ann";
};

/// A message as it travels.
std::string packetOf(uint32 type, const std::function<void(MessageBuilder&)>& writeFields) {
    MemoryStream stream("stream", 1024);
    MessageBuilder builder(&stream, true);
    builder.write(type);
    writeFields(builder);
    std::string packet = Bench::packetOf(static_cast<std::size_t>(stream.getLength()));
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    stream.read(packet.data() + 4, packet.size() - 4);
    return packet;
}

/// Takes messages apart that arrive together.
class MessageReceiver {
public:
    explicit MessageReceiver(const BlockingClient& client) : mClient(client) {}

    /// Returns the type of the next message.
    uint32 receive() {
        fill(4);
        const uint32 length = numberAt(0);
        check(length >= 5, "a message has no type");
        fill(4 + length);
        const uint32 type = numberAt(5);
        mBegin += 4 + length;
        mNumBytes += 4 + length;
        return type;
    }
    uint64 getNumBytes() const { return mNumBytes; }

private:
    uint32 numberAt(std::size_t offset) const {
        uint32 number = 0;
        std::memcpy(&number, mBytes.data() + mBegin + offset, sizeof(number));
        return ntohl(number);
    }
    void fill(std::size_t wanted) {
        while (mEnd - mBegin < wanted) {
            std::memmove(mBytes.data(), mBytes.data() + mBegin, mEnd - mBegin);
            mEnd -= std::exchange(mBegin, 0);
            if (mBytes.size() < wanted)
                mBytes.resize(wanted);
            const ssize_t count = recv(mClient.getDescriptor(), mBytes.data() + mEnd, mBytes.size() - mEnd, 0);
            check(count > 0, "the tool receives nothing");
            mEnd += static_cast<std::size_t>(count);
        }
    }

    const BlockingClient& mClient;
    std::string mBytes = std::string(65536, '?');
    std::size_t mBegin = 0; ///< of the bytes that have arrived and were not looked at
    std::size_t mEnd = 0;
    uint64 mNumBytes = 0;
};

/// A host with a debugger, and an agent in it.
class DebuggedHost {
public:
    DebuggedHost() {
        using namespace Network::Message;
        Server::createInstance(Library::getTempAlloc(), {20});
        Reflection::Datatype::registerDebuggerDatatypes(Reflection::ReflectionInterface::getDatatypeManager());
        mModule = server().createModule("world", 1, cHistoryLength);
        mModule->registerBreakpointType("step");
        mType = mModule->createObjectGroup("agents")->createObjectType("walker");
        mType->registerVariableType(STREAM_TYPE_FLOAT32, "speed", true);
        mType->registerVariableType(STREAM_TYPE_UINT32, "visits", true);
        mType->registerVariableType(STREAM_TYPE_BOOL, "isResting", true);
        mType->registerVariableType(STREAM_TYPE_BSTRING, "name", true);
        mStepped = mType->registerBreakpointInstance("stepped", "step", nullptr);
        mType->attach();
        mModule->attach();
        mAgent = makeInstance();
    }
    ~DebuggedHost() { Server::destroyInstance(); }

    static Server& server() { return *Server::getInstance(); }
    Debugger::BreakpointInstance& breakpoint() { return *mStepped; }
    Debugger::ObjectInstance& instance() { return *mAgent; }
    Agent& agent() { return mValues; }

    Debugger::ObjectInstance* makeInstance() {
        Debugger::ObjectInstance* const instance = mType->createObjectInstance("agent");
        instance->registerVariable("speed", &mValues.speed);
        instance->registerVariable("visits", &mValues.visits);
        instance->registerVariable("isResting", &mValues.isResting);
        instance->registerVariable("name", &mValues.name);
        instance->attach();
        return instance;
    }
    void watchAll() {
        for (const char* const name : {"speed", "visits", "isResting", "name"}) {
            uint32 id = 0;
            check(mAgent->getVarID(id, name) && mAgent->registerWatchedVariable(id), "a variable cannot be watched");
        }
    }
    /// A tool, before it has the module.
    static BlockingClient connect() {
        check(Server::runAsync({Network::Sockets::IPV4::LOOPBACK, 0}), "the debugger cannot listen");
        return BlockingClient(server().getListeningAddress().getPort());
    }
    static void requestModule(const BlockingClient& tool) {
        tool.send(packetOf(0x01000003, [](MessageBuilder& builder) {
            builder.write("world");
            builder.write(uint32{1});
            builder.write(false);
        }));
    }

private:
    Debugger::Module* mModule;
    Debugger::ObjectType* mType;
    Debugger::BreakpointInstance* mStepped;
    Debugger::ObjectInstance* mAgent;
    Agent mValues;
};

void passBreakpoint(benchmark::State& state) {
    DebuggedHost host;
    host.watchAll();
    for (auto _ : state)
        host.breakpoint().enterBreakpoint(&host.instance());
    Debugger::HistoryEntry* entry = nullptr;
    host.instance().getType()->getModule().getHistory().getLatestEntry(host.instance().getID(), entry);
    check(entry && entry->getWatched().getVariables().size() == 4, "the values are not recorded");
}

/// The two locks that a pass takes, and the values as a history keeps them, in the form in which they are sent.
void copyBetweenLocks(benchmark::State& state) {
    Threading::SpinLock outer(Threading::cSpinCount);
    Threading::FairMutex inner;
    Agent agent;
    MemoryStream history("history", 65535);
    MessageBuilder builder(&history, true);
    for (auto _ : state) {
        const Threading::ScopedLock first(outer);
        const Threading::ScopedLock second(inner);
        ++agent.visits;
        history.seek(0, IO::Stream::SORIGIN_BEGIN);
        builder.write(agent.speed);
        builder.write(agent.visits);
        builder.write(agent.isResting);
        builder.write(agent.name);
    }
    check(history.getLength() == 20, "the values are not copied");
}

/// The least that it can be: standard locks, and a plain copy of the struct.
void copyPlainly(benchmark::State& state) {
    std::mutex outer;
    std::mutex inner;
    Agent agent;
    std::array<Agent, cHistoryLength> history;
    std::size_t next = 0;
    for (auto _ : state) {
        const std::scoped_lock first(outer);
        const std::scoped_lock second(inner);
        ++agent.visits;
        history[next] = agent;
        next = (next + 1) % history.size();
        benchmark::DoNotOptimize(history);
    }
}

/// `speed > 3 && visits < 10 && name == "ann"`, of which the second term is false.
std::string conditionDocument() {
    const auto compare = [](const std::string& side, const char* operation, const char* type, const char* name,
                            const char* value) {
        const std::string attributes = std::string(" datatype=\"") + type + "\" expressiontype=\"";
        return "<" + side + " datatype=\"Boolean\" expressiontype=\"binaryoperator\" operatortype=\"" + operation +
               "\"><lhs" + attributes + "variable\"><name>" + name + "</name></lhs><rhs" + attributes +
               "value\"><value>" + value + "</value></rhs></" + side + ">";
    };
    const std::string conjunction = " datatype=\"Boolean\" expressiontype=\"binaryoperator\" operatortype=\"and\">";
    return "<condition" + conjunction + "<lhs" + conjunction + compare("lhs", "greater", "Float", "speed", "3") +
           compare("rhs", "smaller", "UnsignedInteger32", "visits", "10") + "</lhs>" +
           compare("rhs", "equal", "String", "name", "ann") + "</condition>";
}

void testCondition(benchmark::State& state) {
    DebuggedHost host;
    host.watchAll();
    const std::string document = conditionDocument();
    MemoryStream condition("condition", 4096);
    condition.write(document.data(), document.size());
    condition.seek(0, IO::Stream::SORIGIN_BEGIN);
    check(host.breakpoint().setCondition(&condition) == 0, "the condition is refused");
    host.breakpoint().setActive();
    for (auto _ : state)
        host.breakpoint().enterBreakpoint(&host.instance());
}

void holdAndContinue(benchmark::State& state) {
    const PinnedThread here(0);
    DebuggedHost host;
    const BlockingClient tool = DebuggedHost::connect();
    DebuggedHost::requestModule(tool);
    MessageReceiver receiver(tool);
    while (receiver.receive() != 0x0100000A) {
    }
    SecondThread::get().start([&tool, &receiver] {
        const PinnedThread there(1);
        const std::string goOn = packetOf(0x0100001F, [](MessageBuilder&) {});
        // Whatever is no hold is the end.
        while (receiver.receive() == 0x01000000)
            tool.send(goOn);
    });
    for (auto _ : state) {
        host.instance().stopInNextBreakpoint();
        host.breakpoint().enterBreakpoint(&host.instance());
    }
    host.makeInstance();
    SecondThread::get().wait();
    countOperationsOfBothThreads(state, static_cast<uint64>(state.iterations()));
}

int32 add(int32 left, int32 right) {
    return left + right;
}

/// From the tool to the host's function, and back with what it returns.
void callFunction(benchmark::State& state) {
    DebuggedHost host;
    DebuggedHost::server().getFunctionRegistrar()->registerFunction("add", &add);
    const BlockingClient tool = [] {
        const PinnedThread there(1); // the server's threads, too
        return DebuggedHost::connect();
    }();
    const PinnedThread here(0);
    const std::string call = packetOf(0x01000024, [](MessageBuilder& builder) {
        builder.write("add");
        builder.write(int32{40});
        builder.write(int32{2});
    });
    std::string reply = packetOf(0x01000025, [](MessageBuilder& builder) {
        builder.write("add");
        builder.write(int32{42});
    });
    const std::string expected = std::exchange(reply, std::string(reply.size(), '?'));
    for (auto _ : state) {
        tool.send(call);
        tool.receive(reply);
    }
    check(reply == expected, "the answer is wrong");
    countOperationsOfBothThreads(state, static_cast<uint64>(state.iterations()));
}

/// Times are of one piece of the tool's file.
void readNetworkStream(benchmark::State& state) {
    constexpr uint32 cPieces = 64;
    const PinnedThread here(0);
    DebuggedHost host;
    const BlockingClient tool = DebuggedHost::connect();
    tool.send(packetOf(0x01000026, [](MessageBuilder& builder) {
        builder.write("file");
        builder.write(uint32{7});
        builder.write(uint32{cPieces * Debugger::NetworkStream::cPieceSize});
    }));
    MessageReceiver receiver(tool);
    check(receiver.receive() == 0x01000027, "the stream is refused");
    SecondThread::get().start([&tool, &receiver] {
        const PinnedThread there(1);
        const std::string piece = packetOf(0x01000029, [](MessageBuilder& builder) {
            builder.write(uint32{7});
            builder.write(Container::Vector<uint8>(Memory::AllocatorPtr(), Debugger::NetworkStream::cPieceSize, 'x'));
        });
        // Whatever is no request is the end.
        while (receiver.receive() == 0x01000028)
            tool.send(piece);
    });
    Debugger::NetworkStream* stream = nullptr;
    check(DebuggedHost::server().getNetworkStream(stream, 7), "there is no stream");
    std::string content(static_cast<std::size_t>(stream->getLength()), '?');
    for (auto _ : state) {
        stream->seek(0, IO::Stream::SORIGIN_BEGIN);
        check(stream->read(content.data(), content.size()) == content.size(), "the stream ends early");
    }
    check(content == std::string(content.size(), 'x'), "the file is wrong");
    DebuggedHost::server().releaseNetworkStream(stream);
    tool.send(packetOf(0x0100002A, [](MessageBuilder& builder) { builder.write(uint32{7}); }));
    SecondThread::get().wait();
    countOperationsOfBothThreads(state, static_cast<uint64>(state.iterations()) * cPieces);
}

/// A client and a server that wait for each other, each in one call of the system.
void echoBlocking(benchmark::State& state) {
    const PinnedThread here(0);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    check(bind(listener, reinterpret_cast<sockaddr*>(&address), length) == 0 && listen(listener, 1) == 0 &&
              getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) == 0,
          "the echo cannot listen");
    const BlockingClient client(ntohs(address.sin_port));
    const int server = accept(listener, nullptr, nullptr);
    const int on = 1;
    setsockopt(server, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    SecondThread::get().start([server] {
        const PinnedThread there(1);
        char bytes[100];
        ssize_t count = 0;
        while ((count = recv(server, bytes, sizeof(bytes), MSG_WAITALL)) == sizeof(bytes))
            check(send(server, bytes, sizeof(bytes), MSG_NOSIGNAL) == count, "the echo cannot send");
    });
    const std::string question(100, 'x');
    std::string answer(100, '?');
    for (auto _ : state) {
        client.send(question);
        client.receive(answer);
    }
    check(answer == question, "the answer is wrong");
    shutdown(client.getDescriptor(), SHUT_WR);
    SecondThread::get().wait();
    close(server);
    close(listener);
    countOperationsOfBothThreads(state, static_cast<uint64>(state.iterations()));
}

/// From the request to the last registration; times are of one byte.
void connectModule(benchmark::State& state) {
    DebuggedHost host;
    for (uint32 number = 1; number < cManyInstances; ++number)
        host.makeInstance();
    const BlockingClient tool = DebuggedHost::connect();
    const std::string release = packetOf(0x01000005, [](MessageBuilder& builder) { builder.write(uint32{0}); });
    MessageReceiver receiver(tool);
    for (auto _ : state) {
        DebuggedHost::requestModule(tool);
        for (uint32 count = 0; count < cManyInstances;)
            count += receiver.receive() == 0x0100000A ? 1u : 0u;
        state.PauseTiming();
        tool.send(release);
        check(receiver.receive() == 0x01000006, "the module is not released");
        state.ResumeTiming();
    }
    countOperationsOfBothThreads(state, receiver.getNumBytes());
}

/// The same bytes in one message, from an echo server.
void receiveBulk(benchmark::State& state) {
    UvServer server(Answer::ANSWER_LARGE);
    {
        const BlockingClient client(server.getPort());
        server.accept();
        SecondThread::get().start([&server] { server.serve(); });
        const std::string question = Bench::packetOf(std::size_t{0});
        std::string answer(4 + cLargeSize, '?');
        for (auto _ : state) {
            client.send(question);
            client.receive(answer);
        }
    }
    SecondThread::get().wait();
    countOperationsOfBothThreads(state, static_cast<uint64>(state.iterations()) * (4 + cLargeSize));
}

} // namespace

std::vector<Case> debuggerCases() {
    return {
        {"debugger/breakpoint-not-held",
         passBreakpoint,
         {{"its locks and copies alone", 3, copyBetweenLocks}, {"std::mutex, plain copies", 0, copyPlainly}}},
        {"debugger/condition-of-three-terms", testCondition, {{"none", 0, passBreakpoint}}},
        {"debugger/hold-and-continue", holdAndContinue, {{"blocking echo", 2.2, echoBlocking}}},
        {"debugger/call", callFunction, {{"blocking echo", 2.2, echoBlocking}}},
        {"debugger/network-stream-piece", readNetworkStream, {{"blocking echo", 1.15, echoBlocking}}},
        {"debugger/connect-10000-instances", connectModule, {{"libuv, in bulk", 0, receiveBulk}}},
    };
}

} // namespace Tarq::Bench
