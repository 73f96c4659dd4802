#pragma once

#include "common/reflection/function/signature.h"
#include "common/string.h"

namespace Tarq::Common::Reflection::Function {

/// Whether both are as long and their types are equal at each place, where "Integer32" and "UnsignedInteger32" stand
/// for each other.
bool isMatching(Signature a, Signature b);

/// The name of a type as messages show it: "void", or what the process-wide manager calls it; empty if it does not.
String getTypeName(Datatype::DatatypeID id);
/// Appends the names, separated by ",".
void appendTypeNames(String& text, Signature types);

} // namespace Tarq::Common::Reflection::Function
