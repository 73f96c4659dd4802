#pragma once

#include "common/math/vec2.h"
#include "common/math/vec3.h"

#include <algorithm>
#include <cmath>
#include <vector>

/// A picture in memory.
namespace image {

using namespace Tarq::Common;
using Math::Vec2d;
/// Red, green and blue, each from 0 to 255.
using Colour = Math::Vec3f;

struct Size {
    uint32 width = 800;
    uint32 height = 600;
};

/// Rows from top to bottom, points from left to right, three bytes for each.
class Image {
public:
    explicit Image(Size size) : mSize(size), mBytes(std::size_t{3} * size.width * size.height) {}

    Size size() const { return mSize; }
    const std::vector<uint8>& bytes() const { return mBytes; }

    void set(uint32 x, uint32 y, const Colour& colour) {
        for (uint32 part = 0; part < 3; ++part)
            mBytes[offset(x, y) + part] = static_cast<uint8>(std::clamp(colour[part] + 0.5F, 0.F, 255.F));
    }
    Colour get(uint32 x, uint32 y) const {
        const std::size_t at = offset(x, y);
        return {static_cast<float>(mBytes[at]), static_cast<float>(mBytes[at + 1]), static_cast<float>(mBytes[at + 2])};
    }

    /// Puts a line of `width` points over what is there, with soft sides.
    void drawLine(const Vec2d& from, const Vec2d& to, double width, const Colour& colour) {
        const double margin = width / 2 + 1;
        const uint32 left = inside(std::min(from.mX, to.mX) - margin, mSize.width);
        const uint32 right = inside(std::max(from.mX, to.mX) + margin, mSize.width);
        const uint32 bottom = inside(std::max(from.mY, to.mY) + margin, mSize.height);
        for (uint32 y = inside(std::min(from.mY, to.mY) - margin, mSize.height); y < bottom; ++y) {
            for (uint32 x = left; x < right; ++x) {
                const double away = distance({x + 0.5, y + 0.5}, from, to);
                const auto cover = static_cast<float>(std::clamp(width / 2 + 0.5 - away, 0., 1.));
                set(x, y, get(x, y) * (1 - cover) + colour * cover);
            }
        }
    }

private:
    std::size_t offset(uint32 x, uint32 y) const { return (std::size_t{y} * mSize.width + x) * 3; }
    static uint32 inside(double at, uint32 end) { return static_cast<uint32>(std::clamp(at, 0., 1. * end)); }
    static double distance(const Vec2d& point, const Vec2d& from, const Vec2d& to) {
        const Vec2d line = to - from;
        const Vec2d way = point - from;
        const double square = line.mX * line.mX + line.mY * line.mY;
        const double part = square > 0 ? std::clamp((way.mX * line.mX + way.mY * line.mY) / square, 0., 1.) : 0;
        return std::hypot(way.mX - line.mX * part, way.mY - line.mY * part);
    }

    Size mSize;
    std::vector<uint8> mBytes;
};

} // namespace image
