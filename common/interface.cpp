#include "common/interface.h"

#include "common/callback/callbackallocator.h"
#include "common/debug/internal/currentassertcallback.h"
#include "common/library.h"
#include "common/memory/allocate.h"
#include "common/memory/defaultallocator.h"
#include "common/memory/threadsafeallocwrapper.h"
#include "common/utility/initcounter.h"
#include "common/utility/neverdestroyed.h"

namespace Tarq::Common {

namespace {

using Memory::AllocatorPtr;

/// Whoever asserts after the end of the static objects is shown by the default callback.
constinit NeverDestroyed<Debug::CurrentAssertCallback> gAssertCallback;

/// The exit has released its references; a close that comes later still, from an older static object, has none left.
constinit bool gHasEnded = false;

struct AssertCallbackRelease {
    ~AssertCallbackRelease() {
        gAssertCallback.get().set(nullptr);
        gHasEnded = true;
    }
};

/// What goes at the end of the process, the last member first: the counter reports through the assertion callback, so
/// that outlives it; what the report's text is made of lives on the global heap.
struct InterfaceState {
    AssertCallbackRelease assertCallback;
    AllocatorPtr globalAllocator;
    InitCounter counter{"Common"};
};

constinit InterfaceState gState;

AllocatorPtr makeGlobalAllocator(const Callback::MemoryCallbackPtr& memoryCallback) {
    if (!memoryCallback) {
        using Wrapped = Memory::ThreadSafeAllocWrapper<Memory::DefaultAllocator, Threading::cSpinCount>;
        return Memory::makeAllocator<Wrapped>(AllocatorPtr(), "Default");
    }
    using Wrapped = Memory::ThreadSafeAllocWrapper<Callback::CallbackAllocator, Threading::cSpinCount>;
    void* const bytes = memoryCallback->allocate(sizeof(Wrapped));
    if (!bytes)
        Memory::throwOutOfMemory();
    return AllocatorPtr(::new (bytes) Wrapped("Callback", memoryCallback));
}

} // namespace

void Interface::initLibrary(const Callback::MemoryCallbackPtr& memoryCallback) {
    if (!gState.counter.init())
        return;
    try {
        gState.globalAllocator = makeGlobalAllocator(memoryCallback);
        Library::init(gState.globalAllocator);
    } catch (...) {
        gState.globalAllocator.reset();
        gState.counter.deinit();
        throw;
    }
}

void Interface::closeLibrary() {
    if (!gState.counter.deinit())
        return;
    Library::close();
    if (!gHasEnded)
        gState.globalAllocator.reset();
}

const AllocatorPtr& Interface::getGlobalAllocator() noexcept {
    return gState.globalAllocator;
}

Debug::LogReporter* Interface::getLogReporter() noexcept {
    return Library::getLogReporter();
}

void Interface::setAssertCallback(const Callback::AssertCallbackPtr& callback) {
    gAssertCallback.get().set(callback);
}

const Callback::AssertCallbackPtr& Interface::getAssertCallback() {
    return gAssertCallback.get().get();
}

void Debug::ShowAssertMessage(const char* message, const char* file, unsigned int line) {
    gAssertCallback.get().show(message, file, line);
}

} // namespace Tarq::Common
