#include "common/exceptions/exception.h"
#include "common/interface.h"
#include "common/memory/memorystream.h"
#include "common/parser/xml/xmlparser.h"
#include "common/parser/xml/xmlparserexception.h"
#include "common/parser/xml/xmlwriter.h"
#include "fuzz/files.h"
#include "tests/parser/xml/grammar.h"
#include "tests/parser/xml/outcomes.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

// Parses a document in both ways, which have to come to the same, and to what the grammar says. What has become a tree
// is written, read and written again. A form feed begins another file, named "1", "2" and so on: the first one is
// parsed as a file that includes these, twice with one parser.

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;

namespace {

/// Files may include others twice each, and those too.
constexpr int cMostFiles = 50;
/// The grammar is read by functions that call themselves.
constexpr std::size_t cLongestForGrammar = 1024;

class Files : public Tarq::Test::MemoryFileSystem {
public:
    void startCounting() { mOpened = 0; }
    IO::FileStreamPtr createFileStream(const String& fileName, IO::FileStream::FileAccess access,
                                       IO::FileStream::FileMode mode) override {
        if (++mOpened > cMostFiles)
            throw new IO::FileNotFoundException("enough files were opened", fileName, fileName);
        return MemoryFileSystem::createFileStream(fileName, access, mode);
    }

private:
    int mOpened = 0;
};

std::string write(XMLNode* root) {
    Memory::MemoryStream stream("written", 4096);
    XMLWriter().writeTree(&stream, root);
    std::string text(static_cast<std::size_t>(stream.getLength()), '\0');
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    stream.read(text.data(), text.size());
    return text;
}

/// What `parse` comes to: the tree as it is written, or the error, which begins with a digit.
template <class Parse>
std::string outcomeOf(Parse parse) {
    try {
        return write(parse());
    } catch (XMLParserException* exception) {
        const Exceptions::Holder holder(exception);
        return std::to_string(exception->getLine()) + ":" + std::to_string(exception->getRow()) +
               std::string(exception->getMessage().view());
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        return "0";
    }
}

/// Whether the tree, when it is written, is read as the same one. What an element is depends on the first '>', so none
/// may be in a value; a text that a NUL has cut may be blank; and what has a line break behind "<xi:include" gets a
/// space, so that it includes something.
bool isSameWhenWritten(const XMLNode* root) {
    const XMLNode* node = root;
    while (node) {
        if (std::string_view(node->name) == "xi:include" && !node->attributes.empty())
            return false;
        for (const auto& [name, value] : node->attributes) {
            if (std::strchr(value, '>'))
                return false;
        }
        if (node->asText() &&
            std::string_view(node->asText()->text).find_first_not_of(" \t\r\n") == std::string_view::npos)
            return false;
        if (node->asElements() && !node->asElements()->elements.empty()) {
            node = node->asElements()->elements.front();
            continue;
        }
        while (node != root && !node->getNextSibling())
            node = node->parent;
        node = node != root ? node->getNextSibling() : nullptr;
    }
    return true;
}

std::string outcomeOfDocument(std::string_view document, bool copyStrings, bool& isStable) {
    std::vector<char> buffer(document.begin(), document.end());
    XMLParser parser;
    isStable = false;
    return outcomeOf([&] {
        XMLNodeElements* const root =
            parser.parseBuffer(buffer.data(), static_cast<uint32>(buffer.size()), copyStrings);
        if (copyStrings)
            buffer.assign(buffer.size(), '?');
        isStable = isSameWhenWritten(root);
        return root;
    });
}

void parseFiles(std::string_view all) {
    Files files;
    Tarq::Fuzz::addFiles(files, all);
    XMLParser parser;
    const auto parse = [&] {
        files.startCounting();
        return outcomeOf([&] { return parser.parseFile("0", &files); });
    };
    if (parse() != parse())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Interface::initLibrary({});
    std::atexit(Interface::closeLibrary);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view document(reinterpret_cast<const char*>(data), size);
    bool isStable = false;
    const std::string outcome = outcomeOfDocument(document, false, isStable);
    if (outcome != outcomeOfDocument(document, true, isStable))
        std::abort();
    if (size <= cLongestForGrammar &&
        Tarq::Test::outcomeOfDocument(document) != Tarq::Test::Grammar(std::string(document)).read())
        std::abort();
    if (isStable && outcomeOfDocument(outcome, false, isStable) != outcome)
        std::abort();
    parseFiles(document);
    String text(document);
    XMLParser::convertSpecialCharacters(text);
    if (text.length() > size)
        std::abort();
    return 0;
}
