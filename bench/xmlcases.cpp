#include "bench/cases.h"
#include "common/memory/memorystream.h"
#include "common/parser/xml/xmlparser.h"
#include "common/parser/xml/xmlwriter.h"

#include <pugixml.hpp>

#include <cstring>

// Documents are parsed in place, as they are: the peer neither converts references nor ends of lines, and leaves out
// comments and blank texts. Each parse begins with a copy of the document, whose place it changes, and ends when its
// tree is gone. Nothing is escaped on writing.

namespace Tarq::Bench {

namespace {

using namespace Common::Parser::XML;
using Common::Memory::MemoryStream;

constexpr const char* cPeer = "pugixml, in place";
constexpr uint32 cMegabyte = 1 << 20;

/// What a scene has, in the form in which our writer writes it.
class Document {
public:
    explicit Document(uint32 size) {
        static constexpr const char* cKinds[] = {"walker", "guard", "merchant", "bird"};
        static constexpr const char* cItems[] = {"lantern", "rope", "bread", "iron sword", "map of the old town"};
        mText = "<scene>\n";
        while (mText.size() < size) {
            const std::string number = std::to_string(++mAgents);
            mText += "\t<agent id=\"" + number + "\" kind=\"" + cKinds[random(4)] + "\" team=\"" + digits(4) + "\">\n";
            mText += "\t\t<name>agent number " + number + "</name>\n";
            mText += "\t\t<position>" + digits(1000) + ".25/" + digits(50) + "/" + digits(1000) + ".5</position>\n";
            mText += "\t\t<health>" + digits(100) + "</health>\n\t\t<speed>" + digits(10) + "." + digits(100);
            mText += "</speed>\n\t\t<inventory>\n";
            for (uint32 left = random(5); left != 0; --left, ++mItems)
                mText += "\t\t\t<item count=\"" + digits(20) + "\" name=\"" + cItems[random(5)] + "\"/>\n";
            mText += "\t\t</inventory>\n\t</agent>\n";
        }
        mText += "</scene>\n";
        mBuffer.resize(mText.size());
    }

    /// A copy that may be changed, in the same place each time.
    char* copy() {
        std::memcpy(mBuffer.data(), mText.data(), mText.size());
        return mBuffer.data();
    }
    uint32 size() const { return static_cast<uint32>(mText.size()); }
    const std::string& text() const { return mText; }
    uint32 agents() const { return mAgents; }
    uint32 items() const { return mItems; }

private:
    uint32 random(uint32 bound) {
        mState = mState * 1664525 + 1013904223;
        return (mState >> 8) % bound;
    }
    std::string digits(uint32 bound) { return std::to_string(random(bound)); }

    std::string mText;
    std::vector<char> mBuffer;
    uint32 mState = 1;
    uint32 mAgents = 0;
    uint32 mItems = 0;
};

void load(pugi::xml_document& tree, Document& document) {
    const pugi::xml_parse_result result =
        tree.load_buffer_inplace(document.copy(), document.size(), pugi::parse_minimal, pugi::encoding_utf8);
    check(static_cast<bool>(result), "the document cannot be parsed");
}

Work parseByOurs(uint32 size) {
    return [size](benchmark::State& state) {
        Document document(size);
        for (auto _ : state) {
            XMLParser parser;
            const XMLNodeElements* const root = parser.parseBuffer(document.copy(), document.size(), false);
            check(root->elements.size() == document.agents(), "an element is missing");
        }
    };
}

Work parseByPeer(uint32 size) {
    return [size](benchmark::State& state) {
        Document document(size);
        for (auto _ : state) {
            pugi::xml_document tree;
            load(tree, document);
            check(std::strcmp(tree.first_child().name(), "scene") == 0, "an element is missing");
        }
    };
}

void writeByOurs(benchmark::State& state) {
    Document document(cMegabyte);
    XMLParser parser;
    XMLNodeElements* const root = parser.parseBuffer(document.copy(), document.size(), false);
    XMLWriter writer;
    MemoryStream stream("written", 65536);
    for (auto _ : state) {
        stream.open();
        writer.writeTree(&stream, root);
    }
    std::string written(document.size(), '\0');
    stream.seek(0, MemoryStream::SORIGIN_BEGIN);
    stream.read(written.data(), written.size());
    check(stream.getLength() == document.size() && written == document.text(), "not the document was written");
}

struct StreamWriter : pugi::xml_writer {
    void write(const void* bytes, std::size_t count) override { stream.write(bytes, count); }
    MemoryStream stream{"written", 65536};
};

void writeByPeer(benchmark::State& state) {
    constexpr unsigned cFlags = pugi::format_indent | pugi::format_no_declaration | pugi::format_no_escapes;
    Document document(cMegabyte);
    pugi::xml_document tree;
    load(tree, document);
    StreamWriter writer;
    for (auto _ : state) {
        writer.stream.open();
        tree.save(writer, "\t", cFlags, pugi::encoding_utf8);
    }
    // A blank stands in front of "/>", and an inventory without items is such an element.
    check(writer.stream.getLength() > uint64{document.size()} * 9 / 10, "not the document was written");
}

/// What was found on the way, the same for both sides.
struct Found {
    uint64 names = 0;
    uint64 texts = 0;

    void name(const char* value) { names += static_cast<unsigned char>(value[0]); }
    void text(const char* value) { texts += static_cast<unsigned char>(value[0]); }
};

Found walkOurs(XMLNodeElements& root) {
    Found found;
    root.initSearch();
    while (XMLNodeElements* const agent = root.getNextElements("agent")) {
        found.name(agent->getAttributeString("kind"));
        const char* text = nullptr;
        agent->initSearch();
        for (const char* const name : {"name", "position", "health", "speed"}) {
            check(agent->getNextText(text, name), "a text is missing");
            found.text(text);
        }
        XMLNodeElements* const inventory = agent->getNextElements("inventory");
        inventory->initSearch();
        while (const XMLNode* const item = inventory->getNextNode("item"))
            found.name(item->getAttributeString("name"));
    }
    return found;
}

Found walkPeer(const pugi::xml_node& root) {
    Found found;
    for (pugi::xml_node agent = root.child("agent"); agent; agent = agent.next_sibling("agent")) {
        found.name(agent.attribute("kind").value());
        for (const char* const name : {"name", "position", "health", "speed"}) {
            const char* const text = agent.child_value(name);
            check(text[0] != '\0', "a text is missing");
            found.text(text);
        }
        const pugi::xml_node inventory = agent.child("inventory");
        for (pugi::xml_node item = inventory.child("item"); item; item = item.next_sibling("item"))
            found.name(item.attribute("name").value());
    }
    return found;
}

void walkByOurs(benchmark::State& state) {
    Document document(cMegabyte);
    XMLParser parser;
    XMLNodeElements* const root = parser.parseBuffer(document.copy(), document.size(), false);
    pugi::xml_document tree;
    Document same(cMegabyte);
    load(tree, same);
    const Found expected = walkPeer(tree.child("scene"));
    for (auto _ : state) {
        const Found found = walkOurs(*root);
        check(found.names == expected.names && found.texts == expected.texts, "something is missing");
    }
    countOperations(state, document.agents() * uint64{6} + document.items());
}

void walkByPeer(benchmark::State& state) {
    Document document(cMegabyte);
    pugi::xml_document tree;
    load(tree, document);
    for (auto _ : state)
        benchmark::DoNotOptimize(walkPeer(tree.child("scene")));
    countOperations(state, document.agents() * uint64{6} + document.items());
}

} // namespace

std::vector<Case> xmlCases() {
    return {
        {"xml/parse-1-MB", parseByOurs(cMegabyte), {{cPeer, 1.0, parseByPeer(cMegabyte)}}},
        {"xml/parse-20-MB", parseByOurs(20 * cMegabyte), {{cPeer, 1.0, parseByPeer(20 * cMegabyte)}}},
        {"xml/write-1-MB", writeByOurs, {{"pugixml, without escapes", 0.9, writeByPeer}}},
        {"xml/walk-by-name", walkByOurs, {{"pugixml", 1.0, walkByPeer}}},
    };
}

} // namespace Tarq::Bench
