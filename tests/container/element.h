#pragma once

#include "common/string.h"

#include <cstdint>
#include <random>
#include <string>

namespace Tarq::Test {

/// What an element throws that is told to fail.
struct CopyFailure {};

/// An element that can only be copied, can be told to fail at that, and knows how many of its kind live and whether its
/// bytes were moved behind its back.
class Element {
public:
    Element() : Element(0) {}
    Element(int value) : mValue(value), mSelf(this) { ++sLive; }
    Element(const Element& other) : mValue(other.getValue()), mSelf(this) {
        countCopy();
        ++sLive;
    }
    ~Element() {
        sWrong += mSelf != this;
        --sLive;
    }
    Element& operator=(const Element& other) {
        countCopy();
        mValue = other.getValue();
        return *this;
    }
    int getValue() const {
        sWrong += mSelf != this;
        return mValue;
    }
    friend bool operator==(const Element& a, const Element& b) { return a.getValue() == b.getValue(); }
    friend bool operator<(const Element& a, const Element& b) { return a.getValue() < b.getValue(); }

    static inline int sLive = 0;
    static inline int sWrong = 0;                ///< uses of elements that are not where they were made
    static inline int sCopiesBeforeFailure = -1; ///< never fails when negative

private:
    static void countCopy() {
        if (sCopiesBeforeFailure == 0) {
            sCopiesBeforeFailure = -1;
            throw CopyFailure();
        }
        sCopiesBeforeFailure -= sCopiesBeforeFailure > 0;
    }

    int mValue;
    Element* mSelf;
};

/// The element that stands for a number. Texts are long enough to have storage of their own.
template <class T>
T makeElement(int number) {
    if constexpr (std::is_same_v<T, Common::String>)
        return Common::String(("an element with the number " + std::to_string(number)).c_str());
    else
        return T(number);
}

/// Numbers for random operations; the same at every run.
class Dice {
public:
    explicit Dice(unsigned int seed) : mGenerator(seed) {}
    /// 0 to `count` - 1; 0 for 0.
    Common::uint32 roll(std::size_t count) {
        return count == 0 ? 0 : static_cast<Common::uint32>(mGenerator() % count);
    }

private:
    std::mt19937 mGenerator;
};

} // namespace Tarq::Test
