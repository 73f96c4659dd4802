#include "common/parser/xml/xmltreereader.h"

#include "common/container/vector.h"
#include "common/debug/assert.h"
#include "common/library.h"
#include "common/string.h"

namespace Tarq::Common::Parser::XML::XMLTreeReader {

namespace {

/// From the root to the node.
String pathOf(const XMLNode* node) {
    Container::Vector<const char*> names(Library::getTempAlloc());
    for (; node; node = node->parent)
        names.push_back(node->name);
    String path;
    for (uint32 left = names.size(); left != 0; --left)
        path.append(path.empty() ? "'" : "->'").append(names[left - 1]).append("'");
    return path;
}

} // namespace

bool ReadNodeElementsReq(XMLNodeElements*& out, XMLNodeElements* parent, const char* name) {
    const bool isThere = ReadNodeElementsOpt(out, parent, name);
    if (!isThere)
        PrintTagNameError(parent, name);
    return isThere;
}

bool ReadNodeElementsOpt(XMLNodeElements*& out, XMLNodeElements* parent, const char* name) {
    out = parent ? parent->getNextElements(name) : nullptr;
    return out != nullptr;
}

void CreateNamedNodeHierarchy(std::stringstream& text, const XMLNode* node) {
    text.str(std::string());
    text.clear();
    text << pathOf(node).view();
}

void PrintTagNameError(const XMLNode* node, const char* tagName) {
    TARQ_FAIL("In ", pathOf(node), " the tag '", tagName, "' is required !");
}

void PrintAttribNameError(const XMLNode* node, const char* attribName) {
    TARQ_FAIL("In ", pathOf(node), " the attribute '", attribName, "' is required !");
}

} // namespace Tarq::Common::Parser::XML::XMLTreeReader
