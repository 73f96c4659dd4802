#pragma once

#include "common/export.h"
#include "common/types.h"
#include "common/utility/idwrapper.h"

namespace Tarq::Common::Reflection::Datatype {

class DatatypeManager;

/// Names a type of a `DatatypeManager`: its place in the order of registration. Ids of two managers never meet.
using DatatypeID = IDWrapper<uint32, DatatypeManager, 0>;

/// The type "void", which has no object. Hidden, like the next, so that it does not keep a module loaded.
// NOLINTBEGIN(readability-identifier-naming): a contract
TARQ_LOCAL inline constexpr DatatypeID VOID_DATATYPE_ID{0xFFFFFFFE};
/// No type.
TARQ_LOCAL inline constexpr DatatypeID INVALID_DATATYPE_ID{};
// NOLINTEND(readability-identifier-naming)

} // namespace Tarq::Common::Reflection::Datatype
