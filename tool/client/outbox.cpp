#include "tool/client/outbox.h"

#include <algorithm>
#include <utility>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// The answers of requests that were given up are told apart from those of later ones, while there are not more.
constexpr std::size_t cMostGivenUp = 64;

/// Whether the stream goes on with these bytes. It stays where it is.
bool isNext(IO::Stream& stream, const Frame& expected) {
    const auto position = static_cast<int64>(stream.getPosition());
    Frame found(expected.getAllocator());
    found.resizeForOverwrite(expected.size());
    const bool isThere = stream.read(found.data(), found.size()) == found.size();
    stream.seek(position, IO::Stream::SORIGIN_BEGIN);
    return isThere && std::equal(found.begin(), found.end(), expected.begin());
}

} // namespace

Ticket Outbox::addRequest(Frame frame, MessageID reply, Frame identification) {
    mSilentTail = 0;
    return add(std::move(frame), static_cast<uint32>(reply), std::move(identification));
}

Ticket Outbox::addSilent(Frame frame) {
    mSilentTail += frame.size();
    Frame none(frame.getAllocator());
    const Ticket ticket = add(std::move(frame), 0, std::move(none));
    ++mNumSilent;
    return ticket;
}

Ticket Outbox::add(Frame frame, uint32 reply, Frame identification) {
    mLastTicket = mLastTicket == 0xFFFFFFFF ? 1 : mLastTicket + 1;
    const uint32 numBytes = frame.size();
    mWaiting.push_back({std::move(frame), reply, mLastTicket, numBytes, 0, std::move(identification)});
    return mLastTicket;
}

std::span<const uint8> Outbox::getNext() const {
    if (mWaiting.empty())
        return {};
    const Frame& frame = mWaiting.front().frame;
    // What was begun goes on: until it is whole, it counts as sent nowhere. When no answer is to come, room is only
    // made by a request.
    const bool hasRoom = mTaken != 0 || mUnanswered == 0 || uint64{mUnanswered} + frame.size() <= mMaxUnanswered ||
                         (mNumWaiting == 0 && mWaiting.front().reply != 0);
    return hasRoom ? std::span(frame.data() + mTaken, frame.size() - mTaken) : std::span<const uint8>();
}

void Outbox::take(uint32 count, uint64 microseconds) {
    mTaken += count;
    Message& oldest = mWaiting.front();
    if (mTaken < oldest.frame.size())
        return;
    oldest.frame = Frame(oldest.frame.getAllocator());
    oldest.microseconds = microseconds;
    mSent.push_back(std::move(oldest));
    mUnanswered += mSent.back().numBytes;
    mNumWaiting += mSent.back().reply != 0;
    mNumSilent -= mSent.back().reply == 0;
    mWaiting.pop_front();
    mTaken = 0;
}

Ticket Outbox::answer(uint32 id, IO::Stream& fields) {
    for (Messages* const messages : {&mSent, &mGivenUp}) {
        const auto found = std::find_if(messages->begin(), messages->end(), [&](const Message& sent) {
            return sent.reply != 0 && sent.reply == id && isNext(fields, sent.identification);
        });
        if (found == messages->end())
            continue;
        const Ticket ticket = found->ticket;
        if (messages == &mSent) {
            settle(found);
            // The host is past what was given up before: no answer to that comes any more.
            mGivenUp.clear();
        } else {
            messages->erase(found);
        }
        return ticket;
    }
    return cNoTicket;
}

uint64 Outbox::getOldestTime() const noexcept {
    return std::find_if(mSent.begin(), mSent.end(), [](const Message& sent) { return sent.reply != 0; })->microseconds;
}

Outbox::GivenUp Outbox::giveUpOldest() {
    const auto oldest = std::find_if(mSent.begin(), mSent.end(), [](const Message& sent) { return sent.reply != 0; });
    const GivenUp givenUp{oldest->reply, oldest->ticket};
    if (mGivenUp.size() == cMostGivenUp)
        mGivenUp.pop_front();
    mGivenUp.push_back(std::move(*oldest));
    settle(oldest);
    return givenUp;
}

/// The host is past the request, and past the silent messages before it.
void Outbox::settle(Messages::iterator request) {
    const auto isPast = [&](const Message& sent) { return sent.reply == 0 || &sent == &*request; };
    const auto end = std::next(request);
    for (auto at = mSent.begin(); at != end; ++at) {
        if (isPast(*at))
            mUnanswered -= at->numBytes;
    }
    --mNumWaiting;
    const auto kept = std::remove_if(mSent.begin(), end, isPast);
    mSent.erase(kept, end);
}

} // namespace Tarq::Tool
