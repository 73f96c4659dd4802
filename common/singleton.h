#pragma once

#include "common/debug/assert.h"
#include "common/memory/allocatorptr.h"

#include <utility>

namespace Tarq::Common {

/// Holds the one instance of `T`, a `Memory::MemoryManaged` class.
///
/// The class says `extern template class Singleton<T>` in its header and instantiates it in its source, so that every
/// module asks the same place. Threads: creating and destroying belong to one thread, while nobody uses the instance.
template <class T>
class Singleton {
public:
    /// Makes the instance on `allocator`. Asserts that there is none yet; returns the existing one otherwise.
    template <class... Arguments>
    static T* createInstance(const Memory::AllocatorPtr& allocator, Arguments&&... arguments) {
        if (sInstance) {
            TARQ_FAIL("there is already an instance of this singleton object");
            return sInstance;
        }
        sInstance = new (allocator) T(std::forward<Arguments>(arguments)...);
        return sInstance;
    }

    /// Null while there is none.
    static T* getInstance() noexcept { return sInstance; }

    /// Deletes the instance; nothing happens when there is none.
    static void destroyInstance() { delete std::exchange(sInstance, nullptr); }

protected:
    Singleton() = default;
    ~Singleton() = default;

private:
    static T* sInstance;
};

template <class T>
constinit T* Singleton<T>::sInstance = nullptr;

} // namespace Tarq::Common
