#pragma once

#include "tool/condition/lexer.h"
#include "tool/condition/tree.h"

namespace Tarq::Tool {

/// Makes the tree of a condition, without types.
class ConditionParser {
public:
    ConditionParser(std::string_view text, Problem& problem) noexcept : mLexer(text, problem), mProblem(problem) {}

    /// Null, with a problem, for what is no expression, or is nested deeper than a host takes it.
    NodePtr parse();

private:
    class Nesting;

    // Each of these returns null, or false, with a problem.
    /// Operators of this precedence and tighter ones.
    NodePtr parseBinary(Common::uint8 precedence);
    NodePtr parseUnary();
    NodePtr parseNegation();
    NodePtr parseNegative();
    NodePtr parsePrimary();
    bool parseCall(NodePtr& object);
    NodePtr parseParentheses();
    NodePtr parseVector(NodePtr first, std::size_t opening);
    NodePtr parseList();
    NodePtr parseAtom();
    NodePtr parseName();
    /// Appends operands, with commas between them, up to the closing sign, and goes past it.
    bool parseOperands(Node& node, char closing, std::size_t opening);

    bool advance() { return mLexer.read(mToken); }
    /// Goes past the sign.
    bool expect(char closing, std::size_t opening);
    bool refuse(const char* expected);
    bool refuseDepth(std::size_t offset);
    /// Counts the levels of a node that has got its operands; null when there are too many.
    NodePtr finish(NodePtr node);

    Lexer mLexer;
    Problem& mProblem;
    Token mToken; ///< the next one
    Common::uint32 mNesting = 0;
};

} // namespace Tarq::Tool
