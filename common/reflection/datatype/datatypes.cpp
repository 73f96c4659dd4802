#include "common/reflection/datatype/datatypes.h"

#include "common/reflection/datatype/datatype.h"
#include "common/reflection/datatype/internal/builtintraits.h"

namespace Tarq::Common::Reflection::Datatype {

namespace {

template <class T>
Datatype<T>* registerBuiltin(DatatypeManager& manager, const String& name, const T& defaultValue) {
    constexpr ParseFunction<T> cParseFunction = BuiltinTraits<T>::cParseFunction;
    if constexpr (isFundamentalDatatype<T>)
        return manager.registerDatatype<T>(name, defaultValue, cParseFunction);
    else
        return manager.registerNFDatatype<T>(name, defaultValue, cParseFunction);
}

} // namespace

bool registerMissingDatatypes(DatatypeManager& manager) {
    const TypedDatatype<bool>* const known = TypedDatatype<bool>::getInstance();
    if (known)
        return TARQ_ASSERT(manager.getDatatype(known->getDatatypeID()) == known,
                           "the built-in datatypes are registered with another manager");
    forEachBuiltinDatatype([&manager]<class Type>(const Type& type) {
        using T = typename Type::Native;
        if (TypedDatatype<T>::exists())
            return;
        const String name = type.getName();
        const bool isNew = manager.getDatatypeID(name) == INVALID_DATATYPE_ID;
        Datatype<T>* const datatype = registerBuiltin<T>(manager, name, type.makeDefault(manager.getMemoryAllocator()));
        if (isNew && datatype)
            BuiltinTraits<T>::registerFunctions(datatype->getFunctions());
    });
    return true;
}

} // namespace Tarq::Common::Reflection::Datatype
