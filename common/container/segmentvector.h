#pragma once

#include "common/container/vector.h"
#include "common/debug/assert.h"

#include <memory>
#include <utility>

namespace Tarq::Common::Container {

/// A growable array kept in segments of `SegmentSize` elements each: growing never moves an element.
///
/// Reading at or beyond the size asserts "index out of range"; what comes back then is an element of its default value,
/// one that the vector keeps beside its own, made anew at each such access. Copies take their segments from the
/// source's allocator, or from the one given; assigning a copy keeps the target's allocator, moving takes the source's
/// over.
template <class T, uint32 SegmentSize = 1024>
class SegmentVector {
public:
    using value_type = T;
    using size_type = uint32;

    explicit SegmentVector(const Memory::AllocatorPtr& allocator) : mSegments(allocator) {}
    SegmentVector(const SegmentVector& other) : SegmentVector(other, other.getAllocator()) {}
    SegmentVector(const SegmentVector& other, const Memory::AllocatorPtr& allocator) : SegmentVector(allocator) {
        for (size_type index = 0; index < other.mSize; ++index)
            push_back(other[index]);
    }
    SegmentVector(SegmentVector&& other) noexcept
        : mSegments(std::move(other.mSegments)), mSize(std::exchange(other.mSize, 0)) {}
    SegmentVector& operator=(const SegmentVector& other) {
        if (this != &other)
            SegmentVector(other, getAllocator()).swap(*this);
        return *this;
    }
    SegmentVector& operator=(SegmentVector&& other) noexcept {
        SegmentVector(std::move(other)).swap(*this);
        return *this;
    }
    ~SegmentVector() {
        clear();
        for (T* segment : mSegments)
            Memory::releaseBytes(getAllocator(), segment);
    }

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mSegments.getAllocator(); }

    bool empty() const noexcept { return mSize == 0; }
    size_type size() const noexcept { return mSize; }
    size_type capacity() const noexcept { return mSegments.size() * SegmentSize; }

    T& operator[](size_type index) { return isInRange(index) ? element(index) : fallback(); }
    const T& operator[](size_type index) const { return isInRange(index) ? element(index) : none(); }
    T& back() { return (*this)[mSize - 1]; }
    const T& back() const { return (*this)[mSize - 1]; }

    void push_back(const T& value) { emplace_back(value); }
    void push_back(T&& value) { emplace_back(std::move(value)); }
    /// Throws what a `Vector` throws when it cannot grow; nothing has changed then.
    template <class... Arguments>
    T& emplace_back(Arguments&&... arguments) {
        if (mSize == capacity())
            addSegment();
        T* const made = std::construct_at(&element(mSize), std::forward<Arguments>(arguments)...);
        ++mSize;
        return *made;
    }
    void pop_back() noexcept { std::destroy_at(&element(--mSize)); }
    /// Keeps the segments.
    void clear() noexcept {
        while (mSize != 0)
            pop_back();
    }
    void swap(SegmentVector& other) noexcept {
        mSegments.swap(other.mSegments);
        std::swap(mSize, other.mSize);
    }

    friend bool operator==(const SegmentVector& a, const SegmentVector& b) {
        bool isEqual = a.mSize == b.mSize;
        for (size_type index = 0; isEqual && index < a.mSize; ++index)
            isEqual = a.element(index) == b.element(index);
        return isEqual;
    }

private:
    bool isInRange(size_type index) const { return TARQ_ASSERT(index < mSize, "index out of range"); }
    T& element(size_type index) const noexcept { return mSegments[index / SegmentSize][index % SegmentSize]; }
    T& fallback() { return mFallback = T{}; }
    static const T& none() {
        static const T cNone{};
        return cNone;
    }
    void addSegment() {
        if (capacity() > std::numeric_limits<size_type>::max() - SegmentSize)
            throw std::length_error("vector<T> too long");
        mSegments.push_back(nullptr);
        try {
            mSegments.back() = takeStorage<T>(getAllocator(), SegmentSize);
        } catch (...) {
            mSegments.pop_back();
            throw;
        }
    }

    Vector<T*> mSegments;
    size_type mSize = 0;
    T mFallback{}; ///< what an index out of range is given to write to
};

} // namespace Tarq::Common::Container
