#pragma once

#include "common/container/list.h"
#include "common/io/filesystem.h"
#include "common/io/stream.h"
#include "common/memory/memorymanaged.h"
#include "common/parser/xml/xmltreebuilder.h"
#include "common/string.h"

namespace Tarq::Common::Parser::XML {

class XMLScanner;

/// Reads documents of a small, strict subset of XML into trees.
///
///     XMLParser parser;
///     XMLNodeElements* const root = parser.parseFile("scene.xml", &fileSystem);
///
/// Elements have children or a text, never both: the first character behind a start tag that is no white space decides.
/// The root has children. Comments and declarations are skipped; document types, CDATA sections, and values in single
/// quotes are refused; references (`&amp;`) stay as they are. `docs/xml.md` tells all of it.
///
/// Included files (`<xi:include href="other.xml"/>`) are read by `parseFile` only: the other file's root takes the
/// place of the include element. The file system gets the name as it stands, and includes nest at most 40 deep.
///
/// Failures: what is wrong with a document is an `XMLParserException` with the line and row. Line breaks count where
/// white space is skipped: in front of tags, inside of them, and at the beginning of texts; not in comments, values and
/// the rest of texts; of values, only those right behind the first '>' of the tag. Rows count from the line break;
/// those of the first line from 0. Of an end tag with a wrong name, and of an include element, it is the place behind
/// them. Every parse throws `OutOfMemoryException` on exhaustion.
/// Ownership: a tree belongs to its parser, and goes with the next parse or with the parser.
/// Threads: a parser and its trees belong to one thread at a time.
class TARQ_API XMLParser : public Memory::MemoryManaged {
public:
    /// How many files may be included inside of each other.
    static constexpr uint32 cMostNestedIncludes = 40;

    XMLParser();
    ~XMLParser() override;

    /// Parses a buffer, and writes zeros into it. Without `copyStrings` the tree's names, values and texts stay in the
    /// buffer, which has to outlive the tree. Returns the root. Throws `XMLParserException`.
    XMLNodeElements* parseBuffer(char* buffer, uint32 size, bool copyStrings);
    /// Parses as many bytes as the stream is long, from its position on, which therefore has to be its start.
    ///
    /// Throws `ArgumentNullException` for a stream that is null, or longer than 4 GiB - 2 bytes, and `IOException` when
    /// there are fewer bytes.
    XMLNodeElements* parseStream(IO::Stream* stream);
    /// Throws `ArgumentNullException` without a file system, and what that throws, for an included file too.
    XMLNodeElements* parseFile(const String& fileName, IO::FileSystem* fileSystem);

    /// Where the last parse has stopped: the line, counted from 1, and the row, as exceptions have them. It is the
    /// start when nothing could be read, and some place that the parse has passed when memory was exhausted. Returns
    /// the empty text: errors are thrown.
    char* getError(uint32& line, uint32& row) noexcept;
    /// The same place, in bytes from the start of the document.
    uint64 getPosition() const noexcept { return mPosition; }
    /// The file that the last parse has opened. Empty when it was no file, or could not be opened.
    const String& getFileName() const noexcept { return mFileName; }
    /// The parser in which the last parse has failed: this one, or the one of an included file.
    const XMLParser& getFailedParser() const noexcept;

    /// Replaces `&amp;`, `&lt;`, `&gt;`, `&quot;`, `&apos;`, and references by number (`&#65;`, `&#x41;`), by the
    /// character that each stands for; of a number, the lowest 8 bits count. What comes of a reference begins no other
    /// one.
    static void convertSpecialCharacters(String& text);

private:
    class IncludedFiles;

    void begin() noexcept;
    XMLNodeElements* parse(char* buffer, uint32 size, bool copyStrings);
    XMLNodeElements* readStream(IO::Stream* stream);
    XMLTreeBuilder* readIncluded(const String& fileName, XMLScanner& scanner);
    void requireIncludable(const String& fileName, XMLScanner& scanner) const;
    void releaseBuffer() noexcept;

    char* mBuffer = nullptr; ///< what a stream was read into; null before that
    XMLTreeBuilder* mBuilder;
    uint64 mPosition = 0;
    uint32 mLine = 1;
    uint32 mRow = 0;
    char mErrorText[1] = {};
    String mFileName;
    IO::FileSystem* mFileSystem = nullptr; ///< while a file is parsed
    const XMLParser* mIncluder = nullptr;  ///< who includes the file of this parser
    Container::List<XMLParser*> mIncluded;
    const XMLParser* mFailedIncluded = nullptr;
};

} // namespace Tarq::Common::Parser::XML
