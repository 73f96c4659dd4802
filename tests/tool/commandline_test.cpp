#include "tool/cli/commandline.h"

#include "tests/tool/scriptedhost.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <sstream>
#include <thread>

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

std::atomic<bool> isStopWanted = false;

/// What a program writes, for another thread that waits for its lines.
class Lines : public std::stringbuf {
public:
    void clear() {
        str("");
        mCount = 0;
    }
    void waitFor(int count) {
        std::unique_lock inside(mMutex);
        mChanged.wait(inside, [&] { return mCount >= count; });
    }

private:
    /// Each line is flushed.
    int sync() override {
        const std::scoped_lock inside(mMutex);
        ++mCount;
        mChanged.notify_all();
        return 0;
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    int mCount = 0;
};

struct CommandLineTest : LibraryTest {
    CommandLineTest() : port(std::to_string(host.getAddress().getPort())), name("127.0.0.1:" + port) {
        isStopWanted = false;
    }

    int run(const Texts& arguments) {
        std::ostream out(&lines);
        std::ostringstream err;
        const int exitCode = runCommandLine(arguments, {out, err, [] { return isStopWanted.load(); }});
        written = lines.str();
        told = err.str();
        return exitCode;
    }
    /// The same, with the identity that the scripted host expects, while the host does `script` on another thread.
    int runWith(const std::function<void()>& script, const std::string& command, const Texts& options = {}) {
        Texts arguments = {command, port, "--computer", "box", "--user", "john"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        lines.clear(); // before anybody waits for lines
        std::thread hostThread(script);
        const int exitCode = run(arguments);
        hostThread.join();
        return exitCode;
    }
    int runAlone(const Texts& arguments) {
        lines.clear();
        return run(arguments);
    }
    void answer(const std::string& text = std::string()) {
        host.meet();
        host.send(frameOf(identityReply(text)));
    }

    ScriptedHost host;
    std::string port;
    std::string name;
    Lines lines;
    std::string written;
    std::string told;
};

} // namespace

TEST_CASE_FIXTURE(CommandLineTest, "identify tells what the host has answered") {
    CHECK(runWith([this] { answer(); }, "identify") == 0);
    CHECK(written == "connected to " + name + " as john on box, protocol version 2\n");
    CHECK(told == "");
    CHECK(runWith([this] { answer(); }, "identify", {"--json"}) == 0);
    CHECK(written == R"({"event":"connected","address":")" + name +
                         R"(","computer":"box","user":"john","protocolVersion":2})" + "\n");
    CHECK(told == "");

    CHECK(runWith([this] { answer("wrong\n\x1b[31m\xff"); }, "identify") == 1);
    CHECK(written == "");
    CHECK(told == "tarq-debug: " + name + ": refused: wrong\\x0A\\x1B[31m\\xFF\n");
    CHECK(runWith([this] { answer("wrong\n\xff"); }, "identify", {"--json"}) == 1);
    CHECK(written ==
          R"({"event":"refused","address":")" + name + R"(","code":1,"text":"wrong\n)" + "\xEF\xBF\xBD\"}\n");

    const auto hangUp = [this] {
        host.meet();
        host.hangUp();
    };
    CHECK(runWith(hangUp, "identify", {"--json"}) == 4);
    const std::string closed = "the host has closed the connection";
    CHECK(written ==
          R"({"event":"lost","address":")" + name + R"(","text":")" + closed + R"(","error":0,"retry":false})" + "\n");
    CHECK(told == "tarq-debug: " + name + ": connection lost: " + closed + "\n");
    CHECK(runWith([this] { host.accept(); }, "identify", {"--timeout", "0.02"}) == 4);
    CHECK(told == "tarq-debug: " + name + ": connection lost: the host does not answer\n");

    host.leave();
    CHECK(runAlone({"identify", "localhost:" + port}) == 3);
    CHECK(told == "tarq-debug: " + name + ": no connection: nobody listens there\n");
    isStopWanted = true;
    CHECK(runAlone({"identify", name}) == 3);
    CHECK(told == "tarq-debug: " + name + ": interrupted before there was a connection\n");
}

TEST_CASE_FIXTURE(CommandLineTest, "identify tells one thing, however the packets are cut") {
    const std::string reply = frameOf(identityReply());
    const std::string notification = frameOf(bytesOf("07 01 00 00 22"));
    struct {
        const char* name;
        std::string bytes;
    } const cases[] = {
        {"nonsense behind", reply + "HTTP/1.1"},
        {"messages behind", reply + notification + frameOf("")},
        {"messages in front", notification + frameOf("") + reply},
        {"a refusal behind", reply + frameOf(identityReply("no"))},
    };
    for (const auto& given : cases) {
        CAPTURE(given.name);
        const auto script = [&] {
            host.meet();
            host.send(given.bytes);
        };
        for (const char* const option : {"--timeout=5", "--json"}) {
            CHECK(runWith(script, "identify", {option}) == 0);
            CHECK(std::count(written.begin(), written.end(), '\n') == 1);
            CHECK(written.find("connected") != written.npos);
            CHECK(told == "");
        }
    }
}

TEST_CASE_FIXTURE(CommandLineTest,
                  "what is no host is not one that was lost, and a refusal without a text has its code") {
    const auto sendNonsense = [this] {
        host.meet();
        host.send("HTTP/1.1");
    };
    const std::string text = "a message of 1213486160 bytes is announced, which is too long: is this a host?";
    CHECK(runWith(sendNonsense, "connect", {"--once"}) == 4);
    CHECK(written == "");
    CHECK(told == "tarq-debug: " + name + ": protocol error: " + text + "\n");
    CHECK(runWith(sendNonsense, "identify", {"--json"}) == 4);
    CHECK(written.starts_with(R"({"event":"protocolError",)"));
    const auto refuse = [this] {
        host.meet();
        host.send(frameOf(bytesOf("07 01 00 00 0f 05 07 0b 00 00 00 00")));
    };
    CHECK(runWith(refuse, "identify") == 1);
    CHECK(told == "tarq-debug: " + name + ": refused: code 7\n");
}

TEST_CASE_FIXTURE(CommandLineTest, "the names and the version are those of the command line, or the system's") {
    std::string identity;
    const auto record = [&] {
        host.accept();
        identity = receiveText(*host.connection(), 4);
        identity = receiveText(*host.connection(), static_cast<unsigned char>(identity[3]));
        host.send(frameOf(identityReply("no")));
    };
    CHECK(runWith(record, "identify", {"--protocol-version", "3"}) == 1);
    CHECK(hexOf(identity) == hexOf(cIdentityFrame.substr(4, 26) + '\3'));
    std::thread hostThread(record);
    CHECK(runAlone({"identify", port}) == 1);
    hostThread.join();
    CHECK(identity.size() > 20);
    CHECK(identity.ends_with(bytesOf("07 00 00 00 02")));
    CHECK(identity.find("box") == identity.npos);
}

TEST_CASE_FIXTURE(CommandLineTest, "connect prints each event in a line, and comes back when the host does") {
    const auto script = [this] {
        answer();
        host.send(frameOf(bytesOf("07 01 00 00 22 07 00 00 00 01")));
        host.send(frameOf("?"));
        lines.waitFor(3);
        host.leave();
        lines.waitFor(5); // the loss, and that nobody listens
        host.comeBack();
        answer();
        lines.waitFor(6);
        isStopWanted = true;
    };
    const std::string connected = "connected to " + name + " as john on box, protocol version 2\n";
    CHECK(runWith(script, "connect") == 0);
    CHECK(written == connected + name + ": module shutdown, 10 bytes\n" + name +
                         ": bad message: the field \"message type\" is type 63 instead of STREAM_TYPE_UINT32\n" + name +
                         ": connection lost: the host has closed the connection; waiting for the host\n" + name +
                         ": no connection: nobody listens there; waiting for the host\n" + connected);
    CHECK(told == "");
}

TEST_CASE_FIXTURE(CommandLineTest, "connect ends with the host when it is told so, and when it is refused") {
    const auto comeAndGo = [this] {
        answer();
        host.send(frameOf(bytesOf("07 01 00 00 22")));
        lines.waitFor(2);
        host.hangUp();
    };
    for (const char* const once : {"--once", "--no-reconnect"}) {
        CHECK(runWith(comeAndGo, "connect", {once, "--json"}) == 4);
        CHECK(told == "tarq-debug: " + name + ": connection lost: the host has closed the connection\n");
    }
    const std::string start = R"({"event":")";
    const std::string address = R"(","address":")" + name;
    CHECK(written == start + "connected" + address + R"(","computer":"box","user":"john","protocolVersion":2})" + "\n" +
                         start + "message" + address + R"(","id":"0x01000022","name":"module shutdown","bytes":5})" +
                         "\n" + start + "lost" + address +
                         R"(","text":"the host has closed the connection","error":0,"retry":false})" + "\n");
    CHECK(runWith([this] { answer("no"); }, "connect") == 1);
    CHECK(written == "");
    CHECK(told == "tarq-debug: " + name + ": refused: no\n");
    host.leave();
    CHECK(runAlone({"connect", port, "--once"}) == 3);
}

TEST_CASE_FIXTURE(CommandLineTest, "a wrong command line is told what is wrong with it") {
    struct {
        Texts arguments;
        const char* problem;
    } const cases[] = {
        {{}, "A subcommand is required"},
        {{"conect", "4711"}, "there is no command \"conect\""},
        {{"identify", "localhost"}, "ADDRESS: the port is missing: HOST:PORT or PORT"},
        {{"identify", "1", "--user"}, "--user: 1 required NAME missing"},
        {{"identify"}, "ADDRESS is required"},
        {{"identify", "host:1"}, "ADDRESS: the host has to be an IPv4 address or \"localhost\""},
        {{"connect", "1.2.3:1"}, "ADDRESS: the host has to be"},
        {{"connect", "localhost:0"}, "ADDRESS: the port has to be a number from 1 to 65535: HOST:PORT or PORT"},
        {{"identify", "1", "--timeout", "0"}, "--timeout: the time has to be from 0.001 to 3600 seconds"},
        {{"identify", "1", "--timeout", "3601"}, "--timeout: the time has to be"},
        {{"identify", "1", "--timeout", "nan"}, "--timeout: the time has to be"},
        {{"identify", "1", "--timeout", "-inf"}, "--timeout: the time has to be"},
        {{"identify", "1", "--timeout", "soon"}, "--timeout"},
        {{"identify", "1", "--protocol-version", "-1"}, "--protocol-version"},
        {{"identify", "1", "--once"}, "--once"},
        {{"connect", "1", "2"}, "2"},
        {{"tree", "1"}, "--module is required"},
        {{"get", "1", "--module", "world"}, "PATH is required"},
        {{"set", "1", "a/b/c.d", "--module", "world"}, "VALUE is required"},
        {{"debug", "1", "--module", "world:x"}, "--module: the module has to be NAME or NAME:VERSION"},
        {{"debug", "1", "--module", ":1"}, "--module: the module has to be NAME or NAME:VERSION"},
        {{"debug", "1", "--module", "world:1", "-e"}, "-e"},
        {{"events", "1", "--module", "world", "agents"}, "agents"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.problem);
        CHECK(runAlone(given.arguments) == 2);
        CHECK(written == "");
        CHECK(told.starts_with("tarq-debug: "));
        CHECK(told.find(given.problem) != told.npos);
        CHECK(told.ends_with("; see tarq-debug --help\n"));
    }
}

TEST_CASE_FIXTURE(CommandLineTest, "help is a result") {
    for (const Texts& arguments : {Texts{"--help"}, Texts{"-h"}}) {
        CHECK(runAlone(arguments) == 0);
        CHECK(told == "");
        for (const char* const part :
             {"tarq-debug [OPTIONS] SUBCOMMAND", "identify", "history", "Examples:", "  6  when"})
            CHECK(written.find(part) != written.npos);
    }
    CHECK(runAlone({"connect", "--help"}) == 0);
    CHECK(written.find("--once") != written.npos);
    CHECK(runAlone({"--version"}) == 0);
    CHECK(written.starts_with("tarq-debug "));
}

TEST_CASE_FIXTURE(CommandLineTest, "an output that takes nothing is an error") {
    std::ostringstream err;
    std::ostream out(nullptr);
    std::thread hostThread([this] { answer(); });
    const Texts arguments = {"identify", port, "--computer", "box", "--user", "john"};
    CHECK(runCommandLine(arguments, {out, err, [] { return false; }}) == 5);
    hostThread.join();
    CHECK(err.str() == "tarq-debug: not everything could be written to the standard output\n");
}
