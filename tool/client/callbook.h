#pragma once

#include "common/string.h"
#include "common/types.h"

#include <deque>
#include <optional>
#include <vector>

namespace Tarq::Tool {

/// A call of a host's function; above 0.
using CallNumber = Common::uint32;

/// The calls that a host was asked for, oldest first, and which of them an answer is for.
///
/// A host does its calls one after the other. It answers with the function's name alone; and of a call that it cannot
/// do it says nothing. So an answer tells of all calls that are older that they are over. But where a call that was
/// given up has the same name, its answer may be late, and nobody can tell: the answer is taken for that of the oldest
/// call that is waited for.
class CallBook {
public:
    CallNumber add(const Common::String& name);
    /// Its answer may still come.
    void giveUp(CallNumber call);
    void clear() { mCalls.clear(); }
    /// How many calls were not given up.
    Common::uint32 countOpen() const noexcept;

    struct Match {
        CallNumber call;
        bool isLate;                            ///< it was given up
        bool isCertain;                         ///< no older call of that name was given up
        std::vector<Common::String> unanswered; ///< older calls that were still open; they are over
    };
    /// None when no call has that name.
    std::optional<Match> answer(const Common::String& name);

private:
    struct Call {
        CallNumber number;
        Common::String name;
        bool isGivenUp;
    };

    CallNumber mLast = 0;
    std::deque<Call> mCalls;
};

} // namespace Tarq::Tool
