// A module of a host that shows all its symbols to the loader, as compilers do unless they are told.
#pragma GCC visibility push(default)

#include "common/reflection/datatype/datatypes.h"
#include "tests/reflection/datatype/colour.h"

namespace Tarq::Test {

struct Versioned {
    Common::int32 number = 0;
    Common::int32 patch = 0;
};

} // namespace Tarq::Test

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection::Datatype;
using namespace Tarq::Test;

namespace {

uint32 countKnown() {
    uint32 known = TypedDatatype<Colour>::exists() ? 1 : 0;
    forEachBuiltinDatatype(
        [&known]<class Type>(const Type&) { known += TypedDatatype<typename Type::Native>::exists() ? 1 : 0; });
    return known;
}

const DatatypeBase* registerColour(const DatatypeManagerPtr& manager, bool isParsed) {
    // Whoever refers to the constants refers to this module's.
    Container::Vector<DatatypeID> types(manager->getMemoryAllocator());
    types.push_back(VOID_DATATYPE_ID);
    types.push_back(INVALID_DATATYPE_ID);
    registerDebuggerDatatypes(manager);
    return manager->registerNFDatatype<Colour>("Colour", Colour{2}, isParsed ? &parseColour<200> : nullptr);
}

const DatatypeBase* registerVersioned(const DatatypeManagerPtr& manager, const char* name) {
    return manager->registerNFDatatype<Versioned>(name, Versioned(), nullptr);
}

} // namespace

extern "C" const DatatypesModule datatypesModule;
const DatatypesModule datatypesModule{&countKnown, &registerColour, &registerVersioned};
