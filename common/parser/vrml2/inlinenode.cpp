#include "common/parser/vrml2/inlinenode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

InlineNode::InlineNode() : GroupingNode(NODE_INLINE), mUrls(getAllocator()) {}

InlineNode::~InlineNode() = default;

void InlineNode::parse(Parser& parser) {
    const Member members[] = {
        {"url", FIELD_MFSTRING, &mUrls},
        {"bboxCenter", FIELD_SFVEC3F, &mBBoxCenter},
        {"bboxSize", FIELD_SFVEC3F, &mBBoxSize},
    };
    parser.parseMembers(members);
    for (const String& url : mUrls)
        addChild(parser.parseInlineFile(url));
}

SceneNode* InlineNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) InlineNode;
}

const char* InlineNode::getNodeName() const {
    return "Inline";
}

} // namespace Tarq::Common::Parser::VRML2
