#include "common/reflection/reflectioninterface.h"

#include "common/utility/initcounter.h"
#include "common/utility/neverdestroyed.h"

namespace Tarq::Common::Reflection {

using Datatype::DatatypeManagerPtr;

namespace {

/// A process that ends without `close` leaves the manager standing: static objects may still hold values of its types.
constinit NeverDestroyed<DatatypeManagerPtr> gManager;
constinit NeverDestroyed<Memory::AllocatorPtr> gNoAllocator;

/// Reports at the end of the process what was not undone.
constinit InitCounter gCounter("ReflectionInterface");

} // namespace

void ReflectionInterface::count(const DatatypeManagerPtr& manager) noexcept {
    if (gCounter.init())
        gManager.get() = manager;
}

void ReflectionInterface::close() {
    if (gCounter.deinit())
        gManager.get().reset();
}

const DatatypeManagerPtr& ReflectionInterface::getDatatypeManager() noexcept {
    return gManager.get();
}

const Memory::AllocatorPtr& ReflectionInterface::getMemoryAllocator() noexcept {
    const DatatypeManagerPtr& manager = gManager.get();
    return manager ? manager->getMemoryAllocator() : gNoAllocator.get();
}

} // namespace Tarq::Common::Reflection
