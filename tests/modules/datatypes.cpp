// A module of a host that shows all its symbols to the loader, as compilers do unless they are told.
#pragma GCC visibility push(default)

#include "common/reflection/datatype/datatypes.h"
#include "tests/reflection/datatype/colour.h"

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection::Datatype;
using Tarq::Test::Colour;

/// How many of the built-in types and `Colour` are known here.
extern "C" uint32 countKnownDatatypes() {
    uint32 known = TypedDatatype<Colour>::exists() ? 1 : 0;
    forEachBuiltinDatatype(
        [&known]<class Type>(const Type&) { known += TypedDatatype<typename Type::Native>::exists() ? 1 : 0; });
    return known;
}

extern "C" const DatatypeBase* registerColour(const DatatypeManagerPtr& manager) {
    registerDebuggerDatatypes(manager);
    return manager->registerNFDatatype<Colour>("Colour", Colour{2}, &Tarq::Test::parseColour<200>);
}
