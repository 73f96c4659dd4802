#include "common/geom/indexedtriangle.h"
#include "common/parser/vrml2/groupingnode.h"
#include "common/parser/vrml2/meshgen.h"
#include "common/parser/vrml2/parser.h"
#include "common/parser/vrml2/switchnode.h"
#include "fuzz/files.h"
#include "fuzz/library.h"
#include "fuzz/require.h"

#include <memory>
#include <string>
#include <string_view>

// The first byte says whether unknown nodes are skipped; then come files, with a form feed between them, named "0",
// "1" and so on. The first one is parsed, twice by one parser, with the others for its inline nodes; the scene is
// walked, and becomes a mesh of a limited size whose triangles refer to vertices that are there.

using namespace Tarq::Common;
using Tarq::Fuzz::require;
namespace VRML2 = Tarq::Common::Parser::VRML2;

namespace {

/// Files may name others several times each, and those too.
constexpr uint32 cInlineLimit = 50;
constexpr VRML2::MeshLimits cLimits{10'000, 10'000, 10'000'000};
/// A file may have each of its nodes several times below each other.
constexpr int cMostVisits = 10'000;

void walk(const VRML2::SceneNode& node, uint32 depth, int& visitsLeft) {
    // The root and those of inline files are groups that no file shows.
    require(depth <= VRML2::Parser::cMostNestedNodes + 1);
    const auto* const group = dynamic_cast<const VRML2::GroupingNode*>(&node);
    const auto* const switchNode = dynamic_cast<const VRML2::SwitchNode*>(&node);
    if (!group && !switchNode)
        return;
    for (const VRML2::SceneNodePtr& child : group ? group->getChildren() : switchNode->getChoices()) {
        require(child && child->getParent());
        if (--visitsLeft <= 0)
            return;
        walk(*child, depth + 1, visitsLeft);
    }
}

void checkMesh(const VRML2::SceneNode& root) {
    Container::Vector<Math::Vec3f> vertices(Library::getTempAlloc());
    Container::Vector<Geom::IndexedTriangle> triangles(Library::getTempAlloc());
    try {
        VRML2::MeshGen::createMesh(vertices, triangles, &root, cLimits);
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        require(vertices.empty() && triangles.empty());
    }
    require(vertices.size() <= cLimits.vertices && triangles.size() <= cLimits.triangles);
    for (const auto& [a, b, c] : triangles)
        require(a < vertices.size() && b < vertices.size() && c < vertices.size());
}

/// What the parse comes to: the number of the file's nodes, or the error.
std::string parse(VRML2::Parser& parser, Tarq::Test::MemoryFileSystem& files) {
    try {
        const std::unique_ptr<VRML2::SceneNode> root(parser.parse("0", &files));
        int visitsLeft = cMostVisits;
        walk(*root, 1, visitsLeft);
        checkMesh(*root);
        return std::to_string(dynamic_cast<VRML2::GroupingNode&>(*root).getChildren().size());
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        return exception->composeText(Exceptions::Exception::CALLSTACK_NONE).c_str();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Tarq::Fuzz::bringUp();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::string_view all(reinterpret_cast<const char*>(data), size);
    VRML2::Parser parser;
    parser.setSkipUnknownNodes(all.front() % 2 != 0);
    parser.setInlineLimit(cInlineLimit);
    all.remove_prefix(1);
    Tarq::Test::MemoryFileSystem files;
    Tarq::Fuzz::addFiles(files, all);
    const std::string first = parse(parser, files);
    require(first == parse(parser, files));
    return 0;
}
