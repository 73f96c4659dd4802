#include "common/callback/assertcallback.h"

#include "common/platform/assertreport.h"

namespace Tarq::Common::Callback {

AssertCallback::~AssertCallback() = default;

void AssertCallback::showAssert(const char* message, const char* file, unsigned int line) {
    Platform::reportAssertionAndEnd(message, file, line);
}

} // namespace Tarq::Common::Callback
