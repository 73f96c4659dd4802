#include "common/parser/xml/xmltreereader.h"

#include "tests/parser/xml/documents.h"
#include "tests/support/librarytest.h"

#include "common/parser/xml/xmlparsable.h"

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;
using namespace Tarq::Test;

namespace {

const std::string cFile = "common/parser/xml/xmltreereader: \nError Message: ";

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "children that are required are reported with the way to where they are missing") {
    XMLTreeBuilder builder;
    builder.startXMLTree("config", false);
    builder.enterSubTree("ai");
    XMLNodeElements* const ai = builder.getCurrentNode()->asElements();
    builder.addElemEmpty("first");
    builder.addElemText("text", "1");
    builder.exitSubTree("ai");

    XMLNodeElements* found = nullptr;
    CHECK((XMLTreeReader::ReadNodeElementsReq(found, builder.getRoot(), "ai") && found == ai));
    CHECK(outcomeOf([&] { CHECK(!XMLTreeReader::ReadNodeElementsReq(found, ai, "agent")); }) ==
          cFile + "In 'config'->'ai' the tag 'agent' is required !");
    CHECK(found == nullptr);
    CHECK((XMLTreeReader::ReadNodeElementsReq(found, ai, "first") && found == ai->elements.front()));
    CHECK((!XMLTreeReader::ReadNodeElementsOpt(found, ai, "text") && found == nullptr));
    CHECK(ai->atLastNode());
    CHECK(!XMLTreeReader::ReadNodeElementsOpt(found, ai, "more"));
    CHECK(outcomeOf([&] { XMLTreeReader::PrintAttribNameError(builder.getRoot(), "size"); }) ==
          cFile + "In 'config' the attribute 'size' is required !");
    CHECK(outcomeOf([&] { CHECK(!XMLTreeReader::ReadNodeElementsReq(found, nullptr, "agent")); }) ==
          cFile + "In  the tag 'agent' is required !");
}

TEST_CASE_FIXTURE(LibraryTest, "the way to a node takes the place of what a stream holds") {
    XMLTreeBuilder builder;
    builder.startXMLTree("config", false);
    std::string expected = "'config'";
    for (int level = 0; level < 100000; ++level) {
        builder.enterSubTree("ai");
        expected += "->'ai'";
    }
    std::stringstream text("what was there before");
    text.setstate(std::ios::failbit);
    XMLTreeReader::CreateNamedNodeHierarchy(text, builder.getCurrentNode());
    CHECK((text && text.str() == expected));
    text << "!";
    CHECK(text.str() == expected + "!");
}

TEST_CASE_FIXTURE(LibraryTest, "an object writes itself to a tree and reads itself from there") {
    struct Reader : XMLParsable {
        void readFromXML(XMLNodeElements* node) override { node->getNextInt32(count, "count"); }
        int32 count = 0;
    };
    struct Counter : Reader {
        void writeToXML(XMLTreeBuilder* builder) override { builder->addElemInt32("count", count); }
    };
    XMLTreeBuilder builder;
    builder.startXMLTree("r", true);
    Reader reader;
    Counter counter;
    counter.count = 5;
    // An object need not write itself.
    for (XMLParsable* const each : std::initializer_list<XMLParsable*>{&reader, &counter})
        each->writeToXML(&builder);
    CHECK(shown(*builder.getRoot()) == "r(count\"5\")");
    static_cast<XMLParsable&>(reader).readFromXML(builder.getRoot());
    CHECK(reader.count == 5);
}
