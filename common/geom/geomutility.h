#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/geom/indexedtriangle.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"

/// Points and segments, planes, meshes and polygons.
///
/// Threads: any, on data of their own. Floats are rounded after every operation, on every machine, so that the results
/// are the same bits everywhere. Coordinates that are infinite or not numbers give results that mean nothing, and harm
/// nothing. A vector of length 0 stays as it is where others are made units.
namespace Tarq::Common::Geom::Utility {

/// Whether `p` is on the segment from `a` to `b`, within a distance of `epsilon`, beyond the ends too. Nothing is on a
/// segment of length 0.
TARQ_API bool IsPointOnLine2D(const Math::Vec2<float>& a, const Math::Vec2<float>& b, const Math::Vec2<float>& p,
                              float epsilon) noexcept;

/// The distance of `p` from the segment from `a` to `b`, which may have length 0.
TARQ_API float DistancePointToLine2D(const Math::Vec2<float>& a, const Math::Vec2<float>& b,
                                     const Math::Vec2<float>& p) noexcept;

/// Gives two units that span the plane with this normal. It need not be a unit itself, but is about 1e-10 to 1e9 long:
/// the square of its square has to be a float.
///
/// Asserts "maxVal > 0" for a normal of which no component differs from 0, and gives zero vectors then; also for one
/// whose first component is no number.
TARQ_API void GetPlaneCoordSystem(Math::Vec3<float>& u, Math::Vec3<float>& v, const Math::Vec3<float>& normal);

/// Gives each vertex the direction of the sum of its triangles' unit normals, and the zero vector where no triangle
/// uses it. Normals point to where a triangle's corners are seen counter-clockwise. A triangle without an area adds
/// nothing, nor does one whose area is not a float: a length whose square is below what a float holds counts as 0, and
/// one whose square is above it as infinite.
///
/// Asserts "triangle refers to a vertex that does not exist", and changes nothing then. `normals` is not
/// `vertices`; its memory is the only that is taken, and nothing has changed when there is none.
TARQ_API void ComputeMeshNormals(Container::Vector<Math::Vec3<float>>& normals,
                                 const Container::Vector<Math::Vec3<float>>& vertices,
                                 const Container::Vector<IndexedTriangle>& triangles);

/// Splits the polygon whose corners are `vertices[polygon[0]]`, `vertices[polygon[1]]` and so on into the triangles
/// that have the smallest sum of perimeters, and appends three vertex indexes for each to `out`: n - 2 triangles for n
/// corners, which keep the polygon's direction.
///
/// Any line between two corners may be a side of a triangle, whether it is inside of the polygon or not. Where corners
/// are so far from each other, or no numbers, that no sum of perimeters below the largest float contains them, there
/// are fewer triangles. Time grows with the third power of n, memory with the second: two tables from the global heap,
/// for more than four corners.
///
/// Asserts, and appends nothing then: "polygon needs at least three vertices for triangulation", "polygon refers to a
/// vertex that does not exist", "cannot alloc costs array", "cannot alloc min array". `out` may be `polygon` itself;
/// what it throws when it cannot grow, it throws before anything is appended.
TARQ_API void TriangulatePolygon(Container::Vector<uint32>& out, const Container::Vector<uint32>& polygon,
                                 const Container::Vector<Math::Vec3<float>>& vertices);

} // namespace Tarq::Common::Geom::Utility
