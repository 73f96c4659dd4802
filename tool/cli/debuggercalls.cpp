#include "tool/cli/debugger.h"
#include "tool/cli/valuejson.h"
#include "tool/client/clock.h"
#include "tool/client/quoting.h"

#include <utility>

namespace Tarq::Tool {

using namespace Common;

namespace {

Json jsonOfResult(const CallReply& reply, const CallBook::Match& match) {
    const bool isVoid = reply.result.empty();
    return {{"function", toStd(reply.name)},
            {"type", isVoid ? "void" : nameOfType(static_cast<StreamIDs>(reply.result.front()))},
            {"value", jsonOfValue(reply.result)},
            {"isLate", match.isLate},
            {"isCertain", match.isCertain}};
}

std::string textOfResult(const CallReply& reply, const CallBook::Match& match) {
    const std::string name = quoteName(reply.name.view());
    const std::string text = reply.result.empty() ? name + " has returned" : name + " = " + textOfValue(reply.result);
    if (match.isLate)
        return text + ", late";
    return match.isCertain ? text : text + ", or so has an earlier call of it, which was given up";
}

} // namespace

std::optional<CallReply> Debugger::call(const Call& request, double seconds) {
    const unsigned int numHolds = mNumHolds;
    const uint64 begin = getMicroseconds();
    mReturned.reset();
    mAwaited = mClient.call(request);
    requireSent(mAwaited.has_value());
    const auto giveUp = [&] {
        mClient.getCalls().giveUp(*mAwaited);
        mAwaited.reset();
    };
    try {
        while (!mReturned && mNumHolds == numHolds) {
            const double left = seconds - static_cast<double>(getMicroseconds() - begin) / 1e6;
            if (left <= 0)
                throw CommandFailure(
                    EXIT_NOT_COME,
                    quoteName(request.name.view()) + " has not returned in time: the host has no such " +
                        "function, or several, or it takes other arguments, or it has thrown, or it is " +
                        "still running; the host's log tells which");
            stepFor(left);
        }
    } catch (const CommandFailure&) {
        giveUp();
        throw;
    }
    mAwaited.reset();
    return std::exchange(mReturned, std::nullopt);
}

void Debugger::onCallReply(const CallReply& reply, const CallBook::Match& match) {
    for (const String& name : match.unanswered)
        printEvent("unansweredCall", {{"function", toStd(name)}},
                   {quoteName(name.view()) + " does not return: the host has gone on to later calls"});
    const std::vector<std::string> lines = {textOfResult(reply, match)};
    if (match.call != mAwaited) {
        printEvent("result", jsonOfResult(reply, match), lines);
        return;
    }
    mClient.getSession().yield();
    mReturned = reply;
    answer("result", jsonOfResult(reply, match), lines);
}

} // namespace Tarq::Tool
