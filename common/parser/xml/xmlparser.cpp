#include "common/parser/xml/xmlparser.h"

#include "common/exceptions/argumentexception.h"
#include "common/io/ioexception.h"
#include "common/memory/allocate.h"
#include "common/parser/internal/fullname.h"
#include "common/parser/xml/internal/xmldocumentreader.h"
#include "common/parser/xml/internal/xmlscanner.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

namespace Tarq::Common::Parser::XML {

namespace {

/// Runs at the end of a scope, whatever ends it.
template <class Body>
class AtEnd {
public:
    explicit AtEnd(Body body) noexcept : mBody(body) {}
    ~AtEnd() { mBody(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    Body mBody;
};

/// The character that a reference stands for; `length` is that of the reference, 0 where the text begins with none.
char readReference(std::string_view text, std::size_t& length) noexcept {
    static constexpr std::pair<std::string_view, char> cNamed[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''},
    };
    for (const auto& [reference, character] : cNamed) {
        if (text.starts_with(reference)) {
            length = reference.size();
            return character;
        }
    }
    length = 0;
    if (!text.starts_with("&#"))
        return '\0';
    const bool isHexadecimal = text.size() > 2 && text[2] == 'x';
    const char* const digits = text.data() + (isHexadecimal ? 3 : 2);
    const char* const end = text.data() + text.size();
    uint32 code = 0;
    const auto [digitsEnd, error] = std::from_chars(digits, end, code, isHexadecimal ? 16 : 10);
    if (digitsEnd == digits || digitsEnd == end || *digitsEnd != ';')
        return '\0';
    if (error == std::errc::result_out_of_range)
        code = std::numeric_limits<uint32>::max();
    length = static_cast<std::size_t>(digitsEnd + 1 - text.data());
    return static_cast<char>(code);
}

} // namespace

/// Hands includes to the parser, which is a class for everyone and shows no internal base.
class XMLParser::IncludedFiles final : public XMLIncludeHandler {
public:
    explicit IncludedFiles(XMLParser& parser) noexcept : mParser(parser) {}
    XMLTreeBuilder* readIncluded(const char* fileName, XMLScanner& scanner) override {
        return mParser.readIncluded(fileName, scanner);
    }

private:
    XMLParser& mParser;
};

XMLParser::XMLParser() : mBuilder(new (getAllocator()) XMLTreeBuilder), mIncluded(getAllocator()) {}

XMLParser::~XMLParser() {
    delete mBuilder;
    releaseBuffer();
    for (XMLParser* const included : mIncluded)
        delete included;
}

XMLNodeElements* XMLParser::parseBuffer(char* buffer, uint32 size, bool copyStrings) {
    if (!buffer && size != 0)
        throw new Exceptions::ArgumentNullException("XMLParser: Buffer is a null pointer", "buffer");
    begin();
    return parse(buffer, size, copyStrings);
}

void XMLParser::begin() noexcept {
    mPosition = 0;
    mLine = 1;
    mRow = 0;
    mFileName.clear();
    mFailedIncluded = nullptr;
}

XMLNodeElements* XMLParser::parse(char* buffer, uint32 size, bool copyStrings) {
    IncludedFiles includes(*this);
    XMLDocumentReader reader(buffer, size, *mBuilder, mFileSystem ? &includes : nullptr);
    const AtEnd keepPosition([&] {
        mPosition = static_cast<uint64>(reader.getPosition() - buffer);
        mLine = reader.getLine();
        mRow = reader.getRow();
    });
    return reader.read(copyStrings);
}

XMLNodeElements* XMLParser::parseStream(IO::Stream* stream) {
    begin();
    return readStream(stream);
}

XMLNodeElements* XMLParser::readStream(IO::Stream* stream) {
    if (!stream)
        throw new Exceptions::ArgumentNullException("XMLParser: Stream is a null pointer", "stream");
    // The tree that there is has its texts in the buffer.
    mBuilder->deleteXMLTree();
    releaseBuffer();
    const uint64 length = stream->getLength();
    if (length >= std::numeric_limits<uint32>::max())
        throw new Exceptions::ArgumentNullException("XMLParser: Stream too long", "stream");
    mBuffer = static_cast<char*>(Memory::allocateBytes(getAllocator(), static_cast<std::size_t>(length) + 1));
    if (stream->read(mBuffer, length) != length)
        throw new IO::IOException("XMLParser: Cannot read complete file from stream");
    mBuffer[length] = '\0';
    return parse(mBuffer, static_cast<uint32>(length + 1), false);
}

XMLNodeElements* XMLParser::parseFile(const String& fileName, IO::FileSystem* fileSystem) {
    using IO::FileStream;
    if (!fileSystem)
        throw new Exceptions::ArgumentNullException("XMLParser: FileSystem cannot be a NULL pointer in parseFile",
                                                    "fSystem");
    String name(fileName); // which may be of the parse that ends here
    begin();
    const IO::FileStreamPtr stream =
        fileSystem->createFileStream(name, FileStream::FACCESS_READ, FileStream::FMODE_OPEN);
    mFileName = std::move(name);
    mFileSystem = fileSystem;
    const AtEnd forgetFileSystem([this] { mFileSystem = nullptr; });
    return readStream(stream.get());
}

XMLTreeBuilder* XMLParser::readIncluded(const String& fileName, XMLScanner& scanner) {
    requireIncludable(fileName, scanner);
    mIncluded.push_back(nullptr);
    XMLParser* const included = mIncluded.back() = new (getAllocator()) XMLParser;
    included->mIncluder = this;
    try {
        included->parseFile(fileName, mFileSystem);
    } catch (...) {
        if (!included->mFileName.empty())
            mFailedIncluded = included;
        throw;
    }
    return included->mBuilder;
}

/// The files that are open are those of this parser and of the ones that include it.
void XMLParser::requireIncludable(const String& fileName, XMLScanner& scanner) const {
    const String fullName = getFullName(fileName, *mFileSystem);
    uint32 depth = 0;
    for (const XMLParser* parser = this; parser; parser = parser->mIncluder) {
        if (parser->mFileName == fileName || getFullName(parser->mFileName, *mFileSystem) == fullName)
            scanner.fail(scanner.getPosition(), "XMLParser: The file '" + fileName + "' includes itself");
        if (depth++ == cMostNestedIncludes)
            scanner.fail(scanner.getPosition(), "XMLParser: The file '" + fileName + "' is included too deep");
    }
}

void XMLParser::releaseBuffer() noexcept {
    Memory::releaseBytes(getAllocator(), std::exchange(mBuffer, nullptr));
}

char* XMLParser::getError(uint32& line, uint32& row) noexcept {
    line = mLine;
    row = mRow;
    return mErrorText;
}

const XMLParser& XMLParser::getFailedParser() const noexcept {
    return mFailedIncluded ? mFailedIncluded->getFailedParser() : *this;
}

void XMLParser::convertSpecialCharacters(String& text) {
    const char* at = text.begin();
    const char* const end = text.end();
    char* target = text.begin();
    while (at != end) {
        std::size_t length = 0;
        const char character =
            *at == '&' ? readReference(std::string_view(at, static_cast<std::size_t>(end - at)), length) : '\0';
        *target++ = length != 0 ? character : *at;
        at += length != 0 ? length : 1;
    }
    text.resize(static_cast<uint32>(target - text.begin()));
}

} // namespace Tarq::Common::Parser::XML
