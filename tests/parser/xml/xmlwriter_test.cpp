#include "common/parser/xml/xmlwriter.h"

#include "tests/parser/xml/documents.h"
#include "tests/support/librarytest.h"

#include <algorithm>

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;
using namespace Tarq::Test;

namespace {

std::string written(XMLNode* node) {
    RecordingStream stream;
    XMLWriter().writeTree(&stream, node);
    return stream.getBytes();
}

/// Counts what would be too much to keep.
class CountingStream : public RecordingStream {
public:
    void write(const void*, uint64 numBytes) override { mCount += numBytes; }
    uint64 mCount = 0;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a tree is written line by line, and is the same when it is read again") {
    std::string document = R"(<r b="2" a="1" b="3"><e/><f x="&lt;"/><t y=""> &amp;
 text </t><c></c><d><d><g/></d></d><h></h></r>)";
    const std::string expected = "<r a=\"1\" b=\"3\">\n"
                                 "\t<e/>\n"
                                 "\t<f x=\"&lt;\"/>\n"
                                 "\t<t y=\"\"> &amp;\n text </t>\n"
                                 "\t<c>\n"
                                 "\t</c>\n"
                                 "\t<d>\n"
                                 "\t\t<d>\n"
                                 "\t\t\t<g/>\n"
                                 "\t\t</d>\n"
                                 "\t</d>\n"
                                 "\t<h>\n"
                                 "\t</h>\n"
                                 "</r>\n";
    XMLParser parser;
    XMLNodeElements* const root = parser.parseBuffer(document.data(), static_cast<uint32>(document.size()), false);
    CHECK(written(root) == expected);
    std::string again = expected;
    XMLParser secondParser;
    CHECK(shown(*secondParser.parseBuffer(again.data(), static_cast<uint32>(again.size()), true)) == shown(*root));

    // Any node is a tree, and what stands around it is not written.
    auto child = root->elements.begin();
    CHECK(written(*child) == "<e/>\n");
    CHECK(written(*++ ++child) == "<t y=\"\"> &amp;\n text </t>\n");
    CHECK(written(*++child) == "<c>\n</c>\n");
    CHECK(written(*++child) == "<d>\n\t<d>\n\t\t<g/>\n\t</d>\n</d>\n");
}

TEST_CASE_FIXTURE(LibraryTest, "the header is a line of 56 characters") {
    RecordingStream stream;
    XMLWriter writer;
    writer.writeHeader(&stream);
    CHECK(stream.getBytes() == "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n");
    CHECK(stream.getBytes().size() == 57);
}

TEST_CASE_FIXTURE(LibraryTest, "nothing is escaped") {
    XMLNodeText node(nullptr, "t", "1 < 2 & \"3\"", allocator());
    node.addAttribute("x", "<\">");
    CHECK(written(&node) == "<t x=\"<\">\">1 < 2 & \"3\"</t>\n");
}

TEST_CASE_FIXTURE(LibraryTest, "texts of any length are written in few pieces") {
    for (const std::size_t length : {1000, 8180, 8190, 8192, 8200, 100000}) {
        const std::string text(length, 'x');
        XMLNodeElements root(nullptr, "r", allocator());
        XMLNodeText first(nullptr, "t", text.c_str(), allocator());
        XMLNodeText second(nullptr, "t", text.c_str(), allocator());
        root.addElement(&first);
        root.addElement(&second);
        RecordingStream stream;
        XMLWriter().writeTree(&stream, &root);
        CHECK(stream.getBytes() == "<r>\n\t<t>" + text + "</t>\n\t<t>" + text + "</t>\n</r>\n");
        CHECK(stream.takeCalls().size() <= 5);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a document that is a million deep is parsed, written and deleted") {
    constexpr uint64 cDepth = 1000000;
    std::string document;
    for (uint64 level = 0; level < cDepth; ++level)
        document += "<a>";
    document += "<b/>";
    for (uint64 level = 0; level < cDepth; ++level)
        document += "</a>";
    XMLParser parser;
    CountingStream stream;
    XMLWriter().writeTree(&stream, parser.parseBuffer(document.data(), static_cast<uint32>(document.size()), false));
    uint64 expected = XMLWriter::cMostTabs + 5;
    for (uint64 level = 0; level < cDepth; ++level)
        expected += 2 * std::min<uint64>(level, XMLWriter::cMostTabs) + 4 + 5;
    CHECK(stream.mCount == expected);
}

TEST_CASE_FIXTURE(LibraryTest, "a failure of the stream passes through, and no node is refused") {
    XMLNodeElements root(nullptr, "r", allocator());
    RecordingStream stream;
    stream.failAt(1);
    XMLWriter writer;
    CHECK(outcomeOf([&] { writer.writeTree(&stream, &root); }) == "IOException: test failure");
    CHECK(outcomeOf([&] { writer.writeTree(&stream, nullptr); }) ==
          "ArgumentNullException: NULL pointer node in the tree [node]");
    CHECK(outcomeOf([&] { writer.writeTree(nullptr, &root); }) ==
          "common/parser/xml/xmlwriter: stream\nError Message: There is no stream to write to");
}
