#include "tool/condition/lexer.h"
#include "tool/condition/writer.h"

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr uint8 cTightest = 0xFF;

/// How tight the outermost operator of the node holds its operands.
uint8 precedenceOf(const Node& node) noexcept {
    switch (node.kind) {
    case NODE_BINARY:
        return cOperators[node.operation].precedence;
    case NODE_NEGATION:
        return cTightest - 1;
    default:
        return cTightest;
    }
}

class CanonicalWriter {
public:
    void write(const Node& node);
    String& get() noexcept { return mText; }

private:
    /// In parentheses, where it holds its operands less tightly than its place asks for.
    void writeOperand(const Node& node, uint8 tightness);
    void writeCall(const Node& node);

    String mText;
};

void CanonicalWriter::write(const Node& node) {
    switch (node.kind) {
    case NODE_VARIABLE:
        mText += isPlainName(node.text) ? node.text : quoted(node.text, '`');
        break;
    case NODE_NEGATION:
        mText += '!';
        writeOperand(*node.operands.front(), precedenceOf(node));
        break;
    case NODE_BINARY: {
        const OperatorForm& form = cOperators[node.operation];
        writeOperand(*node.operands.front(), form.precedence);
        mText.append(" ").append(form.sign).append(" ");
        // Operators side by side belong together from the left.
        writeOperand(*node.operands.back(), static_cast<uint8>(form.precedence + 1));
        break;
    }
    case NODE_CALL:
        writeCall(node);
        break;
    default:
        mText += node.canonical;
    }
}

void CanonicalWriter::writeOperand(const Node& node, uint8 tightness) {
    const bool isEnclosed = precedenceOf(node) < tightness;
    mText += isEnclosed ? "(" : "";
    write(node);
    mText += isEnclosed ? ")" : "";
}

void CanonicalWriter::writeCall(const Node& node) {
    writeOperand(*node.operands.front(), cTightest);
    mText.append(".").append(node.text).append("(");
    for (std::size_t index = 1; index < node.operands.size(); ++index) {
        mText += index == 1 ? "" : ", ";
        write(*node.operands[index]);
    }
    mText += ')';
}

} // namespace

String writeCanonical(const Node& root) {
    CanonicalWriter writer;
    writer.write(root);
    return std::move(writer.get());
}

} // namespace Tarq::Tool
