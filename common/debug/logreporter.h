#pragma once

#include "common/debug/logtype.h"
#include "common/export.h"
#include "common/string.h"

#include <atomic>

namespace Tarq::Common::Debug {

class LogManager;

/// A named source of log reports, with a mask of the types it lets through.
///
/// Ownership: the log manager's. Threads: any; masks may be changed at any time.
class TARQ_API LogReporter {
public:
    LogReporter(const String& name, LogManager& manager);
    ~LogReporter();
    LogReporter(const LogReporter&) = delete;
    LogReporter& operator=(const LogReporter&) = delete;

    /// Hands the report to the listeners, unless its type is switched off; then, if the type is one that asserts,
    /// raises a log break: an assertion with the message. Prefer `Debug::report`, which builds the texts only when
    /// needed.
    ///
    /// An assertion callback may report as well: up to 3 log breaks inside each other on one thread, none below that.
    void reportLog(LogType type, const String& message, const String& function, const String& file,
                   unsigned int line) const;

    /// Lets the types through, or holds them back; several bits may be given at once. All are let through at first.
    void enableLogType(LogType type, bool enable) noexcept;
    /// Makes the types raise log breaks, or not; several bits may be given at once. None does at first.
    void enableAssertType(LogType type, bool enable) noexcept;

    bool isReported(LogType type) const noexcept { return (mLogTypes.load(std::memory_order_relaxed) & type) != 0; }
    uint32 getLogTypes() const noexcept { return mLogTypes.load(std::memory_order_relaxed); }
    uint32 getAssertTypes() const noexcept { return mAssertTypes.load(std::memory_order_relaxed); }
    const String& getName() const noexcept { return mName; }

private:
    std::atomic<uint32> mLogTypes{255};
    std::atomic<uint32> mAssertTypes{0};
    String mName;
    LogManager& mManager;
};

} // namespace Tarq::Common::Debug
