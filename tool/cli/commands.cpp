#include "tool/cli/commands.h"

#include "tool/cli/eventline.h"
#include "tool/cli/exitcode.h"

namespace Tarq::Tool {

using namespace Common;

namespace {

/// How soon the program notices that it is to stop: a signal does not end the wait for the network.
constexpr int32 cStepMicroseconds = 100000;

/// Prints one line, or none for a person when there is no success: what the host has answered. What it says beyond that
/// is not asked for, and comes or does not as the packets are cut.
class AnswerPrinter : public EventPrinter {
public:
    AnswerPrinter(const Face& face, const SessionOptions& options, bool isJson)
        : EventPrinter(face, options, isJson), mSession(options, *this) {}

    Session& getSession() noexcept { return mSession; }

    void onAccepted(const IdentityReply& reply) override {
        mSession.stop();
        EventPrinter::onAccepted(reply);
    }
    void onBadMessage(const String&) override {}
    void onUnanswered(uint32, Ticket) override {}
    void onOtherMessage(uint32, uint64) override {}

private:
    Session mSession;
};

} // namespace

int identify(const Face& face, SessionOptions options, bool isJson) {
    options.reconnects = false;
    AnswerPrinter printer(face, options, isJson);
    Session& session = printer.getSession();
    session.start();
    while (!face.isStopWanted() && session.step(cStepMicroseconds)) {
    }
    if (session.getState() == SESSION_CONNECTING)
        face.tell(printer.getHost() + ": interrupted before there was a connection");
    else if (session.getState() == SESSION_IDENTIFYING)
        face.tell(printer.getHost() + ": interrupted before the host has answered");
    else if (!printer.getReason().empty())
        face.tell(printer.getReason());
    return printer.getExitCode();
}

int stayConnected(const Face& face, const SessionOptions& options, bool isJson) {
    EventPrinter printer(face, options, isJson);
    Session session(options, printer);
    session.start();
    // Who reads the events may have gone.
    while (!face.isStopWanted() && face.out.good()) {
        if (!session.step(cStepMicroseconds)) {
            face.tell(printer.getReason());
            return printer.getExitCode();
        }
    }
    return EXIT_FINE;
}

} // namespace Tarq::Tool
