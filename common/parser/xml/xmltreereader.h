#pragma once

#include "common/export.h"
#include "common/parser/xml/xmlnode.h"

#include <sstream>

/// Reading the children that an object expects, and telling which of them are missing.
namespace Tarq::Common::Parser::XML::XMLTreeReader {

/// The child at the cursor of `parent`, if that has this name and is no text; the cursor moves on as `getNextNode`
/// moves it. Returns whether there is one; otherwise `out` is null, and `PrintTagNameError` reports it. A null `parent`
/// has no children.
TARQ_API bool ReadNodeElementsReq(XMLNodeElements*& out, XMLNodeElements* parent, const char* name);
/// The same without a report.
TARQ_API bool ReadNodeElementsOpt(XMLNodeElements*& out, XMLNodeElements* parent, const char* name);

/// Replaces what the stream holds by the way from the root to the node: 'config'->'ai'->'agent'.
TARQ_API void CreateNamedNodeHierarchy(std::stringstream& text, const XMLNode* node);

/// Reports, as an assertion, that a child is missing: "In 'config'->'ai' the tag 'agent' is required !".
TARQ_API void PrintTagNameError(const XMLNode* node, const char* tagName);
/// The same for an attribute.
TARQ_API void PrintAttribNameError(const XMLNode* node, const char* attribName);

} // namespace Tarq::Common::Parser::XML::XMLTreeReader
