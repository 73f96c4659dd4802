#pragma once

#include "common/container/vector.h"
#include "common/parser/vrml2/coordinateprop.h"
#include "common/parser/vrml2/geometricproperty.h"
#include "common/parser/vrml2/geometrynode.h"
#include "common/types.h"

namespace Tarq::Common::Parser::VRML2 {

/// Polygons between points. Lists of indexes have a -1 between two polygons, and may have one at their end.
class TARQ_API IndexedFaceSetNode : public GeometryNode {
public:
    using Indexes = Container::Vector<int32>;

    IndexedFaceSetNode();
    ~IndexedFaceSetNode() override;

    void parse(Parser& parser) override;
    GeometryNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    /// Null when the file tells none; nothing shows then.
    const CoordinateProp* getCoord() const noexcept { return static_cast<const CoordinateProp*>(mCoord.get()); }
    /// Each is -1, or that of a point if there is a `getCoord`.
    const Indexes& getCoordIndex() const noexcept { return mCoordIndex; }
    /// Whether the corners of polygons come counter-clockwise, seen from the front.
    bool isCounterClockwise() const noexcept { return mCounterClockwise; }

    // What meshes do not take into account. Nothing checks the indexes.
    const Indexes& getColorIndex() const noexcept { return mColorIndex; }
    const Indexes& getNormalIndex() const noexcept { return mNormalIndex; }
    const Indexes& getTexCoordIndex() const noexcept { return mTexCoordIndex; }
    bool hasColorPerVertex() const noexcept { return mColorPerVertex; }
    bool isConvex() const noexcept { return mConvex; }
    bool hasNormalPerVertex() const noexcept { return mNormalPerVertex; }
    bool isSolid() const noexcept { return mSolid; }
    float getCreaseAngle() const noexcept { return mCreaseAngle; }

private:
    void checkProperties(Parser& parser) const;
    void checkCoordIndex(Parser& parser) const;

    GeometricPropertyPtr mColor;
    GeometricPropertyPtr mCoord;
    GeometricPropertyPtr mNormal;
    GeometricPropertyPtr mTexCoord;
    bool mCounterClockwise = true;
    bool mColorPerVertex = true;
    bool mConvex = true;
    bool mNormalPerVertex = true;
    bool mSolid = true;
    Indexes mColorIndex;
    Indexes mCoordIndex;
    Indexes mNormalIndex;
    Indexes mTexCoordIndex;
    float mCreaseAngle = 0;
};

} // namespace Tarq::Common::Parser::VRML2
