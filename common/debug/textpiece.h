#pragma once

#include "common/types.h"

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string_view>
#include <type_traits>

namespace Tarq::Common::Debug {

/// One piece of a message that is put together only if somebody wants it: a text, or a number (whole numbers and
/// enumerators in decimal, others with six digits, as a string stream in the classic locale writes them).
///
/// Refers to its text; use it within one expression. A character or a truth value is not a piece: say what is meant.
class TextPiece {
public:
    TextPiece(std::string_view text) noexcept : mText(text) {}
    TextPiece(const char* text) noexcept : mText(text ? std::string_view(text) : std::string_view()) {}
    /// Any string class that tells its characters and their number.
    template <class Text>
        requires requires(const Text& text) {
            { text.c_str() } -> std::convertible_to<const char*>;
            { text.length() } -> std::convertible_to<std::size_t>;
        }
    TextPiece(const Text& text) noexcept : mText(text.c_str(), text.length()) {}
    template <class Number>
        requires(std::is_arithmetic_v<Number> && !std::same_as<Number, bool> && !std::same_as<Number, char>)
    TextPiece(Number number)
    noexcept : mText() {
        if constexpr (std::floating_point<Number>) {
            mKind = Kind::KIND_FLOATING;
            mFloating = static_cast<double>(number);
        } else if constexpr (std::signed_integral<Number>) {
            mKind = Kind::KIND_SIGNED;
            mSigned = number;
        } else {
            mKind = Kind::KIND_UNSIGNED;
            mUnsigned = number;
        }
    }

    template <class Enumerator>
        requires std::is_enum_v<Enumerator> TextPiece(Enumerator value)
    noexcept : TextPiece(toWhole(value)) {}

    /// `Text` is any string class that appends a string view.
    template <class Text>
    void appendTo(Text& text) const {
        char digits[32];
        switch (mKind) {
        case Kind::KIND_TEXT:
            text.append(mText);
            break;
        case Kind::KIND_SIGNED:
            text.append(viewOf(digits, std::to_chars(digits, digits + sizeof(digits), mSigned).ptr));
            break;
        case Kind::KIND_UNSIGNED:
            text.append(viewOf(digits, std::to_chars(digits, digits + sizeof(digits), mUnsigned).ptr));
            break;
        case Kind::KIND_FLOATING:
            text.append(viewOf(
                digits, std::to_chars(digits, digits + sizeof(digits), mFloating, std::chars_format::general, 6).ptr));
            break;
        }
    }

private:
    enum class Kind : uint8 { KIND_TEXT, KIND_SIGNED, KIND_UNSIGNED, KIND_FLOATING };

    template <class Enumerator>
    static auto toWhole(Enumerator value) noexcept {
        using Value = std::underlying_type_t<Enumerator>;
        return static_cast<std::conditional_t<std::signed_integral<Value>, int64, uint64>>(value);
    }
    static std::string_view viewOf(const char* begin, const char* end) noexcept {
        return {begin, static_cast<std::size_t>(end - begin)};
    }

    Kind mKind = Kind::KIND_TEXT;
    union {
        std::string_view mText;
        int64 mSigned;
        uint64 mUnsigned;
        double mFloating;
    };
};

} // namespace Tarq::Common::Debug
