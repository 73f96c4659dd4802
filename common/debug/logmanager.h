#pragma once

#include "common/container/lookup.h"
#include "common/container/vector.h"
#include "common/debug/loglistener.h"
#include "common/debug/logreporter.h"
#include "common/memory/memorymanaged.h"
#include "common/singleton.h"

#include <array>

namespace Tarq::Common {

namespace Debug {
class LogManager;
}

extern template class TARQ_API Singleton<Debug::LogManager>;

} // namespace Tarq::Common

namespace Tarq::Common::Debug {

/// Owns the log reporters and passes what they report to the listeners of its type.
///
/// Exists between `Library::init` and `Library::close`. Listeners belong to the host, which removes them before they
/// go.
///
/// Threads: reporters are made and removed during start-up and shut-down; everything else on any thread. Delivery is
/// serialised by one recursive lock: what another thread removes is not called any more once the removal has returned.
/// What a listener adds during a delivery hears the next one; what it removes is left out at once.
class TARQ_API LogManager : public Singleton<LogManager>, public Memory::MemoryManaged {
public:
    LogManager();
    ~LogManager() override;

    /// The manager's own, "LogManager", which is not among those that have names here.
    LogReporter& getOwnReporter() noexcept { return mOwnReporter; }

    /// Returns null when there is a reporter of that name. Throws `OutOfMemoryException`.
    LogReporter* createLogReporter(const String& name);
    /// Destroys the reporter. One that is not among the manager's, or null, is ignored.
    void removeLogReporter(LogReporter* reporter);

    /// Lets the listener hear the types, several bits at once; for each type it comes after those already there. For a
    /// type that it hears already, nothing changes. Throws `OutOfMemoryException`; nothing has changed then.
    void addListener(LogType types, LogListener* listener);
    /// The listener does not hear the types any more.
    void removeListener(LogType types, LogListener* listener);
    void removeListener(LogListener* listener) { removeListener(cAllLogTypes, listener); }

    /// Calls every listener of every type that the record carries, type by type, in the order in which they were added.
    ///
    /// A listener that reports is served at once, up to a depth of 3 on one thread; reports below that are dropped.
    void deliver(const LogRecord& record);

private:
    using ListenerList = Container::Vector<LogListener*>;

    class Delivery;

    std::array<ListenerList, cLogTypeCount> makeLists() const;
    /// Returns false, and changes nothing, when a list is full and `room` has no more than that either.
    bool tryAddListener(LogType types, LogListener* listener, std::array<ListenerList, cLogTypeCount>& room) noexcept;
    uint32 countListeners(uint32 bit) noexcept;
    static void call(LogListener& listener, const LogRecord& record);
    void closeGaps() noexcept;
    void destroyReporter(LogReporter* reporter) noexcept;

    LogReporter mOwnReporter;
    Container::LookUp<String, LogReporter*> mReporters;
    std::array<ListenerList, cLogTypeCount> mListeners; ///< in the order of the types' bits
    Threading::SpinLock mLock;
    uint32 mDepth = 0;     ///< deliveries inside each other; guarded by the lock
    bool mHasGaps = false; ///< a list has a null where a listener was removed during a delivery
};

} // namespace Tarq::Common::Debug
