#include "tool/client/servedfile.h"

#include "tool/client/clock.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr uint64 cMostLength = 0xFFFFFFFF;

/// Takes what stands in front of the mark, if it does so in front of any directory.
std::string_view takeFront(std::string_view& text, char mark) {
    const std::size_t at = text.find(mark);
    if (at == text.npos || at > text.find('/'))
        return {};
    const std::string_view front = text.substr(0, at);
    text.remove_prefix(at + 1);
    return front;
}

bool isNumber(std::string_view text) noexcept {
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

} // namespace

ServedFile::ServedFile(ServedFile&& other) noexcept
    : mPath(std::move(other.mPath)), mName(std::move(other.mName)), mID(other.mID),
      mFile(std::exchange(other.mFile, System::cNoFile)), mState(other.mState), mRead(std::move(other.mRead)),
      mNumSent(other.mNumSent), mFirst(other.mFirst), mLast(other.mLast) {}

ServedFile::~ServedFile() {
    if (mFile != System::cNoFile)
        System::closeFile(mFile);
}

std::string ServedFile::open(const std::string& text) {
    std::string_view path = text;
    if (isNumber(path.substr(0, path.find(':')))) {
        const std::string_view digits = takeFront(path, ':');
        uint32 id = 0;
        if (!digits.empty() && std::from_chars(digits.data(), digits.data() + digits.size(), id).ec != std::errc())
            return "an id is from 0 to 4294967295";
        if (!digits.empty())
            mID = id;
    }
    mName = takeFront(path, '=');
    mPath = path;
    if (mName.empty())
        mName = System::nameOfFile(mPath);
    if (const char* const problem = System::openFile(mPath, mFile))
        return problem;
    if (!System::getFileState(mFile, mState))
        return "it cannot be read";
    if (mState.length > cMostLength)
        return "it is " + std::to_string(mState.length) + " bytes long, and a stream at most " +
               std::to_string(cMostLength);
    return {};
}

std::string ServedFile::read(const StreamDataRequest& request, StreamData& data) {
    if (request.position > mState.length || (request.position == mState.length && request.amount != 0))
        return "the host has asked for bytes from " + std::to_string(request.position) + " on, but it has " +
               std::to_string(mState.length);
    const uint32 most = std::min(request.amount, getLength() - request.position);
    const uint32 count = std::min(most, cMostSent);
    mFirst = mFirst == 0 ? getMicroseconds() : mFirst;
    mLast = getMicroseconds();
    data.streamID = getID();
    data.data.resizeForOverwrite(count);
    const bool isWhole = System::readFile(mFile, request.position, data.data.data(), count);
    // Only what was read before the file is known to be unchanged is its own.
    if (isChanged())
        return "it has changed since it was opened";
    if (!isWhole)
        return "it cannot be read";
    mRead.add(request.position, uint64{request.position} + count);
    mNumSent += count;
    return {};
}

bool ServedFile::isChanged() const noexcept {
    System::FileState state;
    return !System::getFileState(mFile, state) || state != mState;
}

} // namespace Tarq::Tool
