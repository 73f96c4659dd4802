#pragma once

#include "common/container/vector.h"
#include "common/network/message/streamids.h"
#include "common/string.h"
#include "common/types.h"

/// Conditions of breakpoints, typed as text:
///
///     speed > 3 && (name == "x" || !isAsleep) && position.GetLength() < 0.5
///
/// Operators, the loosest first: `||`, `&&`, `== !=`, `< <= > >=`, `+ -`, `* /`, `!`, calls of member functions. Those
/// of one line that stand side by side belong together from the left. Names that are no identifiers stand in
/// backquotes. Literals: `true`, `false`, `12`, `0xFF`, `1.5e3`, `"text"`, vectors `(1, 2)`, lists `{1, 2}`; numbers
/// may have a minus in front. Texts, and names in backquotes, know `\\ \" \` \n \r \t` and `\x` with two digits.
///
/// A literal has the type that its place asks for: next to a `Float`, 3 is a Float. Where nothing asks, whole numbers
/// are Integer32, or Integer64 when one is too large, others are Float, and texts String. A host converts nothing but
/// Integer32 and UnsignedInteger32: the right one is taken as the type of the left one. It evaluates both sides of `&&`
/// and `||` always.
namespace Tarq::Tool {

/// A variable that conditions may name. The type may be what a peer has sent.
struct ConditionVariable {
    Common::String name;
    Common::Network::Message::StreamIDs type;
};

struct ConditionError {
    Common::String text;       ///< for a person
    Common::uint32 column = 0; ///< from 1, in characters of the text
};

struct CompiledCondition {
    Common::String document;  ///< what a host takes: one element, which is the expression
    Common::String canonical; ///< the same as text, which compiles to the same document
};

/// Compiles a text, which is UTF-8, to an expression of the type Boolean. False, with the first error, when that is
/// impossible; `out` is left alone then. Of several variables of one name, the first counts. Throws
/// `OutOfMemoryException`.
bool compileCondition(Common::String::Text text, const Common::Container::Vector<ConditionVariable>& variables,
                      CompiledCondition& out, ConditionError& error);

} // namespace Tarq::Tool
