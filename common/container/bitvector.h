#pragma once

#include "common/container/vector.h"

namespace Tarq::Common::Container {

/// Truth values, 32 to a word. The meanings are those of the general vector; elements are handed out by value, and
/// changed through `set` or the reference that `operator[]` returns; iterators only read. Too long: "vector<bool> too
/// long".
template <>
class Vector<bool> {
public:
    using value_type = bool;
    using size_type = uint32;

    /// Stands for one element; valid as long as the vector is not changed otherwise.
    class Reference {
    public:
        operator bool() const noexcept { return (*mWord & mMask) != 0; }
        Reference& operator=(bool value) noexcept {
            *mWord = value ? *mWord | mMask : *mWord & ~mMask;
            return *this;
        }
        Reference& operator=(const Reference& other) noexcept { return *this = static_cast<bool>(other); }
        Reference(const Reference&) noexcept = default;

    private:
        friend class Vector<bool>;
        Reference(uint32* word, uint32 mask) noexcept : mWord(word), mMask(mask) {}
        uint32* mWord;
        uint32 mMask;
    };

    /// Reads the elements one after the other.
    class const_iterator { // NOLINT(readability-identifier-naming): as the standard library names it
    public:
        using iterator_category = std::input_iterator_tag;
        using iterator_concept = std::forward_iterator_tag;
        using value_type = bool;
        using difference_type = std::ptrdiff_t;
        using pointer = const bool*;
        using reference = bool;

        const_iterator() noexcept = default;
        bool operator*() const noexcept { return (*mVector)[mIndex]; }
        const_iterator& operator++() noexcept {
            ++mIndex;
            return *this;
        }
        const_iterator operator++(int) noexcept { return {*mVector, mIndex++}; }
        friend const_iterator operator+(const_iterator at, size_type count) noexcept {
            return {*at.mVector, at.mIndex + count};
        }
        friend bool operator==(const_iterator a, const_iterator b) noexcept { return a.mIndex == b.mIndex; }

    private:
        friend class Vector<bool>;
        const_iterator(const Vector& vector, size_type index) noexcept : mVector(&vector), mIndex(index) {}
        const Vector* mVector = nullptr;
        size_type mIndex = 0;
    };
    using iterator = const_iterator;

    explicit Vector(const Memory::AllocatorPtr& allocator) noexcept : mWords(allocator) {}
    Vector(const Memory::AllocatorPtr& allocator, size_type count, bool value = false) : mWords(allocator) {
        resize(count, value);
    }
    Vector(const Memory::AllocatorPtr& allocator, std::initializer_list<bool> values) : mWords(allocator) {
        for (const bool value : values)
            push_back(value);
    }
    /// The copy takes its storage from the source's allocator, or from the one given.
    Vector(const Vector&) = default;
    Vector(const Vector& other, const Memory::AllocatorPtr& allocator)
        : mWords(other.mWords, allocator), mSize(other.mSize) {}
    /// Keeps its own allocator.
    Vector& operator=(const Vector&) = default;
    Vector(Vector&& other) noexcept : mWords(std::move(other.mWords)), mSize(std::exchange(other.mSize, 0)) {}
    Vector& operator=(Vector&& other) noexcept {
        mWords = std::move(other.mWords);
        mSize = std::exchange(other.mSize, 0);
        return *this;
    }

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mWords.getAllocator(); }

    const_iterator begin() const noexcept { return {*this, 0}; }
    const_iterator end() const noexcept { return {*this, mSize}; }

    bool empty() const noexcept { return mSize == 0; }
    size_type size() const noexcept { return mSize; }
    size_type capacity() const noexcept {
        return static_cast<size_type>(std::min<uint64>(uint64{mWords.capacity()} * cBits, max_size()));
    }
    static constexpr size_type max_size() noexcept { return 0x7FFFFFFF; }

    bool operator[](size_type index) const noexcept { return (mWords[index / cBits] & maskOf(index)) != 0; }
    Reference operator[](size_type index) noexcept { return {&mWords[index / cBits], maskOf(index)}; }
    /// Throws `std::out_of_range`.
    bool at(size_type index) const { return (*this)[checkedIndex(index)]; }
    Reference at(size_type index) { return (*this)[checkedIndex(index)]; }
    void set(size_type index, bool value) noexcept { (*this)[index] = value; }
    bool front() const noexcept { return (*this)[0]; }
    bool back() const noexcept { return (*this)[mSize - 1]; }

    void assign(size_type count, bool value) { Vector(getAllocator(), count, value).swap(*this); }
    void reserve(size_type count) { mWords.reserve(wordsFor(checkedSize(count))); }
    void clear() noexcept {
        mWords.clear();
        mSize = 0;
    }
    void push_back(bool value) {
        const size_type newSize = checkedSize(uint64{mSize} + 1);
        if (mSize % cBits == 0)
            mWords.push_back(0);
        set(mSize, value);
        mSize = newSize;
    }
    void pop_back() noexcept {
        --mSize;
        if (mSize % cBits == 0)
            mWords.pop_back();
    }
    void resize(size_type count, bool value = false) {
        const size_type oldSize = mSize;
        mWords.resize(wordsFor(checkedSize(count)));
        mSize = count;
        for (size_type index = oldSize; index < count;) {
            if (index % cBits == 0 && count - index >= cBits) {
                mWords[index / cBits] = value ? ~uint32{0} : 0;
                index += cBits;
            } else {
                set(index++, value);
            }
        }
    }
    /// The elements behind the one that goes move down by one.
    const_iterator erase(const_iterator position) noexcept {
        for (size_type index = position.mIndex; index + 1 < mSize; ++index)
            set(index, static_cast<bool>((*this)[index + 1]));
        pop_back();
        return {*this, position.mIndex};
    }
    void flip() noexcept {
        for (uint32& word : mWords)
            word = ~word;
    }
    void swap(Vector& other) noexcept {
        mWords.swap(other.mWords);
        std::swap(mSize, other.mSize);
    }

    friend bool operator==(const Vector& a, const Vector& b) noexcept {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    static constexpr uint32 cBits = 32;
    static constexpr uint32 maskOf(size_type index) noexcept { return uint32{1} << (index % cBits); }
    static constexpr size_type wordsFor(size_type count) noexcept { return count / cBits + (count % cBits != 0); }
    static size_type checkedSize(uint64 count) {
        if (count > max_size())
            throw std::length_error("vector<bool> too long");
        return static_cast<size_type>(count);
    }
    size_type checkedIndex(size_type index) const {
        if (index >= mSize)
            throw std::out_of_range("vector<bool> index out of range");
        return index;
    }

    Vector<uint32> mWords;
    size_type mSize = 0;
};

} // namespace Tarq::Common::Container
