#include "common/threading/thread.h"

#include "common/debug/assert.h"
#include "common/exceptions/exception.h"
#include "common/library.h"
#include "common/memory/allocate.h"
#include "common/platform/thread.h"
#include "common/threading/threaded.h"

#include <array>
#include <exception>
#include <new>
#include <optional>
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
template <class Characters>
Characters keepText(String::View text) noexcept {
    Characters kept{};
    text.copy(kept.data(), kept.size() - 1);
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
void reportEscape(const char* what) {
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
    // The callback that gets the report may end the thread, which cannot pass while an exception is being handled.
    using Text = std::array<char, 1024>;
    Text what;
    try {
        return body();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        what = keepText<Text>(exception->getMessage());
    } catch (const std::exception& exception) {
        what = keepText<Text>(exception.what());
    } catch (...) {
        Platform::resumeThreadEnd();
        what = keepText<Text>("of a type unknown here");
    }
    reportEscape(what.data());
    return Thread::cNoExitCode;
}

} // namespace

Thread::Thread(int (*function)(void*), void* argument, const String& name, int stackSize)
    : mName(keepText<Name>(name)) {
    start(function, argument, nullptr, stackSize);
}

Thread::Thread(Threaded* object, const String& name, int stackSize) : mName(keepText<Name>(name)) {
    start(nullptr, nullptr, object, stackSize);
}

Thread::Thread(void* handle) : Thread(handle, "") {}

Thread::Thread(void* handle, const char* name) : mHandle(handle), mPsydoInstance(true), mName(keepText<Name>(name)) {
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
    std::optional<int> code;
    if (!TARQ_ASSERT_AS("retVal != WAIT_FAILED", Platform::waitForThread(mHandle, code), "cannot join thread"))
        return cNoExitCode;
    TARQ_ASSERT_AS("retVal", code, "cannot get exit code from joined thread");
    return code.value_or(cNoExitCode);
}

void Thread::exit(int code) {
    Platform::exitThread(code);
}

void Thread::sleep(unsigned int milliseconds) {
    Platform::sleepThread(milliseconds);
}

void Thread::setPriority(ThreadPriority priority) {
    const bool isInRange = TARQ_ASSERT(priority <= TPRIO_TIME_CRITICAL, "priority out of range");
    const bool hasHandle = TARQ_ASSERT(mHandle != THREAD_INVALID_HANDLE, "Invalid thread handle");
    if (isInRange && hasHandle)
        Platform::setThreadPriority(mHandle, priority);
}

Thread::ThreadPriority Thread::getPriority() const {
    if (!TARQ_ASSERT(mHandle != THREAD_INVALID_HANDLE, "Invalid thread handle"))
        return TPRIO_NORMAL;
    return static_cast<ThreadPriority>(Platform::getThreadPriority(mHandle));
}

} // namespace Tarq::Common::Threading
