#pragma once

#include "common/container/list.h"
#include "common/export.h"
#include "common/string.h"

namespace Tarq::Common::Debug {

/// One function of a call stack. What could not be found out is empty, the line then 0.
struct CallStackEntry {
    String mFunction;
    String mFile;
    uint32 mLine = 0;
    String mModule;
};

/// From the innermost function outwards.
using CallStack = Container::List<CallStackEntry>;

/// The return addresses of a place in the program: cheap to record, resolved to names when somebody reads them.
class TARQ_API CallStackRecord {
public:
    CallStackRecord() noexcept = default;
    ~CallStackRecord();
    CallStackRecord(const CallStackRecord&) = delete;
    CallStackRecord& operator=(const CallStackRecord&) = delete;

    /// Records the calling thread's stack; the caller of the function that calls this one comes first. Takes exactly
    /// the record's bytes from `allocator`; when there are none, the record stays empty. Never throws.
    void capture(const Memory::AllocatorPtr& allocator) noexcept;

    bool isEmpty() const noexcept { return mCount == 0; }

    /// Appends one entry for each address. Threads: any; several records may be resolved at once.
    void resolve(CallStack& callStack) const;

private:
    Memory::AllocatorPtr mAllocator;
    void** mAddresses = nullptr;
    uint32 mCount = 0;
};

} // namespace Tarq::Common::Debug
