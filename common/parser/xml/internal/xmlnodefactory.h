#pragma once

#include "common/parser/xml/internal/xmlarena.h"
#include "common/parser/xml/xmlnode.h"

#include <new>
#include <utility>

namespace Tarq::Common::Parser::XML {

/// Makes the nodes of trees, each in the arena of its tree, and hangs them in. Null stands for no parent. Throws
/// `OutOfMemoryException`.
class XMLNodeFactory {
public:
    static XMLNodeText* makeText(XMLArena& arena, XMLNodeElements* parent, const char* name, const char* text,
                                 XMLAttributes&& attributes) {
        void* const place = arena.allocate(sizeof(XMLNodeText));
        return hangIn(parent, ::new (place) XMLNodeText(parent, name, text, std::move(attributes)));
    }
    /// `type` is `XML_NODE_EMPTY` or `XML_NODE_ELEMENTS`.
    /// The length of the name is for `nameLengthOf`; whoever asks for that says it.
    static XMLNodeElements* makeElements(XMLArena& arena, XMLNodeType type, XMLNodeElements* parent, const char* name,
                                         XMLAttributes&& attributes, uint32 nameLength = 0) {
        void* const place = arena.allocate(sizeof(XMLNodeElements));
        auto* const node = ::new (place) XMLNodeElements(type, parent, name, std::move(attributes));
        node->mNameLength = nameLength;
        return hangIn(parent, node);
    }
    static uint32 nameLengthOf(const XMLNodeElements& node) noexcept { return node.mNameLength; }
    static XMLAttributes noAttributes(XMLArena& arena) noexcept { return XMLAttributes(&arena); }

private:
    template <class Node>
    static Node* hangIn(XMLNodeElements* parent, Node* node) noexcept {
        if (parent)
            parent->elements.append(*node);
        return node;
    }
};

/// Collects the attributes of one start tag at the top of an arena. Nothing else is taken from the arena meanwhile.
class XMLAttributeCollector {
public:
    explicit XMLAttributeCollector(XMLArena& arena) : mArena(arena) {
        if (arena.room() < sizeof(Entries)) [[unlikely]]
            arena.makeRoom(0, sizeof(Entries) + sizeof(Entry));
        startBehind(0);
    }

    void add(const char* name, const char* value) {
        if (mNext == mEnd) [[unlikely]]
            grow();
        ::new (static_cast<void*>(mNext)) Entry{name, value};
        ++mNext;
    }
    /// Makes a node's attributes of what there is. With `copies`, they do not refer to the texts that were added.
    XMLAttributes finish(bool copies) {
        const std::size_t count = countEntries();
        if (count == 0)
            return XMLAttributes(&mArena);
        void* const place = mArena.allocate(sizeof(Entries) + count * sizeof(Entry));
        const auto size = static_cast<uint32>(count);
        auto* const entries = ::new (place) Entries{size, size, size == 1, false};
        if (copies) [[unlikely]]
            copyTexts(*entries);
        return XMLAttributes(&mArena, entries);
    }

private:
    using Entries = XMLAttributes::Entries;
    using Entry = XMLAttributes::value_type;

    void startBehind(std::size_t count) noexcept {
        mFirst = reinterpret_cast<Entry*>(mArena.top() + sizeof(Entries));
        mNext = mFirst + count;
        mEnd = mFirst + (mArena.room() - sizeof(Entries)) / sizeof(Entry);
    }
    std::size_t countEntries() const noexcept { return static_cast<std::size_t>(mNext - mFirst); }
    void grow();
    void copyTexts(Entries& entries);

    XMLArena& mArena;
    Entry* mFirst;
    Entry* mNext;
    Entry* mEnd; ///< of the room that there is
};

} // namespace Tarq::Common::Parser::XML
