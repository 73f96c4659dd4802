#include "tool/client/outbox.h"

#include <algorithm>
#include <utility>

namespace Tarq::Tool {

using namespace Common;

void Outbox::addRequest(Frame frame, MessageID reply) {
    mWaiting.push_back({std::move(frame), static_cast<uint32>(reply)});
}

void Outbox::addSilent(Frame frame) {
    mWaiting.push_back({std::move(frame), 0});
}

std::span<const uint8> Outbox::getNext() const {
    if (mWaiting.empty())
        return {};
    const Frame& frame = mWaiting.front().frame;
    // What was begun goes on: until it is whole, it counts as sent nowhere.
    const bool hasRoom = mTaken != 0 || mUnanswered == 0 || uint64{mUnanswered} + frame.size() <= mMaxUnanswered;
    return hasRoom ? std::span(frame.data() + mTaken, frame.size() - mTaken) : std::span<const uint8>();
}

void Outbox::take(uint32 count, uint64 microseconds) {
    mTaken += count;
    const Waiting& oldest = mWaiting.front();
    if (mTaken < oldest.frame.size())
        return;
    if (oldest.reply != 0) {
        mSent.push_back({oldest.reply, oldest.frame.size(), microseconds});
        mUnanswered += oldest.frame.size();
    }
    mWaiting.pop_front();
    mTaken = 0;
}

void Outbox::answer(uint32 id) {
    const auto found = std::find_if(mSent.begin(), mSent.end(), [id](const Sent& sent) { return sent.reply == id; });
    if (found == mSent.end())
        return;
    mUnanswered -= found->numBytes;
    mSent.erase(found);
}

uint32 Outbox::giveUpOldest() {
    const Sent oldest = mSent.front();
    mUnanswered -= oldest.numBytes;
    mSent.pop_front();
    return oldest.reply;
}

} // namespace Tarq::Tool
