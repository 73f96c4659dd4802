#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/referencecounted.h"
#include "common/sharedptr.h"
#include "common/string.h"

namespace Tarq::Common::Parser::VRML2 {

class Parser;
class SceneNode;
class GeometryNode;
class GeometricProperty;
template <class T>
class NodeParser;

/// Base of a family of nodes, `T`: what its nodes are made by and read themselves by.
///
/// Ownership: nodes count their owners. A fresh one counts 0 and belongs to whoever made it, who deletes it or hands it
/// to a `NodePtr`. A node owns what it has in its fields; in a file, "USE" puts one node into several fields.
/// Threads: a scene may be read on several threads at once.
template <class T>
class NodeParsable : public Memory::MemoryManaged, public ReferenceCounted {
public:
    ~NodeParsable() override = default;

    /// Reads the body, braces included: usually by `Parser::parseMembers`, with checks behind that. Throws
    /// `VRML2ParserException`, for which `Parser::fail` has the place.
    virtual void parse(Parser& parser) = 0;
    /// Makes a fresh node of the same class on the allocator. Never null; throws `OutOfMemoryException`.
    virtual T* createNode(const Memory::AllocatorPtr& allocator) const = 0;
    /// What nodes of this class are called in a file. The text lasts as long as the node.
    virtual const char* getNodeName() const = 0;

    /// What this node was called by "DEF"; empty if it was not.
    const String& getDefName() const noexcept { return mDefName; }

protected:
    NodeParsable() = default;

private:
    template <class>
    friend class NodeParser;

    String mDefName;
};

extern template class TARQ_API NodeParsable<SceneNode>;
extern template class TARQ_API NodeParsable<GeometryNode>;
extern template class TARQ_API NodeParsable<GeometricProperty>;

/// How the fields of nodes hold other nodes, counted in the node.
template <class T>
using NodePtr = SharedPtr<T, MemberReferenceCount<ReferenceCounted, ReferenceCounter, sizeof(void*)>>;
using SceneNodePtr = NodePtr<SceneNode>;
using GeometryNodePtr = NodePtr<GeometryNode>;
using GeometricPropertyPtr = NodePtr<GeometricProperty>;

using SceneNodes = Container::Vector<SceneNodePtr>;
using GeometryNodes = Container::Vector<GeometryNodePtr>;

} // namespace Tarq::Common::Parser::VRML2
