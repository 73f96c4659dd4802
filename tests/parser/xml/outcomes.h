#pragma once

#include "common/parser/xml/xmlparser.h"
#include "common/parser/xml/xmlparserexception.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tarq::Test {

/// A tree on one line: name[attribute=value,...], then "text" or (children) or nothing.
inline std::string shown(const Common::Parser::XML::XMLNode& node) {
    std::string text = node.name;
    std::string separator = "[";
    for (const auto& [name, value] : node.attributes) {
        text += separator + name + "=" + value;
        separator = ",";
    }
    if (separator == ",")
        text += "]";
    if (node.asText())
        return text + "\"" + node.asText()->text + "\"";
    if (node.isEmpty())
        return text;
    text += "(";
    for (const Common::Parser::XML::XMLNode* child : node.asElements()->elements)
        text += (child != node.asElements()->elements.front() ? " " : "") + shown(*child);
    return text + ")";
}

/// What `parse`, which returns a root, ends in: the tree, or line, row and message of the exception.
template <class Parse>
std::string outcomeOfParse(Parse parse) {
    try {
        return shown(*parse());
    } catch (Common::Parser::XML::XMLParserException* exception) {
        const Common::Exceptions::Holder holder(exception);
        const std::string message(exception->getMessage().view());
        return std::to_string(exception->getLine()) + ":" + std::to_string(exception->getRow()) + " " + message;
    }
}

/// The same for a document in a buffer that has not a byte more, and is overwritten when the tree has copies.
inline std::string outcomeOfDocument(std::string_view document, bool copyStrings = false) {
    std::vector<char> buffer(document.begin(), document.end());
    Common::Parser::XML::XMLParser parser;
    return outcomeOfParse([&] {
        auto* const root = parser.parseBuffer(buffer.data(), static_cast<Common::uint32>(buffer.size()), copyStrings);
        if (copyStrings)
            buffer.assign(buffer.size(), '?');
        return root;
    });
}

} // namespace Tarq::Test
