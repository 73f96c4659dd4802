#pragma once

#include "tool/condition/problem.h"
#include "tool/condition/tree.h"

namespace Tarq::Tool {

/// A whole number, a text, ... for a person.
Common::String describe(NodeKind literal);

/// Gives a literal this type, and the forms of its value. False, with a problem at what does not fit, when it is none
/// of the type, or when no document can tell a host.
bool convertLiteral(Node& literal, const Datatype& type, Problem& problem);

/// Hosts read the texts of documents as they stand: nothing can be escaped. False, with a problem, when this one cannot
/// be written.
bool requireWritable(std::string_view text, std::size_t offset, Problem& problem);

} // namespace Tarq::Tool
