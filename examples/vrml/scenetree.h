#pragma once

#include "support/errorreport.h"
#include "vrml/numbertext.h"

#include "common/parser/vrml2/appearancenode.h"
#include "common/parser/vrml2/boxnode.h"
#include "common/parser/vrml2/coordinateprop.h"
#include "common/parser/vrml2/groupnode.h"
#include "common/parser/vrml2/indexedfacesetnode.h"
#include "common/parser/vrml2/inlinenode.h"
#include "common/parser/vrml2/shapenode.h"
#include "common/parser/vrml2/switchnode.h"
#include "common/parser/vrml2/transformnode.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_set>

/// Scenes as text, with a line for each node, and what is in a node two blanks further to the right.
namespace scenetree {

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::VRML2;
using numbertext::text;

inline std::string describe(const TransformNode& node) {
    const auto rotation = [](const Rotation& turn) { return text(turn.mAxis) + " " + text(turn.mAngle); };
    std::string words;
    const auto add = [&words](const char* name, const std::string& value) {
        words += std::string(words.empty() ? "  " : ", ") + name + " " + value;
    };
    if (node.getTranslation() != Math::Vec3f{})
        add("translation", text(node.getTranslation()));
    if (node.getRotation().mAngle != 0)
        add("rotation", rotation(node.getRotation()));
    if (node.getScale() != Math::Vec3f{1, 1, 1})
        add("scale", text(node.getScale()));
    if (node.getScaleOrientation().mAngle != 0)
        add("scaleOrientation", rotation(node.getScaleOrientation()));
    if (node.getCenter() != Math::Vec3f{})
        add("center", text(node.getCenter()));
    return words;
}

inline std::string describe(const IndexedFaceSetNode& node) {
    std::size_t polygons = 0;
    bool isInside = false;
    for (const int32 index : node.getCoordIndex()) {
        polygons += !isInside && index != -1 ? 1 : 0;
        isInside = index != -1;
    }
    if (!node.getCoord())
        return "  without points";
    return "  " + std::to_string(node.getCoord()->getPoints().size()) + " points, " + std::to_string(polygons) +
           (polygons == 1 ? " polygon" : " polygons") + (node.isCounterClockwise() ? "" : ", clockwise");
}

inline std::string describe(const SwitchNode& node) {
    return "  whichChoice " + std::to_string(node.getWhichChoice()) + " of " +
           std::to_string(node.getChoices().size()) + ", not in the mesh";
}

/// What is shared is shown once; a node that comes again is a "USE", however large it is.
class Printer {
public:
    /// Prints so many levels.
    explicit Printer(uint32 levels) : mLevels(levels) {}

    /// Calls itself for each level: scenes have a limit for that.
    void printFile(std::string_view fileName, const SceneNode& root, uint32 level = 0) {
        printLine(level, errorreport::printable(fileName));
        if (const auto* const group = dynamic_cast<const GroupingNode*>(&root))
            printAll(group->getChildren(), level + 1);
    }

private:
    void print(const SceneNode& node, uint32 level) {
        if (!isNew(node, level))
            return;
        if (const auto* const transform = dynamic_cast<const TransformNode*>(&node))
            printNode(node, describe(*transform), level);
        else if (const auto* const choices = dynamic_cast<const SwitchNode*>(&node))
            printNode(node, describe(*choices), level);
        else
            printNode(node, "", level);
        if (const auto* const inlined = dynamic_cast<const InlineNode*>(&node))
            printFiles(*inlined, level + 1);
        else if (const auto* const group = dynamic_cast<const GroupingNode*>(&node))
            printAll(group->getChildren(), level + 1);
        else if (const auto* const choices = dynamic_cast<const SwitchNode*>(&node))
            printAll(choices->getChoices(), level + 1);
        else if (const auto* const shape = dynamic_cast<const ShapeNode*>(&node))
            printShape(*shape, level + 1);
    }

    void printAll(const SceneNodes& nodes, uint32 level) {
        for (const SceneNodePtr& node : nodes)
            print(*node, level);
    }

    void printFiles(const InlineNode& node, uint32 level) {
        uint32 number = 0;
        for (const SceneNodePtr& root : node.getChildren())
            printFile(node.getUrls()[number++].view(), *root, level);
    }

    void printShape(const ShapeNode& shape, uint32 level) {
        if (shape.getAppearance())
            print(*shape.getAppearance(), level);
        const GeometryNode* const geometry = shape.getGeometry();
        if (!geometry || !isNew(*geometry, level))
            return;
        if (const auto* const box = dynamic_cast<const BoxNode*>(geometry))
            printNode(*box, "  size " + text(box->getSize()), level);
        else if (const auto* const faces = dynamic_cast<const IndexedFaceSetNode*>(geometry))
            printNode(*faces, describe(*faces), level);
        else
            printNode(*geometry, "", level);
    }

    template <class Node>
    bool isNew(const Node& node, uint32 level) {
        const std::string_view name = node.getDefName();
        if (name.empty() || mKnown.insert(&node).second)
            return true;
        printLine(level, "USE " + errorreport::printable(name));
        return false;
    }

    template <class Node>
    void printNode(const Node& node, const std::string& words, uint32 level) const {
        const std::string name = errorreport::printable(node.getDefName());
        printLine(level, (name.empty() ? "" : "DEF " + name + " ") + node.getNodeName() + words);
    }

    void printLine(uint32 level, const std::string& line) const {
        if (level < mLevels)
            std::printf("%*s%s\n", static_cast<int>(2 * level), "", line.c_str());
    }

    uint32 mLevels;
    std::unordered_set<const void*> mKnown; ///< nodes with names: only they can come again
};

} // namespace scenetree
