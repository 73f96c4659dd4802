#pragma once

#include "vrml/image.h"
#include "vrml/outputfile.h"

#ifdef TARQ_EXAMPLES_WITH_PNG
#include <png.h>
#endif

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// The formats that pictures are written in.
namespace picturefiles {

using Tarq::Common::uint8;

inline std::string_view textOf(const std::vector<uint8>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A portable pixmap: a line of text, and the bytes of the picture.
inline void writePpm(const image::Image& picture, const std::string& fileName) {
    OutputFile file(fileName);
    const image::Size size = picture.size();
    file.write("P6 " + std::to_string(size.width) + " " + std::to_string(size.height) + " 255\n");
    file.write(textOf(picture.bytes()));
    file.complete();
}

#ifdef TARQ_EXAMPLES_WITH_PNG
constexpr bool cHasPng = true;

inline std::vector<uint8> encodePng(const image::Image& picture) {
    png_image description{};
    description.version = PNG_IMAGE_VERSION;
    description.width = picture.size().width;
    description.height = picture.size().height;
    description.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(description);
    std::vector<uint8> bytes(size);
    // Rows follow each other without a gap; there is no table of colours.
    const int isWritten =
        png_image_write_to_memory(&description, bytes.data(), &size, 0, picture.bytes().data(), 0, nullptr);
    const std::string message = description.message;
    png_image_free(&description);
    if (isWritten == 0)
        throw std::runtime_error("the picture cannot be encoded: " + message);
    bytes.resize(size);
    return bytes;
}
#else
constexpr bool cHasPng = false;

inline std::vector<uint8> encodePng(const image::Image&) {
    throw std::runtime_error("this program was built without libpng");
}
#endif

inline void writePng(const image::Image& picture, const std::string& fileName) {
    const std::vector<uint8> bytes = encodePng(picture);
    OutputFile file(fileName);
    file.write(textOf(bytes));
    file.complete();
}

} // namespace picturefiles
