#pragma once

#include "common/string.h"
#include "common/types.h"

#include <concepts>
#include <cstddef>
#include <string_view>
#include <type_traits>

namespace Tarq::Common {

/// Reads numbers off a text with the rules of the C library in its "C" locale: the longest number that begins behind
/// any white space. An "e" or "p" that no exponent follows, and the "0x" of a whole number without digits, are behind
/// the scanner as well, which cannot go back.
class NumberScanner {
public:
    /// What a whole number may look like: decimal only, or octal and hexadecimal by their prefix as well.
    enum Notation { NOTATION_DECIMAL, NOTATION_ANY };

    explicit NumberScanner(std::string_view text) noexcept : mAt(text.data()), mEnd(mAt + text.size()) {}

    /// Each returns false, and leaves the value as it is, where there is no number.
    ///
    /// A number that 64 bits cannot hold becomes the nearest one that they can.
    bool readSigned(int64& value, Notation notation) noexcept;
    /// The same; a negative number wraps.
    bool readUnsigned(uint64& value, Notation notation) noexcept;
    /// A number beyond the range becomes infinite; one too close to 0 becomes 0.
    bool readFloating(float& value) noexcept;
    bool readFloating(double& value) noexcept;
    /// A number of any kind. Of a whole one, the lowest bits of what 64 bits hold count.
    template <class Number>
    bool read(Number& value, [[maybe_unused]] Notation notation) noexcept {
        if constexpr (std::floating_point<Number>) {
            return readFloating(value);
        } else {
            std::conditional_t<std::is_signed_v<Number>, int64, uint64> widest = 0;
            bool isFound = false;
            if constexpr (std::is_signed_v<Number>)
                isFound = readSigned(widest, notation);
            else
                isFound = readUnsigned(widest, notation);
            if (isFound)
                value = static_cast<Number>(widest);
            return isFound;
        }
    }

    /// Goes past the character if it is next.
    bool skip(char c) noexcept {
        if (mAt == mEnd || *mAt != c)
            return false;
        ++mAt;
        return true;
    }

private:
    using Traits = CharacterTraits<char>;

    struct Magnitude {
        uint64 value;
        bool isNegative;
        bool isSaturated; ///< too large, whatever its sign

        void saturate() noexcept {
            value = static_cast<uint64>(-1);
            isSaturated = true;
        }
    };

    bool readMagnitude(Magnitude& magnitude, Notation notation) noexcept;
    template <class Float>
    bool readNumber(Float& value) noexcept;
    template <class Float>
    bool readDecimal(Float& value) noexcept;
    template <class Float>
    bool readHexadecimal(Float& value) noexcept;
    template <class Float>
    bool readWord(Float& value) noexcept;
    /// Goes past white space and a sign. True for a minus.
    bool readSign() noexcept;

    /// The character that many places ahead; NUL behind the end.
    char peek(std::ptrdiff_t distance) const noexcept { return mEnd - mAt > distance ? mAt[distance] : '\0'; }
    bool isHexadecimalPrefix() const noexcept { return peek(0) == '0' && Traits::toLower(peek(1)) == 'x'; }
    bool isWord(std::string_view lowerCase) const noexcept;

    const char* mAt;
    const char* mEnd;
};

} // namespace Tarq::Common
