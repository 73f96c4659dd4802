#include "common/utility/internal/numberscanner.h"

#include "common/utility/internal/plainnumber.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace Tarq::Common {

namespace {

/// What the first digits of a decimal number come to: `mantissa` times ten to the power of `exponent`.
struct Leading {
    static constexpr int cMaximumDigits = 19;

    uint64 mantissa = 0;
    int64 exponent = 0;
    int digits = 0; ///< of the mantissa
    bool hasDigits = false;

    /// The digits beyond the first 19 only count for the exponent.
    const char* take(const char* at, const char* end, int64 step) noexcept {
        for (; at != end && CharacterTraits<char>::isDigit(*at); ++at) {
            hasDigits = true;
            if (digits < cMaximumDigits) {
                mantissa = mantissa * 10 + static_cast<uint64>(*at - '0');
                digits += mantissa != 0 ? 1 : 0;
                exponent += step;
            } else {
                exponent += step + 1;
            }
        }
        return at;
    }
};

bool isSign(char c) noexcept {
    return c == '-' || c == '+';
}

bool isHexadecimalDigit(char c) noexcept {
    const char lower = CharacterTraits<char>::toLower(c);
    return CharacterTraits<char>::isDigit(c) || (lower >= 'a' && lower <= 'f');
}

/// Adds the exponent that a number may have behind this letter, a million at most. Returns the end of the number.
const char* takeExponent(const char* at, const char* end, char letter, int64& exponent) noexcept {
    static constexpr int64 cLimit = 1000000;
    if (at == end || CharacterTraits<char>::toLower(*at) != letter)
        return at;
    const bool isNegative = ++at != end && *at == '-';
    if (at != end && isSign(*at))
        ++at;
    int64 number = 0;
    for (; at != end && CharacterTraits<char>::isDigit(*at); ++at)
        number = std::min(number * 10 + (*at - '0'), cLimit);
    exponent += isNegative ? -number : number;
    return at;
}

} // namespace

bool NumberScanner::readSigned(int64& value, Notation notation) noexcept {
    Magnitude magnitude;
    if (!readMagnitude(magnitude, notation))
        return false;
    const uint64 limit = static_cast<uint64>(std::numeric_limits<int64>::max()) + (magnitude.isNegative ? 1 : 0);
    const uint64 nearest = std::min(magnitude.value, limit);
    value = static_cast<int64>(magnitude.isNegative ? 0 - nearest : nearest);
    return true;
}

bool NumberScanner::readUnsigned(uint64& value, Notation notation) noexcept {
    Magnitude magnitude;
    if (!readMagnitude(magnitude, notation))
        return false;
    const bool wraps = magnitude.isNegative && !magnitude.isSaturated;
    value = wraps ? 0 - magnitude.value : magnitude.value;
    return true;
}

bool NumberScanner::readFloating(float& value) noexcept {
    return readNumber(value);
}

bool NumberScanner::readFloating(double& value) noexcept {
    return readNumber(value);
}

bool NumberScanner::readMagnitude(Magnitude& magnitude, Notation notation) noexcept {
    static constexpr std::ptrdiff_t cSafeDigits = 19;
    magnitude.isNegative = readSign();
    magnitude.isSaturated = false;
    if (notation == NOTATION_ANY && peek(0) == '0') {
        int base = 8;
        if (isHexadecimalPrefix()) {
            base = 16;
            mAt += 2;
        }
        const auto [end, error] = std::from_chars(mAt, mEnd, magnitude.value, base);
        if (error == std::errc::result_out_of_range)
            magnitude.saturate();
        else if (error != std::errc())
            magnitude.value = 0;
        mAt = end;
        return true;
    }
    const char* at = mAt;
    const char* const safeEnd = mAt + std::min(mEnd - mAt, cSafeDigits);
    magnitude.value = 0;
    for (; at != safeEnd && Traits::isDigit(*at); ++at)
        magnitude.value = magnitude.value * 10 + static_cast<uint64>(*at - '0');
    if (at == mAt)
        return false;
    if (at == mAt + cSafeDigits) {
        const auto [end, error] = std::from_chars(mAt, mEnd, magnitude.value);
        if (error == std::errc::result_out_of_range)
            magnitude.saturate();
        at = end;
    }
    mAt = at;
    return true;
}

template <class Float>
bool NumberScanner::readNumber(Float& value) noexcept {
    const bool isNegative = readSign();
    Float number = 0;
    if (const char* const end = takePlain(mAt, mEnd, number))
        mAt = end;
    else if (!(isHexadecimalPrefix() ? readHexadecimal(number) : readDecimal(number) || readWord(number)))
        return false;
    value = isNegative ? -number : number;
    return true;
}

template <class Float>
bool NumberScanner::readDecimal(Float& value) noexcept {
    Leading leading;
    const char* at = leading.take(mAt, mEnd, 0);
    if (at != mEnd && *at == '.')
        at = leading.take(at + 1, mEnd, -1);
    if (!leading.hasDigits)
        return false;
    at = takeExponent(at, mEnd, 'e', leading.exponent);
    if (leading.mantissa == 0) {
        value = 0;
    } else if (!toNearest(leading.mantissa, leading.exponent, value) &&
               std::from_chars(mAt, at, value).ec == std::errc::result_out_of_range) {
        value = leading.exponent + leading.digits > 0 ? std::numeric_limits<Float>::infinity() : 0;
    }
    mAt = at;
    return true;
}

template <class Float>
bool NumberScanner::readHexadecimal(Float& value) noexcept {
    const bool hasPoint = peek(2) == '.';
    if (!isHexadecimalDigit(peek(hasPoint ? 3 : 2))) {
        mAt += hasPoint ? 3 : 0;
        return hasPoint;
    }
    const char* const digits = mAt + 2;
    const char* at = digits;
    bool isZero = true;
    bool isBehindPoint = false;
    int64 exponent = 0; // of two, by the place of the first digit that counts
    for (; at != mEnd && (isHexadecimalDigit(*at) || (*at == '.' && !isBehindPoint)); ++at) {
        if (*at == '.') {
            isBehindPoint = true;
            continue;
        }
        isZero = isZero && *at == '0';
        if (isZero == isBehindPoint)
            exponent += isBehindPoint ? -4 : 4;
    }
    mAt = takeExponent(at, mEnd, 'p', exponent);
    if (isZero)
        value = 0;
    else if (std::from_chars(digits, mAt, value, std::chars_format::hex).ec == std::errc::result_out_of_range)
        value = exponent > 0 ? std::numeric_limits<Float>::infinity() : 0;
    return true;
}

template <class Float>
bool NumberScanner::readWord(Float& value) noexcept {
    if (isWord("nan")) {
        value = std::numeric_limits<Float>::quiet_NaN();
        mAt += 3;
        return true;
    }
    if (!isWord("inf"))
        return false;
    value = std::numeric_limits<Float>::infinity();
    const bool isWhole = isWord("infinity");
    mAt += isWhole ? 8 : 3;
    return true;
}

bool NumberScanner::readSign() noexcept {
    while (mAt != mEnd && Traits::isSpace(*mAt))
        ++mAt;
    const bool isNegative = peek(0) == '-';
    if (isSign(peek(0)))
        ++mAt;
    return isNegative;
}

bool NumberScanner::isWord(std::string_view lowerCase) const noexcept {
    return static_cast<std::size_t>(mEnd - mAt) >= lowerCase.size() &&
           std::equal(lowerCase.begin(), lowerCase.end(), mAt, [](char a, char b) { return a == Traits::toLower(b); });
}

} // namespace Tarq::Common
