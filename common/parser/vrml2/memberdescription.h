#pragma once

#include "common/math/vec3.h"
#include "common/types.h"

#include <span>

namespace Tarq::Common::Parser::VRML2 {

/// What the value of a field is, and the class of the member that it is read into.
enum FieldType : uint32 {
    FIELD_SFBOOL = 1,               ///< `bool`
    FIELD_SFVEC3F = 2,              ///< `Math::Vec3f`
    FIELD_MFVEC3F = 3,              ///< `Container::Vector<Math::Vec3f>`
    FIELD_SFVEC2F = 6,              ///< `Math::Vec2f`
    FIELD_MFVEC3F_SECOND = 7,       ///< the same as `FIELD_MFVEC3F`
    FIELD_SFROTATION = 8,           ///< `Rotation`
    FIELD_QUATERNION = 10,          ///< `Quaternion`
    FIELD_SFINT32 = 12,             ///< `int32`
    FIELD_MFINT32 = 13,             ///< `Container::Vector<int32>`
    FIELD_SFFLOAT = 14,             ///< `float`
    FIELD_SFSTRING = 15,            ///< `String`
    FIELD_MFSTRING = 16,            ///< `Container::Vector<String>`
    FIELD_SFNODE_SCENE = 17,        ///< `SceneNodePtr`
    FIELD_MFNODE_SCENE = 18,        ///< `SceneNodes`
    FIELD_SFNODE_GEOMETRY = 19,     ///< `GeometryNodePtr`
    FIELD_MFNODE_GEOMETRY = 20,     ///< `GeometryNodes`
    FIELD_SFNODE_GEOMPROPERTY = 21, ///< `GeometricPropertyPtr`
};

/// By an angle in radians around an axis, which need not be a unit.
struct Rotation {
    Math::Vec3f mAxis{0, 0, 1};
    float mAngle = 0;

    friend bool operator==(const Rotation&, const Rotation&) = default;
};

/// The four numbers in the order of the file.
struct Quaternion {
    float mW = 1;
    float mX = 0;
    float mY = 0;
    float mZ = 0;

    friend bool operator==(const Quaternion&, const Quaternion&) = default;
};

/// Where the value of a field goes.
struct Member {
    const char* name;
    uint32 typeID; ///< a `FieldType`
    void* member;  ///< of the class that goes with it
};

/// The fields of a node, in any order: for the time in which it reads itself.
///
///     const Member members[] = {{"size", FIELD_SFVEC3F, &mSize}};
///     parser.parseMembers(members);
using MemberDescription = std::span<const Member>;

} // namespace Tarq::Common::Parser::VRML2
