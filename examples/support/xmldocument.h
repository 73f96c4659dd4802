#pragma once

#include "support/errorreport.h"
#include "support/xmlmarkup.h"

#include "common/io/filesystem.h"
#include "common/io/ioexception.h"
#include "common/parser/xml/xmlparser.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

/// XML documents in files, for programs that tell where in a file something is wrong.
namespace xmldocument {

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;
using errorreport::guarded;
using IO::FileStream;
using std::string_view;
using xmlmarkup::Markup;

/// Makes it one of the program's errors.
inline void fail(string_view what, const std::string& text) {
    guarded(what, [&text] { throw std::runtime_error(text); });
}

/// The whole of a file, or of the standard input.
inline std::string readAll(const String& name, bool isStandardInput) {
    constexpr std::size_t cPiece = 65536;
    constexpr uint64 cLongest = 0xFFFFFFFE;
    FileStream file;
    if (!isStandardInput)
        file.open(name, FileStream::FACCESS_READ, FileStream::FMODE_OPEN);
    std::string text;
    for (std::size_t count = 1; count != 0;) {
        const std::size_t size = text.size();
        text.resize(size + cPiece);
        count = static_cast<std::size_t>(isStandardInput ? std::fread(&text[size], 1, cPiece, stdin)
                                                         : file.read(&text[size], cPiece));
        text.resize(size + count);
        if (text.size() > cLongest)
            throw new IO::IOException("it has 4 GiB or more");
    }
    if (isStandardInput && std::ferror(stdin) != 0)
        throw new IO::IOException("it cannot be read");
    return text;
}

inline std::string shownName(string_view name) {
    return name == "-" ? "standard input" : std::string(name);
}

/// As editors count: line breaks in comments, texts and values too.
inline std::string placeIn(const std::string& text, string_view name, uint64 position) {
    const string_view before =
        string_view(text).substr(0, static_cast<std::size_t>(std::min<uint64>(position, text.size())));
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const std::size_t row = before.size() - (before.rfind('\n') + 1) + 1;
    return shownName(name) + ":" + std::to_string(line) + ":" + std::to_string(row);
}

/// A file that has been read.
class ReadFile : public FileStream {
public:
    explicit ReadFile(const std::string& text) : mText(text) {}
    uint64 getLength() const override { return mText.size(); }
    uint64 read(void* dst, uint64 numBytes) override {
        const std::size_t count = mText.copy(static_cast<char*>(dst), static_cast<std::size_t>(numBytes), mAt);
        mAt += count;
        return count;
    }

private:
    const std::string& mText;
    std::size_t mAt = 0;
};

/// A document with the files that it includes. The texts are kept: the parser changes what it reads, but it is in the
/// file that errors have their places.
class Document : public IO::FileSystem {
public:
    explicit Document(const std::string& name) : mName(name) {
        mTexts.emplace(name, readAll(String(name), name == "-"));
    }

    IO::FileStreamPtr createFileStream(const String& fileName, FileStream::FileAccess, FileStream::FileMode) override {
        const std::string name(fileName.view());
        auto found = mTexts.find(name);
        if (found == mTexts.end())
            found = mTexts.emplace(name, readIncluded(fileName)).first;
        return IO::FileStreamPtr(new (getAllocator()) ReadFile(found->second));
    }

    /// Null when something is wrong, which is told then; so in `parseAlone`.
    XMLNodeElements* parse() {
        return parseBy([this] { return mParser.parseFile(String(mName), this); });
    }

    /// Lets elements be what they are that include files: for the parser they have a tab in the place of the space.
    XMLNodeElements* parseAlone() {
        const std::string& text = mTexts[mName];
        const Markup markup = xmlmarkup::scan(text);
        mCopy = text;
        for (const std::size_t at : markup.includes)
            mCopy[at + xmlmarkup::cInclude.size()] = '\t';
        XMLNodeElements* root =
            parseBy([this] { return mParser.parseBuffer(mCopy.data(), static_cast<uint32>(mCopy.size() + 1), false); });
        for (const std::size_t at : markup.openIncludes) {
            if (at < mParser.getPosition()) {
                fail(placeIn(text, mName, at),
                     "what includes a file has to be empty, with no \">\" in front of its end");
                root = nullptr;
            }
        }
        return root;
    }

    /// Tells what no tree has. Where `isWritten`, that is what will be missing or different, and may be an error.
    void compareWithTree(bool isWritten) const {
        for (const auto& [name, text] : mTexts) {
            const Markup markup = xmlmarkup::scan(text);
            const std::string shown = shownName(name);
            for (const std::size_t at : markup.nearlyIncludes)
                tell(isWritten, placeIn(text, name, at),
                     "this includes nothing: \"<xi:include\" has no space behind it");
            if (markup.stray != string_view::npos)
                tell(isWritten, placeIn(text, name, markup.stray), "nobody reads what stands in front of the markup");
            if (markup.rest != string_view::npos)
                tell(isWritten, placeIn(text, name, markup.rest), "nobody reads what stands behind the root");
            const std::size_t end = string_view(text).substr(0, markup.rest).find('\0');
            if (end != string_view::npos)
                tell(isWritten, placeIn(text, name, end), "a NUL character ends what it stands in");
            if (isWritten && markup.hasComments)
                errorreport::note(shown, "comments and instructions are left out");
        }
    }

    std::string getDeclaration() const { return xmlmarkup::scan(mTexts.at(mName)).declaration; }

private:
    std::string readIncluded(const String& name) {
        try {
            return readAll(name, false);
        } catch (Exceptions::Exception* exception) {
            const Exceptions::Holder holder(exception);
            throw new IO::IOException("\"" + name + "\" cannot be included: " + errorreport::reasonOf(*exception));
        }
    }

    template <class Parse>
    XMLNodeElements* parseBy(Parse parse) {
        try {
            return parse();
        } catch (Exceptions::Exception* exception) {
            const XMLParser& failed = mParser.getFailedParser();
            const std::string name = &failed == &mParser ? mName : std::string(failed.getFileName().view());
            guarded(placeIn(mTexts[name], name, failed.getPosition()), [exception] { throw exception; });
            if (name != mName)
                errorreport::note(shownName(mName), "includes that file");
            return nullptr;
        }
    }

    static void tell(bool isError, const std::string& place, const std::string& text) {
        if (isError)
            fail(place, text);
        else
            errorreport::note(place, text);
    }

    std::string mName;
    std::map<std::string, std::string> mTexts;
    std::string mCopy;
    XMLParser mParser;
};

} // namespace xmldocument
