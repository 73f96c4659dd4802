// tarq-vrml: shows what is in a VRML 2.0 scene, writes its mesh for other programs, and draws it. See --help; what a
// scene may have in it is told in docs/vrml.md.

#include "support/commandline.h"
#include "support/errorreport.h"
#include "support/interrupt.h"
#include "vrml/camera.h"
#include "vrml/meshfiles.h"
#include "vrml/picture.h"
#include "vrml/picturefiles.h"
#include "vrml/scenefiles.h"
#include "vrml/scenemesh.h"
#include "vrml/scenetree.h"
#include "vrml/skippednodes.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

using namespace Tarq::Common;
using errorreport::guarded;
using scenemesh::Mesh;

namespace {

constexpr const char* cHelp =
    R"(Usage: tarq-vrml [OPTION...] FILE

Reads a VRML 2.0 scene with all files that it includes, and prints its tree, and how many triangles its mesh has and where.

-o FILE         writes the mesh as Wavefront OBJ (.obj) or binary STL (.stl), or a picture of it (.png, .ppm); may be
                given several times. A file that is there already is replaced when the new one is complete.
--view VIEW     where the picture is seen from: front, back, left, right, top, bottom, iso, or AZIMUTH,ELEVATION in
                degrees, as in 30,20. The azimuth goes from the front, where z points to, to the right, where x points
                to; y points up. By default, iso.
--size WxH      of the picture, in points, at most 8192x8192; by default, 800x600
--skip-unknown  leaves out nodes of unknown kinds, and what is in them, instead of refusing the file
--limit N       refuses meshes of more triangles; by default, of more than 100000000
--depth N       prints so many levels of the tree; 0: none
-q, --quiet     prints nothing: neither tree nor counts
--              what follows is no option

What is wrong with a file is told as FILE:LINE:COLUMN, both counted from 1, columns in bytes, and the line is shown.

In pictures, back sides are reddish: those where the corners of a triangle are clockwise.

Ends with 0, with 1 when something went wrong, and with 2 when the command line is wrong.
)";

struct Options {
    std::string scene;
    std::vector<std::string> outputs;
    camera::View view;
    image::Size size;
    bool skipsUnknown = false;
    bool isQuiet = false;
    uint32 limit = Parser::VRML2::MeshLimits().triangles;
    uint32 levels = std::numeric_limits<uint32>::max();
};

struct Format {
    std::string_view extension;
    void (*writeMesh)(const Mesh&, std::string_view scene, const std::string& fileName);
    void (*writePicture)(const image::Image&, const std::string& fileName);
};

constexpr Format cFormats[] = {
    {".obj", meshfiles::writeObj, nullptr},
    {".stl", meshfiles::writeStl, nullptr},
    {".png", nullptr, picturefiles::writePng},
    {".ppm", nullptr, picturefiles::writePpm},
};

const Format& formatOf(const std::string& fileName) {
    std::string extension = std::filesystem::path(fileName).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    for (const Format& format : cFormats) {
        if (format.extension == extension)
            return format;
    }
    throw UsageError("\"" + errorreport::printable(fileName) + "\" does not end with .obj, .stl, .png or .ppm");
}

uint32 parseNumber(const std::string& option, std::string_view text, uint32 least, uint32 most) {
    uint32 number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number < least || number > most)
        throw UsageError(option + " takes numbers from " + std::to_string(least) + " to " + std::to_string(most));
    return number;
}

image::Size parseSize(const std::string& option, std::string_view text) {
    constexpr uint32 cMost = 8192;
    const std::size_t cross = text.find('x');
    if (cross == text.npos)
        throw UsageError(option + " takes a width and a height, as in 800x600");
    return {parseNumber(option, text.substr(0, cross), 1, cMost),
            parseNumber(option, text.substr(cross + 1), 1, cMost)};
}

/// An option that is followed by a value.
void setOption(Options& options, const std::string& option, const std::string& value) {
    constexpr uint32 cMost = std::numeric_limits<uint32>::max();
    if (option == "-o") {
        const Format& format = formatOf(value);
        if (format.extension == ".png" && !picturefiles::cHasPng)
            throw UsageError("there are no PNG files without libpng, which was not there when this program was built");
        options.outputs.push_back(value);
    } else if (option == "--view") {
        const auto view = camera::parseView(value);
        if (!view)
            throw UsageError("--view takes front, back, left, right, top, bottom, iso, or AZIMUTH,ELEVATION");
        options.view = *view;
    } else if (option == "--size") {
        options.size = parseSize(option, value);
    } else if (option == "--limit") {
        options.limit = parseNumber(option, value, 0, cMost);
    } else {
        options.levels = parseNumber(option, value, 0, cMost);
    }
}

Options readOptions(const std::vector<std::string>& arguments) {
    constexpr std::string_view cWithValue[] = {"-o", "--view", "--size", "--limit", "--depth"};
    Options options;
    std::vector<std::string> names;
    bool areOptions = true;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        const bool takesValue =
            std::find(std::begin(cWithValue), std::end(cWithValue), argument) != std::end(cWithValue);
        if (!areOptions || argument.size() < 2 || argument[0] != '-')
            names.push_back(argument);
        else if (argument == "--")
            areOptions = false;
        else if (argument == "--skip-unknown")
            options.skipsUnknown = true;
        else if (argument == "-q" || argument == "--quiet")
            options.isQuiet = true;
        else if (takesValue && at + 1 < arguments.size())
            setOption(options, argument, arguments[++at]);
        else if (takesValue)
            throw UsageError(argument + " needs a value");
        else
            throw UsageError("there is no option " + errorreport::printable(argument));
    }
    if (names.size() != 1)
        throw UsageError(names.empty() ? "which file?" : "one scene at a time");
    options.scene = names.front();
    return options;
}

void printCounts(const Mesh& mesh) {
    std::printf("triangles %u\nvertices  %u\n", mesh.triangles.size(), mesh.vertices.size());
    if (mesh.triangles.empty())
        return;
    constexpr const char* cNames[] = {"x", "y", "z"};
    for (uint32 axis = 0; axis < 3; ++axis) {
        const auto low = static_cast<float>(mesh.low[axis]);
        const auto high = static_cast<float>(mesh.high[axis]);
        std::printf("%s         %s to %s\n", cNames[axis], numbertext::text(low).c_str(),
                    numbertext::text(high).c_str());
    }
}

/// Goes on with the next file when one cannot be written.
void writeOutputs(const Options& options, const Mesh& mesh) {
    for (const std::string& output : options.outputs) {
        const Format& format = formatOf(output);
        const bool isWritten = guarded(output, [&] {
            if (format.writeMesh)
                format.writeMesh(mesh, options.scene, output);
            else
                format.writePicture(picture::draw(mesh, options.view, options.size, output), output);
        });
        if (!isWritten && interrupt::isWanted != 0)
            return;
    }
}

void show(const Options& options) {
    const SkippedNodes skipped;
    const Parser::VRML2::SceneNodePtr root = scenefiles::load(options.scene, options.skipsUnknown);
    errorreport::progress.clear();
    if (!root)
        return;
    skipped.tell(options.scene);
    if (!options.isQuiet && options.levels != 0) {
        scenetree::Printer(options.levels).printFile(options.scene, *root);
        std::puts("");
    }
    errorreport::progress.finish("making the mesh");
    const Mesh mesh = scenemesh::build(*root, options.limit, options.scene);
    errorreport::progress.clear();
    if (!options.isQuiet)
        printCounts(mesh);
    writeOutputs(options, mesh);
}

void run(const std::vector<std::string>& arguments) {
    const Options options = readOptions(arguments);
    interrupt::catchSignals();
    guarded(options.scene, [&options] { show(options); });
}

} // namespace

int main(int argc, char** argv) {
    return runProgram("tarq-vrml", cHelp, argc, argv, &run);
}
