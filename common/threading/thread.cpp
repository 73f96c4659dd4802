#include "common/threading/thread.h"

#include "common/debug/assert.h"
#include "common/exceptions/exception.h"
#include "common/library.h"
#include "common/memory/allocate.h"
#include "common/platform/thread.h"
#include "common/threading/threaded.h"

#include <exception>
#include <new>
#include <utility>

namespace Tarq::Common::Threading {

/// What the library keeps for a thread; the platform's thread object stands right behind it, in the same block.
struct Thread::Start {
    Memory::AllocatorPtr allocator;
    int (*function)(void*);
    void* argument;
    Threaded* object; ///< in the place of the function, or null
    Name name;
};

namespace {

thread_local constinit const char* tName = "";

/// Makes a name the calling thread's.
class CurrentName {
public:
    explicit CurrentName(const char* name) noexcept { tName = name; }
    ~CurrentName() { tName = ""; }
    CurrentName(const CurrentName&) = delete;
    CurrentName& operator=(const CurrentName&) = delete;
};

/// Cuts off what is too long.
template <class Name>
Name keepName(String::View name) noexcept {
    Name kept{};
    name.copy(kept.data(), kept.size() - 1);
    return kept;
}

/// Not every allocator can take bytes back on the thread that drops them last.
const Memory::AllocatorPtr& safeAllocator(const Memory::AllocatorPtr& allocator) noexcept {
    return !allocator || allocator->isThreadSafe() ? allocator : Library::getTempAlloc();
}

void* tryAllocate(const Memory::AllocatorPtr& allocator, std::size_t size) noexcept {
    return allocator ? allocator->tryAlloc(static_cast<uint32>(size)) : ::operator new(size, std::nothrow);
}

/// A callback that throws has nobody left to throw to.
void reportEscape(Debug::TextPiece what) {
    try {
        TARQ_FAIL("Thread \"", tName, "\" was left by an exception: ", what);
    } catch (Exceptions::Exception* exception) {
        delete exception;
    } catch (...) {
        Platform::resumeThreadEnd();
    }
}

/// Returns what `body` returns, or `cNoExitCode` when something was thrown.
template <class Body>
int runGuarded(const Body& body) {
    try {
        return body();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        reportEscape(exception->getMessage());
    } catch (const std::exception& exception) {
        reportEscape(exception.what());
    } catch (...) {
        Platform::resumeThreadEnd();
        reportEscape("of a type unknown here");
    }
    return Thread::cNoExitCode;
}

} // namespace

Thread::Thread(int (*function)(void*), void* argument, const String& name, int stackSize)
    : mName(keepName<Name>(name)) {
    start(function, argument, nullptr, stackSize);
}

Thread::Thread(Threaded* object, const String& name, int stackSize) : mName(keepName<Name>(name)) {
    start(nullptr, nullptr, object, stackSize);
}

Thread::Thread(void* handle) : Thread(handle, "") {}

Thread::Thread(void* handle, const char* name) : mHandle(handle), mPsydoInstance(true), mName(keepName<Name>(name)) {
    if (mHandle != THREAD_INVALID_HANDLE)
        Platform::openThread(mHandle);
}

Thread::~Thread() {
    closeReleasedHandle(mHandle);
}

void Thread::start(int (*function)(void*), void* argument, Threaded* object, int stackSize) {
    static_assert(sizeof(Start) % alignof(void*) == 0, "the platform's thread object is aligned for pointers");
    const Memory::AllocatorPtr& allocator = safeAllocator(getAllocator());
    void* const block =
        function || object ? tryAllocate(allocator, sizeof(Start) + Platform::getThreadObjectSize()) : nullptr;
    bool started = false;
    if (block) {
        auto* const record = ::new (block) Start{allocator, function, argument, object, mName};
        const Platform::ThreadStart request = {
            .function = &runStart,
            .argument = record,
            .name = record->name.data(),
            .stackSize = stackSize > 0 ? static_cast<std::size_t>(stackSize) : 0,
            .memory = record + 1,
            .release = &releaseStart,
        };
        // From here on the body may use this instance, and even end its life.
        started = Platform::startThread(request, mHandle);
        if (!started)
            releaseStart(record);
    }
    TARQ_ASSERT_AS("mHandle != THREAD_INVALID_HANDLE", started, "cannot create new thread");
}

int Thread::runStart(void* argument) {
    const Start& start = *static_cast<const Start*>(argument);
    const CurrentName name(start.name.data());
    if (!start.object)
        return runGuarded([&] { return start.function(start.argument); });
    const int result = runGuarded([&] { return start.object->run(); });
    start.object->mResult.store(result, std::memory_order_release);
    return result;
}

void Thread::releaseStart(void* argument) {
    auto* const start = static_cast<Start*>(argument);
    const Memory::AllocatorPtr allocator = std::move(start->allocator);
    start->~Start();
    Memory::releaseBytes(allocator, start);
}

Thread Thread::getCurrentThread() {
    return Thread(Platform::getCurrentThread(), tName);
}

int Thread::getCurrentID() {
    return Platform::getCurrentThreadID();
}

void* Thread::releaseHandle() {
    if (mPsydoInstance)
        closeReleasedHandle(mHandle);
    return std::exchange(mHandle, THREAD_INVALID_HANDLE);
}

void Thread::closeReleasedHandle(void* handle) {
    if (handle != THREAD_INVALID_HANDLE)
        Platform::closeThread(handle);
}

void Thread::closeHandle() {
    if (!TARQ_ASSERT(!mPsydoInstance, "cannot close pysdo instances of thread classes"))
        return;
    closeReleasedHandle(releaseHandle());
}

int Thread::join() {
    if (!TARQ_ASSERT(mHandle != THREAD_INVALID_HANDLE, "Invalid thread handle"))
        return cNoExitCode;
    void* const handle = mHandle;
    if (!TARQ_ASSERT_AS("retVal != WAIT_FAILED", Platform::waitForThread(handle), "cannot join thread"))
        return cNoExitCode;
    int code = cNoExitCode;
    TARQ_ASSERT_AS("retVal", Platform::getThreadExitCode(handle, code), "cannot get exit code from joined thread");
    return code;
}

void Thread::exit(int code) {
    Platform::exitThread(code);
}

void Thread::sleep(unsigned int milliseconds) {
    Platform::sleepThread(milliseconds);
}

void Thread::setPriority(ThreadPriority priority) {
    if (!TARQ_ASSERT(priority <= TPRIO_TIME_CRITICAL, "priority out of range"))
        return;
    if (!TARQ_ASSERT(mHandle != THREAD_INVALID_HANDLE, "Invalid thread handle"))
        return;
    Platform::setThreadPriority(mHandle, priority);
}

Thread::ThreadPriority Thread::getPriority() const {
    if (!TARQ_ASSERT(mHandle != THREAD_INVALID_HANDLE, "Invalid thread handle"))
        return TPRIO_NORMAL;
    return static_cast<ThreadPriority>(Platform::getThreadPriority(mHandle));
}

} // namespace Tarq::Common::Threading
