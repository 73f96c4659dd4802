#pragma once

#include "tool/condition/conditioncompiler.h"
#include "tool/condition/problem.h"
#include "tool/condition/tree.h"

namespace Tarq::Tool {

/// Gives each node of a condition the type that a host will find for it, and each literal the value that its place asks
/// for.
class Checker {
public:
    Checker(const Common::Container::Vector<ConditionVariable>& variables, Problem& problem) noexcept
        : mVariables(variables), mProblem(problem) {}

    /// False, with a problem, when a host would refuse the condition, or could not compute it.
    bool check(Node& root);

private:
    bool visit(Node& node);
    bool visitVariable(Node& node);
    bool visitNegation(Node& node);
    bool visitBinary(Node& node);
    bool visitCall(Node& node);

    bool requireBoolean(Node& operand, std::string_view sign);
    /// Gives both operands types that go together. When neither has one yet, arithmetic stays open.
    bool unify(Node& node);
    bool requireOperator(const Node& node);
    const MemberFunction* findFunction(const Node& call, const Datatype& type);
    bool checkArguments(Node& call, const MemberFunction& function, const Datatype& type);
    bool checkIndex(const Node& index, const Datatype& type);

    /// Gives what is open this type; other nodes keep theirs.
    bool settle(Node& node, const Datatype& type);
    /// Gives what is open the type that it has by itself.
    bool settle(Node& node);

    const Common::Container::Vector<ConditionVariable>& mVariables;
    Problem& mProblem;
};

} // namespace Tarq::Tool
