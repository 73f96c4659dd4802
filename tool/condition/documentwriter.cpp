#include "tool/condition/writer.h"

#include "common/memory/memorystream.h"
#include "common/parser/xml/xmltreebuilder.h"
#include "common/parser/xml/xmlwriter.h"

namespace Tarq::Tool {

using namespace Common;
using Parser::XML::XMLTreeBuilder;

namespace {

constexpr uint32 cBlockSize = 4096;

class DocumentBuilder {
public:
    explicit DocumentBuilder(XMLTreeBuilder& builder) noexcept : mBuilder(builder) {}

    /// Adds an expression as an element of that name.
    void add(const char* name, const Node& node);

private:
    void describe(const Node& node, const char* kind, const char* operation = nullptr);
    void addCall(const Node& node);

    XMLTreeBuilder& mBuilder;
};

void DocumentBuilder::add(const char* name, const Node& node) {
    mBuilder.enterSubTree(name);
    switch (node.kind) {
    case NODE_VARIABLE:
        describe(node, "variable");
        mBuilder.addElemText("name", node.text.c_str());
        break;
    case NODE_NEGATION:
        describe(node, "unaryoperator", "not");
        add("value", *node.operands.front());
        break;
    case NODE_BINARY:
        describe(node, "binaryoperator", cOperators[node.operation].name);
        add("lhs", *node.operands.front());
        add("rhs", *node.operands.back());
        break;
    case NODE_CALL:
        describe(node, "memberfunction");
        addCall(node);
        break;
    default:
        describe(node, "value");
        mBuilder.addElemText("value", node.value.c_str());
    }
    mBuilder.exitSubTree(name);
}

void DocumentBuilder::describe(const Node& node, const char* kind, const char* operation) {
    mBuilder.addAttribText("datatype", nameOf(*node.type).c_str());
    mBuilder.addAttribText("expressiontype", kind);
    if (operation)
        mBuilder.addAttribText("operatortype", operation);
}

void DocumentBuilder::addCall(const Node& node) {
    static constexpr const char* cList = "argumentlist";
    add("value", *node.operands.front());
    mBuilder.addElemText("functionname", node.text.c_str());
    if (node.operands.size() == 1)
        return mBuilder.addElemEmpty(cList);
    mBuilder.enterSubTree(cList);
    for (std::size_t index = 1; index < node.operands.size(); ++index)
        add("argument", *node.operands[index]);
    mBuilder.exitSubTree(cList);
}

} // namespace

String writeDocument(const Node& root) {
    XMLTreeBuilder builder;
    builder.startXMLTree(true);
    DocumentBuilder(builder).add("condition", root);
    Memory::MemoryStream stream("condition", cBlockSize);
    Parser::XML::XMLWriter().writeTree(&stream, builder.getRoot());
    String document;
    document.resize(static_cast<uint32>(stream.getLength()));
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    stream.read(document.data(), document.length());
    return document;
}

} // namespace Tarq::Tool
