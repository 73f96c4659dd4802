#include "tool/cli/words.h"

#include "tool/client/quoting.h"

#include <algorithm>

namespace Tarq::Tool {

namespace {

constexpr std::string_view cBlanks = " \t";

} // namespace

std::string_view Words::take() {
    std::size_t length = 0;
    while (length < mLeft.size() && cBlanks.find(mLeft[length]) == cBlanks.npos)
        length += std::max<std::size_t>(lengthOfQuoted(mLeft.substr(length)), 1);
    const std::string_view word = mLeft.substr(0, length);
    mLeft.remove_prefix(length);
    skipBlanks();
    return word;
}

std::string_view Words::takeRest() {
    const std::size_t last = mLeft.find_last_not_of(cBlanks);
    const std::string_view rest = mLeft.substr(0, last == mLeft.npos ? 0 : last + 1);
    mLeft = {};
    return rest;
}

void Words::skipBlanks() {
    const std::size_t count = mLeft.find_first_not_of(cBlanks);
    mLeft.remove_prefix(count == mLeft.npos ? mLeft.size() : count);
}

} // namespace Tarq::Tool
