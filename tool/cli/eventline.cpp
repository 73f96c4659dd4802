#include "tool/cli/eventline.h"

#include "tool/cli/exitcode.h"
#include "tool/client/hostname.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// A host that fails in more ways than these is told of again.
constexpr std::size_t cMostTold = 8;

const char* titleOf(FailureKind kind) noexcept {
    switch (kind) {
    case FAILURE_UNREACHABLE:
        return ": no connection: ";
    case FAILURE_LOST:
        return ": connection lost: ";
    default:
        return ": protocol error: ";
    }
}

const char* eventOf(FailureKind kind) noexcept {
    switch (kind) {
    case FAILURE_UNREACHABLE:
        return "unreachable";
    case FAILURE_LOST:
        return "lost";
    default:
        return "protocolError";
    }
}

} // namespace

EventPrinter::EventPrinter(const Face& face, const SessionOptions& options, bool isJson)
    : mFace(face), mOptions(options), mHost(toStd(nameOfHost(options.address))), mIsJson(isJson),
      mExitCode(EXIT_NO_CONNECTION) {}

void EventPrinter::onAccepted(const IdentityReply&) {
    const Identity& identity = mOptions.identity;
    mExitCode = EXIT_FINE;
    mReason.clear();
    mTold.clear();
    const std::string computer = toStd(identity.computerName);
    const std::string user = toStd(identity.userName);
    print("connected", {{"computer", computer}, {"user", user}, {"protocolVersion", identity.protocolVersion}},
          "connected to " + mHost + " as " + user + " on " + computer + ", protocol version " +
              std::to_string(identity.protocolVersion));
}

void EventPrinter::onRefused(const IdentityReply& reply) {
    const std::string text = toStd(reply.text);
    mExitCode = EXIT_REFUSED;
    mReason = mHost + ": refused: " + (text.empty() ? "code " + std::to_string(reply.errorFlag) : text);
    print("refused", {{"code", reply.errorFlag}, {"text", text}}, "");
}

void EventPrinter::onFailure(const Failure& failure) {
    const std::string text = toStd(failure.text);
    mExitCode = failure.kind == FAILURE_UNREACHABLE ? EXIT_NO_CONNECTION : EXIT_LOST;
    mReason = mHost + titleOf(failure.kind) + text;
    if (std::find(mTold.begin(), mTold.end(), mReason) != mTold.end())
        return;
    if (mTold.size() == cMostTold)
        mTold.pop_front();
    mTold.push_back(mReason);
    const Json details = {{"text", text}, {"error", failure.socketError}, {"retry", mOptions.reconnects}};
    print(eventOf(failure.kind), details, mOptions.reconnects ? mReason + "; waiting for the host" : "");
}

void EventPrinter::onBadMessage(const String& problem) {
    print("badMessage", {{"text", toStd(problem)}}, mHost + ": bad message: " + toStd(problem));
}

void EventPrinter::onUnanswered(uint32 replyID, Ticket) {
    const std::string name = toStd(nameOfMessage(replyID));
    print("unanswered", {{"id", toStd(numberOfMessage(replyID))}, {"name", name}},
          mHost + ": " + name + " has not come in time");
}

void EventPrinter::onOtherMessage(uint32 id, uint64 numBytes) {
    const std::string name = toStd(nameOfMessage(id));
    print("message", {{"id", toStd(numberOfMessage(id))}, {"name", name}, {"bytes", numBytes}},
          mHost + ": " + name + ", " + std::to_string(numBytes) + " bytes");
}

void EventPrinter::print(const char* event, const Json& details, const std::string& text) {
    if (!mIsJson) {
        if (!text.empty())
            mFace.print(printable(text));
        return;
    }
    Json object = {{"event", event}, {"address", mHost}};
    object.update(details);
    mFace.print(dumpLine(object));
}

} // namespace Tarq::Tool
