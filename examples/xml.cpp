// tarq-xml: checks XML documents, prints them with indentation, and resolves what they include. See --help; what a
// document may have in it is told in docs/xml.md.

#include "support/commandline.h"
#include "support/errorreport.h"
#include "support/interrupt.h"
#include "support/newfile.h"
#include "support/xmldocument.h"

#include "common/memory/memorystream.h"
#include "common/parser/xml/xmlwriter.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Tarq::Common;
using errorreport::guarded;
using IO::FileStream;
using xmldocument::Document;
using xmldocument::shownName;
namespace fs = std::filesystem;

namespace {

constexpr const char* cHelp =
    R"(Usage: tarq-xml check FILE...
       tarq-xml print FILE [-o FILE]
       tarq-xml include FILE [-o FILE]

check    reads documents and the files that they include, and tells the first error of each: FILE:LINE:ROW, both counted
         from 1, rows in bytes. Nothing is written about a document that is right.
print    writes a document with an element on each line, and a tab for each level. Elements that include files are kept;
         no other file is read.
include  writes it the same way, with the roots of the included files in the places of the elements that include them.

-o FILE  where the document is written to; it may be the one that is read. A file that is there already is replaced when
         the new one is complete. By default, or for "-", it is the standard output.
--       what follows is no option

For "-" the document is read from the standard input. Names of included files begin at the working directory, wherever
the including file is. Texts, values, and the XML declaration are written as they are, and all files are supposed to be
of one encoding. Comments and instructions are left out, which is told.

Ends with 0, with 1 when something went wrong, and with 2 when the command line is wrong.
)";

struct Options {
    std::string output = "-";
    std::vector<std::string> names;
};

/// Calls `use` with one piece of the stream after the other.
template <class Use>
void forEachPiece(IO::Stream& stream, Use use) {
    std::vector<char> buffer(65536);
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    while (const uint64 count = stream.read(buffer.data(), buffer.size()))
        use(buffer.data(), static_cast<std::size_t>(count));
}

void save(const fs::path& output, IO::Stream& text) {
    interrupt::catchSignals();
    NewFile newFile(output);
    FileStream file(newFile.path().c_str(), FileStream::FACCESS_WRITE, FileStream::FMODE_OPEN);
    forEachPiece(text, [&file](const char* bytes, std::size_t count) {
        interrupt::check();
        file.write(bytes, count);
    });
    file.flush();
    file.close();
    newFile.complete();
}

void write(const Document& document, Parser::XML::XMLNodeElements* root, const Options& options) {
    Memory::MemoryStream text("text", 65536);
    Parser::XML::XMLWriter writer;
    const std::string declaration = document.getDeclaration() + "\n";
    if (declaration == "\n")
        writer.writeHeader(&text);
    else
        text.write(declaration.data(), declaration.size());
    writer.writeTree(&text, root);
    if (options.output != "-")
        guarded(options.output, [&] { save(options.output, text); });
    else
        forEachPiece(text, [](const char* bytes, std::size_t count) { std::fwrite(bytes, 1, count, stdout); });
}

void check(const Options& options) {
    for (const std::string& name : options.names) {
        guarded(shownName(name), [&name] {
            Document document(name);
            if (document.parse())
                document.compareWithTree(false);
        });
    }
}

void rewrite(const Options& options, bool includes) {
    const std::string& name = options.names.front();
    guarded(shownName(name), [&] {
        Document document(name);
        Parser::XML::XMLNodeElements* const root = includes ? document.parse() : document.parseAlone();
        if (root)
            document.compareWithTree(true);
        if (errorreport::count == 0)
            write(document, root, options);
    });
}

void run(const std::vector<std::string>& arguments) {
    if (arguments.empty())
        throw UsageError("nothing to do");
    const std::string& command = arguments.front();
    const bool isCheck = command == "check";
    if (!isCheck && command != "print" && command != "include")
        throw UsageError("there is no command \"" + command + "\"");
    Options options;
    bool areOptions = true;
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (!areOptions || argument.size() < 2 || argument[0] != '-')
            options.names.push_back(argument);
        else if (argument == "--")
            areOptions = false;
        else if (argument == "-o" && !isCheck && at + 1 < arguments.size())
            options.output = arguments[++at];
        else
            throw UsageError(std::string("\"").append(command).append("\" cannot do anything with ").append(argument));
    }
    if (options.names.empty())
        throw UsageError("which file?");
    if (!isCheck && options.names.size() > 1)
        throw UsageError("\"" + command + "\" takes one file");
    if (std::count(options.names.begin(), options.names.end(), "-") > 1)
        throw UsageError("the standard input can be read only once");
    if (isCheck)
        check(options);
    else
        rewrite(options, command == "include");
}

} // namespace

int main(int argc, char** argv) {
    return runProgram("tarq-xml", cHelp, argc, argv, &run);
}
