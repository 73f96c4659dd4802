#pragma once

#include "tests/support/memoryfilesystem.h"

#include "common/parser/vrml2/appearancenode.h"
#include "common/parser/vrml2/boxnode.h"
#include "common/parser/vrml2/indexedfacesetnode.h"
#include "common/parser/vrml2/inlinenode.h"
#include "common/parser/vrml2/meshgen.h"
#include "common/parser/vrml2/parser.h"
#include "common/parser/vrml2/shapenode.h"
#include "common/parser/vrml2/switchnode.h"
#include "common/parser/vrml2/transformnode.h"
#include "common/parser/vrml2/vrml2parserexception.h"

#include <cstdio>
#include <memory>
#include <string>

namespace Tarq::Test {

namespace VRML2 = Common::Parser::VRML2;

using Scene = std::unique_ptr<VRML2::SceneNode>;

inline const std::string cHeader = "#VRML V2.0 utf8\n";

inline std::string shown(float number) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.9g", static_cast<double>(number));
    return text;
}

inline std::string shown(const Common::Math::Vec3f& vector) {
    return shown(vector.mX) + " " + shown(vector.mY) + " " + shown(vector.mZ);
}

inline std::string shown(const VRML2::SceneNode* node);

inline std::string shown(const VRML2::SceneNodes& nodes) {
    std::string text;
    for (const VRML2::SceneNodePtr& node : nodes)
        text += (text.empty() ? "" : " ") + shown(node.get());
    return "(" + text + ")";
}

inline std::string shown(const VRML2::GeometryNode* geometry) {
    if (!geometry)
        return "";
    std::string text = geometry->getNodeName();
    if (const auto* const box = dynamic_cast<const VRML2::BoxNode*>(geometry))
        return text + " " + shown(box->getSize());
    if (const auto* const faces = dynamic_cast<const VRML2::IndexedFaceSetNode*>(geometry)) {
        if (faces->getCoord()) {
            for (const auto& point : faces->getCoord()->getPoints())
                text += " " + shown(point);
        }
        text += faces->isCounterClockwise() ? "" : " cw";
        for (const Common::int32 index : faces->getCoordIndex())
            text += " " + std::to_string(index);
    }
    return text;
}

/// A tree on one line: what is below a node stands in parentheses behind its name.
inline std::string shown(const VRML2::SceneNode* node) {
    if (!node)
        return "";
    const std::string name = std::string(node->getDefName().empty() ? "" : node->getDefName().c_str()) +
                             (node->getDefName().empty() ? "" : "=") + node->getNodeName();
    if (const auto* const group = dynamic_cast<const VRML2::GroupingNode*>(node))
        return name + shown(group->getChildren());
    if (const auto* const switchNode = dynamic_cast<const VRML2::SwitchNode*>(node))
        return name + std::to_string(switchNode->getWhichChoice()) + shown(switchNode->getChoices());
    if (const auto* const shape = dynamic_cast<const VRML2::ShapeNode*>(node)) {
        const std::string appearance = shown(shape->getAppearance());
        return name + "[" + appearance + (appearance.empty() ? "" : " ") + shown(shape->getGeometry()) + "]";
    }
    return name;
}

/// A host's node that has children, and inline files that may be missing or wrong.
class HallNode : public VRML2::GroupingNode {
public:
    HallNode(const char* name, Common::uint16 nodeType) : GroupingNode(nodeType), mName(name) {}
    void parse(VRML2::Parser& parser) override {
        Common::Container::Vector<Common::String> urls(getAllocator());
        const VRML2::Member members[] = {{"children", VRML2::FIELD_MFNODE_SCENE, &mChildren},
                                         {"url", VRML2::FIELD_MFSTRING, &urls}};
        parser.parseMembers(members);
        for (const Common::String& url : urls) {
            try {
                addChild(parser.parseInlineFile(url));
            } catch (Common::Exceptions::Exception* exception) {
                const Common::Exceptions::Holder holder(exception);
                addChild(VRML2::SceneNodePtr());
            }
        }
        adopt(mChildren);
    }
    SceneNode* createNode(const Common::Memory::AllocatorPtr& allocator) const override {
        return new (allocator) HallNode(mName, getNodeType());
    }
    const char* getNodeName() const override { return mName; }

private:
    const char* mName;
};

/// What `body`, which returns a text, ends in: that, or the failure: line, row and message where it is one of a file.
template <class Body>
std::string failureOr(Body body) {
    try {
        return body();
    } catch (VRML2::VRML2ParserException* exception) {
        const Common::Exceptions::Holder holder(exception);
        return std::to_string(exception->getLine()) + ":" + std::to_string(exception->getRow()) + " " +
               exception->getMessage().c_str();
    } catch (Common::Exceptions::Exception* exception) {
        const Common::Exceptions::Holder holder(exception);
        return (exception->getExceptionName() + ": " + exception->getMessage()).c_str();
    }
}

/// The tree of a file, or the failure.
inline std::string outcomeOf(MemoryFileSystem& files, VRML2::Parser& parser, const char* fileName = "main.wrl") {
    return failureOr([&] { return shown(Scene(parser.parse(fileName, &files)).get()); });
}

inline Scene sceneOf(const std::string& nodes) {
    MemoryFileSystem files;
    files.add("main.wrl", cHeader + nodes);
    VRML2::Parser parser;
    return Scene(parser.parse("main.wrl", &files));
}

/// The tree of a file with these nodes behind the header line, or the failure.
inline std::string outcomeOf(const std::string& nodes, bool skipUnknownNodes = false) {
    MemoryFileSystem files;
    files.add("main.wrl", cHeader + nodes);
    VRML2::Parser parser;
    parser.setSkipUnknownNodes(skipUnknownNodes);
    return outcomeOf(files, parser);
}

} // namespace Tarq::Test
