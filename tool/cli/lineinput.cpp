#include "tool/cli/lineinput.h"

namespace Tarq::Tool {

using namespace Common;

void LineInput::receive() {
    char bytes[4096];
    const uint32 count = System::readInput(mHandle, bytes, sizeof(bytes));
    mBytes.append(bytes, count);
    mHasEnded = count == 0;
}

std::optional<std::string> LineInput::take() {
    const std::size_t end = mBytes.find('\n');
    // The last line need not have an end.
    if (end == mBytes.npos && (!mHasEnded || mBytes.empty()))
        return std::nullopt;
    std::string line = mBytes.substr(0, end);
    mBytes.erase(0, end == mBytes.npos ? end : end + 1);
    if (line.ends_with('\r'))
        line.pop_back();
    return line;
}

} // namespace Tarq::Tool
