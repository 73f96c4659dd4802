#pragma once

#include "common/parser/formula/mathvalue.h"

#include <span>

namespace Tarq::Common::Parser::Formula {

/// Null for a type without values: none, "void", one that is not registered.
const Reflection::Datatype::DatatypeBase* findDatatype(DatatypeID id) noexcept;

/// The types of the nodes' values.
Container::Vector<DatatypeID> typesOf(std::span<MathValue* const> nodes, const Memory::AllocatorPtr& allocator);

} // namespace Tarq::Common::Parser::Formula
