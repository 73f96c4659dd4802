#pragma once

#include "support/errorreport.h"
#include "vrml/scenemesh.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>
#include <string_view>

/// From where pictures show a mesh, and how large.
namespace camera {

using namespace Tarq::Common;
using Math::Vec3d;
using scenemesh::Mesh;

/// Where one looks from, in degrees: the azimuth is 0 in front, where z points to, and 90 at the right, where x points
/// to; the elevation is 90 above, where y points to.
struct View {
    double azimuth = 45;
    double elevation = 35.264389682754654; ///< the diagonal of a cube
};

inline std::optional<double> parseAngle(std::string_view text, double most) {
    double angle = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, angle, std::chars_format::fixed);
    if (error != std::errc() || rest != end || !(std::abs(angle) <= most))
        return std::nullopt;
    return angle;
}

/// A name, or "AZIMUTH,ELEVATION". Nothing for any other text.
inline std::optional<View> parseView(std::string_view text) {
    struct Named {
        std::string_view name;
        View view;
    };
    static constexpr Named cNamed[] = {
        {"front", {0, 0}}, {"right", {90, 0}}, {"back", {180, 0}},   {"left", {270, 0}},
        {"top", {0, 90}},  {"iso", View()},    {"bottom", {0, -90}},
    };
    for (const Named& named : cNamed) {
        if (named.name == text)
            return named.view;
    }
    const std::size_t comma = text.find(',');
    if (comma == text.npos)
        return std::nullopt;
    const std::optional<double> azimuth = parseAngle(text.substr(0, comma), 360);
    const std::optional<double> elevation = parseAngle(text.substr(comma + 1), 90);
    if (!azimuth || !elevation)
        return std::nullopt;
    return View{*azimuth, *elevation};
}

/// Three directions at right angles to each other, of length 1.
struct Axes {
    Vec3d right;
    Vec3d up;
    Vec3d toViewer;

    explicit Axes(const View& view) {
        constexpr double cDegree = std::numbers::pi / 180;
        const double azimuth = view.azimuth * cDegree;
        const double elevation = view.elevation * cDegree;
        right = {std::cos(azimuth), 0, -std::sin(azimuth)};
        toViewer = {std::sin(azimuth) * std::cos(elevation), std::sin(elevation),
                    std::cos(azimuth) * std::cos(elevation)};
        up = cross(toViewer, right);
    }

    Vec3d turn(const Vec3d& vector) const { return {dot(vector, right), dot(vector, up), dot(vector, toViewer)}; }
};

/// Sees a mesh without perspective, as large as it fits into a picture, with a margin around it. What has come from
/// the scene as floats stays far below the largest double, and what is in the picture is no larger than that.
class Camera {
public:
    Camera(const View& view, const Mesh& mesh, uint32 width, uint32 height) : mAxes(view) {
        constexpr double cFilled = 0.86;
        Vec3d low;
        Vec3d high;
        bool isFirst = true;
        for (const Geom::IndexedTriangle& triangle : mesh.triangles) {
            for (const Vec3d& corner : mesh.corners(triangle)) {
                const Vec3d seen = mAxes.turn(corner);
                low = isFirst ? seen : smaller(low, seen);
                high = isFirst ? seen : -smaller(-high, -seen);
                isFirst = false;
            }
        }
        const Vec3d extent = high - low;
        mCentre = low + extent * 0.5;
        mMiddle = {0.5 * width, 0.5 * height, 0};
        const double across = extent.mX / width;
        const double down = extent.mY / height;
        if (across > 0 || down > 0)
            mScale = cFilled / std::max(across, down);
    }

    const Axes& getAxes() const { return mAxes; }

    /// In points of the picture: to the right, downwards, and towards the viewer.
    Vec3d project(const Vec3d& point) const {
        // A scene may be deeper than wide by more than a float can tell.
        constexpr double cDeepest = 1e30;
        const Vec3d seen = (mAxes.turn(point) - mCentre) * mScale;
        return {mMiddle.mX + seen.mX, mMiddle.mY - seen.mY, std::clamp(seen.mZ, -cDeepest, cDeepest)};
    }

private:
    static Vec3d smaller(const Vec3d& a, const Vec3d& b) {
        return {std::min(a.mX, b.mX), std::min(a.mY, b.mY), std::min(a.mZ, b.mZ)};
    }

    Axes mAxes;
    Vec3d mCentre;
    Vec3d mMiddle;
    double mScale = 1;
};

} // namespace camera
