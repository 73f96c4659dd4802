#pragma once

#include "common/container/list.h"
#include "common/parser/formula/datatypevalue.h"
#include "common/parser/formula/mathvalue.h"
#include "common/reflection/function/functionargumentlist.h"

#include <array>

namespace Tarq::Common::Parser::Formula {

/// The arguments of a call: up to ten nodes, which it owns, and the list that they are evaluated into.
///
/// A value is computed in its place in the list. Where the place does not suit its type, it is computed in a place of
/// its own, and goes from there.
class TARQ_API FunctionArguments {
public:
    using Nodes = Container::Vector<MathValue*>;

    /// Takes the nodes over, and empties `nodes`. Asserts that there are at most ten, of types that have values; there
    /// are no arguments otherwise, and the nodes are still the caller's. So they are when it throws
    /// `OutOfMemoryException`.
    FunctionArguments(Nodes& nodes, const Memory::AllocatorPtr& allocator);
    /// A copy with copies of the nodes.
    FunctionArguments(const FunctionArguments& other, const Memory::AllocatorPtr& allocator);
    ~FunctionArguments();
    FunctionArguments(const FunctionArguments&) = delete;
    FunctionArguments& operator=(const FunctionArguments&) = delete;

    /// The list is good until the next time.
    const Reflection::Function::FunctionArgumentList& evaluate(VariableAccessor* accessor);

    uint32 size() const noexcept { return mList.size(); }
    bool isEqual(const FunctionArguments& other) const;
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const;
    void replaceVariableAccessID(uint32 oldID, uint32 newID);

private:
    using List = Reflection::Function::FunctionArgumentList;

    /// Without nodes.
    FunctionArguments(const List::Types& signature, const Memory::AllocatorPtr& allocator);

    std::array<MathValue*, List::cMaximumArguments> mNodes{};
    std::array<void*, List::cMaximumArguments> mPlaces{}; ///< where each value is computed
    List mList;
    Container::List<DatatypeValue> mOwnPlaces;
};

} // namespace Tarq::Common::Parser::Formula
