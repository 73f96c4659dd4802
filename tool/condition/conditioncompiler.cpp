#include "tool/condition/conditioncompiler.h"

#include "tool/condition/checker.h"
#include "tool/condition/parser.h"
#include "tool/condition/writer.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// Of a byte of the text. What continues a character is none of its own.
uint32 columnOf(std::string_view text, std::size_t offset) noexcept {
    const auto before = text.substr(0, offset);
    const auto characters =
        std::ranges::count_if(before, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; });
    return static_cast<uint32>(characters + 1);
}

} // namespace

bool compileCondition(String::Text text, const Container::Vector<ConditionVariable>& variables, CompiledCondition& out,
                      ConditionError& error) {
    Problem problem;
    const NodePtr root = ConditionParser(text, problem).parse();
    if (!root || !Checker(variables, problem).check(*root)) {
        error = {std::move(problem.text), columnOf(text, problem.offset)};
        return false;
    }
    out = {writeDocument(*root), writeCanonical(*root)};
    return true;
}

} // namespace Tarq::Tool
