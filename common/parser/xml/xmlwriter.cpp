#include "common/parser/xml/xmlwriter.h"

#include "common/debug/assert.h"
#include "common/exceptions/argumentexception.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace Tarq::Common::Parser::XML {

namespace {

/// Collects the pieces of the text, so that the stream gets few and large ones.
class Output {
public:
    explicit Output(IO::Stream& stream) noexcept : mStream(stream) {}

    void put(std::string_view text) {
        if (text.size() > cSize - mUsed) [[unlikely]] {
            flush();
            if (text.size() > cSize) {
                mStream.write(text.data(), text.size());
                return;
            }
        }
        std::memcpy(mBuffer + mUsed, text.data(), text.size());
        mUsed += text.size();
    }
    void put(char c) { put(std::string_view(&c, 1)); }
    void putTabs(uint32 depth) {
        const std::size_t count = std::min(depth, XMLWriter::cMostTabs);
        if (count > cSize - mUsed)
            flush();
        std::memset(mBuffer + mUsed, '\t', count);
        mUsed += count;
    }
    void flush() {
        if (mUsed != 0)
            mStream.write(mBuffer, mUsed);
        mUsed = 0;
    }

private:
    static constexpr std::size_t cSize = 8192;
    static_assert(cSize >= XMLWriter::cMostTabs);

    IO::Stream& mStream;
    std::size_t mUsed = 0;
    char mBuffer[cSize];
};

void putStartTag(Output& output, const XMLNode& node, uint32 depth) {
    output.putTabs(depth);
    output.put('<');
    output.put(node.name);
    for (const auto& [name, value] : node.attributes) {
        output.put(' ');
        output.put(name);
        output.put("=\"");
        output.put(value);
        output.put('"');
    }
}

void putEndTag(Output& output, const XMLNode& node) {
    output.put("</");
    output.put(node.name);
    output.put(">\n");
}

void putEndOfLeaf(Output& output, const XMLNode& node, uint32 depth) {
    if (node.isEmpty()) {
        output.put("/>\n");
        return;
    }
    output.put('>');
    if (const XMLNodeText* const textNode = node.asText()) {
        output.put(textNode->text);
    } else {
        output.put('\n');
        output.putTabs(depth);
    }
    putEndTag(output, node);
}

} // namespace

XMLWriter::~XMLWriter() = default;

void XMLWriter::writeHeader(IO::Stream* stream) {
    static constexpr std::string_view cHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n";
    if (!TARQ_ASSERT(stream, "There is no stream to write to"))
        return;
    stream->write(cHeader.data(), cHeader.size());
}

/// Goes from node to node without calling itself: nothing limits how deep a tree is.
void XMLWriter::writeTree(IO::Stream* stream, XMLNode* node) {
    if (!node)
        throw new Exceptions::ArgumentNullException("NULL pointer node in the tree", "node");
    if (!TARQ_ASSERT(stream, "There is no stream to write to"))
        return;
    Output output(*stream);
    uint32 depth = 0;
    for (const XMLNode* at = node; at;) {
        putStartTag(output, *at, depth);
        const XMLNode* const child = at->asElements() ? at->asElements()->elements.front() : nullptr;
        if (child) {
            output.put(">\n");
            at = child;
            ++depth;
            continue;
        }
        putEndOfLeaf(output, *at, depth);
        for (; at != node && !at->getNextSibling(); putEndTag(output, *at)) {
            at = at->parent;
            output.putTabs(--depth);
        }
        at = at != node ? at->getNextSibling() : nullptr;
    }
    output.flush();
}

} // namespace Tarq::Common::Parser::XML
