#pragma once

#include "common/container/lookuptree.h"
#include "common/container/pair.h"
#include "common/container/storage.h"
#include "common/types.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace Tarq::Common::Container {

/// An ordered map from key to value with the meanings of the standard map, over an allocator pointer.
///
/// Entries are pairs of a constant key and a value; they never move, and iterators stay valid until their entry goes.
/// Exhaustion throws `OutOfMemoryException` and leaves the map as it was. An empty allocator pointer stands for the
/// global heap.
template <class K, class V, class Less = std::less<K>>
class LookUp {
public:
    using key_type = K;
    using mapped_type = V;
    using value_type = Pair<const K, V>;
    using size_type = uint32;

private:
    struct Node : LookUpLinks {
        template <class Key, class... Arguments>
        explicit Node(Key&& key, Arguments&&... arguments)
            : entry{std::forward<Key>(key), V(std::forward<Arguments>(arguments)...)} {
            static_assert(std::is_constructible_v<V, Arguments...>, "the value is constructed, not cast");
        }
        value_type entry;
    };

    template <class Value>
    class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = LookUp::value_type;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        Iterator() noexcept = default;
        /// An iterator to something constant is made from one that may change it.
        template <std::same_as<std::remove_const_t<Value>> Other>
        Iterator(const Iterator<Other>& other) noexcept : mLinks(other.mLinks) {}

        Value& operator*() const noexcept { return static_cast<Node*>(mLinks)->entry; }
        Value* operator->() const noexcept { return &**this; }
        Iterator& operator++() noexcept {
            mLinks = LookUpTree::next(mLinks);
            return *this;
        }
        Iterator operator++(int) noexcept { return Iterator(std::exchange(mLinks, LookUpTree::next(mLinks))); }
        Iterator& operator--() noexcept {
            mLinks = LookUpTree::previous(mLinks);
            return *this;
        }
        Iterator operator--(int) noexcept { return Iterator(std::exchange(mLinks, LookUpTree::previous(mLinks))); }
        friend bool operator==(Iterator a, Iterator b) noexcept { return a.mLinks == b.mLinks; }

    private:
        friend class LookUp;
        template <class>
        friend class Iterator;
        explicit Iterator(LookUpLinks* links) noexcept : mLinks(links) {}
        LookUpLinks* mLinks = nullptr;
    };

public:
    using iterator = Iterator<value_type>;
    using const_iterator = Iterator<const value_type>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    explicit LookUp(const Memory::AllocatorPtr& allocator, const Less& less = Less()) noexcept
        : mAllocator(allocator), mLess(less) {}
    /// Of entries with the same key, the first counts.
    LookUp(const Memory::AllocatorPtr& allocator, std::initializer_list<value_type> entries) : LookUp(allocator) {
        for (const value_type& entry : entries)
            insert(entry);
    }
    /// The copy takes its nodes from the source's allocator.
    LookUp(const LookUp& other) : LookUp(other, other.mAllocator) {}
    LookUp(const LookUp& other, const Memory::AllocatorPtr& allocator) : LookUp(allocator, other.mLess) {
        for (const value_type& entry : other)
            emplaceAt({mTree.size() == 0 ? mTree.end() : LookUpTree::previous(mTree.end()), mTree.size() == 0},
                      entry.first, entry.second);
    }
    /// Leaves the source empty, on the same allocator.
    LookUp(LookUp&& other) noexcept : LookUp(other.mAllocator, other.mLess) { mTree.swap(other.mTree); }
    virtual ~LookUp() { clear(); }

    /// Keeps its own allocator.
    LookUp& operator=(const LookUp& other) {
        if (this != &other)
            LookUp(other, mAllocator).swap(*this);
        return *this;
    }
    LookUp& operator=(LookUp&& other) noexcept {
        LookUp(std::move(other)).swap(*this);
        return *this;
    }

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mAllocator; }

    iterator begin() noexcept { return iterator(mTree.first()); }
    const_iterator begin() const noexcept { return const_iterator(mTree.first()); }
    iterator end() noexcept { return iterator(mTree.end()); }
    const_iterator end() const noexcept { return const_iterator(mTree.end()); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    bool empty() const noexcept { return mTree.size() == 0; }
    size_type size() const noexcept { return mTree.size(); }

    iterator find(const K& key) { return findKey(key); }
    const_iterator find(const K& key) const { return findKey(key); }
    bool contains(const K& key) const { return findKey(key) != end(); }
    size_type count(const K& key) const { return contains(key) ? 1 : 0; }
    /// The first entry whose key does not come before `key`.
    iterator lower_bound(const K& key) { return iterator(lowerBound(key)); }
    const_iterator lower_bound(const K& key) const { return const_iterator(lowerBound(key)); }
    /// The first entry whose key comes after `key`.
    iterator upper_bound(const K& key) { return iterator(upperBound(key)); }
    const_iterator upper_bound(const K& key) const { return const_iterator(upperBound(key)); }

    /// Throws `std::out_of_range` for a key that is not there.
    V& at(const K& key) { return checked(findKey(key))->second; }
    const V& at(const K& key) const { return checked(findKey(key))->second; }
    /// The value of the key, made with its default constructor if it is not there.
    V& operator[](const K& key) { return try_emplace(key).first->second; }
    V& operator[](K&& key) { return try_emplace(std::move(key)).first->second; }

    /// Makes an entry, unless the key has one; returns the key's entry and whether it is new.
    template <class Key, class... Arguments>
    Pair<iterator, bool> try_emplace(Key&& key, Arguments&&... arguments) {
        const Place place = findPlace(key);
        if (place.existing)
            return {iterator(place.existing), false};
        return {emplaceAt(place, std::forward<Key>(key), std::forward<Arguments>(arguments)...), true};
    }
    Pair<iterator, bool> insert(const value_type& entry) { return try_emplace(entry.first, entry.second); }
    Pair<iterator, bool> insert(const K& key, const V& value) { return try_emplace(key, value); }
    Pair<iterator, bool> insert_or_assign(const K& key, V value) {
        const auto made = try_emplace(key, std::move(value));
        if (!made.second)
            made.first->second = std::move(value);
        return made;
    }

    /// Returns the entry behind the one that goes.
    iterator erase(const_iterator position) noexcept {
        Node* const node = static_cast<Node*>(position.mLinks);
        const iterator following = iterator(LookUpTree::next(node));
        mTree.remove(node);
        destroyNode(mAllocator, node);
        return following;
    }
    iterator erase(iterator position) noexcept { return erase(const_iterator(position)); }
    iterator erase(const_iterator first, const_iterator last) noexcept {
        while (first != last)
            first = erase(first);
        return iterator(last.mLinks);
    }
    /// Returns the number of entries that went: 0 or 1.
    size_type erase(const K& key) {
        const iterator found = findKey(key);
        if (found == end())
            return 0;
        erase(found);
        return 1;
    }
    void clear() noexcept {
        destroyBelow(mTree.root());
        mTree.forgetAll();
    }
    void swap(LookUp& other) noexcept {
        mTree.swap(other.mTree);
        mAllocator.swap(other.mAllocator);
        std::swap(mLess, other.mLess);
    }

    friend bool operator==(const LookUp& a, const LookUp& b) {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
    }

protected:
    /// Finds what need not be a key: the two tell whether a key comes before it, or after it.
    template <class IsBefore, class IsAfter>
    iterator findWith(IsBefore isBefore, IsAfter isAfter) const {
        LookUpLinks* const found = partitionPoint(isBefore);
        return iterator(found != mTree.end() && !isAfter(keyOf(found)) ? found : mTree.end());
    }
    iterator checked(iterator found) const {
        if (found == end())
            throw std::out_of_range("there is no such key");
        return found;
    }

private:
    /// Where a key stands, or where it would be hung in.
    struct Place {
        LookUpLinks* parent;
        bool atLeft;
        LookUpLinks* existing = nullptr;
    };

    static const K& keyOf(const LookUpLinks* links) noexcept { return static_cast<const Node*>(links)->entry.first; }

    /// The first node whose key `isBefore` does not hold for.
    template <class IsBefore>
    LookUpLinks* partitionPoint(IsBefore isBefore) const {
        LookUpLinks* found = mTree.end();
        for (LookUpLinks* at = mTree.root(); at;) {
            if (isBefore(keyOf(at))) {
                at = at->right;
            } else {
                found = at;
                at = at->left;
            }
        }
        return found;
    }
    LookUpLinks* lowerBound(const K& key) const {
        return partitionPoint([&](const K& other) { return mLess(other, key); });
    }
    LookUpLinks* upperBound(const K& key) const {
        return partitionPoint([&](const K& other) { return !mLess(key, other); });
    }
    iterator findKey(const K& key) const {
        return findWith([&](const K& other) { return mLess(other, key); },
                        [&](const K& other) { return mLess(key, other); });
    }
    Place findPlace(const K& key) const {
        Place place{mTree.end(), true};
        LookUpLinks* notGreater = nullptr;
        for (LookUpLinks* at = mTree.root(); at;) {
            place.parent = at;
            place.atLeft = mLess(key, keyOf(at));
            if (!place.atLeft)
                notGreater = at;
            at = place.atLeft ? at->left : at->right;
        }
        if (notGreater && !mLess(keyOf(notGreater), key))
            place.existing = notGreater;
        return place;
    }

    template <class Key, class... Arguments>
    iterator emplaceAt(const Place& place, Key&& key, Arguments&&... arguments) {
        Node* const node = makeNode<Node>(mAllocator, std::forward<Key>(key), std::forward<Arguments>(arguments)...);
        mTree.insert(node, place.parent, place.atLeft);
        return iterator(node);
    }
    /// Recursion is as deep as the tree is high, which is at most 1.44 times the logarithm of its size.
    void destroyBelow(LookUpLinks* links) noexcept {
        while (links) {
            destroyBelow(links->right);
            LookUpLinks* const left = links->left;
            destroyNode(mAllocator, static_cast<Node*>(links));
            links = left;
        }
    }

    Memory::AllocatorPtr mAllocator;
    [[no_unique_address]] Less mLess;
    LookUpTree mTree;
};

} // namespace Tarq::Common::Container
