#pragma once

#include "common/container/list.h"
#include "common/export.h"
#include "common/string.h"

namespace Tarq::Common::Debug {

/// One function of a call stack. What could not be found out is empty, the line then 0.
struct CallStackEntry {
    String mFunction; ///< qualified, without parameters; of some functions inside their callers, without the scope
    String mFile;     ///< as the compiler was given it
    uint32 mLine = 0;
    String mModule; ///< the file name of the program or shared library, without directories
};

/// From the innermost function outwards. A function that the compiler put into its caller has an entry of its own.
using CallStack = Container::List<CallStackEntry>;

/// The return addresses of a place in the program: cheap to record, resolved to names when somebody reads them.
///
/// Names are those of the modules that are loaded at that time: a module that has gone since leaves entries without
/// names, or with the names of another one that has taken its place.
class TARQ_API CallStackRecord {
public:
    /// The outermost functions of a deeper stack are left out.
    static constexpr uint32 cMaxFrames = 128;

    CallStackRecord() noexcept = default;
    ~CallStackRecord() { release(); }
    CallStackRecord(const CallStackRecord&) = delete;
    CallStackRecord& operator=(const CallStackRecord&) = delete;

    /// Records the calling thread's stack, without the functions whose frames end at or below `innerEnd`
    /// (`Platform::getFrameEnd` of the innermost function that is not wanted).
    ///
    /// Takes exactly the record's bytes from `allocator` (from the global heap when empty); when there are none, the
    /// outer half of the functions is left out, again and again until the rest finds room. Never throws.
    void capture(const Memory::AllocatorPtr& allocator, const void* innerEnd) noexcept;

    /// Records the stack of the function that says `new`, for an object that is under construction: without the
    /// constructors, if the object's `operator new` has called `announce`. If not, `ownEnd` counts, the frame end of
    /// the constructor that calls this.
    void captureMaker(const Memory::AllocatorPtr& allocator, const void* object, const void* ownEnd) noexcept;
    /// Tells that `object` is about to be constructed on this thread. `ownEnd` is the frame end of its `operator new`,
    /// and `returnAddress` where that returns to.
    static void announce(const void* object, const void* ownEnd, const void* returnAddress) noexcept;
    /// Takes back an announcement whose object has not been constructed; for `operator delete`.
    static void forget(const void* object) noexcept;

    bool isEmpty() const noexcept { return mCount == 0; }

    /// Appends the entries. Never throws; when memory runs out, entries are missing. Threads: any; several records may
    /// be resolved at once.
    void resolve(CallStack& callStack) const noexcept;

private:
    void record(const Memory::AllocatorPtr& allocator, const void* innerEnd) noexcept;
    void release() noexcept;

    Memory::AllocatorPtr mAllocator;
    void** mAddresses = nullptr;
    uint32 mCount = 0;
    const void* mMaker = nullptr; ///< an address in the function that says `new`; null when unknown
};

} // namespace Tarq::Common::Debug
