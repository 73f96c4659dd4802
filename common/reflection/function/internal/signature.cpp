#include "common/reflection/function/internal/signature.h"

#include "common/reflection/reflectioninterface.h"

#include <algorithm>

namespace Tarq::Common::Reflection::Function {

using Datatype::DatatypeID;

namespace {

/// Whether the type is a whole number of 32 bits.
bool isWhole32(DatatypeID id) {
    const auto* const asSigned = Datatype::TypedDatatype<int32>::getInstance();
    const auto* const asUnsigned = Datatype::TypedDatatype<uint32>::getInstance();
    return (asSigned && asSigned->getDatatypeID() == id) || (asUnsigned && asUnsigned->getDatatypeID() == id);
}

} // namespace

bool isMatching(Signature a, Signature b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](DatatypeID one, DatatypeID other) {
        return one == other || (isWhole32(one) && isWhole32(other));
    });
}

String getTypeName(DatatypeID id) {
    if (id == Datatype::VOID_DATATYPE_ID)
        return "void";
    const Datatype::DatatypeManagerPtr& manager = ReflectionInterface::getDatatypeManager();
    return manager ? manager->getDatatypeName(id) : String();
}

void appendTypeNames(String& text, Signature types) {
    bool isFirst = true;
    for (const DatatypeID type : types) {
        if (!isFirst)
            text += ',';
        text += getTypeName(type);
        isFirst = false;
    }
}

} // namespace Tarq::Common::Reflection::Function
