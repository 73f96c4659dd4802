#include "common/parser/vrml2/meshgen.h"

#include "common/exceptions/argumentexception.h"
#include "common/library.h"
#include "common/parser/vrml2/internal/meshbuilder.h"
#include "common/parser/vrml2/internal/meshsize.h"
#include "common/string.h"

#include <algorithm>
#include <stdexcept>

namespace Tarq::Common::Parser::VRML2 {

namespace {

void requireWithin(uint64 limit, uint64 count, const char* what) {
    if (count > limit)
        throw new Exceptions::ArgumentOutOfRangeException(
            String("VRML2::MeshGen: The mesh takes more than ").appendDecimal(limit) + " " + what, "root");
}

/// Makes room all at once; a list that many scenes are appended to grows as lists do.
template <class T>
void makeRoom(Container::Vector<T>& list, uint64 added) {
    const uint64 most = Container::Vector<T>::max_size();
    const uint64 needed = list.size() + added;
    const uint64 grown = std::min<uint64>(uint64{list.capacity()} + list.capacity() / 2, most);
    if (needed > most)
        throw std::length_error("vector<T> too long");
    if (needed > list.capacity())
        list.reserve(static_cast<uint32>(std::max(needed, grown)));
}

/// Undoes all that was appended, unless it is kept.
template <class T>
class Appending {
public:
    explicit Appending(Container::Vector<T>& list) noexcept : mList(list), mOldSize(list.size()) {}
    ~Appending() { mList.erase(mList.begin() + mOldSize, mList.end()); }
    Appending(const Appending&) = delete;
    Appending& operator=(const Appending&) = delete;

    void keep() noexcept { mOldSize = mList.size(); }

private:
    Container::Vector<T>& mList;
    uint32 mOldSize;
};

} // namespace

void MeshGen::createMesh(Container::Vector<Math::Vec3f>& vertices, Container::Vector<Geom::IndexedTriangle>& triangles,
                         const SceneNode* root) {
    createMesh(vertices, triangles, root, MeshLimits());
}

void MeshGen::createMesh(Container::Vector<Math::Vec3f>& vertices, Container::Vector<Geom::IndexedTriangle>& triangles,
                         const SceneNode* root, const MeshLimits& limits) {
    if (!root)
        throw new Exceptions::ArgumentNullException("VRML2::MeshGen: root node cannot be NULL", "root");
    const MeshSize size = MeshMeasure(Library::getTempAlloc()).measure(*root);
    requireWithin(limits.triangles, size.triangles, "triangles");
    requireWithin(limits.vertices, size.vertices, "vertices");
    requireWithin(limits.steps, size.steps, "steps");
    makeRoom(vertices, size.vertices);
    makeRoom(triangles, size.triangles);
    Appending appendingVertices(vertices);
    Appending appendingTriangles(triangles);
    MeshBuilder(vertices, triangles).add(*root, Affine());
    appendingVertices.keep();
    appendingTriangles.keep();
}

} // namespace Tarq::Common::Parser::VRML2
