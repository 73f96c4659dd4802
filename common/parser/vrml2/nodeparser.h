#pragma once

#include "common/debug/report.h"
#include "common/parser/vrml2/parser.h"

#include <algorithm>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Tarq::Common::Parser::VRML2 {

/// Reads statements that stand for a node of the family `T`.
template <class T>
class NodeParser {
public:
    explicit NodeParser(Parser& parser) noexcept : mParser(parser) {}

    /// "DEF name Type { ... }", "USE name" or "Type { ... }". Empty when the node was skipped.
    NodePtr<T> parseNode();

private:
    /// Tells how deep what is read in a scope goes, apart from what was read around it.
    class HeightScope {
    public:
        explicit HeightScope(Parser& parser) noexcept
            : mParser(parser), mOuterDeepest(std::exchange(parser.mDeepest, parser.mDepth)) {}
        ~HeightScope() { mParser.mDeepest = std::max(mParser.mDeepest, mOuterDeepest); }
        HeightScope(const HeightScope&) = delete;
        HeightScope& operator=(const HeightScope&) = delete;

        uint32 getHeight() const noexcept { return mParser.mDeepest - mParser.mDepth; }

    private:
        Parser& mParser;
        uint32 mOuterDeepest;
    };

    NodePtr<T> parseDefinition();
    NodePtr<T> parseUse();
    NodePtr<T> parseNodeOf(std::string_view nodeName);
    void skipNode(std::string_view nodeName);
    static const char* getFunctionName() noexcept;

    Parser& mParser;
};

template <class T>
NodePtr<T> NodeParser<T>::parseNode() {
    const std::string_view word = mParser.readName();
    if (word == "DEF")
        return parseDefinition();
    return word == "USE" ? parseUse() : parseNodeOf(word);
}

template <class T>
NodePtr<T> NodeParser<T>::parseDefinition() {
    const String name(mParser.readName());
    const auto requireNew = [&](bool isNew) {
        if (!isNew)
            mParser.fail("Name '" + name + "' in DEF clause already defined.");
    };
    requireNew(!mParser.mDefinedNodes.contains(name));
    const HeightScope scope(mParser);
    NodePtr<T> node = parseNodeOf(mParser.readName());
    if (!node)
        return node;
    node->mDefName = name;
    // A node in this one may have taken the name.
    const bool isNew =
        mParser.mDefinedNodes
            .try_emplace(name, Parser::DefinedNode{decltype(Parser::DefinedNode::node)(node), scope.getHeight()})
            .second;
    requireNew(isNew);
    return node;
}

template <class T>
NodePtr<T> NodeParser<T>::parseUse() {
    const std::string_view name = mParser.readName();
    const auto found = mParser.mDefinedNodes.find(name);
    T* const node =
        found != mParser.mDefinedNodes.end() ? dynamic_cast<T*>(found->second.node.get()) : static_cast<T*>(nullptr);
    if (!node) {
        if (!mParser.mSkipUnknownNodes)
            mParser.fail("Node name '" + String(name) + "' in USE statement is not known");
        return NodePtr<T>();
    }
    mParser.requireNesting(found->second.height);
    mParser.mDeepest = std::max(mParser.mDeepest, mParser.mDepth + found->second.height);
    return NodePtr<T>(node);
}

template <class T>
NodePtr<T> NodeParser<T>::parseNodeOf(std::string_view nodeName) {
    const auto& registeredNodes = mParser.template registeredNodes<T>();
    const auto found = registeredNodes.find(nodeName);
    if (found == registeredNodes.end()) {
        skipNode(nodeName);
        return NodePtr<T>();
    }
    const Parser::Nesting nesting(mParser);
    NodePtr<T> node(found->second->createNode(mParser.getAllocator()));
    node->parse(mParser);
    return node;
}

template <class T>
void NodeParser<T>::skipNode(std::string_view nodeName) {
    if (!mParser.mSkipUnknownNodes)
        mParser.fail("unkown node: " + String(nodeName));
    Debug::report({Debug::LOG_MESSAGE, getFunctionName()}, "Skipping node '", nodeName,
                  "' as no appropriate node parser registered and node skipping enabled");
    mParser.skipBraces("Was trying to skip a unknown node '" + String(nodeName) +
                       "' but the node does not start with '{'");
}

/// Logs show these texts; they stay as they are.
template <class T>
const char* NodeParser<T>::getFunctionName() noexcept {
    if constexpr (std::is_same_v<T, SceneNode>)
        return "Tarq::Common::Parser::VRML2::NodeParser<class Tarq::Common::Parser::VRML2::SceneNode>::parseNode";
    else if constexpr (std::is_same_v<T, GeometryNode>)
        return "Tarq::Common::Parser::VRML2::NodeParser<class Tarq::Common::Parser::VRML2::GeometryNode>::parseNode";
    else
        return "Tarq::Common::Parser::VRML2::NodeParser<class Tarq::Common::Parser::VRML2::GeometricProperty>::"
               "parseNode";
}

} // namespace Tarq::Common::Parser::VRML2
