#include "tests/parser/xml/documents.h"
#include "tests/parser/xml/grammar.h"
#include "tests/support/librarytest.h"
#include "tests/support/memoryfilesystem.h"
#include "tests/support/temporarydirectory.h"

#include "common/exceptions/argumentexception.h"

#include <iterator>
#include <optional>
#include <random>

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;
using namespace Tarq::Test;

namespace {

/// What parsing "main.xml" ends in.
std::string outcomeOfMain(MemoryFileSystem& files) {
    XMLParser parser;
    return outcomeOfParse([&] { return parser.parseFile("main.xml", &files); });
}

std::string including(const std::string& file) {
    return "<r>\n<xi:include href=\"" + file + "\"/></r>";
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an include element gives its place to the root of the file") {
    MemoryFileSystem files;
    files.add("main.xml", R"(<r><a/><xi:include href="b.xml"/><xi:include parse="xml" href="dir/c.xml" /><d/></r>)");
    files.add("b.xml", "<?xml version=\"1.0\"?>\n<b><xi:include href=\"dir/c.xml\"/></b>");
    files.add("dir/c.xml", "<c x=\"1\"><text>2</text></c>");
    XMLParser parser;
    XMLNodeElements* const root = parser.parseFile("main.xml", &files);
    CHECK(shown(*root) == R"(r(a b(c[x=1](text"2")) c[x=1](text"2") d))");
    CHECK(files.takeOpened() == Texts{"main.xml", "b.xml", "dir/c.xml", "dir/c.xml"});
    root->initSearch();
    root->getNextNode();
    XMLNode* const included = root->getNextNode();
    CHECK(included->parent == root);
    included->addAttribute("later", "yes");
    CHECK(shown(*included) == R"(b[later=yes](c[x=1](text"2")))");
}

TEST_CASE_FIXTURE(LibraryTest, "what is wrong with an include element is told") {
    struct Case {
        const char* name;
        std::string document;
        std::string outcome;
    };
    const std::string notXML =
        "XMLParser: We support currently only xi:include tags with attribute parse=\"xml\" or no parse attribute.";
    const Case cases[] = {
        {"nearly \"xml\"", "<r><xi:include href=\"b.xml\" parse=\"xmlx\"/></r>", "1:42 " + notXML},
        {"a text without a file name", "<r><xi:include parse=\"text\"/></r>", "1:29 " + notXML},
        {"no file name", "<r>\n <xi:include x=\"\"/></r>",
         "2:20 XMLParser: xi:include tag without href attribute found"},
        {"content", "<r><xi:include href=\"b.xml\"></xi:include></r>",
         "1:41 XMLParser: Name in starttag and endtag are not equal"},
        {"an error in the file", "<r>\n\n<xi:include href=\"bad.xml\"/></r>",
         "2:7 XMLParser: Name in starttag and endtag are not equal"},
        {"a file that is empty", including("empty.xml"), "1:0 XMLParser: Invalid XML format. Found nodetype : -4"},
    };
    MemoryFileSystem files;
    files.add("b.xml", "<b></b>");
    files.add("bad.xml", "<bad>\n  </b>");
    files.add("empty.xml", "");
    for (const Case& each : cases) {
        CAPTURE(each.name);
        files.add("main.xml", each.document);
        CHECK(outcomeOfMain(files) == each.outcome);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "includes that are put together at random are read as the grammar has it") {
    const std::string pieces[] = {"<xi:include href=\"1\"/>",
                                  "<xi:include href=\"2\" parse=\"xml\" />",
                                  "<xi:include  x=\"\n\" href=\"2\"/>",
                                  "<xi:include href=\"0\"/>",
                                  "<xi:include parse=\"text\"\n/>",
                                  "<xi:include href=\"1\" parse=\"\"/>",
                                  "<xi:include href=\"1\" parse=\"\">",
                                  "<xi:include />",
                                  "\n",
                                  "<a>\n",
                                  "</a>",
                                  "<b>t</b>",
                                  "<c/>",
                                  "<!--\n-->"};
    std::mt19937 random(1);
    int trees = 0;
    for (int round = 0; round < 4000; ++round) {
        MemoryFileSystem files;
        Grammar::Files texts;
        for (const char* const name : {"0", "1", "2"}) {
            std::string& text = texts[name] = "<r>";
            for (auto count = random() % 4; count != 0; --count)
                text += pieces[random() % std::size(pieces)];
            files.add(name, text += "</r>");
        }
        CAPTURE(texts["0"]);
        CAPTURE(texts["1"]);
        CAPTURE(texts["2"]);
        XMLParser parser;
        const std::string outcome = outcomeOfParse([&] { return parser.parseFile("0", &files); });
        REQUIRE(outcome == Grammar(texts, "0").read());
        trees += outcome[0] == 'r' ? 1 : 0;
    }
    CHECK(trees > 1000);
}

TEST_CASE_FIXTURE(LibraryTest, "files that include themselves are refused, by name") {
    MemoryFileSystem files;
    files.add("main.xml", including("main.xml"));
    CHECK(outcomeOfMain(files) == "2:30 XMLParser: The file 'main.xml' includes itself");
    CHECK(files.takeOpened() == Texts{"main.xml"});
    files.add("main.xml", including("b.xml"));
    files.add("b.xml", including("c.xml"));
    files.add("c.xml", including("b.xml"));
    CHECK(outcomeOfMain(files) == "2:27 XMLParser: The file 'b.xml' includes itself");
    files.add("c.xml", including("./b.xml"));
    CHECK(outcomeOfMain(files) == "2:29 XMLParser: The file './b.xml' includes itself");
}

TEST_CASE_FIXTURE(LibraryTest, "includes nest 40 deep, and not deeper") {
    MemoryFileSystem files;
    files.add("main.xml", including("1.xml"));
    for (int number = 1; number <= 39; ++number)
        files.add(std::to_string(number) + ".xml", including(std::to_string(number + 1) + ".xml"));
    files.add("40.xml", "<last></last>");
    std::string tree = "last()";
    for (int number = 0; number < 40; ++number)
        tree = "r(" + tree + ")";
    CHECK(outcomeOfMain(files) == tree);
    files.add("40.xml", including("41.xml"));
    files.add("41.xml", "<last></last>");
    CHECK(outcomeOfMain(files) == "2:28 XMLParser: The file '41.xml' is included too deep");
}

TEST_CASE_FIXTURE(LibraryTest, "the parser tells in which file it has failed, and where") {
    MemoryFileSystem files;
    files.add("main.xml", including("b.xml"));
    files.add("b.xml", "<b>\n<!--\n-->\n<xi:include href=\"c.xml\"/></b>");
    files.add("c.xml", "<c>\n<1/></c>");
    XMLParser parser;
    const auto failedAt = [&parser] {
        const XMLParser& failed = parser.getFailedParser();
        return std::string(failed.getFileName().c_str()) + " " + std::to_string(failed.getPosition());
    };
    CHECK(outcomeOfParse([&] { return parser.parseFile("main.xml", &files); }).starts_with("2:2 name has"));
    CHECK(failedAt() == "c.xml 5");
    uint32 line = 0;
    uint32 row = 0;
    CHECK(std::string(parser.getError(line, row)).empty());
    CHECK((line == 2 && row == 27));

    files.add("b.xml", "<b>\n<!--\n-->\n<xi:include href=\"missing.xml\"/></b>");
    const auto thrown = catchThrown<IO::FileNotFoundException>([&] { parser.parseFile("main.xml", &files); });
    CHECK(thrown->getFileName() == "missing.xml");
    CHECK(failedAt() == "b.xml 45");
    catchThrown<IO::FileNotFoundException>([&] { parser.parseFile("missing.xml", &files); });
    CHECK(failedAt() == " 0");
    std::string document = "<r></r>";
    CHECK(shown(*parser.parseBuffer(document.data(), 7, false)) == "r()");
    CHECK(failedAt() == " 7");
}

TEST_CASE_FIXTURE(LibraryTest, "after a failure no file system is left behind") {
    MemoryFileSystem files;
    files.add("main.xml", including("missing.xml"));
    XMLParser parser;
    catchThrown<IO::FileNotFoundException>([&] { parser.parseFile("main.xml", &files); });
    std::string document = "<r><xi:include href=\"b.xml\"/></r>";
    CHECK(outcomeOfParse([&] { return parser.parseBuffer(document.data(), 33, false); }) ==
          "1:29 XMLParser: We have no FileSystem defined, but there is an xi:include tag in the current xml "
          "definition");
    CHECK(outcomeOf([&] { parser.parseFile("main.xml", nullptr); }) ==
          "ArgumentNullException: XMLParser: FileSystem cannot be a NULL pointer in parseFile [fSystem]");
}

TEST_CASE_FIXTURE(LibraryTest, "files of the machine are parsed, with names as the file system takes them") {
    const TemporaryDirectory directory;
    directory.write("b.xml", "<b>\n</b>\n");
    directory.write("main.xml", including((directory / "b.xml").c_str()));
    IO::FileSystem files;
    XMLParser parser;
    CHECK(shown(*parser.parseFile(directory / "main.xml", &files)) == "r(b())");
    CHECK(parser.getFileName() == directory / "main.xml");
    CHECK(shown(*parser.parseFile(parser.getFileName(), &files)) == "r(b())");
    directory.write("main.xml", including("b.xml"));
    catchThrown<IO::FileNotFoundException>([&] { parser.parseFile(directory / "main.xml", &files); });
}

TEST_CASE_FIXTURE(LibraryTest, "memory that runs out anywhere leaves nothing behind") {
    MemoryFileSystem files;
    std::string many = "<many ";
    for (int number = 0; number < 100; ++number)
        many += "a" + std::to_string(number) + "=\"\" ";
    many += ">";
    for (int number = 0; number < 2000; ++number)
        many += "<a x=\"1\"><b>2</b></a>";
    std::string lines;
    for (int number = 0; number < 500; ++number)
        lines += "\n<line number=\"1\"/>";
    files.add("main.xml", R"(<r><xi:include href="b.xml"/><xi:include href="many.xml"/>)" + lines + "</r>");
    files.add("b.xml", "<b x=\"1\"><c>2</c></b>");
    files.add("many.xml", many + "</many>");
    const AssertionRecorder recorder;
    int64 granted = 0;
    for (bool isParsed = false; !isParsed; ++granted) {
        getMemory().failAfter(granted);
        std::optional<XMLParser> parser;
        try {
            parser.emplace();
            isParsed = parser->parseFile("main.xml", &files)->elements.size() == 502;
        } catch (Exceptions::Exception* exception) {
            getMemory().failNever();
            const Exceptions::Holder holder(exception);
            CHECK(exception->getExceptionName() == "OutOfMemoryException");
        }
        getMemory().failNever();
        uint32 line = 1;
        uint32 row = 0;
        if (parser)
            parser->getError(line, row);
        CHECK(row <= 60); // as long as the first line, which is the longest one
        parser.reset();
        Library::getTempAlloc()->freeUnusedMemory();
    }
    CHECK(granted > 20);
}
