#include "tool/client/callbook.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;

CallNumber CallBook::add(const String& name) {
    mLast = mLast == 0xFFFFFFFF ? 1 : mLast + 1;
    mCalls.push_back({mLast, name, false});
    return mLast;
}

void CallBook::giveUp(CallNumber call) {
    for (Call& known : mCalls)
        known.isGivenUp = known.isGivenUp || known.number == call;
}

uint32 CallBook::countOpen() const noexcept {
    return static_cast<uint32>(
        std::count_if(mCalls.begin(), mCalls.end(), [](const Call& call) { return !call.isGivenUp; }));
}

std::optional<CallBook::Match> CallBook::answer(const String& name) {
    const auto find = [&](auto from, bool isGivenUp) {
        return std::find_if(from, mCalls.end(),
                            [&](const Call& call) { return call.name == name && call.isGivenUp == isGivenUp; });
    };
    const auto givenUp = find(mCalls.begin(), true);
    const auto open = find(mCalls.begin(), false);
    const auto found = open != mCalls.end() ? open : givenUp;
    if (found == mCalls.end())
        return std::nullopt;
    Match match{found->number, found->isGivenUp, true, {}};
    match.isCertain = match.isLate ? find(givenUp + 1, true) == mCalls.end() : givenUp - found >= 0;
    if (!match.isCertain) {
        mCalls.erase(found);
        return match;
    }
    for (auto call = mCalls.begin(); call != found; ++call) {
        if (!call->isGivenUp)
            match.unanswered.push_back(call->name);
    }
    mCalls.erase(mCalls.begin(), found + 1);
    return match;
}

} // namespace Tarq::Tool
