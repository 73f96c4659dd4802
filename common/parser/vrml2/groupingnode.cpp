#include "common/parser/vrml2/groupingnode.h"

namespace Tarq::Common::Parser::VRML2 {

GroupingNode::GroupingNode(uint16 nodeType) : SceneNode(nodeType), mChildren(getAllocator()) {}

GroupingNode::~GroupingNode() {
    disown(mChildren);
}

void GroupingNode::addChild(const SceneNodePtr& child) {
    if (!child)
        return;
    mChildren.push_back(child);
    adopt(child);
}

} // namespace Tarq::Common::Parser::VRML2
