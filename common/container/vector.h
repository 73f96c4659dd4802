#pragma once

#include "common/container/storage.h"
#include "common/types.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace Tarq::Common {

template <class Char>
class BasicString;

} // namespace Tarq::Common

namespace Tarq::Common::Container {

/// A contiguous growable array with the meanings of the standard vector, over an allocator pointer.
///
/// Sizes are 32-bit, as an allocator's are. Growing by one element when full raises the capacity to capacity +
/// capacity / 2, or to the needed size if that is larger. Growth beyond `max_size` throws `std::length_error`,
/// "vector<T> too long"; exhaustion throws `OutOfMemoryException`. A growth that fails leaves the vector as it was.
///
/// An empty allocator pointer stands for the global heap. Elements need no more alignment than allocators give (8).
template <class T>
class Vector {
public:
    using value_type = T;
    using size_type = uint32;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using pointer = T*;
    using const_pointer = const T*;
    using iterator = T*;
    using const_iterator = const T*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    explicit Vector(const Memory::AllocatorPtr& allocator) noexcept : mAllocator(allocator) {}
    Vector(const Memory::AllocatorPtr& allocator, size_type count) : mAllocator(allocator) {
        constructed([&] { resize(count); });
    }
    Vector(const Memory::AllocatorPtr& allocator, size_type count, const T& value) : mAllocator(allocator) {
        constructed([&] { resize(count, value); });
    }
    template <std::forward_iterator Iterator>
    Vector(const Memory::AllocatorPtr& allocator, Iterator first, Iterator last) : mAllocator(allocator) {
        constructed([&] { insert(end(), first, last); });
    }
    Vector(const Memory::AllocatorPtr& allocator, std::initializer_list<T> values)
        : Vector(allocator, values.begin(), values.end()) {}

    /// The copy takes its storage from the source's allocator, or from the one given.
    Vector(const Vector& other) : Vector(other, other.mAllocator) {}
    Vector(const Vector& other, const Memory::AllocatorPtr& allocator)
        : Vector(allocator, other.begin(), other.end()) {}
    /// Leaves the source empty, on the same allocator.
    Vector(Vector&& other) noexcept
        : mAllocator(other.mAllocator), mBegin(std::exchange(other.mBegin, nullptr)),
          mEnd(std::exchange(other.mEnd, nullptr)), mCapacityEnd(std::exchange(other.mCapacityEnd, nullptr)) {}

    ~Vector() { releaseStorage(); }

    /// Keeps its own allocator.
    Vector& operator=(const Vector& other) {
        if (this == &other)
            return *this;
        if (std::is_nothrow_copy_constructible_v<T> && other.size() <= capacity()) {
            clear();
            insert(end(), other.begin(), other.end());
        } else {
            assign(other.begin(), other.end());
        }
        return *this;
    }
    /// Takes over the source's storage together with its allocator, and leaves the source empty, on the same allocator.
    Vector& operator=(Vector&& other) noexcept {
        if (this == &other)
            return *this;
        releaseStorage();
        mAllocator = other.mAllocator;
        mBegin = std::exchange(other.mBegin, nullptr);
        mEnd = std::exchange(other.mEnd, nullptr);
        mCapacityEnd = std::exchange(other.mCapacityEnd, nullptr);
        return *this;
    }
    Vector& operator=(std::initializer_list<T> values) {
        assign(values.begin(), values.end());
        return *this;
    }

    template <std::forward_iterator Iterator>
    void assign(Iterator first, Iterator last) {
        Vector(mAllocator, first, last).swap(*this);
    }
    void assign(size_type count, const T& value) { Vector(mAllocator, count, value).swap(*this); }

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mAllocator; }

    iterator begin() noexcept { return mBegin; }
    const_iterator begin() const noexcept { return mBegin; }
    iterator end() noexcept { return mEnd; }
    const_iterator end() const noexcept { return mEnd; }
    const_iterator cbegin() const noexcept { return mBegin; }
    const_iterator cend() const noexcept { return mEnd; }
    reverse_iterator rbegin() noexcept { return reverse_iterator(mEnd); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(mEnd); }
    reverse_iterator rend() noexcept { return reverse_iterator(mBegin); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(mBegin); }

    bool empty() const noexcept { return mBegin == mEnd; }
    size_type size() const noexcept { return static_cast<size_type>(mEnd - mBegin); }
    size_type capacity() const noexcept { return static_cast<size_type>(mCapacityEnd - mBegin); }
    static constexpr size_type max_size() noexcept {
        return static_cast<size_type>(
            std::min<std::size_t>(std::numeric_limits<uint32>::max(), std::numeric_limits<std::ptrdiff_t>::max()) /
            sizeof(T));
    }

    T& operator[](size_type index) noexcept { return mBegin[index]; }
    const T& operator[](size_type index) const noexcept { return mBegin[index]; }
    /// Throws `std::out_of_range`.
    T& at(size_type index) { return mBegin[checkedIndex(index)]; }
    const T& at(size_type index) const { return mBegin[checkedIndex(index)]; }
    T& front() noexcept { return *mBegin; }
    const T& front() const noexcept { return *mBegin; }
    T& back() noexcept { return mEnd[-1]; }
    const T& back() const noexcept { return mEnd[-1]; }
    T* data() noexcept { return mBegin; }
    const T* data() const noexcept { return mBegin; }

    void reserve(size_type count) {
        if (count > capacity())
            reallocate(checkedSize(count));
    }
    void shrink_to_fit() {
        if (mEnd != mCapacityEnd)
            reallocate(size());
    }
    void clear() noexcept { eraseFrom(mBegin); }

    void resize(size_type count) {
        resizeWith(count, [](T* first, T* last) { std::uninitialized_value_construct(first, last); });
    }
    void resize(size_type count, const T& value) {
        if (count > size() && isInside(value))
            return resize(count, T(value));
        resizeWith(count, [&value](T* first, T* last) { std::uninitialized_fill(first, last, value); });
    }
    /// Like `resize`, but leaves new elements of a trivial type without a value, for the caller to fill.
    void resizeForOverwrite(size_type count) {
        static_assert(std::is_trivially_default_constructible_v<T> && std::is_trivially_destructible_v<T>);
        if (count > capacity()) [[unlikely]]
            reallocate(grownCapacity(count));
        mEnd = mBegin + count;
    }

    void push_back(const T& value) { emplace_back(value); }
    void push_back(T&& value) { emplace_back(std::move(value)); }
    template <class... Arguments>
    T& emplace_back(Arguments&&... arguments) {
        if (mEnd >= mCapacityEnd) [[unlikely]]
            return emplaceGrown(std::forward<Arguments>(arguments)...);
        std::construct_at(mEnd, std::forward<Arguments>(arguments)...);
        return *mEnd++;
    }
    void pop_back() noexcept { std::destroy_at(--mEnd); }

    iterator insert(const_iterator position, const T& value) { return emplace(position, value); }
    iterator insert(const_iterator position, T&& value) { return emplace(position, std::move(value)); }
    iterator insert(const_iterator position, std::initializer_list<T> values) {
        return insert(position, values.begin(), values.end());
    }
    iterator insert(const_iterator position, size_type count, const T& value) {
        const T copy(value);
        return insertAtEndAndRotate(position, count, [&] {
            for (size_type left = count; left != 0; --left)
                emplace_back(copy);
        });
    }
    /// The range may be part of this vector.
    template <std::forward_iterator Iterator>
    iterator insert(const_iterator position, Iterator first, Iterator last) {
        const auto count = std::distance(first, last);
        if (count <= 0)
            return mBegin + (position - mBegin);
        const size_type added = checkedSize(static_cast<std::size_t>(count));
        using Reference = std::iter_reference_t<Iterator>;
        if constexpr (std::is_lvalue_reference_v<Reference> && std::is_same_v<std::remove_cvref_t<Reference>, T>) {
            if (isInside(*first)) {
                const Vector copy(mAllocator, first, last);
                return insert(position, copy.begin(), copy.end());
            }
        }
        return insertAtEndAndRotate(position, added, [&] {
            if constexpr (std::contiguous_iterator<Iterator> && std::is_same_v<std::iter_value_t<Iterator>, T> &&
                          std::is_trivially_copyable_v<T>) {
                std::memcpy(static_cast<void*>(mEnd), std::to_address(first), added * sizeof(T));
                mEnd += added;
            } else {
                for (; first != last; ++first)
                    emplace_back(*first);
            }
        });
    }
    template <class... Arguments>
    iterator emplace(const_iterator position, Arguments&&... arguments) {
        const auto offset = position - mBegin;
        emplace_back(std::forward<Arguments>(arguments)...);
        std::rotate(mBegin + offset, mEnd - 1, mEnd);
        return mBegin + offset;
    }

    iterator erase(const_iterator position) noexcept(cMovesSafely) { return erase(position, position + 1); }
    iterator erase(const_iterator first, const_iterator last) noexcept(cMovesSafely) {
        iterator target = mBegin + (first - mBegin);
        if (first != last)
            eraseFrom(std::move(mBegin + (last - mBegin), mEnd, target));
        return target;
    }

    void swap(Vector& other) noexcept {
        mAllocator.swap(other.mAllocator);
        std::swap(mBegin, other.mBegin);
        std::swap(mEnd, other.mEnd);
        std::swap(mCapacityEnd, other.mCapacityEnd);
    }

    friend bool operator==(const Vector& a, const Vector& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }
    template <std::three_way_comparable Element = T>
    friend auto operator<=>(const Vector& a, const Vector& b) {
        return std::lexicographical_compare_three_way(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    template <class>
    friend class Common::BasicString;

    static constexpr bool cMovesSafely = std::is_nothrow_move_assignable_v<T>;

    /// Elements that stand somewhere else for good.
    struct Fixed {
        const T* elements;
        size_type count;
    };
    /// Starts out on fixed elements. They have no capacity: nothing writes to them, gives them back or destroys them,
    /// and the first growth copies them.
    explicit Vector(Fixed fixed, const Memory::AllocatorPtr& allocator = Memory::AllocatorPtr()) noexcept
        : mAllocator(allocator), mBegin(const_cast<T*>(fixed.elements)), mEnd(mBegin + fixed.count),
          mCapacityEnd(mBegin) {
        static_assert(std::is_trivially_copyable_v<T>);
    }

    /// Storage that is full of elements, to be taken over.
    struct Filled {
        T* storage;
        size_type count;
    };
    Vector(Filled filled, const Memory::AllocatorPtr& allocator) noexcept
        : mAllocator(allocator), mBegin(filled.storage), mEnd(mBegin + filled.count), mCapacityEnd(mEnd) {}

    /// A constructor that fails has no destructor to give its storage back.
    template <class Fill>
    void constructed(Fill fill) {
        try {
            fill();
        } catch (...) {
            releaseStorage();
            throw;
        }
    }

    static size_type checkedSize(uint64 count) {
        if (count > max_size())
            throw std::length_error("vector<T> too long");
        return static_cast<size_type>(count);
    }
    size_type checkedIndex(size_type index) const {
        if (index >= size())
            throw std::out_of_range("vector<T> index out of range");
        return index;
    }
    bool isInside(const T& value) const noexcept {
        const T* const address = std::addressof(value);
        return !std::less<const T*>()(address, mBegin) && std::less<const T*>()(address, mEnd);
    }
    size_type grownCapacity(uint64 needed) const {
        const uint64 grown = uint64{capacity()} + capacity() / 2;
        return std::max(checkedSize(needed), static_cast<size_type>(std::min<uint64>(grown, max_size())));
    }

    /// Moves elements to new storage; copies them where a move could fail half-way. On failure nothing has changed.
    static void relocate(T* first, T* last, T* target) {
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (first != last)
                std::memcpy(static_cast<void*>(target), first, static_cast<std::size_t>(last - first) * sizeof(T));
        } else if constexpr (std::is_nothrow_move_constructible_v<T> || !std::is_copy_constructible_v<T>) {
            std::uninitialized_move(first, last, target);
        } else {
            std::uninitialized_copy(first, last, target);
        }
    }
    void adoptStorage(T* storage, size_type count, size_type newCapacity) noexcept {
        releaseStorage();
        mBegin = storage;
        mEnd = storage + count;
        mCapacityEnd = storage + newCapacity;
    }
    void reallocate(size_type newCapacity) {
        const size_type count = size();
        T* const storage = newCapacity != 0 ? takeStorage<T>(mAllocator, newCapacity) : nullptr;
        try {
            relocate(mBegin, mEnd, storage);
        } catch (...) {
            Memory::releaseBytes(mAllocator, storage);
            throw;
        }
        adoptStorage(storage, count, newCapacity);
    }
    /// The new element comes first: its arguments may refer to an old one.
    template <class... Arguments>
    [[gnu::noinline]] T& emplaceGrown(Arguments&&... arguments) {
        const size_type count = size();
        const size_type newCapacity = grownCapacity(uint64{count} + 1);
        T* const storage = takeStorage<T>(mAllocator, newCapacity);
        T* made = nullptr;
        try {
            made = std::construct_at(storage + count, std::forward<Arguments>(arguments)...);
            relocate(mBegin, mEnd, storage);
        } catch (...) {
            if (made)
                std::destroy_at(made);
            Memory::releaseBytes(mAllocator, storage);
            throw;
        }
        adoptStorage(storage, count + 1, newCapacity);
        return *made;
    }
    template <class Construct>
    void resizeWith(size_type count, Construct construct) {
        if (count <= size()) {
            eraseFrom(mBegin + count);
            return;
        }
        if (count > capacity())
            reallocate(grownCapacity(count));
        construct(mEnd, mBegin + count);
        mEnd = mBegin + count;
    }
    template <class Append>
    iterator insertAtEndAndRotate(const_iterator position, size_type added, Append append) {
        const auto offset = position - mBegin;
        const size_type oldSize = size();
        if (uint64{oldSize} + added > capacity())
            reallocate(grownCapacity(uint64{oldSize} + added));
        try {
            append();
        } catch (...) {
            eraseFrom(mBegin + oldSize);
            throw;
        }
        std::rotate(mBegin + offset, mBegin + oldSize, mEnd);
        return mBegin + offset;
    }
    void eraseFrom(T* newEnd) noexcept {
        std::destroy(newEnd, mEnd);
        mEnd = newEnd;
    }
    void releaseStorage() noexcept {
        if (mBegin == mCapacityEnd)
            return;
        std::destroy(mBegin, mEnd);
        Memory::releaseBytes(mAllocator, mBegin);
    }

    Memory::AllocatorPtr mAllocator;
    T* mBegin = nullptr;
    T* mEnd = nullptr;
    T* mCapacityEnd = nullptr; ///< `mBegin` where the elements are fixed
};

/// Packed bits: `common/container/bitvector.h`.
template <>
class Vector<bool>;

} // namespace Tarq::Common::Container
