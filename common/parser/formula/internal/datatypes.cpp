#include "common/parser/formula/internal/datatypes.h"

#include "common/reflection/reflectioninterface.h"

namespace Tarq::Common::Parser::Formula {

using Reflection::ReflectionInterface;

const Reflection::Datatype::DatatypeBase* findDatatype(DatatypeID id) noexcept {
    const Reflection::Datatype::DatatypeManagerPtr& manager = ReflectionInterface::getDatatypeManager();
    return manager ? manager->getDatatype(id) : nullptr;
}

Container::Vector<DatatypeID> typesOf(std::span<MathValue* const> nodes, const Memory::AllocatorPtr& allocator) {
    Container::Vector<DatatypeID> types(allocator);
    types.reserve(static_cast<uint32>(nodes.size()));
    for (MathValue* const node : nodes)
        types.push_back(node->getDatatypeID());
    return types;
}

} // namespace Tarq::Common::Parser::Formula
