#include "common/exceptions/invalidstateexception.h"

using namespace Tarq::Common;

namespace {

/// Reads a call stack while the module is being loaded.
struct ReadsWhileLoading {
    ReadsWhileLoading() {
        const Exceptions::Holder exception(new Exceptions::InvalidStateException("while loading"));
        entries = exception->getCallStack().size();
    }
    uint32 entries = 0;
};

const ReadsWhileLoading gReadsWhileLoading;

} // namespace

/// Where `throwInModule` throws.
extern "C" TARQ_API const uint32 gThrowingLine = __LINE__ + 3;

extern "C" TARQ_API void throwInModule() {
    throw new Exceptions::InvalidStateException("thrown in a module");
}

/// How many entries the call stack had that was read while the module was loaded.
extern "C" TARQ_API uint32 countEntriesWhileLoading() {
    return gReadsWhileLoading.entries;
}
