#pragma once

#include "common/parser/vrml2/groupingnode.h"

namespace Tarq::Common::Parser::VRML2 {

/// Children, and nothing else. The root of a file is one.
class TARQ_API GroupNode : public GroupingNode {
public:
    GroupNode();
    ~GroupNode() override;

    void parse(Parser& parser) override;
    SceneNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;
};

} // namespace Tarq::Common::Parser::VRML2
