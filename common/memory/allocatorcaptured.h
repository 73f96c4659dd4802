#pragma once

#include <cstddef>
#include <new>

namespace Tarq::Common::Memory {

/// Base of objects that the host makes and the library deletes: each remembers how its bytes are released.
///
/// Everything here is compiled into the module that makes the object, so a plain `new` there is matched by that
/// module's own `operator delete`, whichever module drops the object last. A host with a heap of its own passes its
/// release function to the constructor and makes the object in place there. Classes with an alignment of their own are
/// refused: the plain `new` here does not know it.
class AllocatorCaptured {
public:
    /// Takes back the bytes of a destroyed object.
    using ReleaseFunction = void (*)(void* object);

    virtual ~AllocatorCaptured() = default;
    AllocatorCaptured(const AllocatorCaptured&) = delete;
    AllocatorCaptured& operator=(const AllocatorCaptured&) = delete;

    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
        return ::operator new(size, std::nothrow);
    }
    static void* operator new(std::size_t, std::align_val_t) = delete;
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* object) noexcept { ::operator delete(object); }
    static void operator delete(void* object, const std::nothrow_t&) noexcept { ::operator delete(object); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete(AllocatorCaptured* self, std::destroying_delete_t) {
        const ReleaseFunction release = self->mRelease;
        void* const address = dynamic_cast<void*>(self);
        self->~AllocatorCaptured();
        release(address);
    }

protected:
    explicit AllocatorCaptured(ReleaseFunction release = &releaseGlobally) noexcept : mRelease(release) {}

private:
    static void releaseGlobally(void* object) { ::operator delete(object); }

    ReleaseFunction mRelease;
};

} // namespace Tarq::Common::Memory
