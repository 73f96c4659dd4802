#pragma once

#include "common/library.h"
#include "common/reflection/reflectioninterface.h"

namespace Tarq::Bench {

/// The registry of types, for as long as this lives.
struct Registry {
    Registry() {
        using namespace Common::Reflection;
        const auto& allocator = Common::Library::getTempAlloc();
        ReflectionInterface::init(Datatype::DatatypeManagerPtr(new (allocator) Datatype::DatatypeManager));
    }
    ~Registry() { Common::Reflection::ReflectionInterface::close(); }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
};

} // namespace Tarq::Bench
