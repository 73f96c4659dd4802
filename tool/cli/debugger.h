#pragma once

#include "tool/cli/commandfailure.h"
#include "tool/cli/eventline.h"
#include "tool/cli/exitcode.h"
#include "tool/cli/lineinput.h"
#include "tool/client/moduleclient.h"
#include "tool/client/servedfile.h"

#include <map>
#include <memory>
#include <optional>

namespace Tarq::Tool {

struct DebugOptions {
    SessionOptions session;
    std::string moduleName;
    Common::uint32 moduleVersion = 1;
    bool isTakingOver = false;
    bool isJson = false;
    bool isQuiet = false;                  ///< prints what is asked for, and no events
    bool showsProgress = false;            ///< of files that the host reads
    std::optional<double> progressSeconds; ///< how often; without, as often as suits who reads it
    double callSeconds = 10;               ///< for a function of the host to return
};

/// One stay with a module of a host, or with none: asks and waits for the answers, and prints the events that come
/// meanwhile.
///
/// What fails throws `CommandFailure`.
class Debugger : public EventPrinter {
public:
    Debugger(const Face& face, const DebugOptions& options);

    /// Until the host has accepted the tool.
    void connect();
    /// Until all is known that the module has.
    void attach(bool isTakingOver);

    const ModuleModel& getModel() const noexcept { return mClient.getModel(); }
    ModuleClient& getClient() noexcept { return mClient; }
    Common::uint32 getModuleID() const noexcept { return getModel().getModuleID(); }
    /// Fails when there is no module: it was taken over, or has gone.
    void requireModule() const;
    /// How the module was lost, printable; empty while there is none that was.
    const std::string& getLoss() const noexcept { return mLoss; }
    /// A hold of the tool before this one is not told.
    bool mayHold() const noexcept { return mClient.isHeld() || mHasTakenOver; }

    /// Asks, and waits for the answer. Fails when the host refuses with another code than the one given.
    template <class Request>
    typename Request::Reply ask(const Request& request, int harmlessCode = 0) {
        typename Request::Reply reply = askAnyway(request);
        if (reply.code != 0 && reply.code != harmlessCode)
            refuse(reply.code, reply.text);
        return reply;
    }
    /// Has the host call a function, prints what it returns, and returns that. Null when a thread is held meanwhile:
    /// the call may wait for it, and the answer is printed when it comes. Fails when no answer comes within the time.
    std::optional<CallReply> call(const Call& request, double seconds);
    double getCallSeconds() const noexcept { return mOptions.callSeconds; }
    /// Announces the file to the host, which reads it as a stream from then on, whatever else is done. Fails when the
    /// host refuses.
    void serve(ServedFile opened);
    /// One that no file of this tool has.
    Common::uint32 getFreeStreamID() const;
    /// Ends that. Fails when there is no such stream.
    void withdraw(Common::uint32 id);
    /// Ends all of it, and tells what was read.
    void endServing();
    bool isServing() const noexcept { return !mFiles.empty(); }
    /// Whether the host has all bytes of all files.
    bool isAllRead() const noexcept;
    /// How many files could not be served any more.
    unsigned int countWithdrawn() const noexcept { return mNumWithdrawn; }
    /// Waits until the host is past all that was sent.
    void catchUp();
    /// Fails when something was not sent.
    void requireSent(bool isSent) const;
    /// A hold is let go, if that was sent: waits until all is told that was before.
    void leaveHold(bool isSent);

    /// Prints an answer: for a person the lines.
    void answer(const char* event, const Json& details, const std::vector<std::string>& lines) const;
    /// For JSON, that a command has failed.
    void answerFailure(const std::string& command, const CommandFailure& failure) const;
    /// Waits until an event of that kind has come since the last such wait; of holds, until a thread is held. Fails
    /// when there is no such kind; when it does not come within the time (negative: without limit), or cannot come,
    /// without the module.
    void waitFor(const std::string& kind, double seconds);
    /// Waits for a moment, or until there is input. False when there is no connection any more.
    bool idle(LineInput& input, bool isPrompting);
    bool idle();

    void showRegistrations(bool areShown) noexcept { mShowsRegistrations = areShown; }
    void quit() noexcept { mHasQuit = true; }
    bool hasQuit() const noexcept { return mHasQuit; }

protected:
    void print(const char* event, const Json& details, const std::string& text) override;

private:
    struct Served {
        ServedFile file;
        Common::uint64 toldSent = 0; ///< what was sent when it was told what was read
        bool isTold = false;
    };

    void onAttached() override;
    void onTakenOver(const ModuleDisconnectForced& message) override;
    void onShutdown() override;
    void onRegistered(ElementID element) override;
    void onRemoved(ElementID element) override;
    void onHold(const BreakpointState& state) override;
    void onCallReply(const CallReply& reply, const CallBook::Match& match) override;

    void onDataRequest(const StreamDataRequest& request) override;
    /// Fails when there is nothing to be read, and when a file was withdrawn since it was last asked.
    bool hasReadAll();
    void deregister(Common::uint32 id);
    void tellReading(Served& served);
    void showProgress(const Served& served);
    void clearProgress() const;

    template <class Request>
    typename Request::Reply askAnyway(const Request& request) {
        using Reply = typename Request::Reply;
        struct State {
            bool isDone = false;
            std::optional<Reply> reply;
            std::string problem;
        };
        // The answer may come when nobody waits for it any more.
        const auto state = std::make_shared<State>();
        mClient.ask(request, [this, state](const Answer<Reply>& answer) {
            // What has come behind the answer is told behind it.
            mClient.getSession().yield();
            state->isDone = true;
            state->problem = toStd(answer.problem);
            if (answer.reply)
                state->reply = *answer.reply;
        });
        while (!state->isDone)
            stepOnce();
        if (!state->reply)
            failWithout(state->problem);
        return *std::move(state->reply);
    }
    [[noreturn]] static void refuse(int code, const Common::String& text);
    [[noreturn]] void failWithout(const std::string& problem) const;
    [[noreturn]] void failUnconnected() const;
    void stepOnce();
    void stepFor(double secondsLeft);
    /// With what all lines about the module have in front.
    Json withModule(const Json& details) const;
    void printEvent(const char* event, const Json& details, const std::vector<std::string>& lines);

    DebugOptions mOptions;
    std::string mModule; ///< "world:1"; empty without one
    ModuleClient mClient;
    std::map<std::string, unsigned int> mUnseen; ///< events by kind
    std::string mLoss;
    std::optional<CallNumber> mAwaited; ///< the call that a command waits for
    std::optional<CallReply> mReturned; ///< its answer
    unsigned int mNumHolds = 0;
    std::map<Common::uint32, Served> mFiles; ///< by the ids that the host knows
    unsigned int mNumWithdrawn = 0;
    unsigned int mNumDeregistering = 0; ///< that the host has not answered yet
    unsigned int mNumBadRequests = 0;
    Common::uint64 mLastProgress = 0;        ///< in microseconds
    mutable std::size_t mProgressLength = 0; ///< of a line that a terminal shows and that is to go
    bool mHasTakenOver = false;
    bool mShowsRegistrations = true;
    bool mHasQuit = false;
    bool mIsPrompting = false; ///< and the prompt is to be written anew behind an event
};

} // namespace Tarq::Tool
