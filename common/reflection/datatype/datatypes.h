#pragma once

#include "common/export.h"
#include "common/reflection/datatype/builtindatatypes.h"
#include "common/reflection/datatype/datatypemanager.h"
#include "common/reflection/datatype/typeddatatype.h"

namespace Tarq::Common::Reflection::Datatype {

/// Registers those built-in types that the manager does not have, with the library as the owner of their code.
///
/// Asserts that the library has not registered them with another manager; returns false otherwise.
TARQ_API bool registerMissingDatatypes(DatatypeManager& manager);

/// Makes the built-in types known in the calling module; registers them first where the manager does not have them. On
/// a fresh manager they receive the ids 0 to 41.
///
/// Nothing happens where this module knows "Boolean" already. Asserts that there is a manager; nothing happens
/// otherwise. Throws `OutOfMemoryException`; the manager is not complete then, and to be given up.
TARQ_LOCAL inline void registerDebuggerDatatypes(const DatatypeManagerPtr& manager) {
    if (TypedDatatype<bool>::exists() || !TARQ_ASSERT(manager, "there is no manager to register the datatypes with"))
        return;
    if (!registerMissingDatatypes(*manager))
        return;
    forEachBuiltinDatatype([&manager]<class Type>(const Type& type) {
        using Typed = TypedDatatype<typename Type::Native>;
        if (!Typed::exists())
            manager->bindInstance(Typed::getInstanceSlot(), type.getName(), Typed::getTypeName());
    });
}

} // namespace Tarq::Common::Reflection::Datatype
