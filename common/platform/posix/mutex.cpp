#include "common/platform/mutex.h"

#include <cerrno>
#include <new>

#include <pthread.h>

namespace Tarq::Common::Platform {

namespace {

pthread_mutex_t* nativeOf(void* storage) noexcept {
    return std::launder(static_cast<pthread_mutex_t*>(storage));
}

bool createNative(pthread_mutex_t* native) noexcept {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0)
        return false;
    const bool created = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                         pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                         pthread_mutex_init(native, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return created;
}

int refuse(void*) noexcept {
    return EINVAL;
}

} // namespace

MutexHandle::MutexHandle() noexcept {
    static_assert(sizeof(pthread_mutex_t) <= sizeof(mStorage) && alignof(pthread_mutex_t) <= alignof(void*));
    const bool created = createNative(::new (static_cast<void*>(mStorage)) pthread_mutex_t);
    mLock = created ? reinterpret_cast<Call>(&pthread_mutex_lock) : &refuse;
    mUnlock = created ? reinterpret_cast<Call>(&pthread_mutex_unlock) : &refuse;
}

MutexHandle::~MutexHandle() {
    const WaitResult result = tryLock();
    if (result != WaitResult::WRESULT_SUCCESS && result != WaitResult::WRESULT_ABANDONED)
        return;
    // Every mutex that a thread holds is linked to the others that it holds. One that vanished while it is held would
    // leave links to its bytes behind; so the caller lets go as often as it came in.
    pthread_mutex_t* const native = nativeOf(mStorage);
    for (unsigned int held = native->__data.__count; held != 0; --held)
        pthread_mutex_unlock(native);
    pthread_mutex_destroy(native);
}

MutexHandle::operator bool() const noexcept {
    return mLock != &refuse;
}

WaitResult MutexHandle::tryLock() noexcept {
    return *this ? finishWait(pthread_mutex_trylock(nativeOf(mStorage))) : WaitResult::WRESULT_FAILED;
}

WaitResult MutexHandle::finishWait(int outcome) noexcept {
    switch (outcome) {
    case 0:
        return WaitResult::WRESULT_SUCCESS;
    case EOWNERDEAD:
        pthread_mutex_consistent(nativeOf(mStorage));
        return WaitResult::WRESULT_ABANDONED;
    case EBUSY:
        return WaitResult::WRESULT_TIMEOUT;
    default:
        return WaitResult::WRESULT_FAILED;
    }
}

} // namespace Tarq::Common::Platform
