#pragma once

#include "tool/condition/tree.h"

namespace Tarq::Tool {

/// A checked condition as text, with no more parentheses than it needs.
Common::String writeCanonical(const Node& root);

/// A checked condition as the document that a host takes.
Common::String writeDocument(const Node& root);

} // namespace Tarq::Tool
