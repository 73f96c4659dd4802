#pragma once

#include "support/errorreport.h"
#include "vrml/numbertext.h"
#include "vrml/outputfile.h"
#include "vrml/scenemesh.h"

#include <bit>
#include <charconv>
#include <string>
#include <string_view>

/// The formats that meshes are written in, for other programs.
namespace meshfiles {

using namespace Tarq::Common;
using scenemesh::Mesh;
using scenemesh::unitNormal;

/// Tells the progress now and then.
class Steps {
public:
    Steps(uint64 total, std::string_view file) : mShownName("writing " + errorreport::printable(file)) {
        errorreport::progress.start(total);
    }
    void advance() {
        if (++mCount % cPause == 0)
            errorreport::progress.advance(cPause, mShownName);
    }

private:
    static constexpr uint64 cPause = 4096;

    std::string mShownName;
    uint64 mCount = 0;
};

inline char* writeIndex(char* target, uint32 index) {
    *target++ = ' ';
    // The first vertex has the number 1.
    return std::to_chars(target, target + 10, uint64{index} + 1).ptr;
}

/// Wavefront OBJ: the vertices and the triangles as they are.
inline void writeObj(const Mesh& mesh, std::string_view scene, const std::string& fileName) {
    OutputFile file(fileName);
    Steps steps(uint64{mesh.vertices.size()} + mesh.triangles.size(), fileName);
    file.write("# " + errorreport::printable(scene) + ": " + std::to_string(mesh.vertices.size()) + " vertices, " +
               std::to_string(mesh.triangles.size()) + " triangles\n");
    for (const Math::Vec3f& vertex : mesh.vertices) {
        char* at = file.reserve(64);
        *at++ = 'v';
        for (uint32 axis = 0; axis < 3; ++axis) {
            *at++ = ' ';
            at = numbertext::write(at, vertex[axis]);
        }
        *at++ = '\n';
        file.commit(at);
        steps.advance();
    }
    for (const Geom::IndexedTriangle& triangle : mesh.triangles) {
        char* at = file.reserve(64);
        *at++ = 'f';
        at = writeIndex(writeIndex(writeIndex(at, triangle.mA), triangle.mB), triangle.mC);
        *at++ = '\n';
        file.commit(at);
        steps.advance();
    }
    file.complete();
}

/// Least significant byte first.
inline char* writeWord(char* target, uint32 word) {
    for (uint32 byte = 0; byte < 4; ++byte)
        *target++ = static_cast<char>(word >> (8 * byte) & 0xFF);
    return target;
}

inline char* writeVector(char* target, const Math::Vec3f& vector) {
    for (uint32 axis = 0; axis < 3; ++axis)
        target = writeWord(target, std::bit_cast<uint32>(vector[axis]));
    return target;
}

/// Binary STL: 80 bytes that mean nothing, how many triangles there are, and for each its normal, its corners and two
/// bytes more.
inline void writeStl(const Mesh& mesh, std::string_view, const std::string& fileName) {
    OutputFile file(fileName);
    Steps steps(mesh.triangles.size(), fileName);
    // Other programs take a file that begins with "solid" for text.
    std::string header = "binary STL, made by tarq-vrml";
    header.resize(80, ' ');
    file.write(header);
    file.commit(writeWord(file.reserve(4), mesh.triangles.size()));
    for (const Geom::IndexedTriangle& triangle : mesh.triangles) {
        const Math::Vec3d normal = unitNormal(mesh.corners(triangle));
        const Math::Vec3f rounded{static_cast<float>(normal.mX), static_cast<float>(normal.mY),
                                  static_cast<float>(normal.mZ)};
        char* at = writeVector(file.reserve(50), rounded);
        for (uint32 corner = 0; corner < 3; ++corner)
            at = writeVector(at, mesh.vertices[triangle[corner]]);
        *at++ = 0;
        *at++ = 0;
        file.commit(at);
        steps.advance();
    }
    file.complete();
}

} // namespace meshfiles
