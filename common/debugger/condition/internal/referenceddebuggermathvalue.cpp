#include "common/debugger/condition/internal/referenceddebuggermathvalue.h"

#include "common/reflection/datatype/builtindatatypes.h"

namespace Tarq::Common::Debugger {

namespace {

/// Which class has the values of a built-in type.
template <class T>
struct NodeOf {
    using Type = ReferencedDebuggerMathValue<T>;
};
template <class E>
struct NodeOf<Container::Vector<E>> {
    using Type = ReferencedDebuggerMathValueVector<E>;
};

} // namespace

Parser::Formula::MathValue* makeReferencedMathValue(const VariableType& variable,
                                                    const Memory::AllocatorPtr& allocator) {
    using Reflection::Datatype::DatatypeID;
    const DatatypeID type = variable.getDatatypeID();
    Parser::Formula::MathValue* node = nullptr;
    Reflection::Datatype::forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        // Types that are not registered have no ids by which they differ.
        if (!node && type != DatatypeID() && type == Reflection::Datatype::GET_DATATYPE_ID<T>())
            node = new (allocator) typename NodeOf<T>::Type(variable);
    });
    return node ? node : new (allocator) UntypedReferencedDebuggerMathValue(variable);
}

} // namespace Tarq::Common::Debugger
