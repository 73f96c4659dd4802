#include "tool/cli/debugsession.h"

#include "tool/cli/commandactions.h"
#include "tool/cli/debugcommands.h"
#include "tool/cli/words.h"

#include <algorithm>
#include <functional>
#include <set>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// So much of a command that it is known again: no more than this many characters.
std::string briefly(std::string_view command) {
    constexpr std::size_t cMostCharacters = 80;
    constexpr std::size_t cMostBytes = 4 * cMostCharacters; // of what is no UTF-8
    std::size_t count = 0;
    std::size_t end = 0;
    while (end < command.size()) {
        const bool isBegin = (static_cast<unsigned char>(command[end]) & 0xC0) != 0x80;
        if ((isBegin && ++count > cMostCharacters) || end == cMostBytes)
            return std::string(command.substr(0, end)) + "...";
        ++end;
    }
    return std::string(command);
}

/// Commands of a session, one after the other, and what has become of them.
class Run {
public:
    /// `name` is that of the command which the whole is.
    Run(const Face& face, const DebugOptions& options, std::string_view name)
        : mFace(face), mDebugger(face, options), mName(name) {}

    Debugger& getDebugger() noexcept { return mDebugger; }
    /// That of the first failure; a file that was withdrawn is one, whatever the commands make of it.
    int getExitCode() const noexcept {
        const bool isWithdrawn = mExitCode == EXIT_FINE && mDebugger.countWithdrawn() != 0;
        return isWithdrawn ? static_cast<int>(EXIT_INTERNAL) : mExitCode;
    }
    bool isConnected() { return mDebugger.getClient().getSession().getState() == SESSION_CONNECTED; }

    /// Returns whether all went well. What fails is told, behind the title, if there is one; the first failure is the
    /// exit code.
    bool attempt(const std::string& name, const std::string& title, const std::function<void()>& action) {
        try {
            action();
            return true;
        } catch (const CommandFailure& failure) {
            mExitCode = mExitCode == EXIT_FINE ? failure.getExitCode() : mExitCode;
            mFace.tellShown((title.empty() ? "" : title + ": ") + failure.what());
            for (const std::string& line : failure.getDetail())
                mFace.err << shown(line) << std::endl;
            // The end of the connection is an event of its own.
            if (isConnected())
                mDebugger.answerFailure(name, failure);
            return false;
        }
    }
    bool connect() {
        return attempt(mName, "", [this] { mDebugger.connect(); });
    }
    bool begin(bool isTakingOver) {
        return connect() && attempt(mName, "", [this, isTakingOver] { mDebugger.attach(isTakingOver); });
    }
    bool command(const std::string& line) {
        const std::string name = briefly(Words(line).take());
        return attempt(name, briefly(line), [this, &line] { runCommand(mDebugger, line); });
    }
    /// The connection has ended while nothing was asked.
    void tellEnd() {
        mExitCode = mExitCode == EXIT_FINE ? mDebugger.getExitCode() : mExitCode;
        mFace.tell(mDebugger.getReason());
    }
    /// The module is not this tool's any more.
    void tellLoss() {
        mExitCode = EXIT_LOST;
        mFace.tellShown(mDebugger.getLoss());
    }
    bool goesOn() { return isConnected() && !mDebugger.hasQuit() && !mFace.isStopWanted() && mFace.out.good(); }

private:
    Face mFace;
    Debugger mDebugger;
    std::string mName;
    int mExitCode = EXIT_FINE;
};

/// Those that have an id of their own keep it; the others get what is left.
std::vector<ServedFile> openAll(const ServeOptions& serving) {
    std::vector<ServedFile> files;
    std::set<uint32> taken;
    for (const std::string& text : serving.files) {
        const ServedFile& file = files.emplace_back(openServed(text));
        if (file.hasID() && !taken.insert(file.getID()).second)
            throw CommandFailure(EXIT_USAGE,
                                 printable(text) + ": another file has the id " + std::to_string(file.getID()));
    }
    uint32 next = serving.firstID;
    for (ServedFile& file : files) {
        if (file.hasID())
            continue;
        while (!taken.insert(next).second)
            ++next;
        file.setID(next);
    }
    return files;
}

/// Lines that come while the session waits for them.
class Typed {
public:
    /// Nobody is prompted who reads JSON.
    Typed(const Face& face, bool isJson)
        : mFace(face), mInput(face.input), mIsTerminal(System::isTerminal(mInput.getHandle())),
          mIsPrompting(mIsTerminal && !isJson) {}

    bool isTerminal() const noexcept { return mIsTerminal; }
    /// Null at the end, or when the session is over.
    std::optional<std::string> next(Run& run) {
        if (mIsPrompting)
            mFace.prompt();
        std::optional<std::string> line = mInput.take();
        while (!line && !mInput.hasEnded() && run.goesOn()) {
            if (!run.getDebugger().idle(mInput, mIsPrompting))
                run.tellEnd();
            line = mInput.take();
        }
        return line;
    }

private:
    Face mFace;
    LineInput mInput;
    bool mIsTerminal;
    bool mIsPrompting;
};

} // namespace

int runOnce(const Face& face, DebugOptions options, const std::string& line) {
    options.isQuiet = true;
    const std::string name(Words(line).take());
    Run run(face, options, name);
    if (run.begin(options.isTakingOver))
        run.attempt(name, "", [&] { runCommand(run.getDebugger(), line); });
    return run.getExitCode();
}

int runCall(const Face& face, DebugOptions options, const TypedCall& call) {
    options.isQuiet = true;
    Run run(face, options, "call");
    if (run.connect())
        run.attempt("call", "", [&] { callFunction(run.getDebugger(), call, options.callSeconds); });
    return run.getExitCode();
}

int runServe(const Face& face, DebugOptions options, const ServeOptions& serving) {
    std::vector<ServedFile> files = openAll(serving);
    options.showsProgress = true;
    Run run(face, options, "serve");
    Debugger& debugger = run.getDebugger();
    // Of empty files alone nobody can tell when the host has read them.
    const bool isEndless = serving.keepsServing || std::all_of(files.begin(), files.end(), [](const ServedFile& file) {
                               return file.getLength() == 0;
                           });
    bool isFine = run.connect();
    for (ServedFile& file : files)
        isFine = isFine && run.attempt("serve", std::string(file.getPath()), [&] { debugger.serve(std::move(file)); });
    while (isFine && run.goesOn() && debugger.isServing() && (isEndless || !debugger.isAllRead())) {
        if (!debugger.idle())
            run.tellEnd();
    }
    debugger.endServing();
    return run.getExitCode();
}

int followEvents(const Face& face, const DebugOptions& options) {
    Run run(face, options, "events");
    if (!run.begin(options.isTakingOver))
        return run.getExitCode();
    while (run.goesOn()) {
        if (!run.getDebugger().getLoss().empty()) {
            run.tellLoss();
            break;
        }
        if (!run.getDebugger().idle())
            run.tellEnd();
    }
    return run.getExitCode();
}

int runSession(const Face& face, const DebugOptions& options, const Script& script) {
    Run run(face, options, "debug");
    Typed typed(face, options.isJson);
    const bool isScript = !script.lines.empty();
    const bool keepsGoing = script.keepsGoing || (!isScript && typed.isTerminal());
    bool isFine = run.begin(options.isTakingOver);
    const auto command = [&](const std::string& line) {
        if (script.isShown && !options.isJson)
            face.print(cPrompt + shown(line));
        isFine = run.command(line);
    };
    for (auto line = script.lines.begin(); line != script.lines.end() && (isFine || keepsGoing) && run.goesOn(); ++line)
        command(*line);
    while (!isScript && (isFine || keepsGoing) && run.goesOn()) {
        const std::optional<std::string> line = typed.next(run);
        if (!line)
            break;
        command(*line);
    }
    if (isScript || !typed.isTerminal())
        return run.getExitCode();
    // A person has seen what failed, but for the end.
    return run.isConnected() ? static_cast<int>(EXIT_FINE) : run.getDebugger().getExitCode();
}

} // namespace Tarq::Tool
