#pragma once

#include "common/container/lookup.h"
#include "common/memory/allocatorptr.h"
#include "common/types.h"

#include <algorithm>

namespace Tarq::Common::Parser::VRML2 {

class GeometryNode;
class SceneNode;

/// How much a part of a scene comes to in a mesh, and how much work that is.
struct MeshSize {
    uint64 vertices = 0;
    uint64 triangles = 0;
    uint64 steps = 0;

    /// A sum that is too large for anything stays that.
    MeshSize& operator+=(const MeshSize& other) noexcept {
        static constexpr uint64 cMost = uint64{1} << 62;
        vertices = std::min(vertices + other.vertices, cMost);
        triangles = std::min(triangles + other.triangles, cMost);
        steps = std::min(steps + other.steps, cMost);
        return *this;
    }
};

/// Measures scenes. What stands in several places is looked at once: it may stand in more of them than could be
/// counted.
class MeshMeasure {
public:
    explicit MeshMeasure(const Memory::AllocatorPtr& allocator) noexcept
        : mSharedScenes(allocator), mSharedGeometries(allocator) {}

    MeshSize measure(const SceneNode& node);

private:
    MeshSize measureOnce(const SceneNode& node);
    MeshSize measure(const GeometryNode& geometry);

    Container::LookUp<const SceneNode*, MeshSize> mSharedScenes;
    Container::LookUp<const GeometryNode*, MeshSize> mSharedGeometries;
};

} // namespace Tarq::Common::Parser::VRML2
