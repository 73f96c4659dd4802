#pragma once

#include "support/errorreport.h"
#include "support/interrupt.h"

#include "common/io/filesystem.h"
#include "common/io/ioexception.h"
#include "common/parser/vrml2/parser.h"
#include "common/parser/vrml2/vrml2parserexception.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

/// Scenes in files, for programs that tell where in a file something is wrong.
namespace scenefiles {

using namespace Tarq::Common;
namespace vrml2 = Tarq::Common::Parser::VRML2;
using errorreport::printable;

/// A file that is read with progress, and so that the user can stop in between.
class Source : public IO::FileStream {
public:
    Source(const String& name, bool isMain)
        : FileStream(name, FACCESS_READ, FMODE_OPEN), mShownName("reading " + printable(name.view())), mIsMain(isMain) {
        errorreport::throwIfReported();
    }

    uint64 read(void* dst, uint64 numBytes) override {
        interrupt::check();
        const uint64 count = FileStream::read(dst, numBytes);
        errorreport::throwIfReported();
        errorreport::progress.advance(mIsMain ? count : 0, mShownName);
        return count;
    }

private:
    std::string mShownName;
    bool mIsMain;
};

/// The first file that is opened is the scene; all others are included.
class Files : public IO::FileSystem {
public:
    IO::FileStreamPtr createFileStream(const String& name, IO::FileStream::FileAccess,
                                       IO::FileStream::FileMode) override {
        if (mHasMain)
            return openIncluded(name);
        IO::FileStreamPtr file(new (getAllocator()) Source(name, true));
        mHasMain = true;
        // There is no hundredth of a file that is read at once.
        errorreport::progress.start(file->getLength() < cReadInPieces ? 0 : file->getLength());
        return file;
    }

    /// Whether the scene could not be read because an included file could not be opened.
    bool lacksFile() const { return mLacksFile; }

private:
    static constexpr uint64 cReadInPieces = uint64{1} << 20;

    IO::FileStreamPtr openIncluded(const String& name) {
        try {
            return IO::FileStreamPtr(new (getAllocator()) Source(name, false));
        } catch (Exceptions::Exception* exception) {
            const Exceptions::Holder holder(exception);
            mLacksFile = true;
            throw new IO::IOException("\"" + name + "\" cannot be included: " + errorreport::reasonOf(*exception));
        }
    }

    bool mHasMain = false;
    bool mLacksFile = false;
};

/// A line and a column, both counted from 1; the column in bytes.
struct Place {
    uint32 line;
    uint32 column;
};

/// The parser tells how many bytes of a line it has read, of which the last one is where it has stopped.
inline Place placeOf(uint32 line, uint32 numBytes) {
    return {line, std::max<uint32>(numBytes, 1)};
}

inline std::string lineOf(const std::string& fileName, uint32 line) {
    std::ifstream file(fileName, std::ios::binary);
    std::string text;
    while (line != 0 && std::getline(file, text))
        --line;
    return line == 0 ? text : "";
}

/// Shows the line, or what is around the place where it is long, with a mark below the place.
inline void showLine(const std::string& fileName, const Place& place) {
    constexpr std::size_t cBefore = 60;
    constexpr std::size_t cAfter = 40;
    std::string line = lineOf(fileName, place.line);
    std::replace(line.begin(), line.end(), '\t', ' ');
    line.erase(line.find_last_not_of('\r') + 1);
    std::size_t column = std::min<std::size_t>(place.column - 1, line.size());
    // A character of several bytes stays whole.
    const auto isInside = [&line](std::size_t at) { return at < line.size() && (line[at] & 0xC0) == 0x80; };
    while (column != 0 && isInside(column))
        --column;
    std::size_t start = column > cBefore ? column - cBefore : 0;
    std::size_t end = std::min(line.size(), column + cAfter);
    while (start < column && isInside(start))
        ++start;
    while (isInside(end))
        ++end;
    const std::string_view shown = std::string_view(line).substr(start, end - start);
    if (shown.find_first_not_of(' ') == shown.npos)
        return;
    const std::string before = (start == 0 ? "" : "...") + printable(shown.substr(0, column - start));
    const std::string after = printable(shown.substr(column - start)) + (end == line.size() ? "" : "...");
    // Characters of several bytes take one place.
    const auto width = std::count_if(before.begin(), before.end(), [](char c) { return (c & 0xC0) != 0x80; });
    std::fprintf(stderr, "    %s%s\n    %*s^\n", before.c_str(), after.c_str(), static_cast<int>(width), "");
}

/// Makes it one of the program's errors.
inline void fail(const std::string& fileName, const Place& place, std::string_view text) {
    const std::string where = fileName + ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
    errorreport::guarded(where, [text] { throw std::runtime_error(std::string(text)); });
    showLine(fileName, place);
}

/// Where the file includes one that cannot be opened. The parser that has read it is gone when it was included itself.
inline Place findInclude(const String& fileName, bool skipsUnknown) {
    Files files;
    vrml2::Parser parser;
    parser.setSkipUnknownNodes(skipsUnknown);
    try {
        const vrml2::SceneNodePtr root(parser.parse(fileName, &files));
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
    }
    return placeOf(parser.getLine(), parser.getColumn());
}

/// Reads a scene. Null when something is wrong with it, which is told then. Throws what is wrong with the first file
/// as a whole.
inline vrml2::SceneNodePtr load(const std::string& name, bool skipsUnknown) {
    Files files;
    vrml2::Parser parser;
    parser.setSkipUnknownNodes(skipsUnknown);
    std::string text;
    Place place{};
    try {
        return vrml2::SceneNodePtr(parser.parse(String(name), &files));
    } catch (vrml2::VRML2ParserException* exception) {
        const Exceptions::Holder holder(exception);
        text = exception->getMessage().view();
        place = placeOf(exception->getLine(), exception->getRow());
    } catch (IO::IOException* exception) {
        if (!files.lacksFile())
            throw;
        const Exceptions::Holder holder(exception);
        text = exception->getMessage().view();
        place = findInclude(parser.getFileName(), skipsUnknown);
    }
    const std::string failed(parser.getFileName().view());
    fail(failed, place, text);
    if (failed != name)
        errorreport::note(name, "includes that file");
    return vrml2::SceneNodePtr();
}

} // namespace scenefiles
