#pragma once

#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagereader.h"
#include "common/reflection/datatype/datatypeid.h"
#include "common/reflection/function/functionargumentlist.h"

/// The values of a call, as messages hold them: typed items of the built-in types.
namespace Tarq::Common::Debugger {

/// Reads the next item into an argument of the list. Asserts that it is a value of the argument's type, which is a
/// built-in one; false then. Exhausted memory is an assertion where the value is read, and an `OutOfMemoryException`
/// where it is copied into the list.
bool readArgument(Network::Message::MessageReader& reader, Reflection::Function::FunctionArgumentList& list,
                  uint32 index);

/// Writes a value as an item. Asserts that its type is a built-in one; false, and nothing is written, otherwise. What
/// the builder throws passes on.
bool writeResult(Network::Message::MessageBuilder& builder, Reflection::Datatype::DatatypeID type, const void* value);

} // namespace Tarq::Common::Debugger
