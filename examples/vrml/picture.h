#pragma once

#include "support/errorreport.h"
#include "support/interrupt.h"
#include "vrml/camera.h"
#include "vrml/image.h"
#include "vrml/scenemesh.h"
#include "vrml/surface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <vector>

/// Draws meshes, so that a person can look instead of read: each triangle in one shade, thin lines where the surface
/// bends or ends, and the directions of the axes in a corner. Back sides have a colour of their own.
namespace picture {

using namespace Tarq::Common;
using image::Colour;
using image::Image;
using image::Size;
using Math::Vec2d;
using Math::Vec3d;
using surface::Sample;
using surface::Surface;

/// How many places there are for a point of the picture, in both directions.
constexpr uint32 cPlacesPerPoint = 2;

constexpr Colour cTop{246, 248, 250};
constexpr Colour cBottom{214, 221, 229};
constexpr Colour cFront{176, 196, 218};
constexpr Colour cBack{221, 150, 120};
constexpr Colour cLine{38, 46, 58};

inline Colour mix(const Colour& a, const Colour& b, float part) {
    return a * (1 - part) + b * part;
}

/// The light comes from above, over the viewer's left shoulder, and goes around a little.
inline Colour shade(const Sample& sample) {
    constexpr std::array<float, 3> cLight{-0.40F, 0.70F, 0.59F};
    const float cosine = (cLight[0] * static_cast<float>(sample.right) + cLight[1] * static_cast<float>(sample.up) +
                          cLight[2] * static_cast<float>(sample.toViewer)) /
                         127;
    const float half = std::max(0.5F + 0.5F * cosine, 0.F);
    return (sample.side == surface::SIDE_BACK ? cBack : cFront) * std::min(0.42F + 0.72F * half * half, 1.15F);
}

/// How much of a line is between a place and the next one, to its right or below it: 0 to 1.
inline float lineBetween(const Sample& here, const Sample& next, bool isBelow) {
    if (here.side == surface::SIDE_NONE || next.side == surface::SIDE_NONE)
        return here.side == next.side ? 0.F : 0.8F;
    if (here.side != next.side)
        return 0.6F;
    // Where the plane of this place, or that of the other one, would be at the other one.
    const auto slope = [isBelow](const Sample& sample) {
        const float part = isBelow ? static_cast<float>(-sample.up) : static_cast<float>(sample.right);
        return -part / std::max(static_cast<float>(sample.toViewer), 1.F);
    };
    const float step = next.depth - here.depth;
    const float slopes[] = {slope(here), slope(next)};
    const float gap = std::min(std::abs(step - slopes[0]), std::abs(step - slopes[1]));
    if (gap > 4 + std::max(std::abs(slopes[0]), std::abs(slopes[1])))
        return 0.6F;
    const int cosine = here.right * next.right + here.up * next.up + here.toViewer * next.toViewer;
    constexpr int cSharp = 127 * 127 * 85 / 100;
    return cosine < cSharp ? 0.35F : 0.F;
}

inline Colour colourAt(const Surface& surface, uint32 x, uint32 y, const Colour& background) {
    const Sample& here = surface.at(x, y);
    float line = 0;
    if (x + 1 < surface.size().width)
        line = std::max(line, lineBetween(here, surface.at(x + 1, y), false));
    if (y + 1 < surface.size().height)
        line = std::max(line, lineBetween(here, surface.at(x, y + 1), true));
    return mix(here.side == surface::SIDE_NONE ? background : shade(here), cLine, line);
}

/// A letter of lines, around its middle: x to the right, y downwards, from -1 to 1.
struct Stroke {
    Vec2d from;
    Vec2d to;
};

inline std::vector<Stroke> strokesOf(uint32 axis) {
    if (axis == 0)
        return {{{-0.7, -1}, {0.7, 1}}, {{0.7, -1}, {-0.7, 1}}};
    if (axis == 1)
        return {{{-0.7, -1}, {0, 0}}, {{0.7, -1}, {0, 0}}, {{0, 0}, {0, 1}}};
    return {{{-0.7, -1}, {0.7, -1}}, {{0.7, -1}, {-0.7, 1}}, {{-0.7, 1}, {0.7, 1}}};
}

/// Shows where the axes of the scene point to, the nearest one on top. One that points at the viewer is left out.
inline void drawAxes(Image& picture, const camera::Axes& axes) {
    constexpr Colour cColours[] = {{196, 44, 44}, {36, 138, 56}, {44, 84, 200}};
    const double length = 0.07 * std::min(picture.size().width, picture.size().height);
    const Vec2d origin{1.7 * length, picture.size().height - 1.7 * length};
    constexpr double cShortest = 0.1;
    std::array<uint32, 3> order{0, 1, 2};
    std::sort(order.begin(), order.end(), [&axes](uint32 a, uint32 b) { return axes.toViewer[a] < axes.toViewer[b]; });
    for (const uint32 axis : order) {
        const Vec2d way{axes.right[axis], -axes.up[axis]};
        if (std::hypot(way.mX, way.mY) < cShortest)
            continue;
        const double width = std::max(1.5, 0.05 * length);
        picture.drawLine(origin, origin + way * length, width, cColours[axis]);
        const Vec2d middle = origin + way * length + way * (0.3 * length / std::hypot(way.mX, way.mY));
        for (const Stroke& stroke : strokesOf(axis))
            picture.drawLine(middle + stroke.from * (0.13 * length), middle + stroke.to * (0.13 * length), 0.75 * width,
                             cColours[axis]);
    }
}

/// Returns the background alone when there is nothing to be seen, which is told.
inline Image draw(const scenemesh::Mesh& mesh, const camera::View& view, Size size, std::string_view subject) {
    constexpr uint32 cSmallestWithAxes = 160;
    const Size places{size.width * cPlacesPerPoint, size.height * cPlacesPerPoint};
    const camera::Camera camera(view, mesh, places.width, places.height);
    Surface surface(places);
    errorreport::progress.start(mesh.triangles.size());
    constexpr uint32 cPause = 4096;
    for (uint32 index = 0; index < mesh.triangles.size(); ++index) {
        surface.add(mesh.corners(mesh.triangles[index]), camera);
        if (index % cPause == 0) {
            interrupt::check();
            errorreport::progress.advance(index == 0 ? 0 : cPause, "drawing");
        }
    }
    Image picture(size);
    bool isEmpty = true;
    for (uint32 y = 0; y < size.height; ++y) {
        interrupt::check();
        const Colour background = mix(cTop, cBottom, static_cast<float>(y) / static_cast<float>(size.height));
        for (uint32 x = 0; x < size.width; ++x) {
            Colour sum;
            for (uint32 place = 0; place < cPlacesPerPoint * cPlacesPerPoint; ++place) {
                const uint32 across = x * cPlacesPerPoint + place % cPlacesPerPoint;
                const uint32 down = y * cPlacesPerPoint + place / cPlacesPerPoint;
                sum += colourAt(surface, across, down, background);
                isEmpty = isEmpty && surface.at(across, down).side == surface::SIDE_NONE;
            }
            picture.set(x, y, sum / (1.F * cPlacesPerPoint * cPlacesPerPoint));
        }
    }
    if (isEmpty)
        errorreport::note(subject, "the picture is empty, nothing can be seen from there");
    if (std::min(size.width, size.height) >= cSmallestWithAxes)
        drawAxes(picture, camera.getAxes());
    return picture;
}

} // namespace picture
