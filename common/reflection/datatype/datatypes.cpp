#include "common/reflection/datatype/datatypes.h"

#include "common/reflection/datatype/datatype.h"
#include "common/reflection/datatype/internal/builtintraits.h"

namespace Tarq::Common::Reflection::Datatype {

namespace {

/// Whether the manager of the types that the library knows has all of them, and all of their functions.
constinit bool gIsComplete = false;

template <class T>
void registerBuiltin(DatatypeManager& manager, const String& name, const T& defaultValue) {
    constexpr ParseFunction<T> cParseFunction = BuiltinTraits<T>::cParseFunction;
    if constexpr (isFundamentalDatatype<T>)
        manager.registerDatatype<T>(name, defaultValue, cParseFunction);
    else
        manager.registerNFDatatype<T>(name, defaultValue, cParseFunction);
}

} // namespace

bool registerMissingDatatypes(DatatypeManager& manager) {
    if (!checkKnownDatatypes(manager))
        return false;
    if (TypedDatatype<bool>::exists() && gIsComplete)
        return true;
    gIsComplete = false;
    forEachBuiltinDatatype([&manager]<class Type>(const Type& type) {
        using T = typename Type::Native;
        if (!TypedDatatype<T>::exists())
            registerBuiltin<T>(manager, type.getName(), type.makeDefault(manager.getMemoryAllocator()));
        // A type that is there may lack functions: a host may have made it, or memory ran out behind it.
        if (auto* const datatype = static_cast<Datatype<T>*>(TypedDatatype<T>::getInstance()))
            BuiltinTraits<T>::registerFunctions(datatype->getFunctions());
    });
    gIsComplete = true;
    return true;
}

} // namespace Tarq::Common::Reflection::Datatype
