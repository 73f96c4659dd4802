#pragma once

#include "common/math/vec3.h"
#include "common/parser/vrml2/transformnode.h"

namespace Tarq::Common::Parser::VRML2 {

/// A 4x4 matrix whose last row is 0 0 0 1: where points of one coordinate system are in another one. It has more digits
/// than points have, of which those that transforms inside of each other lose are not missed.
class Affine {
public:
    /// Leaves all points where they are.
    Affine() = default;

    /// Where points of the transform's children are in its own coordinates.
    static Affine makeFrom(const TransformNode& transform) noexcept;

    /// First `inner`, then `outer`.
    friend Affine operator*(const Affine& outer, const Affine& inner) noexcept;
    friend bool operator==(const Affine&, const Affine&) = default;

    Math::Vec3f apply(const Math::Vec3f& point) const noexcept {
        const double x = double{point.mX};
        const double y = double{point.mY};
        const double z = double{point.mZ};
        return {static_cast<float>(mRows[0][0] * x + mRows[0][1] * y + mRows[0][2] * z + mRows[0][3]),
                static_cast<float>(mRows[1][0] * x + mRows[1][1] * y + mRows[1][2] * z + mRows[1][3]),
                static_cast<float>(mRows[2][0] * x + mRows[2][1] * y + mRows[2][2] * z + mRows[2][3])};
    }

private:
    static Affine makeTranslation(const Math::Vec3d& offset) noexcept;
    static Affine makeScale(const Math::Vec3f& factors) noexcept;
    /// Turns counter-clockwise, seen from where the axis points to. An axis that has no direction turns nothing,
    /// and neither does an angle that is no number or infinite.
    static Affine makeRotation(const Math::Vec3f& axis, double angle) noexcept;

    double mRows[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
};

} // namespace Tarq::Common::Parser::VRML2
