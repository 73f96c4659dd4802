#pragma once

#include "common/debug/assert.h"
#include "common/export.h"
#include "common/reflection/datatype/builtindatatypes.h"
#include "common/reflection/datatype/datatypemanager.h"
#include "common/reflection/datatype/typeddatatype.h"

#include <concepts>
#include <tuple>

namespace Tarq::Common::Reflection::Datatype {

/// Registers those built-in types that the manager does not have, with the library as the owner of their code, and the
/// member functions of all.
///
/// Asserts that the library has not registered them with another manager; returns false otherwise. Throws
/// `OutOfMemoryException`; another call goes on from there.
TARQ_API bool registerMissingDatatypes(DatatypeManager& manager);

/// Asserts that the built-in types that this module knows are the manager's; returns false otherwise.
TARQ_LOCAL inline bool checkKnownDatatypes(const DatatypeManager& manager) {
    bool isSameManager = true;
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        const auto* const known = TypedDatatype<typename Type::Native>::getInstance();
        isSameManager = isSameManager && (!known || manager.getDatatype(known->id()) == known);
    });
    return TARQ_ASSERT(isSameManager, "the built-in datatypes are registered with another manager");
}

/// Makes the built-in types known in the calling module; registers them first where the manager does not have them. On
/// a fresh manager they receive the ids 0 to 41.
///
/// With the types come their member functions, which `DatatypeBase::getFunctionID` finds:
///
///     of           name             arguments          result
///     vectors      "GetComponent"   index              component: 0 is x, 1 is y, 2 is z
///                  "SetComponent"   index, component
///                  "GetLength"                         component: the root of the sum of the squares
///                  "GetDistance"    vector             component: the length of this vector minus the argument
///     strings      "GetLength"                         UnsignedInteger32: without the final NUL
///     containers   "Clear"
///                  "PushBack"       element
///                  "Size"                              UnsignedInteger32
///                  "GetElement"     index              element
///                  "SetElement"     index, element
///                  "RemoveElement"  index
///
/// A component, an element and a vector have the types that belong to the object's. An index is an UnsignedInteger32,
/// but for "RemoveElement" an Integer32. Lengths of whole numbers: the sum of the squares wraps at 32 bits, and the
/// root is cut off towards zero. The functions assert that an index is in range, and that there is memory for an
/// element; otherwise nothing changes, and the result is the default of its type.
///
/// Nothing happens where this module knows "Boolean" already. Asserts that there is a manager, and that neither this
/// module nor the library knows the types of another one; nothing happens, and the result is false, otherwise. Throws
/// `OutOfMemoryException`; another call goes on from there.
TARQ_LOCAL inline bool registerDebuggerDatatypes(const DatatypeManagerPtr& manager) {
    if (!TARQ_ASSERT(manager, "there is no manager to register the datatypes with"))
        return false;
    if (!checkKnownDatatypes(*manager))
        return false;
    if (TypedDatatype<bool>::exists())
        return true;
    if (!registerMissingDatatypes(*manager))
        return false;
    const auto bind = [&manager]<class Type>(const Type& type) {
        using Typed = TypedDatatype<typename Type::Native>;
        if (!Typed::exists())
            manager->bindInstance(Typed::getInstanceSlot(), Typed::describe(type.getName(), true));
    };
    // "Boolean" comes last: where it is known, all are.
    forEachBuiltinDatatype([&bind]<class Type>(const Type& type) {
        if constexpr (!std::same_as<Type, ElementType<bool>>)
            bind(type);
    });
    bind(std::get<ElementType<bool>>(cElementTypes));
    return true;
}

} // namespace Tarq::Common::Reflection::Datatype
