#include "common/parser/vrml2/internal/affine.h"

#include <cmath>

namespace Tarq::Common::Parser::VRML2 {

namespace {

Math::Vec3d widened(const Math::Vec3f& vector) noexcept {
    return {double{vector.mX}, double{vector.mY}, double{vector.mZ}};
}

} // namespace

Affine operator*(const Affine& outer, const Affine& inner) noexcept {
    Affine product;
    for (int row = 0; row < 3; ++row) {
        const double* const factors = outer.mRows[row];
        for (int column = 0; column < 4; ++column) {
            product.mRows[row][column] = factors[0] * inner.mRows[0][column] + factors[1] * inner.mRows[1][column] +
                                         factors[2] * inner.mRows[2][column] + (column == 3 ? factors[3] : 0);
        }
    }
    return product;
}

Affine Affine::makeTranslation(const Math::Vec3d& offset) noexcept {
    Affine translation;
    translation.mRows[0][3] = offset.mX;
    translation.mRows[1][3] = offset.mY;
    translation.mRows[2][3] = offset.mZ;
    return translation;
}

Affine Affine::makeScale(const Math::Vec3f& factors) noexcept {
    Affine scale;
    scale.mRows[0][0] = double{factors.mX};
    scale.mRows[1][1] = double{factors.mY};
    scale.mRows[2][2] = double{factors.mZ};
    return scale;
}

Affine Affine::makeRotation(const Math::Vec3f& axis, double angle) noexcept {
    Math::Vec3d unit = widened(axis);
    const double length = std::sqrt(dot(unit, unit));
    Affine rotation;
    if (angle == 0 || !std::isfinite(angle) || !(length > 0) || !std::isfinite(length))
        return rotation;
    unit /= length;
    const double sine = std::sin(angle);
    const double cosine = std::cos(angle);
    const Math::Vec3d part = unit * (1 - cosine);
    const Math::Vec3d turned = unit * sine;
    rotation.mRows[0][0] = part.mX * unit.mX + cosine;
    rotation.mRows[0][1] = part.mX * unit.mY - turned.mZ;
    rotation.mRows[0][2] = part.mX * unit.mZ + turned.mY;
    rotation.mRows[1][0] = part.mY * unit.mX + turned.mZ;
    rotation.mRows[1][1] = part.mY * unit.mY + cosine;
    rotation.mRows[1][2] = part.mY * unit.mZ - turned.mX;
    rotation.mRows[2][0] = part.mZ * unit.mX - turned.mY;
    rotation.mRows[2][1] = part.mZ * unit.mY + turned.mX;
    rotation.mRows[2][2] = part.mZ * unit.mZ + cosine;
    return rotation;
}

Affine Affine::makeFrom(const TransformNode& transform) noexcept {
    const Math::Vec3d center = widened(transform.getCenter());
    const Rotation& rotation = transform.getRotation();
    const Rotation& scaleOrientation = transform.getScaleOrientation();
    const auto scaleAngle = double{scaleOrientation.mAngle};
    return makeTranslation(widened(transform.getTranslation())) * makeTranslation(center) *
           makeRotation(rotation.mAxis, double{rotation.mAngle}) * makeRotation(scaleOrientation.mAxis, scaleAngle) *
           makeScale(transform.getScale()) * makeRotation(scaleOrientation.mAxis, -scaleAngle) *
           makeTranslation(-center);
}

} // namespace Tarq::Common::Parser::VRML2
