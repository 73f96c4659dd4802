#pragma once

#include "common/parser/vrml2/groupingnode.h"

namespace Tarq::Common::Parser::VRML2 {

/// The scenes of other files: their roots are the children.
class TARQ_API InlineNode : public GroupingNode {
public:
    InlineNode();
    ~InlineNode() override;

    void parse(Parser& parser) override;
    SceneNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    /// The names of the files, as the file tells them.
    const Container::Vector<String>& getUrls() const noexcept { return mUrls; }

private:
    Container::Vector<String> mUrls;
};

} // namespace Tarq::Common::Parser::VRML2
