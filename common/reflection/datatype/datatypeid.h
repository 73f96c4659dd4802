#pragma once

#include "common/types.h"
#include "common/utility/idwrapper.h"

namespace Tarq::Common::Reflection::Datatype {

class DatatypeManager;

/// Names a type of a `DatatypeManager`: its place in the order of registration. Ids of two managers never meet.
using DatatypeID = IDWrapper<uint32, DatatypeManager, 0>;

/// The type "void", which has no object.
inline constexpr DatatypeID VOID_DATATYPE_ID{0xFFFFFFFE}; // NOLINT(readability-identifier-naming): a contract
/// No type.
inline constexpr DatatypeID INVALID_DATATYPE_ID{}; // NOLINT(readability-identifier-naming): a contract

} // namespace Tarq::Common::Reflection::Datatype
