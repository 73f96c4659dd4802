#include "common/debug/logreporter.h"

#include "common/debug/assert.h"
#include "common/debug/internal/nestingguard.h"
#include "common/debug/logmanager.h"

namespace Tarq::Common::Debug {

namespace {

constexpr uint32 cDeepestBreak = 3;

/// The log breaks inside each other on this thread. An assertion callback may report, and so raise the next one.
thread_local constinit uint32 tBreakDepth = 0;

void setBits(std::atomic<uint32>& mask, uint32 bits, bool enable) noexcept {
    if (enable)
        mask.fetch_or(bits, std::memory_order_relaxed);
    else
        mask.fetch_and(~bits, std::memory_order_relaxed);
}

} // namespace

LogReporter::LogReporter(const String& name, LogManager& manager) : mName(name), mManager(manager) {}

LogReporter::~LogReporter() = default;

void LogReporter::reportLog(LogType type, const String& message, const String& function, const String& file,
                            unsigned int line) const {
    if (!isReported(type))
        return;
    mManager.deliver({type, message, mName, function, file, line});
    if ((getAssertTypes() & type) == 0 || tBreakDepth == cDeepestBreak)
        return;
    const NestingGuard nesting(tBreakDepth);
    TARQ_FAIL(message, "\nLogBreak ErrorType: ", getLogTypeName(type), "\nInstance: ", mName);
}

void LogReporter::enableLogType(LogType type, bool enable) noexcept {
    setBits(mLogTypes, type, enable);
}

void LogReporter::enableAssertType(LogType type, bool enable) noexcept {
    setBits(mAssertTypes, type, enable);
}

} // namespace Tarq::Common::Debug
