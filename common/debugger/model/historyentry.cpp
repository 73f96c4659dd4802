#include "common/debugger/model/historyentry.h"

#include "common/debug/assert.h"

#include <utility>

namespace Tarq::Common::Debugger {

using Network::Message::MessageBuilder;
using enum IO::Stream::SeekOrigin;

namespace {

/// A few numbers and a short text.
constexpr uint32 cBlockSize = 64;
/// In bytes. A recording with a big value is not to hold its memory for all the small ones after it.
constexpr uint64 cLargestKept = 4096;

} // namespace

ObjectInstanceMemento::~ObjectInstanceMemento() {
    delete mStream;
}

void ObjectInstanceMemento::begin(uint32 objectInstanceID) noexcept {
    mObjectInstanceID = objectInstanceID;
    if (getEnd() > cLargestKept)
        delete std::exchange(mStream, nullptr);
    mVariables.clear();
    mIsElsewhere = true;
}

void ObjectInstanceMemento::add(std::span<const VariableInstance* const> variables) {
    if (variables.empty())
        return;
    if (!mStream)
        mStream = new (mVariables.getAllocator()) Memory::MemoryStream("stream", cBlockSize);
    else if (mVariables.empty())
        mStream->rewind();
    else if (mIsElsewhere)
        mStream->seek(static_cast<int64>(getEnd()), SORIGIN_BEGIN);
    mIsElsewhere = true; // unless all values become whole
    MessageBuilder builder(mStream, true);
    for (const VariableInstance* const variable : variables) {
        variable->writeTo(builder);
        mVariables.emplace_back(variable->getVarType()->getID(), mStream->tell());
    }
    mIsElsewhere = false;
}

void ObjectInstanceMemento::writeValues(MessageBuilder& builder) const {
    if (mVariables.empty())
        return;
    mIsElsewhere = true;
    mStream->seek(0, SORIGIN_BEGIN);
    uint64 begin = 0;
    for (const VariableMemento& variable : mVariables) {
        builder.writeStream(mStream, variable.mEnd - begin, false);
        begin = variable.mEnd;
    }
}

HistoryEntry::HistoryEntry() : mStored(getAllocator()), mWatched(getAllocator()) {}

HistoryEntry::~HistoryEntry() = default;

void HistoryEntry::begin(uint32 gameTime, uint32 systemTime, uint32 breakpointInstanceID,
                         uint32 objectInstanceID) noexcept {
    mGameTime = gameTime;
    mSystemTime = systemTime;
    mBreakpointInstanceID = breakpointInstanceID;
    mStored.begin(objectInstanceID);
    mWatched.begin(objectInstanceID);
    mHasWatches = false;
}

bool HistoryEntry::setWatches(std::span<const VariableInstance* const> watched) {
    if (!TARQ_ASSERT_AS(nullptr, !mHasWatches, "Tried to set watches within HistoryEntry for second time"))
        return false;
    mHasWatches = true;
    mWatched.add(watched);
    return true;
}

void HistoryEntry::write(MessageBuilder& builder) const {
    builder.write(mGameTime);
    builder.write(mSystemTime);
    builder.write(mBreakpointInstanceID);
    builder.write(mStored.getVariables().size() + mWatched.getVariables().size());
    for (const ObjectInstanceMemento* const memento : {&mStored, &mWatched}) {
        for (const VariableMemento& variable : memento->getVariables())
            builder.write(variable.mVariableTypeID);
    }
    mStored.writeValues(builder);
    mWatched.writeValues(builder);
}

} // namespace Tarq::Common::Debugger
