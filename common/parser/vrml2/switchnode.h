#pragma once

#include "common/parser/vrml2/scenenode.h"

namespace Tarq::Common::Parser::VRML2 {

/// Children of which a viewer shows one. Meshes contain none of them.
class TARQ_API SwitchNode : public SceneNode {
public:
    SwitchNode();
    ~SwitchNode() override;

    void parse(Parser& parser) override;
    SceneNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    /// An index into the choices; -1, also when the file does not tell, and any other one that is not there: none.
    int32 getWhichChoice() const noexcept { return mWhichChoice; }
    /// None of them is null.
    const SceneNodes& getChoices() const noexcept { return mChoices; }

private:
    int32 mWhichChoice = -1;
    SceneNodes mChoices;
};

} // namespace Tarq::Common::Parser::VRML2
