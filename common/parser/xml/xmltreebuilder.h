#pragma once

#include "common/memory/memorymanaged.h"
#include "common/parser/xml/xmlnode.h"
#include "common/types.h"

#include <cstddef>
#include <initializer_list>

namespace Tarq::Common::Parser::XML {

/// Makes a tree node by node, and owns it.
///
///     builder.startXMLTree("config", true);
///     builder.addElemInt32("count", 3);
///     builder.enterSubTree("list");
///     builder.addElemEmpty("item");
///     builder.addAttribText("kind", "rope");
///     builder.exitSubTree("list");
///     writer.writeTree(&stream, builder.getRoot());
///
/// Names, values and texts are copied when `copyStrings` says so; otherwise the tree keeps the caller's pointers, and
/// what takes a number asserts "Used without copyStrings enabled !" and does nothing. A null text is an empty one.
///
/// Ownership: the nodes, and what is copied, lie in memory of `getAllocator()` and go when the tree does: with the next
/// `startXMLTree`, with `deleteXMLTree` or with the builder. Until then, nodes that are removed and names and texts
/// that are replaced keep their memory, too; only the values of attributes take the place of those before. Exhaustion
/// throws `OutOfMemoryException`; the tree is as it was then. Threads: a builder and its tree belong to one thread at a
/// time.
class TARQ_API XMLTreeBuilder : public Memory::MemoryManaged {
public:
    XMLTreeBuilder() noexcept;
    ~XMLTreeBuilder() override;

    /// Deletes the tree, and begins another one with its root. The name may be one of the old tree if it is copied.
    void startXMLTree(const char* rootName, bool copyStrings);
    /// The same; the first `enterSubTree` makes the root.
    void startXMLTree(bool copyStrings);
    void startXMLTree(const char* rootName) = delete;
    void deleteXMLTree() noexcept;

    /// Null before there is one.
    XMLNodeElements* getRoot() const noexcept { return mRoot; }
    /// The node that was added last; null before there is one.
    XMLNode* getCurrentNode() const noexcept { return mCurrent; }
    bool getCopyStrings() const noexcept { return mCopyStrings; }

    /// Sets an attribute of the current node; the last value of a name counts. Asserts that there is a node; otherwise
    /// does nothing.
    void addAttribText(const char* name, const char* value);
    void addAttribInt32(const char* name, int32 value);
    void addAttribUInt32(const char* name, uint32 value);
    /// "1" or "0".
    void addAttribBool(const char* name, bool value);
    /// With six decimals.
    void addAttribFloat32(const char* name, float value);

    /// Adds a node with a text to the innermost open element; it becomes the current one. While no element is open it
    /// has no parent.
    void addElemText(const char* name, const char* text);
    /// "true" or "false".
    void addElemBool(const char* name, bool value);
    void addElemInt32(const char* name, int32 value);
    void addElemUInt32(const char* name, uint32 value);
    void addElemInt64(const char* name, int64 value);
    void addElemUInt64(const char* name, uint64 value);
    /// Floating numbers with six significant digits; components of vectors with a slash between them.
    void addElemFloat32(const char* name, float value);
    void addElemFloat64(const char* name, double value);
    void addElemVec3f(const char* name, const Math::Vec3f& value);
    void addElemVec3u32(const char* name, const Math::Vec3u& value);
    void addElemVec3i32(const char* name, const Math::Vec3i& value);
    void addElemVec2f(const char* name, const Math::Vec2f& value);
    void addElemVec2u32(const char* name, const Math::Vec2u& value);
    void addElemVec2i32(const char* name, const Math::Vec2i& value);
    /// Adds a node without text or children.
    void addElemEmpty(const char* name);

    /// Adds a node for children to the innermost open element, or makes it the root; it becomes the current one and
    /// the innermost open one.
    void enterSubTree(const char* name);
    /// Closes the innermost open element, and sets its cursor to its first child. The current node stays the one that
    /// was added last, which is the closed element or in it. False, and nothing changes, when `name` is neither null
    /// nor its name. False for the root too, which stays open. Asserts that an element is open; otherwise does nothing
    /// and returns false.
    bool exitSubTree(const char* name);
    /// Moves the tree of another builder here, as the last child of the innermost open element; its root becomes the
    /// current node, and the other builder has no tree then. What was not copied stays where its owner has it. Asserts
    /// that there is a builder, with the same allocator and the same `copyStrings`, that it is not this one, and that
    /// an element is open; otherwise does nothing, like for a builder without a tree.
    void addTree(XMLTreeBuilder* tree);

    /// Adds a node without a name, of an `XMLNodeType`, as the operations above do. Asserts that the type is known;
    /// otherwise does nothing.
    void addNode(uint32 type);
    /// Asserts that there is a current node; otherwise does nothing.
    void setNodeName(const char* name);
    /// Asserts that the current node is an `XML_NODE_TEXT`; otherwise does nothing.
    void setNodeText(const char* text);
    /// Takes the last child from the innermost open element. What is the last one then becomes the current node, or
    /// the element itself if there is none. Asserts that an element is open; otherwise does nothing.
    void removeLastNode();

private:
    friend class XMLDocumentReader;

    static constexpr std::size_t cNumberSize = 128;

    struct OpenElement {
        XMLNodeElements* node;
        OpenElement* outer;
    };

    XMLArena& arena(std::size_t expectedBytes = 0);
    const char* keep(const char* text);
    bool requireOpen() const;
    bool requireCurrent() const;
    bool requireCopies() const;
    void forgetTree() noexcept;
    /// Writes the numbers, with slashes between them, as a text that lasts until the next call. Null, after an
    /// assertion, where strings are not copied.
    template <class Number>
    const char* format(std::initializer_list<Number> numbers);
    const char* formatFixed(float number);
    /// Null adds nothing.
    void addAttribFormatted(const char* name, const char* value);
    void addElemFormatted(const char* name, const char* text);

    bool mCopyStrings = false;
    XMLNodeElements* mRoot = nullptr;
    XMLNode* mCurrent = nullptr;
    XMLNodeElements* mOpen = nullptr; ///< the innermost one
    OpenElement* mOuter = nullptr;    ///< those around it, in the arena: callers may change the parents of nodes
    char mNumber[cNumberSize];
    XMLArena* mArena = nullptr; ///< null before there is a node
};

} // namespace Tarq::Common::Parser::XML
