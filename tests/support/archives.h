#pragma once

#include "tests/support/doctest.h"
#include "tests/support/streams.h"

#include "common/io/packedstreamdictionary.h"

#include <map>
#include <memory>
#include <string>

/// Archives as bytes, and as what is in them.
namespace Tarq::Test::Archives {

namespace IO = Common::IO;

using Files = std::map<std::string, std::string>;

/// A number as archives hold it.
inline std::string number(uint64 value, int size) {
    std::string bytes;
    for (int shift = 8 * size; shift != 0;)
        bytes += static_cast<char>(value >> (shift -= 8));
    return bytes;
}

inline std::string headerOf(uint64 tablePosition, uint64 dataEnd) {
    return '\x11' + number(1, 4) + number(tablePosition, 8) + number(dataEnd, 8);
}

inline std::string entryOf(const std::string& name, uint64 start, uint64 end) {
    return number(name.size(), 4) + name + number(start, 8) + number(end, 8);
}

inline bool add(IO::PackedStreamDictionary& archive, const std::string& name, const std::string& contents) {
    RecordingStream source(contents);
    return archive.addStream(&source, Common::String(name));
}

inline std::string readAll(IO::Stream& stream) {
    std::string bytes(static_cast<std::size_t>(stream.getLength()), '?');
    bytes.resize(static_cast<std::size_t>(stream.read(bytes.data(), bytes.size())));
    return bytes;
}

inline std::string readAll(IO::PackedStreamDictionary& archive, const std::string& name) {
    const std::unique_ptr<IO::Stream> stream(archive.openStream(Common::String(name)));
    return stream ? readAll(*stream) : "no stream";
}

inline Files contentsOf(IO::PackedStreamDictionary& archive) {
    Common::Container::Vector<Common::String> names(Common::Library::getTempAlloc());
    archive.getStreamNames(names);
    Files files;
    for (const Common::String& name : names)
        files[std::string(name.view())] = readAll(archive, std::string(name.view()));
    REQUIRE(files.size() == names.size());
    return files;
}

/// Positions count from the start of `before`, which comes first.
inline std::string archiveOf(const Files& files, const std::string& before = "") {
    RecordingStream stream(before);
    stream.seek(0, IO::Stream::SORIGIN_END);
    IO::PackedStreamDictionary archive;
    REQUIRE(archive.open(&stream, true));
    for (const auto& [name, contents] : files)
        REQUIRE(add(archive, name, contents));
    archive.close();
    return stream.getBytes();
}

/// What is in the archive that these bytes are from `base` on; the failure to open it is one of the test.
inline Files contentsOf(const std::string& bytes, uint64 base = 0) {
    RecordingStream stream(bytes);
    stream.seek(static_cast<int64>(base), IO::Stream::SORIGIN_BEGIN);
    IO::PackedStreamDictionary archive;
    REQUIRE(archive.open(&stream, false));
    return contentsOf(archive);
}

} // namespace Tarq::Test::Archives
