#include "tool/condition/parser.h"

#include "common/parser/formula/expression.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr uint32 cMostNested = Parser::Formula::Expression::cMostNestedExpressions;
/// Of the parser itself: a level of the tree takes two at most, as an operand on the right and for its parentheses.
constexpr uint32 cMostNesting = 2 * cMostNested + 2;

} // namespace

class ConditionParser::Nesting {
public:
    explicit Nesting(uint32& nesting) noexcept : mNesting(nesting) { ++mNesting; }
    ~Nesting() { --mNesting; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

    bool isTooDeep() const noexcept { return mNesting > cMostNesting; }

private:
    uint32& mNesting;
};

NodePtr ConditionParser::parse() {
    NodePtr root = advance() ? parseBinary(0) : nullptr;
    if (!root || mToken.kind == TOKEN_END)
        return root;
    if (mToken.is(')') || mToken.is('}'))
        mProblem.report(mToken.offset, "this \"" + String(mToken.source) + "\" closes nothing");
    else
        refuse("an operator");
    return nullptr;
}

NodePtr ConditionParser::parseBinary(uint8 precedence) {
    const Nesting nesting(mNesting);
    if (nesting.isTooDeep() && !refuseDepth(mToken.offset))
        return nullptr;
    NodePtr left = parseUnary();
    while (left && mToken.kind == TOKEN_OPERATOR && cOperators[mToken.operation].precedence >= precedence) {
        auto node = std::make_unique<Node>(NODE_BINARY, mToken.offset);
        node->operation = mToken.operation;
        NodePtr right;
        if (advance())
            right = parseBinary(static_cast<uint8>(cOperators[node->operation].precedence + 1));
        if (!right)
            return nullptr;
        node->operands.push_back(std::move(left));
        node->operands.push_back(std::move(right));
        left = finish(std::move(node));
    }
    return left;
}

NodePtr ConditionParser::parseUnary() {
    if (mToken.is('!'))
        return parseNegation();
    if (mToken.is(OPERATOR_SUBTRACTION))
        return parseNegative();
    NodePtr node = parsePrimary();
    while (node && mToken.is('.')) {
        if (!parseCall(node))
            return nullptr;
    }
    return node;
}

NodePtr ConditionParser::parseNegation() {
    const Nesting nesting(mNesting);
    auto node = std::make_unique<Node>(NODE_NEGATION, mToken.offset);
    if ((nesting.isTooDeep() && !refuseDepth(mToken.offset)) || !advance())
        return nullptr;
    NodePtr operand = parseUnary();
    if (!operand)
        return nullptr;
    node->operands.push_back(std::move(operand));
    return finish(std::move(node));
}

NodePtr ConditionParser::parseNegative() {
    const std::size_t offset = mToken.offset;
    if (!advance())
        return nullptr;
    if (mToken.kind != TOKEN_INTEGER && mToken.kind != TOKEN_FLOATING) {
        mProblem.report(offset, "a host negates literals only; write \"0 - ...\"");
        return nullptr;
    }
    NodePtr number = parseAtom();
    if (number) {
        number->isNegative = true;
        number->offset = offset;
    }
    return number;
}

bool ConditionParser::parseCall(NodePtr& object) {
    if (!advance())
        return false;
    if (mToken.kind != TOKEN_NAME)
        return refuse("the name of a member function");
    auto node = std::make_unique<Node>(NODE_CALL, mToken.offset);
    node->text = std::move(mToken.text);
    node->operands.push_back(std::move(object));
    if (!advance())
        return false;
    const std::size_t opening = mToken.offset;
    if (!mToken.is('('))
        return refuse("\"(\"");
    if (!advance() || !parseOperands(*node, ')', opening))
        return false;
    object = finish(std::move(node));
    return object != nullptr;
}

NodePtr ConditionParser::parsePrimary() {
    if (mToken.is('('))
        return parseParentheses();
    return mToken.is('{') ? parseList() : parseAtom();
}

NodePtr ConditionParser::parseParentheses() {
    const std::size_t opening = mToken.offset;
    NodePtr inner = advance() ? parseBinary(0) : nullptr;
    if (inner && mToken.is(','))
        return parseVector(std::move(inner), opening);
    return inner && expect(')', opening) ? std::move(inner) : nullptr;
}

NodePtr ConditionParser::parseVector(NodePtr first, std::size_t opening) {
    auto node = std::make_unique<Node>(NODE_VECTOR, opening);
    node->operands.push_back(std::move(first));
    if (!advance() || !parseOperands(*node, ')', opening))
        return nullptr;
    for (const NodePtr& component : node->operands) {
        if (component->kind != NODE_INTEGER && component->kind != NODE_FLOATING) {
            mProblem.report(component->offset, "the components of a vector are numbers");
            return nullptr;
        }
    }
    if (node->operands.size() < 2 || node->operands.size() > 3) {
        mProblem.report(opening, "a vector has two or three components");
        return nullptr;
    }
    return node;
}

NodePtr ConditionParser::parseList() {
    auto node = std::make_unique<Node>(NODE_LIST, mToken.offset);
    if (!advance() || !parseOperands(*node, '}', node->offset))
        return nullptr;
    for (const NodePtr& element : node->operands) {
        if (!isLiteral(element->kind) || element->kind == NODE_LIST) {
            mProblem.report(element->offset, "the elements of a list are numbers, texts, truth values or vectors");
            return nullptr;
        }
    }
    return node;
}

NodePtr ConditionParser::parseAtom() {
    if (mToken.kind == TOKEN_NAME)
        return parseName();
    NodePtr node;
    switch (mToken.kind) {
    case TOKEN_BOOLEAN:
        node = std::make_unique<Node>(NODE_BOOLEAN, mToken.offset);
        break;
    case TOKEN_INTEGER:
        node = std::make_unique<Node>(NODE_INTEGER, mToken.offset);
        node->whole = mToken.whole;
        break;
    case TOKEN_FLOATING:
        node = std::make_unique<Node>(NODE_FLOATING, mToken.offset);
        node->floating = mToken.floating;
        break;
    case TOKEN_TEXT:
        node = std::make_unique<Node>(NODE_TEXT, mToken.offset);
        break;
    default:
        refuse("an operand");
        return nullptr;
    }
    node->text = std::move(mToken.text);
    return advance() ? std::move(node) : nullptr;
}

NodePtr ConditionParser::parseName() {
    auto node = std::make_unique<Node>(NODE_VARIABLE, mToken.offset);
    node->text = std::move(mToken.text);
    if (!advance())
        return nullptr;
    if (mToken.is('(')) {
        mProblem.report(node->offset, "a condition calls member functions of variables only");
        return nullptr;
    }
    return node;
}

bool ConditionParser::parseOperands(Node& node, char closing, std::size_t opening) {
    if (mToken.is(closing))
        return advance();
    for (;;) {
        NodePtr operand = parseBinary(0);
        if (!operand)
            return false;
        node.operands.push_back(std::move(operand));
        if (!mToken.is(','))
            return expect(closing, opening);
        if (!advance())
            return false;
    }
}

bool ConditionParser::expect(char closing, std::size_t opening) {
    if (mToken.is(closing))
        return advance();
    const bool isList = closing == '}';
    if (mToken.kind == TOKEN_END)
        return mProblem.report(opening, isList ? "this \"{\" is not closed" : "this \"(\" is not closed");
    return refuse(isList ? "\"}\"" : "\")\"");
}

bool ConditionParser::refuse(const char* expected) {
    if (mToken.kind == TOKEN_END)
        return mProblem.report(mToken.offset, String("at the end, ") + expected + " is missing");
    const bool hasQuotes = mToken.source.front() == '"' || mToken.source.front() == '`';
    const String source = hasQuotes ? String(mToken.source) : "\"" + String(mToken.source) + "\"";
    return mProblem.report(mToken.offset, source + " stands where " + expected + " is expected");
}

bool ConditionParser::refuseDepth(std::size_t offset) {
    return mProblem.report(offset, "nested too deep: a host takes " + String().appendDecimal(cMostNested) +
                                       " expressions inside of each other");
}

NodePtr ConditionParser::finish(NodePtr node) {
    for (const NodePtr& operand : node->operands)
        node->depth = std::max(node->depth, operand->depth + 1);
    return node->depth <= cMostNested || refuseDepth(node->offset) ? std::move(node) : nullptr;
}

} // namespace Tarq::Tool
