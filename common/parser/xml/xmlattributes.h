#pragma once

#include "common/container/pair.h"
#include "common/export.h"
#include "common/types.h"

namespace Tarq::Common::Parser::XML {

class XMLArena;

/// The attributes of one node: a look-up from name to value, both C strings, ascending by name.
///
/// A name that was added more than once has its last value. Adding costs next to nothing: the entries are put in order
/// when somebody first asks for that. An iterator is valid until an attribute is added.
///
/// Threads: one at a time, for questions too.
class TARQ_API XMLAttributes {
public:
    using value_type = Container::Pair<const char*, const char*>;
    using size_type = uint32;
    using const_iterator = const value_type*;
    using iterator = const_iterator;

    XMLAttributes(const XMLAttributes&) = delete;
    XMLAttributes& operator=(const XMLAttributes&) = delete;

    const_iterator begin() const noexcept { return mEntries ? arranged() : nullptr; }
    const_iterator end() const noexcept {
        if (!mEntries)
            return nullptr;
        // Putting the entries in order may leave fewer of them.
        const const_iterator first = arranged();
        return first + mEntries->count;
    }
    size_type size() const noexcept { return static_cast<size_type>(end() - begin()); }
    bool empty() const noexcept { return !mEntries; }

    /// `end()` when there is no such attribute. Null names none.
    const_iterator find(const char* name) const noexcept;
    bool contains(const char* name) const noexcept { return find(name) != end(); }

private:
    friend struct XMLNode;
    friend class XMLNodeFactory;
    friend class XMLAttributeCollector;
    friend class XMLTreeBuilder;

    struct Entries {
        alignas(value_type) uint32 count;
        uint32 capacity;
        bool areArranged; ///< ascending, and each name once; otherwise the values lie in one buffer, in this order
        bool haveRooms;   ///< a `uint32` for each, up to the capacity, lies behind the entries, which are arranged

        value_type* begin() noexcept { return reinterpret_cast<value_type*>(this + 1); }
        value_type* end() noexcept { return begin() + count; }
        /// How many bytes a value that was made by `setCopy` has room for, the NUL included; 0 for any other value.
        uint32* rooms() noexcept { return reinterpret_cast<uint32*>(begin() + capacity); }
    };

    explicit XMLAttributes(XMLArena* arena, Entries* entries = nullptr) noexcept : mArena(arena), mEntries(entries) {}
    /// Takes over what a collector has collected.
    XMLAttributes(XMLAttributes&& other) noexcept = default;

    /// Keeps the pointers. Throws `OutOfMemoryException`.
    void set(const char* name, const char* value);
    /// Copies both. A value takes the place of the one before, where there is room for it.
    void setCopy(const char* name, const char* value);

    const value_type* arranged() const noexcept {
        if (!mEntries->areArranged) [[unlikely]]
            arrange();
        return mEntries->begin();
    }
    void arrange() const noexcept;
    value_type* findEntry(const char* name) const noexcept;
    /// Makes an entry for a name that has none.
    value_type* insert(const char* name);
    /// Makes new entries of those that there are, with more capacity and with rooms.
    void grow();

    XMLArena* mArena;
    Entries* mEntries; ///< null for none
};

} // namespace Tarq::Common::Parser::XML
