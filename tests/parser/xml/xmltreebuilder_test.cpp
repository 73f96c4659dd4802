#include "common/parser/xml/xmltreebuilder.h"

#include "tests/parser/xml/documents.h"
#include "tests/support/librarytest.h"

#include "common/parser/xml/xmlwriter.h"

#include <limits>
#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::XML;
using namespace Tarq::Test;

namespace {

const std::string cFile = "common/parser/xml/xmltreebuilder: ";
const std::string cNotCopied = cFile + "copyStrings\nError Message: Used without copyStrings enabled !";
const std::string cNoCurrent = cFile + "there is a current node\nError Message: There is no current node";
const std::string cNotOpen = cFile + "an element is open\nError Message: There is no open element";

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a tree is built and written") {
    XMLTreeBuilder builder;
    builder.startXMLTree("cfg", true);
    builder.addElemInt32("count", 3);
    builder.enterSubTree("list");
    builder.addElemEmpty("item");
    CHECK(builder.exitSubTree("list"));
    RecordingStream stream;
    XMLWriter().writeTree(&stream, builder.getRoot());
    CHECK(stream.getBytes() == "<cfg>\n\t<count>3</count>\n\t<list>\n\t\t<item/>\n\t</list>\n</cfg>\n");
}

TEST_CASE_FIXTURE(LibraryTest, "values are written in their formats") {
    XMLTreeBuilder builder;
    builder.startXMLTree("r", true);
    builder.addAttribInt32("int32", -5);
    builder.addAttribUInt32("uint32", 4294967295);
    builder.addAttribBool("yes", true);
    builder.addAttribBool("no", false);
    builder.addAttribFloat32("half", 0.5F);
    builder.addAttribFloat32("large", std::numeric_limits<float>::max());
    builder.addElemBool("a", true);
    builder.addElemBool("a", false);
    builder.addElemInt32("b", std::numeric_limits<int32>::min());
    builder.addElemUInt32("b", 4294967295);
    builder.addElemInt64("c", std::numeric_limits<int64>::min());
    builder.addElemUInt64("c", std::numeric_limits<uint64>::max());
    builder.addElemFloat32("d", 0.5F);
    builder.addElemFloat32("d", 1.0F / 3);
    builder.addElemFloat64("d", 1e300);
    builder.addElemFloat64("d", 123456789);
    builder.addElemVec3f("e", {0.5F, -1, 1e-10F});
    builder.addElemVec3u32("e", {1, 2, 4294967295});
    builder.addElemVec3i32("e", {-1, 2, -3});
    builder.addElemVec2f("f", {-0.25F, 1000000});
    builder.addElemVec2u32("f", {1, 4294967295});
    builder.addElemVec2i32("f", {-1, 2});
    CHECK(shown(*builder.getRoot()) ==
          "r[half=0.500000,int32=-5,large=340282346638528859811704183484516925440.000000,no=0,uint32=4294967295,yes=1]("
          "a\"true\" a\"false\" b\"-2147483648\" b\"4294967295\" c\"-9223372036854775808\" c\"18446744073709551615\" "
          "d\"0.5\" d\"0.333333\" d\"1e+300\" d\"1.23457e+08\" e\"0.5/-1/1e-10\" e\"1/2/4294967295\" e\"-1/2/-3\" "
          "f\"-0.25/1e+06\" f\"1/4294967295\" f\"-1/2\")");
}

TEST_CASE_FIXTURE(LibraryTest, "strings are copied, or left where they are") {
    for (const bool copyStrings : {false, true}) {
        std::string name = "name";
        std::string text = "text";
        std::string value = "value";
        XMLTreeBuilder builder;
        builder.startXMLTree(name.c_str(), copyStrings);
        builder.addAttribText("x", value.c_str());
        builder.addElemText("t", text.c_str());
        for (std::string* const each : {&name, &text, &value})
            each->back() = '!';
        CHECK(shown(*builder.getRoot()) == (copyStrings ? "name[x=value](t\"text\")" : "nam![x=valu!](t\"tex!\")"));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "numbers need a tree that copies") {
    XMLTreeBuilder builder;
    builder.startXMLTree("r", false);
    CHECK(outcomeOf([&] { builder.addAttribInt32("x", 1); }) == cNotCopied);
    CHECK(outcomeOf([&] { builder.addAttribBool("x", true); }) == cNotCopied);
    CHECK(outcomeOf([&] { builder.addAttribFloat32("x", 1); }) == cNotCopied);
    CHECK(outcomeOf([&] { builder.addElemBool("x", true); }) == cNotCopied);
    CHECK(outcomeOf([&] { builder.addElemFloat64("x", 1); }) == cNotCopied);
    CHECK(outcomeOf([&] { builder.addElemVec2i32("x", {1, 2}); }) == cNotCopied);
    CHECK(shown(*builder.getRoot()) == "r()");
}

TEST_CASE_FIXTURE(LibraryTest, "an element is closed by its own name only, and the root not at all") {
    XMLTreeBuilder builder;
    builder.startXMLTree(false);
    CHECK(builder.getRoot() == nullptr);
    builder.enterSubTree("r");
    builder.enterSubTree("a");
    builder.enterSubTree("b");
    CHECK(!builder.exitSubTree("a"));
    builder.addElemEmpty("in b");
    CHECK(builder.exitSubTree("b"));
    CHECK(builder.exitSubTree(nullptr));
    CHECK(!builder.exitSubTree("r"));
    CHECK(!builder.exitSubTree(nullptr));
    builder.addElemEmpty("in r");
    CHECK(shown(*builder.getRoot()) == "r(a(b(in b)) in r)");
    builder.startXMLTree("another tree", true);
    builder.startXMLTree(builder.getRoot()->name, true);
    CHECK(shown(*builder.getRoot()) == "another tree()");
    builder.deleteXMLTree();
    CHECK((builder.getRoot() == nullptr && builder.getCurrentNode() == nullptr));
}

TEST_CASE_FIXTURE(LibraryTest, "an element that was taken from its parent is closed all the same") {
    XMLTreeBuilder builder;
    builder.startXMLTree("r", false);
    builder.enterSubTree("a");
    XMLNodeElements* const a = builder.getCurrentNode()->asElements();
    builder.enterSubTree("b");
    a->removeLastElement();
    CHECK(builder.exitSubTree("b"));
    builder.addElemEmpty("in a");
    CHECK(builder.exitSubTree("a"));
    builder.enterSubTree("c");
    CHECK(shown(*builder.getRoot()) == "r(a(in a) c())");
}

TEST_CASE_FIXTURE(LibraryTest, "a tree stays as it is when memory runs out") {
    const std::string text(100000, 'x'); // larger than any block that there is
    using Operation = void (*)(XMLTreeBuilder&, const char*);
    const Operation operations[] = {
        [](XMLTreeBuilder& builder, const char* large) { builder.startXMLTree(large, true); },
        [](XMLTreeBuilder& builder, const char* large) { builder.enterSubTree(large); },
        [](XMLTreeBuilder& builder, const char* large) { builder.addElemText(large, large); },
        [](XMLTreeBuilder& builder, const char* large) { builder.addAttribText("x", large); },
        [](XMLTreeBuilder& builder, const char* large) { builder.addAttribText(large, large); },
        [](XMLTreeBuilder& builder, const char* large) { builder.setNodeName(large); }};
    const AssertionRecorder recorder;
    for (const Operation operation : operations) {
        int64 granted = 0;
        for (bool isDone = false; !isDone; ++granted) {
            XMLTreeBuilder builder;
            builder.startXMLTree("r", true);
            builder.addElemEmpty("e");
            builder.addAttribText("x", "1");
            getMemory().failAfter(granted);
            try {
                operation(builder, text.c_str());
                isDone = true;
            } catch (Exceptions::Exception* exception) {
                const Exceptions::Holder holder(exception);
                CHECK(shown(*builder.getRoot()) == "r(e[x=1])");
                CHECK(shown(*builder.getCurrentNode()) == "e[x=1]");
            }
            getMemory().failNever();
            Library::getTempAlloc()->freeUnusedMemory();
        }
        CHECK(granted > 1);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "closing an element sets its cursor to the first child") {
    XMLTreeBuilder builder;
    builder.startXMLTree("r", false);
    builder.enterSubTree("a");
    XMLNodeElements* const a = builder.getCurrentNode()->asElements();
    builder.addElemEmpty("b");
    a->getNextNode();
    builder.exitSubTree(nullptr);
    CHECK(a->getCurrentNode() == nullptr);
    builder.getRoot()->getNextNode();
    builder.exitSubTree(nullptr);
    CHECK(builder.getRoot()->getCurrentNode() == nullptr);
}

TEST_CASE_FIXTURE(LibraryTest, "without a tree, a node has no parent, and what needs more is asserted") {
    XMLTreeBuilder builder;
    CHECK(outcomeOf([&] { builder.addAttribText("x", "1"); }) == cNoCurrent);
    CHECK(outcomeOf([&] { builder.setNodeName("x"); }) == cNoCurrent);
    CHECK(outcomeOf([&] { builder.setNodeText("x"); }) == cNoCurrent);
    CHECK(outcomeOf([&] { CHECK(!builder.exitSubTree(nullptr)); }) == cNotOpen);
    CHECK(outcomeOf([&] { builder.removeLastNode(); }) == cNotOpen);
    XMLTreeBuilder other;
    CHECK(outcomeOf([&] { builder.addTree(&other); }) == cNotOpen);
    builder.addElemText("t", "text");
    builder.addAttribText("x", "1");
    CHECK(shown(*builder.getCurrentNode()) == "t[x=1]\"text\"");
    CHECK((builder.getCurrentNode()->parent == nullptr && builder.getRoot() == nullptr));
}

TEST_CASE_FIXTURE(LibraryTest, "an attribute that is replaced over and over takes a bounded amount of memory") {
    XMLTreeBuilder builder;
    builder.startXMLTree("r", true);
    builder.addAttribText("fixed", "value");
    builder.getRoot()->addAttribute("y", "the caller's");
    const int64 before = getMemory().getBytes();
    for (int number = 0; number < 100000; ++number)
        builder.addAttribText("x", std::string(number % 97, 'x').c_str());
    builder.addAttribText("fixed", builder.getRoot()->getAttributeString("fixed"));
    CHECK(getMemory().getBytes() - before < 20000);
    CHECK(shown(*builder.getRoot()) == "r[fixed=value,x=" + std::string(99999 % 97, 'x') + ",y=the caller's]()");
    builder.getRoot()->addAttribute("x", "the caller's");
    for (const char* const name : {"x", "y", "a", "b", "c"})
        builder.addAttribText(name, "more");
    builder.addAttribText("fixed", "much longer than before");
    CHECK(shown(*builder.getRoot()) == "r[a=more,b=more,c=more,fixed=much longer than before,x=more,y=more]()");
}

TEST_CASE_FIXTURE(LibraryTest, "a tree moves under an open element of another one") {
    XMLTreeBuilder builder;
    builder.startXMLTree("r", true);
    builder.enterSubTree("a");
    {
        XMLTreeBuilder inner;
        inner.startXMLTree("innermost", true);
        inner.addElemInt32("n", 1);
        XMLTreeBuilder other;
        other.startXMLTree("moved", true);
        other.addTree(&inner);
        XMLNodeElements* const moved = other.getRoot();
        builder.addTree(&other);
        CHECK((moved->parent->parent == builder.getRoot() && builder.getCurrentNode() == moved));
        CHECK((other.getRoot() == nullptr && other.getCurrentNode() == nullptr));
        builder.addTree(&other);
        other.startXMLTree("left", true);
    }
    builder.addAttribText("x", "1");
    builder.addElemEmpty("behind");
    CHECK(shown(*builder.getRoot()) == "r(a(moved[x=1](innermost(n\"1\")) behind))");
}

TEST_CASE_FIXTURE(LibraryTest, "trees that cannot be moved stay where they are") {
    XMLTreeBuilder builder;
    builder.startXMLTree("r", true);
    XMLTreeBuilder other;
    other.startXMLTree("other", false);
    const std::unique_ptr<XMLTreeBuilder> foreign(new (Memory::AllocatorPtr{}) XMLTreeBuilder);
    foreign->startXMLTree("foreign", true);
    CHECK(outcomeOf([&] { builder.addTree(nullptr); }) == cFile + "tree\nError Message: Tree cannot be a NULL pointer");
    CHECK(outcomeOf([&] { builder.addTree(foreign.get()); }) ==
          cFile + "tree->mAllocator == mAllocator\nError Message: We cannot add a tree with a different allocator");
    CHECK(
        outcomeOf([&] { builder.addTree(&other); }) ==
        cFile +
            "tree->copyStrings == copyStrings\nError Message: We cannot add a tree with a different copyStrings flag");
    CHECK(outcomeOf([&] { builder.addTree(&builder); }) ==
          cFile + "tree != this\nError Message: We cannot add a tree to itself");
    CHECK((shown(*builder.getRoot()) == "r()" && shown(*other.getRoot()) == "other()"));
}

TEST_CASE_FIXTURE(LibraryTest, "nodes are made by their type and filled later") {
    XMLTreeBuilder builder;
    builder.startXMLTree(true);
    builder.addNode(XML_NODE_ELEMENTS);
    builder.setNodeName("r");
    CHECK(outcomeOf([&] { builder.setNodeText("text"); }) ==
          cFile + "\nError Message: Cannot set text for node of type : 2");
    builder.addNode(XML_NODE_EMPTY);
    builder.setNodeName("a");
    builder.addNode(XML_NODE_TEXT);
    builder.setNodeName("b");
    builder.setNodeText("text");
    CHECK(outcomeOf([&] { builder.addNode(3); }) == cFile + "\nError Message: Unknown node type: 3");
    CHECK(shown(*builder.getRoot()) == "r(a b\"text\")");
    builder.removeLastNode();
    CHECK(shown(*builder.getCurrentNode()) == "a");
    builder.removeLastNode();
    CHECK(builder.getCurrentNode() == builder.getRoot());
    builder.removeLastNode();
    builder.addAttribText(nullptr, nullptr);
    builder.addElemText(nullptr, nullptr);
    CHECK(shown(*builder.getRoot()) == "r[=](\"\")");
}
