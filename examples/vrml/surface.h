#pragma once

#include "vrml/camera.h"
#include "vrml/image.h"
#include "vrml/scenemesh.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

/// What can be seen of a mesh: for each place of a raster, the nearest triangle.
namespace surface {

using namespace Tarq::Common;
using image::Size;
using Math::Vec3d;
using scenemesh::Corners;
using scenemesh::unitNormal;

enum Side : uint8 {
    SIDE_NONE,  ///< the background
    SIDE_FRONT, ///< where the corners are counter-clockwise
    SIDE_BACK,
};

/// What is seen at a place.
struct Sample {
    float depth = -std::numeric_limits<float>::infinity(); ///< towards the viewer, in places
    int8 right = 0;                                        ///< the direction of the surface, 127 for 1
    int8 up = 0;
    int8 toViewer = 0; ///< never below 0
    Side side = SIDE_NONE;
};
static_assert(sizeof(Sample) == 8);

/// A z-buffer.
class Surface {
public:
    explicit Surface(Size size) : mSize(size), mSamples(std::size_t{size.width} * size.height) {}

    Size size() const { return mSize; }
    const Sample& at(uint32 x, uint32 y) const { return mSamples[std::size_t{y} * mSize.width + x]; }

    /// Adds a triangle that has an area. One that is seen from its edge is not seen.
    void add(const Corners& corners, const camera::Camera& camera) {
        constexpr double cSmallestArea = 1e-9;
        const Corners p{camera.project(corners[0]), camera.project(corners[1]), camera.project(corners[2])};
        const Vec3d b = p[1] - p[0];
        const Vec3d c = p[2] - p[0];
        const double area = b.mX * c.mY - c.mX * b.mY;
        if (!(std::abs(area) > cSmallestArea))
            return;
        const Plane plane{p[0], (b.mZ * c.mY - c.mZ * b.mY) / area, (b.mX * c.mZ - c.mX * b.mZ) / area};
        const Sample sample = sampleOf(camera.getAxes().turn(unitNormal(corners)));
        const auto [lowest, highest] = std::minmax({p[0].mZ, p[1].mZ, p[2].mZ});
        const auto [top, bottom] = std::minmax({p[0].mY, p[1].mY, p[2].mY});
        const uint32 end = firstPlace(bottom, mSize.height);
        for (uint32 y = firstPlace(top, mSize.height); y < end; ++y)
            addRow(y, p, plane, {lowest, highest}, sample);
    }

private:
    struct Plane {
        Vec3d point;
        double perColumn;
        double perRow;
    };

    static Sample sampleOf(const Vec3d& normal) {
        const double turned = normal.mZ < 0 ? -127 : 127;
        const auto part = [turned](double value) { return static_cast<int8>(std::lround(value * turned)); };
        return {0, part(normal.mX), part(normal.mY), part(normal.mZ), normal.mZ < 0 ? SIDE_BACK : SIDE_FRONT};
    }

    /// The first place whose middle is not before `at`.
    static uint32 firstPlace(double at, uint32 end) {
        return static_cast<uint32>(std::clamp(std::ceil(at - 0.5), 0., 1. * end));
    }

    /// Triangles with a common side compute the same places for it, so that neither gaps nor overlaps are between them.
    void addRow(uint32 y, const Corners& corners, const Plane& plane, std::pair<double, double> depths,
                const Sample& sample) {
        const double middle = y + 0.5;
        double left = std::numeric_limits<double>::infinity();
        double right = -left;
        for (uint32 corner = 0; corner < 3; ++corner) {
            Vec3d upper = corners[corner];
            Vec3d lower = corners[(corner + 1) % 3];
            if (upper.mY > lower.mY)
                std::swap(upper, lower);
            if (!(upper.mY <= middle && middle < lower.mY))
                continue;
            const double x = upper.mX + (middle - upper.mY) / (lower.mY - upper.mY) * (lower.mX - upper.mX);
            left = std::min(left, x);
            right = std::max(right, x);
        }
        if (!(left < right))
            return;
        const uint32 end = firstPlace(right, mSize.width);
        const double start = plane.point.mZ + (middle - plane.point.mY) * plane.perRow;
        for (uint32 x = firstPlace(left, mSize.width); x < end; ++x) {
            const double depth = start + (x + 0.5 - plane.point.mX) * plane.perColumn;
            Sample& nearest = mSamples[std::size_t{y} * mSize.width + x];
            // Of a sliver, the plane is known less well than its corners.
            const auto clamped = static_cast<float>(std::clamp(depth, depths.first, depths.second));
            if (clamped <= nearest.depth)
                continue;
            nearest = sample;
            nearest.depth = clamped;
        }
    }

    Size mSize;
    std::vector<Sample> mSamples;
};

} // namespace surface
