#include "common/library.h"

#include "common/debug/logmanager.h"
#include "common/exceptions/argumentexception.h"
#include "common/memory/allocate.h"
#include "common/memory/freelistallocator.h"
#include "common/utility/neverdestroyed.h"

namespace Tarq::Common {

namespace {

using Memory::AllocatorPtr;
using WrappedFreeList = Memory::ThreadSafeAllocWrapper<Memory::FreeListAllocator, Threading::cSpinCount>;

/// What exists between `init` and `close`. A process that ends without `close` leaves it standing: its other threads
/// and static objects may still use it.
struct LibraryState {
    AllocatorPtr debugAlloc;
    AllocatorPtr exceptionAlloc;
    AllocatorPtr stringAlloc;
    AllocatorPtr tempAlloc;
    Debug::LogReporter* logReporter = nullptr;
};

constinit NeverDestroyed<LibraryState> gState;

void releaseAllocators(LibraryState& state) noexcept {
    state.debugAlloc.reset();
    state.exceptionAlloc.reset();
    state.stringAlloc.reset();
    state.tempAlloc.reset();
}

} // namespace

void Library::init(const AllocatorPtr& allocator) {
    if (!allocator)
        throw new Exceptions::ArgumentNullException("Library: There is no library without an allocator.", "allocator");
    LibraryState& state = gState.get();
    LibraryState before = state;
    state.debugAlloc = Memory::makeAllocator<WrappedFreeList>(allocator, allocator);
    state.exceptionAlloc = state.debugAlloc;
    state.stringAlloc = state.debugAlloc;
    state.tempAlloc = state.debugAlloc;

    const bool hadManager = Debug::LogManager::getInstance() != nullptr;
    try {
        Debug::LogManager* const manager = Debug::LogManager::createInstance(state.debugAlloc);
        state.logReporter = manager->createLogReporter("Common");
    } catch (...) {
        if (!hadManager)
            Debug::LogManager::destroyInstance();
        state = std::move(before);
        throw;
    }
}

void Library::close() {
    LibraryState& state = gState.get();
    Debug::LogReporter* const reporter = std::exchange(state.logReporter, nullptr);
    if (Debug::LogManager* const manager = Debug::LogManager::getInstance())
        manager->removeLogReporter(reporter);
    Debug::LogManager::destroyInstance();
    releaseAllocators(state);
}

const AllocatorPtr& Library::getDebugAlloc() noexcept {
    return gState.get().debugAlloc;
}

const AllocatorPtr& Library::getExceptionAlloc() noexcept {
    return gState.get().exceptionAlloc;
}

const AllocatorPtr& Library::getStringAlloc() noexcept {
    return gState.get().stringAlloc;
}

const AllocatorPtr& Library::getTempAlloc() noexcept {
    return gState.get().tempAlloc;
}

Debug::LogReporter* Library::getLogReporter() noexcept {
    return gState.get().logReporter;
}

} // namespace Tarq::Common
