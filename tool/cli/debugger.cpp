#include "tool/cli/debugger.h"

#include "tool/client/clock.h"
#include "tool/client/quoting.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// How soon the program notices that it is to stop: a signal does not end the wait for the network.
constexpr int32 cStepMicroseconds = 100000;

constexpr const char* cKinds[] = {"hold", "registration", "removal", "takeover", "shutdown", "answer", "read"};

SessionOptions withoutReturn(SessionOptions options) {
    // A host has forgotten by then what the tool has told it.
    options.reconnects = false;
    return options;
}

} // namespace

Debugger::Debugger(const Face& face, const DebugOptions& options)
    : EventPrinter(face, withoutReturn(options.session), options.isJson), mOptions(options),
      mModule(options.moduleName.empty() ? "" : options.moduleName + ':' + std::to_string(options.moduleVersion)),
      mClient(withoutReturn(options.session), *this) {}

void Debugger::connect() {
    mClient.getSession().start();
    while (mClient.getSession().getState() != SESSION_CONNECTED)
        stepOnce();
}

void Debugger::attach(bool isTakingOver) {
    ConnectModule request;
    request.moduleName = String(std::string_view(mOptions.moduleName));
    request.moduleVersion = mOptions.moduleVersion;
    request.forceConnect = isTakingOver;
    struct State {
        bool isDone = false;
        int code = 0;
        String text;
        std::string problem;
    };
    const auto state = std::make_shared<State>();
    mHasTakenOver = isTakingOver;
    mClient.attach(request, [this, state](const Answer<ConnectModuleReply>& answer) {
        mClient.getSession().yield();
        state->isDone = true;
        state->problem = toStd(answer.problem);
        if (answer.reply) {
            state->code = answer.reply->code;
            state->text = answer.reply->text;
        }
    });
    while (!state->isDone)
        stepOnce();
    if (!state->problem.empty())
        failWithout(state->problem);
    if (state->code != 0)
        refuse(state->code, state->text);
}

void Debugger::requireModule() const {
    if (!mClient.isAttached())
        throw CommandFailure(EXIT_LOST, "the module " + mModule + " is not connected; \"takeover\" takes it");
}

void Debugger::catchUp() {
    GetHistory request;
    request.moduleID = getModuleID();
    request.instanceID = cNoID;
    askAnyway(request);
}

void Debugger::requireSent(bool isSent) const {
    if (!isSent)
        failUnconnected();
}

void Debugger::leaveHold(bool isSent) {
    requireSent(isSent);
    mHasTakenOver = false;
    while (mClient.isCatchingUp())
        stepOnce();
}

void Debugger::refuse(int code, const String& text) {
    throw CommandFailure(
        EXIT_REFUSED, text.empty() ? "refused with code " + std::to_string(code) : "refused: " + printable(text.view()),
        code);
}

void Debugger::failWithout(const std::string& problem) const {
    const bool isOver = mClient.isAttached() || getReason().empty();
    throw CommandFailure(isOver ? EXIT_LOST : getExitCode(), isOver ? problem : getReason());
}

void Debugger::stepOnce() {
    stepFor(1);
}

/// Waits for a moment, but no longer than that.
void Debugger::stepFor(double secondsLeft) {
    if (getFace().isStopWanted())
        throw CommandFailure(EXIT_LOST, getHost() + ": interrupted before the host has answered");
    const double step = std::min<double>(secondsLeft * 1e6 + 1, cStepMicroseconds);
    if (!mClient.getSession().step(static_cast<int32>(step)))
        failUnconnected();
}

void Debugger::failUnconnected() const {
    throw CommandFailure(getExitCode(), getReason().empty() ? "there is no connection" : getReason());
}

void Debugger::waitFor(const std::string& kind, double seconds) {
    if (std::find(std::begin(cKinds), std::end(cKinds), kind) == std::end(cKinds))
        throw CommandFailure(EXIT_USAGE,
                             "there are no events " + quote(kind) +
                                 "; there are hold, registration, removal, takeover, shutdown, answer, read");
    const uint64 begin = getMicroseconds();
    const auto hasCome = [&] {
        if (kind == "answer")
            return mClient.getCalls().countOpen() == 0;
        if (kind == "read")
            return hasReadAll();
        return kind == "hold" ? mClient.isHeld() : mUnseen[kind] != 0;
    };
    while (!hasCome()) {
        if (!mClient.isAttached() && kind != "answer" && kind != "read")
            throw CommandFailure(EXIT_LOST, "no " + kind + " can come: " + mLoss);
        int32 step = cStepMicroseconds;
        if (seconds >= 0) {
            const double left = seconds * 1e6 - static_cast<double>(getMicroseconds() - begin);
            if (left <= 0)
                throw CommandFailure(EXIT_NOT_COME, "no " + kind + " has come in time");
            step = static_cast<int32>(std::min<double>(left + 1, step));
        }
        if (getFace().isStopWanted())
            throw CommandFailure(EXIT_NOT_COME, "interrupted before a " + kind + " has come");
        if (!mClient.getSession().step(step))
            failUnconnected();
    }
    mUnseen[kind] = 0;
}

bool Debugger::idle(LineInput& input, bool isPrompting) {
    mIsPrompting = isPrompting;
    Session::Wake wake{input.getHandle()};
    const bool goesOn = mClient.getSession().step(cStepMicroseconds, wake);
    mIsPrompting = false;
    if (wake.isReady)
        input.receive();
    return goesOn;
}

bool Debugger::idle() {
    return mClient.getSession().step(cStepMicroseconds);
}

Json Debugger::withModule(const Json& details) const {
    Json object = {{"address", getHost()}};
    if (!mModule.empty())
        object["module"] = mModule;
    object.update(details);
    return object;
}

void Debugger::answer(const char* event, const Json& details, const std::vector<std::string>& lines) const {
    clearProgress();
    if (isJson()) {
        Json object = {{"event", event}};
        object.update(withModule(details));
        getFace().print(dumpLine(object));
        return;
    }
    for (const std::string& line : lines)
        getFace().print(shown(line));
}

void Debugger::answerFailure(const std::string& command, const CommandFailure& failure) const {
    if (isJson())
        answer("failed",
               {{"command", command},
                {"code", failure.getCode()},
                {"exitCode", failure.getExitCode()},
                {"text", failure.what()}},
               {});
}

/// For a one-line answer nobody has asked for events. What ends the connection is told in any case.
void Debugger::print(const char* event, const Json& details, const std::string& text) {
    constexpr std::string_view cEnds[] = {"refused", "unreachable", "lost", "protocolError"};
    if (mOptions.isQuiet && std::find(std::begin(cEnds), std::end(cEnds), event) == std::end(cEnds))
        return;
    clearProgress();
    if (mIsPrompting)
        getFace().out << '\r';
    EventPrinter::print(event, details, text);
    if (mIsPrompting)
        getFace().prompt();
}

void Debugger::printEvent(const char* event, const Json& details, const std::vector<std::string>& lines) {
    if (mOptions.isQuiet)
        return;
    if (mIsPrompting)
        getFace().out << '\r';
    answer(event, details, lines);
    if (mIsPrompting)
        getFace().prompt();
}

} // namespace Tarq::Tool
