#pragma once

#include "common/container/vector.h"

namespace Tarq::Common::Container {

/// Truth values, 32 to a word. The meanings are those of the general vector; elements are handed out by value, and
/// changed through `set` or the reference that `operator[]` returns. Too long: "vector<bool> too long".
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

    explicit Vector(const Memory::AllocatorPtr& allocator) noexcept : mWords(allocator) {}
    Vector(const Memory::AllocatorPtr& allocator, size_type count, bool value = false) : mWords(allocator) {
        resize(count, value);
    }
    Vector(const Vector&) = default;
    Vector& operator=(const Vector&) = default;
    Vector(Vector&& other) noexcept : mWords(std::move(other.mWords)), mSize(std::exchange(other.mSize, 0)) {}
    Vector& operator=(Vector&& other) noexcept {
        mWords = std::move(other.mWords);
        mSize = std::exchange(other.mSize, 0);
        return *this;
    }

    bool empty() const noexcept { return mSize == 0; }
    size_type size() const noexcept { return mSize; }
    size_type capacity() const noexcept {
        return static_cast<size_type>(std::min<uint64>(uint64{mWords.capacity()} * cBits, max_size()));
    }
    static constexpr size_type max_size() noexcept { return 0x7FFFFFFF; }

    bool operator[](size_type index) const noexcept { return (mWords[index / cBits] & maskOf(index)) != 0; }
    Reference operator[](size_type index) noexcept { return {&mWords[index / cBits], maskOf(index)}; }
    void set(size_type index, bool value) noexcept { (*this)[index] = value; }
    bool back() const noexcept { return (*this)[mSize - 1]; }

    void reserve(size_type count) { mWords.reserve(wordsFor(checkedSize(count))); }
    void clear() noexcept {
        mWords.clear();
        mSize = 0;
    }
    void push_back(bool value) { resize(checkedSize(uint64{mSize} + 1), value); }
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
    void flip() noexcept {
        for (uint32& word : mWords)
            word = ~word;
    }
    void swap(Vector& other) noexcept {
        mWords.swap(other.mWords);
        std::swap(mSize, other.mSize);
    }

    friend bool operator==(const Vector& a, const Vector& b) noexcept {
        if (a.mSize != b.mSize)
            return false;
        for (size_type index = 0; index < a.mSize; ++index) {
            if (a[index] != b[index])
                return false;
        }
        return true;
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

    Vector<uint32> mWords;
    size_type mSize = 0;
};

} // namespace Tarq::Common::Container
