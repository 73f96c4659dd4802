#pragma once

#include "tool/condition/datatypes.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Tarq::Tool {

/// What a node is. The literals come first.
enum NodeKind : Common::uint8 {
    NODE_BOOLEAN,
    NODE_INTEGER,
    NODE_FLOATING,
    NODE_TEXT,
    NODE_VECTOR,
    NODE_LIST,
    NODE_VARIABLE,
    NODE_NEGATION,
    NODE_BINARY,
    NODE_CALL,
};

constexpr bool isLiteral(NodeKind kind) noexcept {
    return kind <= NODE_LIST;
}

struct Node;
using NodePtr = std::unique_ptr<Node>;

/// An expression of a condition. The parser makes it; the checker gives it a type. It is nested as deep as a host takes
/// it, at most, so that it can be walked by recursion.
struct Node {
    Node(NodeKind of, std::size_t where) noexcept : kind(of), offset(where), form(of) {}

    NodeKind kind;
    std::size_t offset;            ///< of what an error points at, in bytes of the text
    Common::uint32 depth = 1;      ///< how many expressions are inside of each other here, this one included
    bool isNegative = false;       ///< a number
    Operator operation{};          ///< NODE_BINARY
    Common::uint64 whole = 0;      ///< NODE_INTEGER, without the sign
    double floating = 0;           ///< NODE_FLOATING, without the sign
    Common::String text;           ///< NODE_TEXT; the name of a variable or of a member function
    std::vector<NodePtr> operands; ///< the object of a call is the first; components and elements are operands too

    /// Null while the place has to tell: of literals, and of what is computed from nothing else. `form` is the kind of
    /// literal that it comes from.
    const Datatype* type = nullptr;
    NodeKind form;
    Common::String value;     ///< of a literal that has a type: as a host reads it
    Common::String canonical; ///< the same as text
};

} // namespace Tarq::Tool
