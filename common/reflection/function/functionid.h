#pragma once

#include "common/types.h"
#include "common/utility/idwrapper.h"

namespace Tarq::Common::Reflection::Function {

class FunctionDeclarationManager;

/// Names a declaration of a `FunctionDeclarationManager`: its place in the order of creation. One that is made without
/// a number is no function.
using FunctionID = IDWrapper<uint32, FunctionDeclarationManager, 0>;

} // namespace Tarq::Common::Reflection::Function
