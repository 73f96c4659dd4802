#include "common/parser/vrml2/switchnode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

SwitchNode::SwitchNode() : SceneNode(NODE_SWITCH), mChoices(getAllocator()) {}

SwitchNode::~SwitchNode() {
    disown(mChoices);
}

void SwitchNode::parse(Parser& parser) {
    const Member members[] = {
        {"whichChoice", FIELD_SFINT32, &mWhichChoice},
        {"choice", FIELD_MFNODE_SCENE, &mChoices},
    };
    parser.parseMembers(members);
    adopt(mChoices);
}

SceneNode* SwitchNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) SwitchNode;
}

const char* SwitchNode::getNodeName() const {
    return "Switch";
}

} // namespace Tarq::Common::Parser::VRML2
