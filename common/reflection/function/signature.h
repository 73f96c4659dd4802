#pragma once

#include "common/reflection/datatype/datatypeid.h"

#include <span>

namespace Tarq::Common::Reflection::Function {

/// Types one after the other; in a full signature, the result's comes first.
using Signature = std::span<const Datatype::DatatypeID>;

} // namespace Tarq::Common::Reflection::Function
