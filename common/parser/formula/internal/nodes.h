#pragma once

#include "common/debug/assert.h"
#include "common/parser/formula/mathvalue.h"
#include "common/parser/formula/operand.h"

#include <memory>

/// What the nodes' classes share.
namespace Tarq::Common::Parser::Formula {

/// Holds a node until something else owns it.
template <class Node = MathValue>
using NodePtr = std::unique_ptr<Node>;

/// Something else owns them now.
template <class... Nodes>
void letGoOf(NodePtr<Nodes>&... nodes) noexcept {
    (static_cast<void>(nodes.release()), ...);
}

/// Holds nodes until something else owns them.
class NodeList {
public:
    explicit NodeList(const Memory::AllocatorPtr& allocator) noexcept : mNodes(allocator) {}
    ~NodeList() {
        for (MathValue* const node : mNodes)
            delete node;
    }
    NodeList(const NodeList&) = delete;
    NodeList& operator=(const NodeList&) = delete;

    Container::Vector<MathValue*>& get() noexcept { return mNodes; }

private:
    Container::Vector<MathValue*> mNodes;
};

/// The other node as one of this class; null when it is none.
template <class Node>
Node* asSameClass(Node& node, MathValue* other) {
    return other && other->getMathValueTypeID() == node.getMathValueTypeID() ? static_cast<Node*>(other) : nullptr;
}

template <class Node>
NodePtr<Node> cloneOf(Node& node) {
    return NodePtr<Node>(static_cast<Node*>(node.clone()));
}

/// Whether two operators have the same operands. Those of an operator that commutes may have changed places.
inline bool areEqualPairs(MathValue& left, MathValue& right, MathValue& otherLeft, MathValue& otherRight,
                          bool commutes) {
    return (left.isEqual(&otherLeft) && right.isEqual(&otherRight)) ||
           (commutes && left.isEqual(&otherRight) && right.isEqual(&otherLeft));
}

/// Lets the operand be computed as far as it is constant, and puts what comes of it in its place. Asserts that this has
/// the operand's type; the operand stays otherwise.
template <class T>
void mergeOperand(Operand<T>& operand) {
    NodePtr<> merged(operand->merge());
    if (!merged)
        return;
    auto* const replacement = dynamic_cast<TypedMathValue<T>*>(merged.get());
    if (!TARQ_ASSERT(replacement, "a merged value has another type than the one whose place it takes"))
        return;
    letGoOf(merged);
    operand.reset(replacement);
}

} // namespace Tarq::Common::Parser::Formula
