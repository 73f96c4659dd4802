#pragma once

#include "common/parser/vrml2/groupingnode.h"
#include "common/parser/vrml2/memberdescription.h"

namespace Tarq::Common::Parser::VRML2 {

/// Children in a coordinate system of their own. A point of theirs is scaled, turned and moved, in this order; scaling
/// goes along axes that are turned by the scale orientation, and the centre of scaling and turning is the centre.
class TARQ_API TransformNode : public GroupingNode {
public:
    TransformNode();
    ~TransformNode() override;

    void parse(Parser& parser) override;
    SceneNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    const Math::Vec3f& getCenter() const noexcept { return mCenter; }
    const Rotation& getRotation() const noexcept { return mRotation; }
    /// 1 0 0 0 unless the file tells it. Meshes do not take it into account.
    const Quaternion& getQuaternion() const noexcept { return mQuaternion; }
    const Math::Vec3f& getScale() const noexcept { return mScale; }
    const Rotation& getScaleOrientation() const noexcept { return mScaleOrientation; }
    const Math::Vec3f& getTranslation() const noexcept { return mTranslation; }

private:
    Math::Vec3f mCenter;
    Rotation mRotation;
    Quaternion mQuaternion;
    Math::Vec3f mScale{1, 1, 1};
    Rotation mScaleOrientation;
    Math::Vec3f mTranslation;
};

} // namespace Tarq::Common::Parser::VRML2
