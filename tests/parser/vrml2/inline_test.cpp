#include "tests/parser/vrml2/scenes.h"
#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

std::string including(const std::string& url) {
    return cHeader + "Inline { url \"" + url + "\" }";
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "inline files lie below the directory of the file that names them") {
    MemoryFileSystem files;
    files.add("a/main.wrl", cHeader + "Inline { url [ \"b.wrl\" \"sub/c.wrl\" ] bboxSize 1 1 1 }");
    files.add("a/b.wrl", cHeader + "DEF name Group { }");
    files.add("a/sub/c.wrl", including("d.wrl") + " DEF name Shape { }");
    files.add("a/sub/d.wrl", cHeader + "USE name ");
    VRML2::Parser parser;
    parser.setSkipUnknownNodes(true);
    const Scene root(parser.parse("a/main.wrl", &files));
    CHECK(shown(root.get()) == "Group(Inline(Group(name=Group()) Group(Inline(Group()) name=Shape[])))");
    CHECK(files.takeOpened() == Texts{"a/main.wrl", "a/b.wrl", "a/sub/c.wrl", "a/sub/d.wrl"});
    CHECK(parser.getFileName() == "a/main.wrl");
    const auto& inlineNode = dynamic_cast<VRML2::GroupingNode&>(*root).getChildren()[0];
    CHECK(dynamic_cast<VRML2::GroupingNode&>(*inlineNode).getChildren()[1]->getParent() == inlineNode.get());
}

TEST_CASE_FIXTURE(LibraryTest, "what is wrong with an inline file is told with the file") {
    struct Case {
        const char* name;
        std::string contents;
        std::string outcome;
        const char* fileName;
    };
    std::string deep = cHeader;
    for (int level = 0; level < 255; ++level)
        deep += "Group { children ";
    const Case cases[] = {
        {"a missing file", including("none.wrl"), "FileNotFoundException: there is no such file in the test",
         "a/main.wrl"},
        {"a bad file", including("bad.wrl"), "3:2 unkown node: X", "a/bad.wrl"},
        {"a name of the file outside", cHeader + "DEF name Group { } Inline { url \"use.wrl\" }",
         "2:8 Node name 'name' in USE statement is not known", "a/use.wrl"},
        {"itself", including("./main.wrl"), "2:27 VRML2::Parser: The file 'a/./main.wrl' includes itself",
         "a/main.wrl"},
        {"itself through another", including("circle.wrl"), "2:25 VRML2::Parser: The file 'a/main.wrl' includes itself",
         "a/circle.wrl"},
        {"no depth left", deep + "Inline { url \"use.wrl\" }",
         "2:4359 VRML2::Parser: Nodes are nested more than 256 deep", "a/main.wrl"},
    };
    for (const Case& each : cases) {
        CAPTURE(each.name);
        MemoryFileSystem files;
        files.add("a/main.wrl", each.contents);
        files.add("a/bad.wrl", cHeader + "\n X { }");
        files.add("a/use.wrl", cHeader + "USE name ");
        files.add("a/circle.wrl", including("main.wrl"));
        VRML2::Parser parser;
        CHECK(outcomeOf(files, parser, "a/main.wrl") == each.outcome);
        CHECK(parser.getFileName() == each.fileName);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a failure that a node catches does not name the file") {
    MemoryFileSystem files;
    files.add("bad.wrl", cHeader + "]");
    VRML2::Parser parser;
    parser.registerSceneNode(new (allocator()) HallNode("Hall", 1000));
    const std::string hall = cHeader + "Hall { url [ \"bad.wrl\" \"none.wrl\" ] } ";
    const std::pair<std::string, std::string> cases[] = {
        {hall, "main.wrl Group(Hall())"},
        {hall + "Cone { }", "main.wrl 2:42 unkown node: Cone"},
        {hall + "Inline { url \"bad.wrl\" }", "bad.wrl 2:1 invalid character ']' in name"},
    };
    for (const auto& each : cases) {
        files.add("main.wrl", each.first);
        const std::string seen = outcomeOf(files, parser);
        CHECK(parser.getFileName().c_str() + (" " + seen) == each.second);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a parse takes a limited number of inline files") {
    MemoryFileSystem files;
    for (int number = 0; number < 30; ++number) {
        const std::string next = "\"" + std::to_string(number + 1) + "\" ";
        files.add(std::to_string(number), cHeader + "Inline { url [ " + next + next + "] }");
    }
    files.add("3", cHeader);
    VRML2::Parser parser;
    parser.setInlineLimit(14);
    for (int round = 0; round < 2; ++round)
        CHECK(outcomeOf(files, parser, "0").starts_with("Group("));
    parser.setInlineLimit(13);
    CHECK(outcomeOf(files, parser, "0") == "2:26 VRML2::Parser: More than 13 inline files are included");
    CHECK(parser.getFileName() == "2");
    files.takeOpened();
    files.add("30", cHeader);
    CHECK(outcomeOf(files, parser, "4").ends_with("More than 13 inline files are included"));
    CHECK(files.takeOpened().size() == 14);
}

TEST_CASE_FIXTURE(LibraryTest, "inline files nest 40 deep, and not deeper") {
    MemoryFileSystem files;
    files.add("main.wrl", including("1"));
    for (int number = 1; number <= 40; ++number)
        files.add(std::to_string(number), number == 40 ? cHeader : including(std::to_string(number + 1)));
    std::string tree = "Group()";
    for (int number = 1; number <= 40; ++number)
        tree = "Group(Inline(" + tree + "))";
    VRML2::Parser parser;
    CHECK(outcomeOf(files, parser) == tree);
    files.add("40", including("41"));
    CHECK(outcomeOf(files, parser) == "2:19 VRML2::Parser: The file '41' is included too deep");
    CHECK(parser.getFileName() == "40");
}
