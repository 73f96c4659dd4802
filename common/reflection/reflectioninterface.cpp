#include "common/reflection/reflectioninterface.h"

#include "common/debug/assert.h"
#include "common/utility/initcounter.h"
#include "common/utility/neverdestroyed.h"

namespace Tarq::Common::Reflection {

using Datatype::DatatypeManagerPtr;

namespace {

/// A process that ends without `close` leaves the manager standing: static objects may still hold values of its types.
constinit NeverDestroyed<DatatypeManagerPtr> gManager;
constinit const Memory::AllocatorPtr gNoAllocator;

/// Reports at the end of the process what was not undone.
constinit InitCounter gCounter("ReflectionInterface");

} // namespace

bool ReflectionInterface::keep(const DatatypeManagerPtr& manager) {
    if (!TARQ_ASSERT(manager, "there is no reflection without a manager"))
        return false;
    if (gCounter.init())
        gManager.get() = manager;
    return true;
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
    return manager ? manager->getMemoryAllocator() : gNoAllocator;
}

} // namespace Tarq::Common::Reflection
