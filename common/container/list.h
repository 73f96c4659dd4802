#pragma once

#include "common/container/listlinks.h"
#include "common/container/storage.h"
#include "common/types.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

namespace Tarq::Common::Container {

/// A doubly linked list with the meanings of the standard list, over an allocator pointer.
///
/// Elements never move; iterators stay valid until their element goes. Exhaustion throws `OutOfMemoryException` and
/// leaves the list as it was. An empty allocator pointer stands for the global heap.
template <class T>
class List {
    struct Node : ListLinks {
        template <class... Arguments>
        explicit Node(Arguments&&... arguments) : value(std::forward<Arguments>(arguments)...) {}
        T value;
    };

    template <class Value>
    class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        Iterator() noexcept = default;
        /// An iterator to something constant is made from one that may change it.
        template <std::same_as<std::remove_const_t<Value>> Other>
        Iterator(const Iterator<Other>& other) noexcept : mLinks(other.mLinks) {}

        Value& operator*() const noexcept { return static_cast<Node*>(mLinks)->value; }
        Value* operator->() const noexcept { return &**this; }
        Iterator& operator++() noexcept {
            mLinks = mLinks->next;
            return *this;
        }
        Iterator operator++(int) noexcept { return Iterator(std::exchange(mLinks, mLinks->next)); }
        Iterator& operator--() noexcept {
            mLinks = mLinks->previous;
            return *this;
        }
        Iterator operator--(int) noexcept { return Iterator(std::exchange(mLinks, mLinks->previous)); }
        friend bool operator==(Iterator a, Iterator b) noexcept { return a.mLinks == b.mLinks; }

    private:
        friend class List;
        template <class>
        friend class Iterator;
        explicit Iterator(ListLinks* links) noexcept : mLinks(links) {}
        ListLinks* mLinks = nullptr;
    };

public:
    using value_type = T;
    using size_type = uint32;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = Iterator<T>;
    using const_iterator = Iterator<const T>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    explicit List(const Memory::AllocatorPtr& allocator) noexcept : mAllocator(allocator) {}
    List(const Memory::AllocatorPtr& allocator, std::initializer_list<T> values)
        : List(allocator, values.begin(), values.end()) {}
    template <std::input_iterator Input>
    List(const Memory::AllocatorPtr& allocator, Input first, Input last) : List(allocator) {
        for (; first != last; ++first)
            emplace_back(*first);
    }
    /// The copy takes its nodes from the source's allocator.
    List(const List& other) : List(other.mAllocator, other.begin(), other.end()) {}
    /// Leaves the source empty, on the same allocator.
    List(List&& other) noexcept : List(other.mAllocator) { takeNodes(other); }
    ~List() { clear(); }

    /// Keeps its own allocator.
    List& operator=(const List& other) {
        if (this != &other)
            List(mAllocator, other.begin(), other.end()).swap(*this);
        return *this;
    }
    List& operator=(List&& other) noexcept {
        List(std::move(other)).swap(*this);
        return *this;
    }

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mAllocator; }

    iterator begin() noexcept { return iterator(mEnds.next); }
    const_iterator begin() const noexcept { return const_iterator(mEnds.next); }
    iterator end() noexcept { return iterator(&mEnds); }
    const_iterator end() const noexcept { return const_iterator(const_cast<ListLinks*>(&mEnds)); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    bool empty() const noexcept { return mSize == 0; }
    size_type size() const noexcept { return mSize; }
    T& front() noexcept { return *begin(); }
    const T& front() const noexcept { return *begin(); }
    T& back() noexcept { return *--end(); }
    const T& back() const noexcept { return *--end(); }

    void push_back(const T& value) { emplace(end(), value); }
    void push_back(T&& value) { emplace(end(), std::move(value)); }
    void push_front(const T& value) { emplace(begin(), value); }
    void push_front(T&& value) { emplace(begin(), std::move(value)); }
    template <class... Arguments>
    T& emplace_back(Arguments&&... arguments) {
        return *emplace(end(), std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    T& emplace_front(Arguments&&... arguments) {
        return *emplace(begin(), std::forward<Arguments>(arguments)...);
    }
    void pop_front() noexcept { erase(begin()); }
    void pop_back() noexcept { erase(--end()); }

    iterator insert(const_iterator position, const T& value) { return emplace(position, value); }
    iterator insert(const_iterator position, T&& value) { return emplace(position, std::move(value)); }
    /// Copies the range, which may be part of this list, to in front of `position`; either all of it or nothing.
    template <std::input_iterator Input>
    iterator insert(const_iterator position, Input first, Input last) {
        List copies(mAllocator, first, last);
        const iterator result = copies.empty() ? iterator(position.mLinks) : copies.begin();
        while (!copies.empty()) {
            ListLinks* const links = copies.mEnds.next;
            links->unlink();
            links->linkBefore(*position.mLinks);
            --copies.mSize;
            ++mSize;
        }
        return result;
    }
    /// Makes an element in front of `position`.
    template <class... Arguments>
    iterator emplace(const_iterator position, Arguments&&... arguments) {
        Node* const node = makeNode<Node>(mAllocator, std::forward<Arguments>(arguments)...);
        node->linkBefore(*position.mLinks);
        ++mSize;
        return iterator(node);
    }

    /// Returns the element behind the one that goes.
    iterator erase(const_iterator position) noexcept {
        Node* const node = static_cast<Node*>(position.mLinks);
        ListLinks* const next = node->next;
        node->unlink();
        --mSize;
        destroyNode(mAllocator, node);
        return iterator(next);
    }
    iterator erase(const_iterator first, const_iterator last) noexcept {
        while (first != last)
            first = erase(first);
        return iterator(last.mLinks);
    }
    /// Takes out every element that equals `value`, which may be one of them; returns how many.
    size_type remove(const T& value) {
        const T copy(value);
        return remove_if([&copy](const T& element) { return element == copy; });
    }
    template <class Predicate>
    size_type remove_if(Predicate predicate) {
        const size_type before = mSize;
        for (const_iterator at = begin(); at != end();)
            at = predicate(*at) ? const_iterator(erase(at)) : std::next(at);
        return before - mSize;
    }
    void clear() noexcept {
        while (mSize != 0)
            erase(begin());
    }
    void swap(List& other) noexcept {
        List held(other.mAllocator);
        held.takeNodes(other);
        other.takeNodes(*this);
        takeNodes(held);
        mAllocator.swap(other.mAllocator);
    }

    friend bool operator==(const List& a, const List& b) {
        return a.mSize == b.mSize && std::equal(a.begin(), a.end(), b.begin());
    }

private:
    /// Moves the chain of `other` into this empty list, whatever allocator it came from.
    void takeNodes(List& other) noexcept {
        mEnds.takeChain(other.mEnds);
        mSize = std::exchange(other.mSize, 0);
    }

    Memory::AllocatorPtr mAllocator;
    ListLinks mEnds; ///< its next is the first node, its previous the last; itself where there is none
    size_type mSize = 0;
};

} // namespace Tarq::Common::Container
