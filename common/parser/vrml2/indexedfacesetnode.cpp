#include "common/parser/vrml2/indexedfacesetnode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

IndexedFaceSetNode::IndexedFaceSetNode()
    : GeometryNode(GEOMETRY_INDEXEDFACESET), mColorIndex(getAllocator()), mCoordIndex(getAllocator()),
      mNormalIndex(getAllocator()), mTexCoordIndex(getAllocator()) {}

IndexedFaceSetNode::~IndexedFaceSetNode() = default;

void IndexedFaceSetNode::parse(Parser& parser) {
    const Member members[] = {
        {"color", FIELD_SFNODE_GEOMPROPERTY, &mColor},
        {"coord", FIELD_SFNODE_GEOMPROPERTY, &mCoord},
        {"normal", FIELD_SFNODE_GEOMPROPERTY, &mNormal},
        {"texCoord", FIELD_SFNODE_GEOMPROPERTY, &mTexCoord},
        {"ccw", FIELD_SFBOOL, &mCounterClockwise},
        {"colorPerVertex", FIELD_SFBOOL, &mColorPerVertex},
        {"convex", FIELD_SFBOOL, &mConvex},
        {"normalPerVertex", FIELD_SFBOOL, &mNormalPerVertex},
        {"solid", FIELD_SFBOOL, &mSolid},
        {"colorIndex", FIELD_MFINT32, &mColorIndex},
        {"coordIndex", FIELD_MFINT32, &mCoordIndex},
        {"normalIndex", FIELD_MFINT32, &mNormalIndex},
        {"texCoordIndex", FIELD_MFINT32, &mTexCoordIndex},
        {"creaseAngle", FIELD_SFFLOAT, &mCreaseAngle},
    };
    parser.parseMembers(members);
    checkProperties(parser);
    checkCoordIndex(parser);
}

/// Of the properties, there is a class for coordinates only.
void IndexedFaceSetNode::checkProperties(Parser& parser) const {
    if (mColor)
        parser.fail("color is not a ColorProperty");
    if (mCoord && !dynamic_cast<const CoordinateProp*>(mCoord.get()))
        parser.fail("coord is not a CoordProperty");
    if (mNormal)
        parser.fail("normal is not a NormalProperty");
    if (mTexCoord)
        parser.fail("texcoord is not a TexCoordProperty");
}

/// Without points there is nothing that an index could be compared with; but one below -1 is never any.
void IndexedFaceSetNode::checkCoordIndex(Parser& parser) const {
    const uint32 end = mCoord ? getCoord()->getPoints().size() : uint32{1} << 31;
    for (const int32 index : mCoordIndex) {
        if (index != -1 && static_cast<uint32>(index) >= end)
            parser.fail(String("index '").appendDecimal(index) +
                        "' in the coordIndex field are to big for the coord field");
    }
}

GeometryNode* IndexedFaceSetNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) IndexedFaceSetNode;
}

const char* IndexedFaceSetNode::getNodeName() const {
    return "IndexedFaceSet";
}

} // namespace Tarq::Common::Parser::VRML2
