#include "common/exceptions/exception.h"
#include "common/io/packedstreamdictionary.h"
#include "common/memory/memorystream.h"
#include "fuzz/library.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

// Opens a stored archive and reads everything in it. Then one of its streams is added to it once more: it must still
// open, with that stream and all that was there.

using namespace Tarq::Common;
using IO::PackedStreamDictionary;
using enum IO::Stream::SeekOrigin;

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// A small archive may show the same bytes many times; more of each stream than this is not compared.
constexpr std::size_t cMostBytes = 4096;

std::map<std::string, std::string> contentsOf(PackedStreamDictionary& archive) {
    Container::Vector<String> names(Library::getTempAlloc());
    archive.getStreamNames(names);
    std::map<std::string, std::string> contents;
    for (const String& name : names) {
        const std::unique_ptr<IO::Stream> stream(archive.openStream(name));
        require(stream && archive.existsStream(name));
        std::string bytes(static_cast<std::size_t>(std::min<uint64>(stream->getLength(), cMostBytes)), '?');
        require(stream->read(bytes.data(), bytes.size()) == bytes.size());
        require(contents.emplace(name.view(), bytes).second);
    }
    return contents;
}

bool reopen(PackedStreamDictionary& archive, Memory::MemoryStream& stream, std::size_t base) {
    archive.close();
    stream.seek(static_cast<int64>(base), SORIGIN_BEGIN);
    return archive.open(&stream, false);
}

/// Returns the new stream's name.
std::string addFirstOf(PackedStreamDictionary& archive, const std::map<std::string, std::string>& contents) {
    std::string name = "added";
    while (contents.contains(name))
        name += '+';
    const std::unique_ptr<IO::Stream> source(archive.openStream(String(contents.begin()->first)));
    require(archive.addStream(source.get(), String(name)));
    return name;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Tarq::Fuzz::bringUp();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size == 0)
        return 0;
    Memory::MemoryStream stream("fuzzed", 4096);
    stream.write(data, size);
    // What the data say is how streams are handed out and where the archive begins; the archive itself is in them too.
    const unsigned char way = data[size - 1];
    const std::size_t base = (way & 0x80) != 0 ? std::min<std::size_t>(size, 6) : 0;
    PackedStreamDictionary archive((way & 1) != 0, (way & 2) != 0 ? 64 : 0);
    if (!reopen(archive, stream, base))
        return 0;
    std::map<std::string, std::string> contents = contentsOf(archive);
    if (contents.empty())
        return 0;
    const std::string first = contents.begin()->second;
    contents[addFirstOf(archive, contents)] = first;
    require(contentsOf(archive) == contents);
    require(reopen(archive, stream, base));
    require(contentsOf(archive) == contents);
    return 0;
}
