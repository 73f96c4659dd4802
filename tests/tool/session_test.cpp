#include "tool/client/session.h"

#include "tests/tool/scriptedhost.h"

#include <functional>
#include <memory>

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

/// What has happened in a session, in words.
class Recorder : public SessionListener {
public:
    void onConnecting() override { add("connecting"); }
    void onAccepted(const IdentityReply&) override { add("accepted"); }
    void onRefused(const IdentityReply& reply) override {
        add("refused " + std::to_string(reply.errorFlag) + " " + reply.text.c_str());
    }
    void onFailure(const Failure& failure) override {
        constexpr const char* cKinds[] = {"unreachable", "lost", "protocol"};
        add(cKinds[failure.kind] + std::string(": ") + failure.text.c_str());
    }
    void onUnanswered(uint32 replyID, Ticket) override {
        add(std::string("unanswered: ") + nameOfMessage(replyID).c_str());
    }
    void onPause(uint32 milliseconds) override { add("pause " + std::to_string(milliseconds)); }
    void onBadMessage(const Tarq::Common::String& problem) override { add(std::string("bad: ") + problem.c_str()); }
    void onOtherMessage(uint32 id, uint64 numBytes) override {
        add(std::string(nameOfMessage(id).c_str()) + " of " + std::to_string(numBytes));
    }

    Texts events;
    /// Called for each event, behind its recording.
    std::function<void()> react = [] {};

private:
    void add(const std::string& event) {
        events.push_back(event);
        react();
    }
};

const std::string cAccepting = frameOf(identityReply());

bool hasNothing(TCPSocket& connection) {
    char byte = 0;
    return connection.tryReceive(&byte, 1, 0) == TCPSocket::NOT_YET;
}

struct SessionTest : LibraryTest {
    SessionTest() {
        options.identity.computerName = "box";
        options.identity.userName = "john";
        options.reconnects = false;
        options.firstPauseMilliseconds = 1;
        options.longestPauseMilliseconds = 4;
        options.steadyMilliseconds = 0;
        useHost();
    }

    void useHost() { options.address = host.getAddress(); }
    void startAccepted() {
        start();
        meet();
        host.send(cAccepting);
        stepToState(SESSION_CONNECTED);
    }
    Session& start() {
        recorder.events.clear();
        session = std::make_unique<Session>(options, recorder);
        session->start();
        return *session;
    }
    /// Lets the session go on until something has happened that often.
    void stepUntil(std::size_t count) {
        while (recorder.events.size() < count && session->step(-1)) {
        }
        REQUIRE(recorder.events.size() >= count);
    }
    void stepToState(SessionState state) {
        while (session->getState() != state)
            REQUIRE(session->step(-1));
    }
    /// Until the identity is on its way.
    TCPSocket& meet() {
        stepToState(SESSION_IDENTIFYING);
        session->step(-1);
        return host.meet();
    }
    /// What becomes of a session whose host answers with these bytes, and hangs up.
    std::string fateOf(const std::string& answer) {
        start();
        meet();
        if (!answer.empty())
            host.send(answer);
        host.hangUp();
        while (session->step(-1)) {
        }
        return recorder.events.back();
    }

    ScriptedHost host;
    SessionOptions options;
    Recorder recorder;
    std::unique_ptr<Session> session;
};

} // namespace

TEST_CASE_FIXTURE(SessionTest, "a session tells who the tool is and is accepted") {
    CHECK(start().getState() == SESSION_CONNECTING);
    CHECK_FALSE(session->send(Identity()));
    TCPSocket& connection = meet();
    CHECK(session->getState() == SESSION_IDENTIFYING);
    CHECK(hasNothing(connection));
    host.send(cAccepting);
    stepUntil(2);
    CHECK(session->getState() == SESSION_CONNECTED);
    CHECK(recorder.events == Texts{"connecting", "accepted"});
    CHECK(session->step(0));

    // A request and its length arrive together; the next one waits for the reply.
    Identity large = options.identity;
    large.computerName = Tarq::Common::String(2000, 'c');
    CHECK(session->send(options.identity));
    CHECK(session->send(large));
    CHECK(session->send(options.identity));
    session->step(-1);
    waitReadable(connection);
    CHECK(receiveText(connection, cIdentityFrame.size()) == cIdentityFrame);
    CHECK(session->step(0));
    CHECK(hasNothing(connection));
    host.send(cAccepting);
    stepUntil(3);
    CHECK(recorder.events.back() == "bad: an identity reply that nobody asked for");
    session->step(-1);
    CHECK(receiveText(connection, 2028).size() == 2028);

    session->stop();
    CHECK(session->getState() == SESSION_DISCONNECTED);
    CHECK_FALSE(session->step(-1));
    CHECK(receiveText(connection, 1) == "");
    CHECK(recorder.events.size() == 3);
}

TEST_CASE_FIXTURE(SessionTest, "a refusal ends the session, also one that would come back") {
    options.reconnects = true;
    CHECK(fateOf(frameOf(identityReply("wrong version"))) == "refused 1 wrong version");
    CHECK(recorder.events.size() == 2);
    CHECK(session->getState() == SESSION_REFUSED);
    CHECK_FALSE(session->step(-1));
}

TEST_CASE_FIXTURE(SessionTest, "a reply that is cut off anywhere fails") {
    const std::string text = identityReply("no");
    const std::string whole = frameOf(text);
    CHECK(fateOf("") == "lost: the host has closed the connection");
    for (std::size_t length = 1; length < whole.size(); ++length) {
        CAPTURE(length);
        CHECK(fateOf(whole.substr(0, length)) == "lost: the host has closed the connection inside a message");
    }
    for (std::size_t length = 5; length < text.size(); ++length) {
        CAPTURE(length);
        const std::string field = length < 7 ? "error flag" : "text";
        const bool isMissing = length == 5 || length == 7;
        CHECK(fateOf(frameOf(text.substr(0, length))) ==
              "protocol: identity reply: the field \"" + field + (isMissing ? "\" is missing" : "\" is cut off"));
    }
}

TEST_CASE_FIXTURE(SessionTest, "what no host sends ends the session") {
    CHECK(fateOf("HTTP/1.1 400 Bad Request\r\n\r\n") ==
          "protocol: a message of 1213486160 bytes is announced, which is too long: is this a host?");
    CHECK(fateOf(std::string(4, '\xff') + patternOf(100000)) ==
          "protocol: a message of 4294967295 bytes is announced, which is too long: is this a host?");
    options.limits.maxMessageLength = 50;
    CHECK(fateOf(cAccepting + frameOf(std::string(51, '\x07'))) ==
          "protocol: a message of 51 bytes is announced, which is too long: is this a host?");
    CHECK(recorder.events[1] == "accepted");
}

TEST_CASE_FIXTURE(SessionTest, "messages come one at a time, whatever they are and however they arrive") {
    const std::string bytes = frameOf("") + frameOf(bytesOf("05 01")) + frameOf(bytesOf("07 01 00 00")) + cAccepting +
                              frameOf(bytesOf("07 01 00 00 22 07 00 00 00 01")) +
                              frameOf(bytesOf("07 00 00 00 2a") + std::string(40000, 'x')) +
                              frameOf(bytesOf("07 01 00 00 0f"));
    const Texts events = {"connecting",
                          "bad: the field \"message type\" is missing",
                          "bad: the field \"message type\" is STREAM_TYPE_UINT08 instead of STREAM_TYPE_UINT32",
                          "bad: the field \"message type\" is cut off",
                          "accepted",
                          "module shutdown of 10",
                          "message 0x0000002A of 40005",
                          "bad: identity reply: the field \"error flag\" is missing"};
    start();
    meet();
    host.send(bytes);
    stepUntil(events.size());
    CHECK(recorder.events == events);
    CHECK(session->getState() == SESSION_CONNECTED);

    start();
    meet();
    // The long one would take a while.
    for (const char byte : cAccepting + frameOf(bytesOf("07 01 00 00 22 07 00 00 00 01"))) {
        host.send(std::string(1, byte));
        session->step(-1);
    }
    CHECK(recorder.events == Texts{"connecting", "accepted", "module shutdown of 10"});
}

TEST_CASE_FIXTURE(SessionTest, "a listener may stop the session, start it anew, and throw") {
    const std::string notification = frameOf(bytesOf("07 01 00 00 22"));
    const auto reactAt = [this](std::size_t count, std::function<void()> reaction) {
        recorder.react = [this, count, reaction = std::move(reaction)] {
            if (recorder.events.size() == count)
                reaction();
        };
    };
    reactAt(2, [this] { session->stop(); });
    start();
    meet();
    host.send(cAccepting + notification);
    CHECK_FALSE(session->step(-1));
    CHECK(recorder.events == Texts{"connecting", "accepted"});

    reactAt(2, [this] { session->start(); });
    start();
    meet();
    host.send(cAccepting + notification);
    CHECK(session->step(-1));
    CHECK(recorder.events == Texts{"connecting", "accepted", "connecting"});
    CHECK(session->getState() == SESSION_CONNECTING);
    host.accept();

    reactAt(2, [] { throw 1; });
    start();
    meet();
    host.send(cAccepting + notification);
    CHECK_THROWS_AS(session->step(-1), int);
    CHECK(session->step(-1));
    CHECK(recorder.events == Texts{"connecting", "accepted", "module shutdown of 5"});
}

TEST_CASE_FIXTURE(SessionTest, "a session comes back when the host does") {
    options.reconnects = true;
    start();
    meet();
    host.send(cAccepting);
    stepUntil(2);
    host.leave();
    stepUntil(4);
    CHECK(recorder.events[2] == "lost: the host has closed the connection");
    CHECK(recorder.events[3] == "pause 1");
    CHECK(session->getState() == SESSION_WAITING);

    // Three attempts, with pauses that grow up to their limit.
    stepUntil(13);
    const Texts attempts(recorder.events.begin() + 4, recorder.events.begin() + 13);
    const std::string failure = "unreachable: nobody listens there";
    CHECK(attempts ==
          Texts{"connecting", failure, "pause 2", "connecting", failure, "pause 4", "connecting", failure, "pause 4"});

    host.comeBack();
    stepToState(SESSION_CONNECTING);
    meet();
    host.send(cAccepting);
    stepToState(SESSION_CONNECTED);
    host.hangUp();
    stepToState(SESSION_WAITING);
    CHECK(recorder.events.back() == "pause 1");
}

TEST_CASE_FIXTURE(SessionTest, "a host that lets a tool in and hangs up is asked less and less often") {
    options.reconnects = true;
    options.steadyMilliseconds = 3600000;
    start();
    for (const char* const pause : {"pause 1", "pause 2", "pause 4", "pause 4"}) {
        stepToState(SESSION_CONNECTING);
        meet();
        host.send(cAccepting);
        stepToState(SESSION_CONNECTED);
        host.hangUp();
        stepToState(SESSION_WAITING);
        CHECK(recorder.events.back() == pause);
    }
}

TEST_CASE_FIXTURE(SessionTest, "a request that is never answered holds the others back for a while only") {
    options.answerMilliseconds = 20;
    startAccepted();
    Identity large = options.identity;
    large.computerName = Tarq::Common::String(2000, 'c');
    CHECK(session->send(options.identity));
    CHECK(session->send(large));
    stepUntil(3);
    CHECK(recorder.events.back() == "unanswered: identity reply");
    stepUntil(4);
    CHECK(recorder.events.back() == "unanswered: identity reply");
    CHECK(session->getState() == SESSION_CONNECTED);
    const std::size_t numBytes = cIdentityFrame.size() + 2028;
    CHECK(receiveText(*host.connection(), numBytes).size() == numBytes);
    CHECK(hasNothing(*host.connection()));
}

TEST_CASE_FIXTURE(SessionTest, "messages that nobody answers go on when the host has dealt with those before") {
    startAccepted();
    constexpr std::size_t cCount = 500;
    for (std::size_t count = 0; count < cCount; ++count)
        CHECK(session->send(Continue()) != cNoTicket);
    const std::string signal = frameOf(bytesOf("07 01 00 00 1f"));
    const std::string question = frameOf(bytesOf("07 01 00 00 0c 07 ff ff ff ff 07 ff ff ff ff"));
    const std::string answer = frameOf(bytesOf("07 01 00 00 0d 07 ff ff ff ff 07 ff ff ff ff 05 01 0b 00 00 00 00 07 "
                                               "00 00 00 00 07 00 00 00 00"));
    std::size_t numSignals = 0;
    std::string received;
    while (numSignals < cCount) {
        REQUIRE(session->step(1000));
        char byte = 0;
        while (host.connection()->tryReceive(&byte, 1, 0) == 1)
            received += byte;
        CHECK(received.size() <= 1024);
        for (bool isWhole = true; isWhole;) {
            isWhole = received.starts_with(signal);
            numSignals += isWhole;
            if (isWhole)
                received.erase(0, signal.size());
            if (received.starts_with(question)) {
                received.erase(0, question.size());
                host.send(answer);
                isWhole = true;
            }
        }
    }
    CHECK(recorder.events == Texts{"connecting", "accepted"});
}

TEST_CASE_FIXTURE(SessionTest, "a host that always has something to tell hears something, too") {
    startAccepted();
    CHECK(session->send(Continue()) != cNoTicket);
    host.send(frameOf(bytesOf("07 01 00 00 22")));
    session->step(-1);
    CHECK(recorder.events.back() == "module shutdown of 5");
    CHECK_FALSE(hasNothing(*host.connection()));
}

TEST_CASE_FIXTURE(SessionTest, "a host that does not answer is given up") {
    options.timeoutMilliseconds = 20;
    start();
    host.accept();
    stepUntil(2);
    CHECK(recorder.events.back() == "lost: the host does not answer");
    CHECK_FALSE(session->step(-1));

    // One that closes at once may have left the identity unread.
    options.timeoutMilliseconds = 5000;
    start();
    host.accept();
    host.hangUp();
    stepUntil(2);
    CHECK(recorder.events.back().starts_with("lost: the host has "));
}

TEST_CASE_FIXTURE(SessionTest, "an attempt that nobody answers ends with the time that it has") {
    // The connections that the host does not accept fill its backlog; the system does not answer what comes then.
    const ScriptedHost busy(0);
    const SocketOwner waiting(new (globalHeap()) TCPSocket);
    REQUIRE(waiting->connect(busy.getAddress()));
    options.address = busy.getAddress();
    options.timeoutMilliseconds = 20;
    start();
    stepUntil(2);
    CHECK(recorder.events.back() == "unreachable: there is no answer");
}

TEST_CASE_FIXTURE(SessionTest, "a session gives back what it took when memory is exhausted") {
    const AssertionRecorder refusals;
    bool isDone = false;
    for (int64 count = 0; !isDone; ++count) {
        getMemory().failAfter(count);
        try {
            session.reset();
            start();
            stepToState(SESSION_IDENTIFYING);
            isDone = true;
        } catch (Tarq::Common::Exceptions::Exception* exception) {
            const Tarq::Common::Exceptions::Holder holder(exception);
        }
        getMemory().failNever();
    }
    CHECK(session->getState() == SESSION_IDENTIFYING);
}
