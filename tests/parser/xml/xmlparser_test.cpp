#include "common/parser/xml/xmlparser.h"

#include "tests/parser/xml/documents.h"
#include "tests/parser/xml/grammar.h"
#include "tests/support/librarytest.h"

#include "common/io/ioexception.h"
#include "common/memory/memorystream.h"

#include <iterator>
#include <random>

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;
using namespace Tarq::Test;
using namespace std::string_literals;

namespace {

struct Document {
    const char* name;
    std::string text;
    std::string outcome; ///< the tree, or line, row and message
};

const char* const cNotRoot = "XMLParser: First tag must be a root node";
const char* const cInvalid = "XMLParser: Invalid tag found.";
const char* const cEnd = "XMLParser: End of buffer reached.";
const char* const cEndInName = "XMLParser: Reached end of buffer during name read";
const char* const cUnequal = "XMLParser: Name in starttag and endtag are not equal";

std::string badName(char c) {
    return "name has invalid first char '"s + c +
           "' , must be in 'abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_'";
}

const Document cTrees[] = {
    {"an empty element and a text", R"(<root><a x="1"/><b>text</b></root>)", R"(root(a[x=1] b"text"))"},
    {"a root without content", "<r></r>", "r()"},
    {"an element without content", "<r><a></a><b> \n </b></r>", "r(a() b())"},
    {"an empty element without a blank", "<r><x/><y /></r>", "r(x y)"},
    {"declaration, comments and instructions",
     "<?xml version=\"1.0\" ?>\n<!-- <r> --><r><!----><?a > ?><b/><!-- - -- > --></r>", "r(b)"},
    {"what stands in front of the first tag and behind the root", "junk > / <r><a/></r> <junk </r>", "r(a)"},
    {"white space in tags", "<r\n>\t<a\r\nx\n=\t\"1\"\ny=\"2\"z=\"3\" /><b\n>  t  </b \n></r\t>",
     R"(r(a[x=1,y=2,z=3] b"  t  "))"},
    {"names", "<r><_.,-:9 A_b=\"\"/><xi:include/><xi:includes x=\"\"/></r>",
     "r(_.,-:9[A_b=] xi:include xi:includes[x=])"},
    {"names that are longer than a machine's word",
     "<r><abcdefg>1</abcdefg><abcdefgh>2</abcdefgh><abcdefghijklmnopq><x/></abcdefghijklmnopq></r>",
     R"(r(abcdefg"1" abcdefgh"2" abcdefghijklmnopq(x)))"},
    {"references stay as they are", R"(<r><a x="1&amp;2">&lt;&#65;</a></r>)", R"(r(a[x=1&amp;2]"&lt;&#65;"))"},
    {"attributes are ascending, the last of a name counts", R"(<r><a c="1" B="2" a="3" c="4" b="5"/></r>)",
     "r(a[B=2,a=3,b=5,c=4])"},
    {"a text may contain nearly everything", "<r><a>]]> \" & ' / =\n</a></r>", "r(a\"]]> \" & ' / =\n\")"},
    {"an element that begins with a comment has children", "<r><a><!-- --></a></r>", "r(a())"},
    {"characters beyond ASCII", "<r><a x=\"\xC3\xA9\">\xFF\x80</a></r>", "r(a[x=\xC3\xA9]\"\xFF\x80\")"},
    {"a NUL is an ordinary character, and ends what is read of a text", "<r><a x=\"1\0002\">3\0004</a><b/></r>"s,
     R"(r(a[x=1]"3" b))"},
    // The first '>' decides what an element is, wherever it stands.
    {"a '>' in the value of a text element", R"(<r><a x="1>2">text</a></r>)", R"(r(a[x=1>2]"text"))"},
    {"a '>' in the value of an empty element", R"(<r><a x=">/>"/></r>)", "1:19 "s + cUnequal},
    {"a '/>' in the value of an empty element", R"(<r><a x="/>"/><b y="/> < >"/></r>)", "r(a[x=/>] b[y=/> < >])"},
    {"a '/>' in a value makes the element empty", R"(<r><a x="/>"> <b/></r>)", "r(a[x=/>] b)"},
    {"a '> <' in a value gives the element children", R"(<r><a x="> <"/><b/></a></r>)", "r(a[x=> <](b))"},
    {"a '>' in a value, of an element with children", R"(<r><a x="1>2"><b/></a></r>)",
     "1:15 XMLParser: Expected '/' but found 'b'"},
    {"a '>' in a value of the root", R"(<r x="><"><a/></r>)", "r[x=><](a)"},
};

const Document cErrors[] = {
    {"nothing", "", "1:0 XMLParser: Invalid XML format. Found nodetype : -4"},
    {"no tag", "no\ntag", "1:0 XMLParser: Invalid XML format. Found nodetype : -4"},
    {"an end tag first", "\n </r>", "1:2 XMLParser: Invalid XML format. Found nodetype : -3"},
    {"a document type", "<?xml?>\n<!DOCTYPE r><r><a/></r>", "2:1 XMLParser: Invalid XML format. Found nodetype : -4"},
    {"a comment that does not end", "<!--><r><a/></r>", "1:0 XMLParser: Invalid XML format. Found nodetype : -4"},
    {"an instruction that does not end", "<?><r><a/></r>", "1:0 XMLParser: Invalid XML format. Found nodetype : -4"},
    {"text between a comment and the root", "<!-- -->\n a<r/>",
     "2:2 XMLParser: Invalid XML format. Found nodetype : -4"},
    {"a root that does not end", "<r", "1:0 XMLParser: Invalid XML format. Found nodetype : -4"},
    {"nothing but a comment", "<!-- -->\n\n", "3:1 "s + cEnd},
    {"a root with a text", "<r>text</r>", "1:0 "s + cNotRoot},
    {"an empty root", "<!-- \n -->\n <r/>", "2:2 "s + cNotRoot},
    {"an include element as the root", "<xi:include href=\"a\"/>", "1:0 "s + cNotRoot},
    {"a root that nothing follows", "<r>\n\n", "3:1 "s + cEnd},
    {"a document type inside", "<r>\n\n  <!ELEMENT r></r>", "3:3 "s + cInvalid},
    {"a CDATA section", "<r><![CDATA[x]]></r>", "1:3 "s + cInvalid},
    {"text behind an element", "<r><a/>\n text</r>", "2:2 "s + cInvalid},
    {"a NUL behind an element", "<r><a/>\0</r>"s, "1:7 "s + cInvalid},
    {"children behind a text", "<r>\n<a>text<b/></a></r>", "2:9 XMLParser: Expected '/' but found 'b'"},
    {"an end tag of another element", "<r>\n<a>\n</b></r>", "3:5 "s + cUnequal},
    {"an end tag that goes on", "<r><a>1</ab></r>", "1:12 "s + cUnequal},
    {"an end tag that ends too soon", "<r><ab>1</a></r>", "1:12 "s + cUnequal},
    {"an end tag with a NUL", "<r><a>1</a\0></r>"s, "1:10 XMLParser: Invalid character '\0' in starttag."s},
    {"an end tag with an attribute", "<r><a>1</a x=\"\"></r>", "1:11 XMLParser: Invalid character 'x' in starttag."},
    {"an end tag without a name", "<r><a>1</></r>", "1:9 " + badName('>')},
    {"a name that begins with a digit", "<r>\n <1a/></r>", "2:3 " + badName('1')},
    {"a name that begins beyond ASCII", "<r><\xC3\xA9/></r>", "1:4 " + badName('\xC3')},
    {"a tag without a name", "<r><>x</></r>", "1:4 " + badName('>')},
    {"a blank in front of a name", "<r>< a/></r>", "1:4 " + badName(' ')},
    {"a character that is none of a name", "<r><a\"/></r>", "1:5 XMLParser: Invalid character '\"' in name."},
    {"a slash inside of a name", "<r><a/b>x</a/b></r>", "1:5 XMLParser: Invalid character '/' in name."},
    {"a slash inside of a tag", "<r><a /b>x</a></r>", "1:7 XMLParser: Invalid character 'b' in starttag."},
    {"a slash and a blank", "<r><a x=\"1\"/ ></r>", "1:12 XMLParser: Invalid character ' ' in starttag."},
    {"an attribute that begins with a digit", "<r><a\n 1=\"\"/></r>", "2:2 " + badName('1')},
    {"an attribute without a value", "<r><a x></a></r>", "1:7 XMLParser: Expected assign operator '=' but found '>'"},
    {"an attribute without quotes", "<r><a x=\n 1></a></r>", "2:2 XMLParser: Expected envelop char '\"' , found '1'"},
    {"a value in single quotes", "<r><a x='1'/></r>", "1:8 XMLParser: Expected envelop char '\"' , found '''"},
    {"a value that does not end", "<r><a x=\"1></a></r>\n", "1:20 "s + cEnd},
    {"a tag that does not end", "<r>\n<a x=\"1\"\n", "2:1 "s + cInvalid},
    {"a tag with an error that does not end", "<r>\n<a x='1'\n", "2:1 "s + cInvalid},
    {"a tag with an error that nothing follows", "<r>\n<a x='1'>\n", "3:1 "s + cEnd},
    {"a tag that nothing follows", "<r>\n<a\n\n x=\"1\">\n", "3:1 "s + cEnd},
    {"a '>' in a value that nothing follows", "<r>\n<a\n\n x=\"1>\n\n", "4:1 "s + cEnd},
    {"a '>' in a value, and no name's end", "<r><a x=\">.\" abc", "1:16 "s + cEndInName},
    {"a '>' in a value, and nothing behind the slash", "<r><a x=\">.\" /", "1:14 "s + cEnd},
    {"a text that does not end", "<r><a>\n\nte\nxt", "3:6 "s + cEnd},
    {"a text's end tag that does not end", "<r><a>text</a", "1:13 "s + cEndInName},
    {"a text's end tag with nothing behind the name", "<r><a>text</a\n", "2:1 "s + cEnd},
    {"an end tag that does not end", "<r><a></a", "1:9 "s + cEndInName},
    {"a '<' at the end of a text", "<r><a>text<", "1:11 "s + cEnd},
    {"a '<' at the end", "<r><a/><", "1:7 "s + cInvalid},
    {"a root that is not closed", "<r><a/>\n", "2:1 "s + cEnd},
    {"a comment that does not end inside", "<r>\n<!-- -- ></r>", "2:1 "s + cInvalid},
    {"an instruction that does not end inside", "<r>\n<? ></r>", "2:1 "s + cInvalid},
    {"an include element without a file system", "<r>\n<xi:include parse=\"text\"/></r>",
     "2:27 XMLParser: We have no FileSystem defined, but there is an xi:include tag in the current xml definition"},
    {"an include element that does not end", "<r>\n<xi:include href=\"a\"\n", "3:1 "s + cEnd},
    // Line breaks count where white space is skipped.
    {"line breaks in comments, values and texts", "<r>\n<!-- \n --><a x=\"\n\">\n t\n\n</a>\n<1/></r>",
     "4:2 " + badName('1')},
    {"line breaks behind the first '>', in a value", "<r><a x=\">\n\n\" '/></r>", "3:3 " + badName('\'')},
    {"line breaks behind the second '>', in a value", "<r><a x=\">.>\n\n\" '/></r>", "1:16 " + badName('\'')},
    {"line breaks behind names", "<r\n><a\nx\n=\n\"1\"\n/><b\n/></b\n></r>", "8:2 "s + cUnequal},
    {"carriage returns", "<r>\r\n<a>\r</b></r>", "2:9 "s + cUnequal},
};

template <class Documents>
void checkAll(const Documents& documents) {
    for (const Document& each : documents) {
        CAPTURE(each.name);
        CHECK(outcomeOfDocument(each.text) == each.outcome);
        CHECK(outcomeOfDocument(each.text, true) == each.outcome);
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "documents become trees") {
    checkAll(cTrees);
}

TEST_CASE_FIXTURE(LibraryTest, "errors are told with their line and row") {
    checkAll(cErrors);
}

TEST_CASE_FIXTURE(LibraryTest, "every beginning of a document is read as the grammar has it") {
    for (const auto* documents : {&cTrees[0], &cErrors[0]})
        for (const Document* each = documents; each != (documents == cTrees ? std::end(cTrees) : std::end(cErrors));
             ++each) {
            for (std::size_t length = 0; length <= each->text.size(); ++length) {
                const std::string beginning = each->text.substr(0, length);
                CAPTURE(beginning);
                REQUIRE(outcomeOfDocument(beginning) == Grammar(beginning).read());
            }
        }
}

TEST_CASE_FIXTURE(LibraryTest, "documents that are put together at random are read as the grammar has it") {
    const std::string pieces[] = {"<a>",  "</a>", "<b>",   "</b>", "<abcdefghijk>", "</abcdefghijk>", "<a",  "<b ",
                                  "</a",  "/>",   ">",     "/",    " x=\"1\"",      " y=\">\"",       "z",   "=",
                                  "\"",   " ",    "\n",    "\t",   " x=\"/>\"",     " x=\"> <\"",     "'",   "1",
                                  "\0"s,  "<",    "text",  "<!--", "-->",           "<!-- \n -->",    "<?",  "?>",
                                  "<c/>", "<a/>", "\r\n ", "<!",   "<b>t</b>",      "<xi:include ",   "\xFF"};
    std::mt19937 random(1);
    int trees = 0;
    for (int round = 0; round < 40000; ++round) {
        std::string document = "<r>";
        for (auto count = random() % 12; count != 0; --count)
            document += pieces[random() % std::size(pieces)];
        document += "</r>";
        CAPTURE(document);
        const std::string outcome = outcomeOfDocument(document, round % 2 != 0);
        REQUIRE(outcome == Grammar(document).read());
        trees += outcome[0] == 'r' ? 1 : 0;
    }
    CHECK(trees > 400);
}

TEST_CASE_FIXTURE(LibraryTest, "a stream is read at once, from its start") {
    RecordingStream stream("<r><a>1</a></r>");
    XMLParser parser;
    CHECK(shown(*parser.parseStream(&stream)) == "r(a\"1\")");
    CHECK(stream.takeCalls() == Texts{"read 15"});
    CHECK(outcomeOf([&] { parser.parseStream(&stream); }) ==
          "IOException: XMLParser: Cannot read complete file from stream");
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    stream.limitReads(14);
    CHECK(outcomeOf([&] { parser.parseStream(&stream); }) ==
          "IOException: XMLParser: Cannot read complete file from stream");
    CHECK(outcomeOf([&] { parser.parseStream(nullptr); }) ==
          "ArgumentNullException: XMLParser: Stream is a null pointer [stream]");
    CHECK(outcomeOf([&] { parser.parseBuffer(nullptr, 1, false); }) ==
          "ArgumentNullException: XMLParser: Buffer is a null pointer [buffer]");
}

TEST_CASE_FIXTURE(LibraryTest, "a stream of 4 GiB is refused before memory is taken for it") {
    struct LongStream : RecordingStream {
        uint64 getLength() const override { return mLength; }
        uint64 mLength = 0;
    } stream;
    XMLParser parser;
    for (const uint64 length : {uint64{0xFFFFFFFF}, uint64{0x100000000}, ~uint64{0}}) {
        stream.mLength = length;
        CHECK(outcomeOf([&] { parser.parseStream(&stream); }) ==
              "ArgumentNullException: XMLParser: Stream too long [stream]");
    }
    CHECK(stream.takeCalls().empty());
}

TEST_CASE_FIXTURE(LibraryTest, "behind a stream's bytes the parser sees a NUL") {
    XMLParser parser;
    const auto outcome = [&parser](const char* document) {
        RecordingStream stream(document);
        return outcomeOfParse([&] { return parser.parseStream(&stream); });
    };
    CHECK(outcome("") == "1:0 XMLParser: Invalid XML format. Found nodetype : -4");
    CHECK(outcome("<r>") == "1:0 "s + cNotRoot);
    CHECK(outcome("<r><a/>\n") == "2:1 "s + cInvalid);
    CHECK(outcome("<r></r") == "1:6 XMLParser: Invalid character '\0' in starttag."s);
    CHECK(outcome("<r></r>") == "r()");
}

TEST_CASE_FIXTURE(LibraryTest, "a parser parses once more after anything") {
    std::string good = "<r>\n<a>1</a>\n</r>  ";
    std::string bad = "<r>\n<a>1</a><b></r>";
    XMLParser parser;
    uint32 line = 0;
    uint32 row = 7;
    CHECK(std::string(parser.getError(line, row)).empty());
    CHECK((line == 1 && row == 0 && parser.getPosition() == 0));
    for (int turn = 0; turn < 3; ++turn) {
        std::string buffer = good;
        CHECK(shown(*parser.parseBuffer(buffer.data(), 19, turn == 1)) == "r(a\"1\")");
        CHECK((line = 0, parser.getError(line, row), line == 3 && row == 5 && parser.getPosition() == 17));
        RecordingStream stream(good);
        CHECK(shown(*parser.parseStream(&stream)) == "r(a\"1\")");
        buffer = bad;
        CHECK(outcomeOfParse([&] { return parser.parseBuffer(buffer.data(), 19, false); }) == "2:16 "s + cUnequal);
        CHECK((line = 0, parser.getError(line, row), line == 2 && row == 16 && parser.getPosition() == 19));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "references are converted once each") {
    struct Case {
        const char* text;
        std::string converted;
    };
    const Case cases[] = {
        {"", ""},
        {"nothing", "nothing"},
        {"&amp;&lt;&gt;&quot;&apos;", "&<>\"'"},
        {"a&amp;lt;b&amp;#65;c&#38;lt;", "a&lt;b&#65;c&lt;"},
        {"&#65;&#0066;&#x43;&#x4a;&#x4B;", "ABCJK"},
        {"&#256;&#0;|&#x141;", "\0\0|A"s},
        {"&#99999999999999999999;|", "\xFF|"},
        {"&;&#;&#x;&#a;&#6 5;&#-1;&AMP;&amp &# &#65", "&;&#;&#x;&#a;&#6 5;&#-1;&AMP;&amp &# &#65"},
        {"&#X41;&nbsp;&&amp;&", "&#X41;&nbsp;&&&"},
    };
    for (const Case& each : cases) {
        CAPTURE(each.text);
        String text(each.text);
        XMLParser::convertSpecialCharacters(text);
        CHECK(std::string(text.view()) == each.converted);
    }
}
