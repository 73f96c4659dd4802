#pragma once

#include "common/debug/logrecord.h"
#include "common/export.h"

namespace Tarq::Common::Debug {

/// Where log reports end up. Registered with `LogManager::addListener`, for the types that it wants to hear.
///
/// Threads: called on the reporting thread, one thread at a time. A listener may report, assert, add and remove
/// listeners (itself too). It does not wait for another thread that may report. What it throws is turned into an
/// assertion: reporting does not fail its caller.
class TARQ_API LogListener {
public:
    virtual ~LogListener();

    virtual void onLog(const LogRecord& record) = 0;
};

} // namespace Tarq::Common::Debug
