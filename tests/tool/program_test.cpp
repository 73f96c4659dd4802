#include "tool/platform/system.h"

#include "tests/tool/modulehost.h"

#include <csignal>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using namespace Tarq::Test;
namespace System = Tarq::Tool::System;

namespace {

/// tarq-debug as a process, whose standard output is read line by line, and whose standard input is typed; some of its
/// standard streams may be closed.
class Program {
public:
    explicit Program(Texts arguments, const std::vector<int>& closedStreams = {}) {
        int ends[2];
        int inputEnds[2];
        REQUIRE(pipe2(inputEnds, O_CLOEXEC) == 0);
        mInput = inputEnds[1];
        REQUIRE(pipe(ends) == 0);
        fcntl(ends[0], F_SETPIPE_SZ, cPipeSize);
        arguments.insert(arguments.begin(), TARQ_TOOL_PROGRAM);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, inputEnds[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addclose(&actions, ends[0]);
        posix_spawn_file_actions_addclose(&actions, ends[1]);
        for (const int stream : closedStreams)
            posix_spawn_file_actions_addclose(&actions, stream);
        const int error = posix_spawn(&mProcess, TARQ_TOOL_PROGRAM, &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        close(inputEnds[0]);
        mOutput = fdopen(ends[0], "r");
        REQUIRE(error == 0);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        std::fclose(mOutput);
        close(mInput);
        if (mProcess > 0) {
            kill(mProcess, SIGKILL);
            waitpid(mProcess, nullptr, 0);
        }
    }

    void type(const std::string& text) {
        REQUIRE(write(mInput, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
    }
    /// Empty at the end.
    std::string readLine() {
        std::string line;
        for (int c = std::fgetc(mOutput); c != EOF && c != '\n'; c = std::fgetc(mOutput))
            line += static_cast<char>(c);
        return line;
    }
    /// Until a line of that length does not fit any more.
    void waitUntilFull(std::size_t lineLength) {
        int numBytes = 0;
        while (static_cast<std::size_t>(numBytes) + lineLength <= cPipeSize) {
            REQUIRE(ioctl(fileno(mOutput), FIONREAD, &numBytes) == 0);
            sched_yield();
        }
    }
    void send(int signal) { REQUIRE(kill(mProcess, signal) == 0); }
    /// The exit code; a negative signal if one has ended the process.
    int wait() { return statusOf(waitpid(std::exchange(mProcess, -1), &mStatus, 0)); }
    /// The same, while it gets the signal again and again.
    int waitSending(int signal) {
        pid_t ended = 0;
        while (ended == 0) {
            send(signal);
            sched_yield();
            ended = waitpid(mProcess, &mStatus, WNOHANG);
        }
        mProcess = -1;
        return statusOf(ended);
    }

private:
    static constexpr int cPipeSize = 4096;

    int statusOf(pid_t ended) const {
        REQUIRE(ended > 0);
        return WIFEXITED(mStatus) ? WEXITSTATUS(mStatus) : -WTERMSIG(mStatus);
    }

    pid_t mProcess = -1;
    int mStatus = 0;
    int mInput = -1;
    std::FILE* mOutput = nullptr;
};

Texts argumentsFor(const ScriptedHost& host, const std::string& command = "connect") {
    return {command, std::to_string(host.getAddress().getPort()), "--computer", "box", "--user", "john", "--json"};
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a signal ends the program cleanly, and its events are seen at once") {
    for (const int signal : {SIGINT, SIGTERM}) {
        CAPTURE(signal);
        ScriptedHost host;
        Program program(argumentsFor(host));
        host.meet();
        host.send(frameOf(identityReply()));
        CHECK(program.readLine().starts_with(R"({"event":"connected",)"));
        host.send(frameOf(bytesOf("07 01 00 00 22")));
        CHECK(program.readLine().starts_with(R"({"event":"message",)"));
        program.send(signal);
        CHECK(program.wait() == 0);
        CHECK(program.readLine() == "");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a host that has gone and one that is back are told apart") {
    ScriptedHost host;
    Program program(argumentsFor(host));
    host.meet();
    host.send(frameOf(identityReply()));
    CHECK(program.readLine().starts_with(R"({"event":"connected",)"));
    host.leave();
    CHECK(program.readLine().starts_with(R"({"event":"lost",)"));
    host.comeBack();
    host.meet();
    host.send(frameOf(identityReply("no")));
    std::string line = program.readLine();
    // Only if the host has stayed away for long enough.
    if (line.starts_with(R"({"event":"unreachable",)"))
        line = program.readLine();
    CHECK(line.starts_with(R"({"event":"refused",)"));
    CHECK(program.wait() == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "a signal ends the program also while it waits for an answer or for the host") {
    ScriptedHost host;
    Program identifying(argumentsFor(host, "identify"));
    host.meet();
    identifying.send(SIGINT);
    CHECK(identifying.wait() == 3);
    Program connecting(argumentsFor(host));
    host.meet();
    connecting.send(SIGTERM);
    CHECK(connecting.wait() == 0);
    host.leave();
    Program waiting(argumentsFor(host));
    CHECK(waiting.readLine().starts_with(R"({"event":"unreachable",)"));
    waiting.send(SIGHUP);
    CHECK(waiting.wait() == 0);
}

#ifndef TARQ_TEST_THREAD_SANITIZER // it keeps signals back from a program that waits in a write
TEST_CASE_FIXTURE(LibraryTest, "a second signal ends the program while nobody takes its output") {
    ScriptedHost host;
    Program program(argumentsFor(host));
    host.meet();
    host.send(frameOf(identityReply()));
    CHECK(program.readLine().starts_with(R"({"event":"connected",)"));
    const std::string notification = frameOf(bytesOf("07 01 00 00 22"));
    host.send(notification);
    const std::size_t lineLength = program.readLine().size() + 1;
    std::string flood;
    for (int count = 0; count < 1000; ++count)
        flood += notification;
    host.send(flood);
    program.waitUntilFull(lineLength);
    CHECK(program.waitSending(SIGINT) == -SIGINT);
}
#endif

TEST_CASE_FIXTURE(LibraryTest, "a program whose standard streams are closed does not write into the connection") {
    const std::vector<int> cases[] = {{STDOUT_FILENO}, {STDOUT_FILENO, STDERR_FILENO}, {0, 1, 2}};
    for (const std::vector<int>& closedStreams : cases) {
        for (const char* const command : {"identify", "connect"}) {
            CAPTURE(closedStreams.size());
            CAPTURE(command);
            ScriptedHost host;
            Program program(argumentsFor(host, command), closedStreams);
            host.meet();
            host.send(frameOf(identityReply()));
            CHECK(program.wait() == 5);
            CHECK(receiveText(*host.connection(), 1) == "");
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "events are seen while the program waits for what is typed") {
    ModuleHost host;
    Texts arguments = argumentsFor(host, "debug");
    arguments.insert(arguments.end(), {"--module", "world"});
    Program program(arguments);
    host.meetTool();
    CHECK(program.readLine().starts_with(R"({"event":"connected",)"));
    CHECK(program.readLine().starts_with(R"({"event":"attached",)"));
    host.say(World::hold(1, "2"));
    CHECK(program.readLine().starts_with(R"({"event":"hold",)"));
    program.type("contin");
    host.say(World::hold(2, "2"));
    CHECK(program.readLine().starts_with(R"({"event":"hold",)"));
    program.type("ue\nquit\n");
    host.catchUp();
    host.expect(Tarq::Tool::Continue());
    host.catchUp();
    CHECK(program.readLine().starts_with(R"({"event":"done",)"));
    CHECK(program.wait() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a connection is looked after while nothing is sent") {
    const ScriptedHost host;
    const SocketOwner socket(new (globalHeap()) TCPSocket);
    System::tryConnect(socket->getHandle(), host.getAddress());
    int isKept = 0;
    socklen_t size = sizeof(isKept);
    REQUIRE(getsockopt(static_cast<int>(socket->getHandle()), SOL_SOCKET, SO_KEEPALIVE, &isKept, &size) == 0);
    CHECK(isKept == 1);
}
