// A module of a host that shows all its symbols to the loader, as compilers do unless they are told.
#pragma GCC visibility push(default)

#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection;

namespace {

struct Counter {
    int32 count = 0;
    int32 countOn(int32 by) { return count += by; }
};
Counter gCounter;

int32 addOne(int32 a) {
    return a + 1;
}

} // namespace

/// Registers functions of every kind, and calls those that need no object. Returns the sum of their results.
extern "C" int32 registerAndCall(Function::FunctionRegistrar& registrar) {
    Datatype::registerDebuggerDatatypes(ReflectionInterface::getDatatypeManager());
    const Memory::AllocatorPtr& allocator = registrar.getAllocator();
    Function::FunctionArgumentList arguments({allocator, {Datatype::GET_DATATYPE_ID<int32>()}}, allocator);
    arguments.set(0, int32{20});
    const Function::FunctionID plain = registrar.registerFunction("plain", &addOne);
    const Function::FunctionID bound = registrar.registerFunction("bound", &Counter::countOn, &gCounter);
    registrar.registerFunction("member", &Counter::countOn);
    registrar.registerMemberFunction("with an object", [](Counter& counter, int32 by) { counter.count += by; });
    int32 sum = 0;
    for (const Function::FunctionID each : {plain, bound}) {
        int32 result = 0;
        registrar.callFunction(&result, each, nullptr, arguments);
        sum += result;
    }
    return sum;
}
