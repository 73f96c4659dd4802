#pragma once

#include "tool/condition/operators.h"

#include "common/network/message/streamids.h"
#include "common/string.h"

#include <span>

/// What a host can do with values of its types.
namespace Tarq::Tool {

using Common::Network::Message::StreamIDs;

enum Shape : Common::uint8 {
    SHAPE_BOOLEAN,
    SHAPE_INTEGER,
    SHAPE_FLOATING,
    SHAPE_TEXT,
    SHAPE_WIDE_TEXT,
    SHAPE_VECTOR,
    SHAPE_LIST,
};

struct Datatype {
    StreamIDs id{};
    const char* name = nullptr; ///< of a list, that of its elements
    Shape shape{};
    bool isSigned = false;           ///< a whole number
    Common::uint8 numBytes = 0;      ///< of a number
    Common::uint8 numComponents = 0; ///< of a vector
    StreamIDs part{};                ///< the type of a vector's components, or of a list's elements
    Common::uint16 operators = 0;    ///< those that a host computes, a bit for each

    constexpr bool has(Operator operation) const noexcept { return ((operators >> operation) & 1) != 0; }
};

/// Null for a number that names no type.
const Datatype* findDatatype(StreamIDs id) noexcept;
/// A type that is there.
const Datatype& datatypeOf(StreamIDs id) noexcept;
/// As hosts and documents name it.
Common::String nameOf(const Datatype& type);

/// What a member function takes or gives, seen from the object's type.
enum Role : Common::uint8 {
    ROLE_NOTHING,
    ROLE_INDEX, ///< an UnsignedInteger32
    ROLE_COUNT, ///< the same
    ROLE_PART,
    ROLE_SAME,
};

struct MemberFunction {
    const char* name;
    Role argument; ///< there is one at most
    Role result;   ///< without one, a formula cannot call it
};

std::span<const MemberFunction> memberFunctionsOf(const Datatype& type) noexcept;
/// `role` is not `ROLE_NOTHING`.
const Datatype& datatypeOf(Role role, const Datatype& object) noexcept;

} // namespace Tarq::Tool
