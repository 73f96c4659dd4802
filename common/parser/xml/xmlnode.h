#pragma once

#include "common/export.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/memory/allocatorptr.h"
#include "common/parser/xml/xmlattributes.h"
#include "common/types.h"

#include <cstddef>
#include <iterator>
#include <utility>

namespace Tarq::Common::Parser::XML {

struct XMLNodeText;
struct XMLNodeElements;

/// What `XMLNode::type` says.
enum XMLNodeType : uint32 {
    XML_NODE_EMPTY = 0,    ///< an `XMLNodeElements`, written `<name/>`: neither text nor children
    XML_NODE_TEXT = 1,     ///< an `XMLNodeText`
    XML_NODE_ELEMENTS = 2, ///< an `XMLNodeElements`
};

/// An element of a document: what its start tag says. An element has a text or children, never both.
///
/// Threads: a tree belongs to one thread at a time, for reading too.
/// Ownership: the nodes of a tree belong to its `XMLTreeBuilder`; a node that a caller made belongs to the caller, and
/// outlives the tree that it was added to. A node never owns its children, nor the texts that its pointers point to.
/// `attributes` and `elements` are containers of their own, in the memory of the tree: they are read like look-ups and
/// lists, from front to back, and changed by the functions of the nodes.
struct TARQ_API XMLNode {
    uint32 type; ///< an `XMLNodeType`

private:
    uint32 mNameLength; ///< while a document is parsed; stands here because there is room

public:
    XMLNode* parent; ///< set by the tree, and relied on where a tree is written or its path is told
    const char* name;
    XMLAttributes attributes;

    XMLNode(const XMLNode&) = delete;
    XMLNode& operator=(const XMLNode&) = delete;

    /// Keeps both pointers. A name that is there already gets the new value. Throws `OutOfMemoryException`.
    void addAttribute(const char* name, const char* value);
    /// Null when there is no such attribute.
    const char* getAttributeString(const char* name) const noexcept;

    /// Each returns false, and leaves `value` as it is, when there is no such attribute. Numbers are read as `atoi`,
    /// `_atoi64` and `atof` read them, so that what is none is 0; what does not fit is cut to the lowest bits.
    bool getAttributeInt32(int32& value, const char* name) const noexcept;
    bool getAttributeUInt32(uint32& value, const char* name) const noexcept;
    bool getAttributeFloat32(float& value, const char* name) const noexcept;
    /// "1" and "true" are true, "0" and what begins with "false" are false, in either case of letters. Anything else
    /// is answered like a missing attribute.
    bool getAttributeBool(bool& value, const char* name) const noexcept;

    bool isEmpty() const noexcept { return type == XML_NODE_EMPTY; }

    /// The next child of the same parent; null for the last one.
    XMLNode* getNextSibling() const noexcept { return mNext; }

    /// The node as what it is; null when it is something else.
    inline XMLNodeText* asText() noexcept;
    inline const XMLNodeText* asText() const noexcept;
    inline XMLNodeElements* asElements() noexcept;
    inline const XMLNodeElements* asElements() const noexcept;

protected:
    /// Takes a block of memory from `allocator`, for the attributes that there may be.
    XMLNode(uint32 nodeType, XMLNode* parentNode, const char* nodeName, const Memory::AllocatorPtr& allocator);
    /// A node of a tree: it stands in the tree's memory, and is never destroyed.
    XMLNode(uint32 nodeType, XMLNode* parentNode, const char* nodeName, XMLAttributes&& nodeAttributes) noexcept
        : type(nodeType), parent(parentNode), name(nodeName), attributes(std::move(nodeAttributes)) {}
    ~XMLNode();

private:
    friend class XMLNodeList;
    friend class XMLNodeFactory;

    XMLNode* mNext = nullptr;
    XMLNode* mPrevious = nullptr; ///< the one before; of the first child, the last one; null for nobody's child
};

/// The children of a node in document order, each an `XMLNode*`.
class TARQ_API XMLNodeList {
public:
    class const_iterator { // NOLINT(readability-identifier-naming): as the standard library names it
    public:
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = XMLNode*;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = XMLNode*;

        const_iterator() noexcept = default;
        XMLNode* operator*() const noexcept { return mNode; }
        const_iterator& operator++() noexcept {
            mNode = mNode->getNextSibling();
            return *this;
        }
        const_iterator operator++(int) noexcept {
            return const_iterator(std::exchange(mNode, mNode->getNextSibling()));
        }
        friend bool operator==(const_iterator, const_iterator) noexcept = default;

    private:
        friend class XMLNodeList;
        explicit const_iterator(XMLNode* node) noexcept : mNode(node) {}
        XMLNode* mNode = nullptr;
    };
    using iterator = const_iterator;
    using value_type = XMLNode*;
    using size_type = uint32;

    XMLNodeList() noexcept = default;
    XMLNodeList(const XMLNodeList&) = delete;
    XMLNodeList& operator=(const XMLNodeList&) = delete;

    const_iterator begin() const noexcept { return const_iterator(mFirst); }
    const_iterator end() const noexcept { return const_iterator(); }
    size_type size() const noexcept { return mSize; }
    bool empty() const noexcept { return !mFirst; }
    /// Null when there is none; so is `back`.
    XMLNode* front() const noexcept { return mFirst; }
    XMLNode* back() const noexcept { return mFirst ? mFirst->mPrevious : nullptr; }

private:
    friend struct XMLNodeElements;
    friend class XMLNodeFactory;

    static bool isListed(const XMLNode& node) noexcept { return node.mPrevious != nullptr; }
    void append(XMLNode& node) noexcept {
        if (mFirst) {
            XMLNode* const last = std::exchange(mFirst->mPrevious, &node);
            last->mNext = &node;
            node.mPrevious = last;
        } else {
            mFirst = node.mPrevious = &node;
        }
        ++mSize;
    }
    XMLNode* removeLast() noexcept;

    XMLNode* mFirst = nullptr;
    uint32 mSize = 0;
};

/// `<name ...>text</name>`. The text is as it stands in the document: references are not replaced.
struct TARQ_API XMLNodeText : XMLNode {
    const char* text;

    /// `parentNode` does not get to know this node. Throws `OutOfMemoryException`.
    XMLNodeText(XMLNode* parentNode, const char* nodeName, const char* nodeText, const Memory::AllocatorPtr& allocator);
    ~XMLNodeText() = default;

    /// Numbers are read as `atoi`, `_atoi64`, `atof` and `sscanf` read them: 0 where there is none. The components of
    /// a vector have slashes between them; those that are missing are 0.
    int32 getInt32() const noexcept;
    int64 getInt64() const noexcept;
    uint64 getUInt64() const noexcept;
    float getFloat32() const noexcept;
    double getFloat64() const noexcept;
    Math::Vec3f getVec3f() const noexcept;
    Math::Vec3i getVec3i32() const noexcept;
    Math::Vec3u getVec3u32() const noexcept;
    Math::Vec2f getVec2f() const noexcept;
    Math::Vec2i getVec2i32() const noexcept;
    Math::Vec2u getVec2u32() const noexcept;
    /// Whether it is "1", or begins with "true" in either case of letters.
    bool getBool() const noexcept;

private:
    friend class XMLNodeFactory;
    XMLNodeText(XMLNode* parentNode, const char* nodeName, const char* nodeText,
                XMLAttributes&& nodeAttributes) noexcept
        : XMLNode(XML_NODE_TEXT, parentNode, nodeName, std::move(nodeAttributes)), text(nodeText) {}
};

/// `<name ...>...</name>` around children, or `<name .../>`; with a cursor that reads the children one after the other:
///
///     node->initSearch();
///     if (node->getNextInt32(count, "count") && node->getNextVec3f(position, "position")) ...
struct TARQ_API XMLNodeElements : XMLNode {
    const char* text = ""; ///< always empty
    XMLNodeList elements;

    /// `parentNode` does not get to know this node. Throws `OutOfMemoryException`.
    XMLNodeElements(XMLNode* parentNode, const char* nodeName, const Memory::AllocatorPtr& allocator);
    ~XMLNodeElements() = default;

    /// Makes the node the last child, and this node its parent and an `XML_NODE_ELEMENTS`. Asserts that there is a
    /// node, that it is another one, and nobody's child yet; otherwise does nothing. It must not have this node below
    /// it: that is not looked for, because the parents of a caller's node may be gone.
    void addElement(XMLNode* node);
    /// Null when there is no child. The child has no parent then.
    XMLNode* removeLastElement() noexcept;
    XMLNode* getLastElement() const noexcept { return elements.back(); }

    /// The cursor goes to the first child, where it is at the beginning too.
    void initSearch() noexcept { mCurrent = nullptr; }
    /// The child at the cursor, which moves on; null, and the cursor stays, when the child has another name, or at the
    /// end. So children are read in the order of the document, each expected by its name.
    XMLNode* getNextNode(const char* name) noexcept;
    /// The child at the cursor, which moves on; null at the end.
    XMLNode* getNextNode() noexcept;
    /// `getNextNode`, if that is no text. A text has been passed all the same.
    XMLNodeElements* getNextElements(const char* name) noexcept;

    /// Each goes on like `getNextNode`. False, and `value` is left as it is, when there is no such node or when it has
    /// children. A node without text or children has the empty text.
    bool getNextText(const char*& value, const char* name) noexcept;
    /// Read like those of `XMLNodeText`. An `XML_NODE_ELEMENTS` has no value, also when it has no children.
    bool getNextInt32(int32& value, const char* name) noexcept;
    bool getNextUInt32(uint32& value, const char* name) noexcept;
    bool getNextInt64(int64& value, const char* name) noexcept;
    bool getNextUInt64(uint64& value, const char* name) noexcept;
    bool getNextFloat32(float& value, const char* name) noexcept;
    bool getNextFloat64(double& value, const char* name) noexcept;
    bool getNextVec3f(Math::Vec3f& value, const char* name) noexcept;
    bool getNextVec3i32(Math::Vec3i& value, const char* name) noexcept;
    bool getNextVec3u32(Math::Vec3u& value, const char* name) noexcept;
    bool getNextVec2f(Math::Vec2f& value, const char* name) noexcept;
    bool getNextVec2i32(Math::Vec2i& value, const char* name) noexcept;
    bool getNextVec2u32(Math::Vec2u& value, const char* name) noexcept;
    bool getNextBool(bool& value, const char* name) noexcept;

    /// Whether the child at the cursor has this name and is an `XML_NODE_EMPTY`. The cursor stays.
    bool checkNextEmpty(const char* name) const noexcept;
    bool atLastNode() const noexcept { return !nodeAtCursor(); }
    /// The child that was returned last; null when the cursor is at the first one.
    XMLNode* getCurrentNode() const noexcept { return mCurrent; }

private:
    friend class XMLNodeFactory;
    XMLNodeElements(uint32 nodeType, XMLNode* parentNode, const char* nodeName, XMLAttributes&& nodeAttributes) noexcept
        : XMLNode(nodeType, parentNode, nodeName, std::move(nodeAttributes)) {}

    XMLNode* nodeAtCursor() const noexcept { return mCurrent ? mCurrent->getNextSibling() : elements.front(); }
    /// The node's text, for a value. Null when there is none.
    const char* getNextValue(const char* name) noexcept;

    XMLNode* mCurrent = nullptr; ///< right before the cursor
};

inline XMLNodeText* XMLNode::asText() noexcept {
    return type == XML_NODE_TEXT ? static_cast<XMLNodeText*>(this) : nullptr;
}
inline const XMLNodeText* XMLNode::asText() const noexcept {
    return type == XML_NODE_TEXT ? static_cast<const XMLNodeText*>(this) : nullptr;
}
inline XMLNodeElements* XMLNode::asElements() noexcept {
    return type != XML_NODE_TEXT ? static_cast<XMLNodeElements*>(this) : nullptr;
}
inline const XMLNodeElements* XMLNode::asElements() const noexcept {
    return type != XML_NODE_TEXT ? static_cast<const XMLNodeElements*>(this) : nullptr;
}

} // namespace Tarq::Common::Parser::XML
