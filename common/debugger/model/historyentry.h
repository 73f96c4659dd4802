#pragma once

#include "common/container/vector.h"
#include "common/debugger/model/elementid.h"
#include "common/debugger/model/variableinstance.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/types.h"

#include <span>

namespace Tarq::Common::Debugger {

/// One recorded value: which variable it is of, and where it ends among the values of its `ObjectInstanceMemento`.
struct VariableMemento {
    VariableMemento(uint32 variableTypeID, uint64 end) noexcept : mVariableTypeID(variableTypeID), mEnd(end) {}

    uint32 mVariableTypeID;
    uint64 mEnd;
};

/// What some variables of one object instance were, in the order in which they were added.
///
/// The values are items with tags, one behind the other in one stream, which is taken with the first of them and kept
/// for the next recording: that overwrites it. Most values are a few bytes long, and most recordings have few.
/// Threads: one at a time.
class TARQ_API ObjectInstanceMemento {
public:
    /// Takes its memory from `allocator`.
    explicit ObjectInstanceMemento(const Memory::AllocatorPtr& allocator) noexcept : mVariables(allocator) {}
    ~ObjectInstanceMemento();
    ObjectInstanceMemento(const ObjectInstanceMemento&) = delete;
    ObjectInstanceMemento& operator=(const ObjectInstanceMemento&) = delete;

    /// Starts a recording, and forgets the one before. Memory is kept for it, up to a few KiB.
    void begin(uint32 objectInstanceID) noexcept;
    /// Records what the variables are at this moment. Throws `OutOfMemoryException`; those before are added then.
    void add(std::span<const VariableInstance* const> variables);

    uint32 getObjectInstanceID() const noexcept { return mObjectInstanceID; }
    const Container::Vector<VariableMemento>& getVariables() const noexcept { return mVariables; }
    /// Writes the values, each as a container of uint8. What the builder throws passes on.
    void writeValues(Network::Message::MessageBuilder& builder) const;

private:
    uint64 getEnd() const noexcept { return mVariables.empty() ? 0 : mVariables.back().mEnd; }

    Container::Vector<VariableMemento> mVariables;
    Memory::MemoryStream* mStream = nullptr; ///< the values, and behind them what is left of other recordings
    uint32 mObjectInstanceID = INVALID_OBJECT_INSTANCE_ID;
    mutable bool mIsElsewhere = false; ///< whether the stream's position is not behind the last value
};

/// One pass through a breakpoint: when, where, and what the variables were that the breakpoint stores and the tool
/// watches.
///
///     entry->begin(gameTime, systemTime, breakpoint.getID(), instance.getID());
///     for (...)
///         entry->addStored(variable);
///     entry->setWatches(variables);
///     historyList.addEntry(instance.getID(), entry);
///
/// An entry that has left its list may be begun anew: it keeps its memory, so that passes in a steady state take none.
///
/// Threads: one at a time. Ownership: that of the `HistoryList` it has been added to.
class TARQ_API HistoryEntry : public Memory::MemoryManaged {
public:
    HistoryEntry();
    ~HistoryEntry() override;

    /// Starts a recording, and forgets the one before. Times are in milliseconds.
    void begin(uint32 gameTime, uint32 systemTime, uint32 breakpointInstanceID, uint32 objectInstanceID) noexcept;
    /// Records a variable that the breakpoint stores. Throws `OutOfMemoryException`; nothing is added then.
    void addStored(const VariableInstance& variable) {
        const VariableInstance* const variables[] = {&variable};
        mStored.add(variables);
    }
    /// Records the variables that are watched. Asserts "Tried to set watches within HistoryEntry for second time";
    /// false then. Throws `OutOfMemoryException`; some may be added then.
    bool setWatches(std::span<const VariableInstance* const> watched);

    uint32 getGameTime() const noexcept { return mGameTime; }
    uint32 getSystemTime() const noexcept { return mSystemTime; }
    uint32 getBreakpointInstanceID() const noexcept { return mBreakpointInstanceID; }
    uint32 getObjectInstanceID() const noexcept { return mStored.getObjectInstanceID(); }
    const ObjectInstanceMemento& getStored() const noexcept { return mStored; }
    const ObjectInstanceMemento& getWatched() const noexcept { return mWatched; }

    /// Writes the entry: game time, system time, breakpoint instance ID, number of values, the variable type ID of each
    /// value, and then the values, each as a container of uint8 that holds one item with its tag. Stored values come
    /// before watched ones. What the builder throws passes on; the message holds a part of the entry then.
    void write(Network::Message::MessageBuilder& builder) const;

private:
    friend class HistoryEntries;

    ObjectInstanceMemento mStored;
    ObjectInstanceMemento mWatched;
    uint32 mGameTime = 0;
    uint32 mSystemTime = 0;
    uint32 mBreakpointInstanceID = INVALID_BREAKPOINT_INSTANCE_ID;
    bool mHasWatches = false;
    HistoryEntry* mNext = nullptr; ///< the one after this in its list
};

} // namespace Tarq::Common::Debugger
