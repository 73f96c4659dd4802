// A module of a host that makes nodes of its own, and uses the library's.

#include "common/parser/formula/datatypevalue.h"
#include "common/parser/formula/fieldmathvalue.h"
#include "common/parser/formula/operatormathvalue.h"
#include "common/reflection/reflectioninterface.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::Formula;

namespace {

class Accessor final : public VariableAccessor {
public:
    Reflection::Function::FunctionRegistrar* getFunctionRegistrar() const override { return nullptr; }
};

struct Fields {
    int32 count = 20;
    double weight = 0.5;
};

template <class T>
bool works(MathValue& node, VariableAccessor& accessor, T expected) {
    const std::unique_ptr<MathValue> copy(node.clone());
    const DatatypeValue value(*Reflection::Datatype::TypedDatatype<T>::getInstance(), node.getAllocator());
    copy->getValue(value.get(), &accessor);
    return *static_cast<const T*>(value.get()) == expected && node.isEqual(copy.get()) &&
           node.getDatatypeID() == Reflection::Datatype::GET_DATATYPE_ID<T>();
}

} // namespace

/// Evaluates, copies and compares a formula over fields of a type that the library has nodes for, and of one that it
/// has none for. Returns whether everything is right.
extern "C" TARQ_API bool evaluateFormulas(const Memory::AllocatorPtr& allocator) {
    Reflection::Datatype::registerDebuggerDatatypes(Reflection::ReflectionInterface::getDatatypeManager());
    Fields fields;
    Accessor accessor;
    accessor.setObject(&fields);
    const std::unique_ptr<MathValue> weight(new (allocator) FieldMathValue<double>(offsetof(Fields, weight)));
    const std::unique_ptr<MathValue> sum(new (allocator) AdditionMathValue<int32, int32>(
        new (allocator) FieldMathValue<int32>(offsetof(Fields, count)), new (allocator) AtomicMathValue<int32>(1)));
    return works(*weight, accessor, 0.5) && works(*sum, accessor, int32{21});
}
