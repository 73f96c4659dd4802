#pragma once

#include "common/types.h"

#include <bit>
#include <cfloat>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string_view>
#include <type_traits>

/// The numbers that texts are full of: short, and without anything special. All of this is inline and gives up at once
/// at anything else, which is left to the `NumberScanner`.
namespace Tarq::Common {

/// Up to eight decimal digits in one word, the first in the lowest byte: checked and added up all together, in steps
/// that do not depend on how many they are. A loop over them would cost more in wrong guesses at its end than in work.
class DigitWord {
public:
    /// `count` characters, one to eight. The word is filled up with zeros in front.
    static DigitWord make(const char* at, std::size_t count) noexcept {
        if (count >= 4) // Two halves, which may overlap.
            return DigitWord(load<uint32>(at) | load<uint32>(at + count - 4) << (count - 4) * 8, count);
        return DigitWord(load<uint8>(at) | load<uint8>(at + count / 2) << count / 2 * 8 |
                             load<uint8>(at + count - 1) << (count - 1) * 8,
                         count);
    }
    /// The same where eight characters can be read.
    static DigitWord makeFromEight(const char* at, std::size_t count) noexcept {
        return DigitWord(load<uint64>(at), count);
    }

    /// Whether the characters are digits.
    bool isValid() const noexcept {
        // The addition sets the highest bit of what is above 9; only a byte that has it already can overflow.
        return ((mDigits | (mDigits + 0x7676767676767676)) & 0x8080808080808080) == 0;
    }
    uint64 getNumber() const noexcept {
        // Neighbours become one number: first of two digits, then of four, then of eight.
        const uint64 pairs = mDigits * (10 << 8 | 1) >> 8 & 0x00FF00FF00FF00FF;
        const uint64 fours = pairs * (100 << 16 | 1) >> 16 & 0x0000FFFF0000FFFF;
        return fours * (uint64{10000} << 32 | 1) >> 32;
    }

private:
    DigitWord(uint64 characters, std::size_t count) noexcept
        : mDigits((characters ^ 0x3030303030303030) << (8 - count) * 8) {}

    template <class Word>
    static uint64 load(const char* at) noexcept {
        Word word;
        std::memcpy(&word, at, sizeof(word));
        return word;
    }

    uint64 mDigits;
};

/// Makes a whole number of a text that is nothing but up to 16 decimal digits, perhaps behind a minus. False, and the
/// number stays as it is, for all others.
inline bool convertPlain(std::string_view text, int64& number) noexcept {
    // In a word, the lowest byte is the first one.
    if (std::endian::native != std::endian::little || text.empty())
        return false;
    const bool isNegative = text.front() == '-';
    const char* const first = text.data() + isNegative;
    const std::size_t count = text.size() - isNegative;
    if (count == 0 || count > 16)
        return false;
    uint64 magnitude = 0;
    if (count > 8) {
        const DigitWord upper = DigitWord::makeFromEight(first, count - 8);
        const DigitWord lower = DigitWord::makeFromEight(first + count - 8, 8);
        if (!upper.isValid() || !lower.isValid())
            return false;
        magnitude = upper.getNumber() * 100000000 + lower.getNumber();
    } else {
        const DigitWord word = DigitWord::make(first, count);
        if (!word.isValid())
            return false;
        magnitude = word.getNumber();
    }
    number = static_cast<int64>(isNegative ? 0 - magnitude : magnitude);
    return true;
}

inline constexpr double cPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                          1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

inline constexpr int64 cLargestExactPower = std::size(cPowersOfTen) - 1;
/// Not so on machines that calculate with more digits than they store.
inline constexpr bool cRoundsOnce = FLT_EVAL_METHOD == 0;

/// Sets the value to the one nearest to `mantissa` times ten to the power of `exponent`; false if that takes more.
///
/// Whole numbers up to 2^53 are doubles, and so are the first powers of ten: there is one operation to be rounded, and
/// machines round it to the nearest. This is the easy case of William D. Clinger, "How to Read Floating Point Numbers
/// Accurately", 1990. A float is rounded once more, which goes wrong only from a double that is halfway between two
/// floats when the number itself is not. All but 0 are in the range where floats have all their digits.
template <class Float>
bool toNearest(uint64 mantissa, int64 exponent, Float& value) noexcept {
    if (!cRoundsOnce || mantissa > uint64{1} << DBL_MANT_DIG || exponent < -cLargestExactPower ||
        exponent > cLargestExactPower)
        return false;
    // The conversion from a signed number is the one that machines have.
    const auto whole = static_cast<double>(static_cast<int64>(mantissa));
    const double number = exponent < 0 ? whole / cPowersOfTen[-exponent] : whole * cPowersOfTen[exponent];
    value = static_cast<Float>(number);
    if constexpr (std::is_same_v<Float, float>) {
        constexpr uint64 cHalf = uint64{1} << (DBL_MANT_DIG - FLT_MANT_DIG - 1);
        return (std::bit_cast<uint64>(number) & (cHalf * 2 - 1)) != cHalf;
    }
    return true;
}

/// Appends digits to the number, which wraps; returns the place behind them.
inline const char* takeDigits(const char* at, const char* end, uint64& number) noexcept {
    for (; at != end; ++at) {
        const auto digit = static_cast<unsigned char>(*at - '0');
        if (digit > 9)
            break;
        number = number * 10 + digit;
    }
    return at;
}

/// Reads up to 19 digits with a point among them, or none. Returns the place behind the number; null, if it takes more
/// than that to say what the number is, or if there is none.
template <class Float>
const char* takePlain(const char* at, const char* end, Float& value) noexcept {
    const char* const first = at;
    uint64 mantissa = 0;
    at = takeDigits(at, end, mantissa);
    std::ptrdiff_t digits = at - first;
    std::ptrdiff_t decimals = 0;
    if (at != end && *at == '.') {
        const char* const point = at;
        at = takeDigits(at + 1, end, mantissa);
        decimals = at - point - 1;
        digits += decimals;
    }
    // A letter may belong to the number.
    if (digits == 0 || digits > 19 || (at != end && *at > '9') || !toNearest(mantissa, -decimals, value))
        return nullptr;
    return at;
}

/// The same for a text that is nothing but such a number, perhaps behind a minus.
inline bool convertPlain(std::string_view text, double& number) noexcept {
    if (text.empty())
        return false;
    const char* const end = text.data() + text.size();
    const bool isNegative = text.front() == '-';
    double magnitude = 0;
    if (takePlain(text.data() + isNegative, end, magnitude) != end)
        return false;
    number = isNegative ? -magnitude : magnitude;
    return true;
}

} // namespace Tarq::Common
