#include "common/reflection/datatype/stringconversionfunctions.h"

#include "common/debug/assert.h"
#include "common/memory/allocate.h"
#include "common/memory/memoryexception.h"
#include "common/utility/internal/numberscanner.h"
#include "common/utility/internal/plainnumber.h"

#include <algorithm>
#include <concepts>
#include <cwchar>
#include <new>
#include <stdexcept>
#include <utility>

namespace Tarq::Common::Reflection::Datatype {

namespace {

using View = std::string_view;
using Memory::AllocatorPtr;

/// One text form of vectors. A NUL stands for nothing.
struct VectorForm {
    char opening;
    char separator;
};
constexpr VectorForm cVectorForms[] = {{'\0', '\0'}, {'(', ','}, {'(', '/'}};

/// Only numbers with a sign may be octal or hexadecimal.
template <class C>
constexpr NumberScanner::Notation cNotation =
    std::is_signed_v<C> ? NumberScanner::NOTATION_ANY : NumberScanner::NOTATION_DECIMAL;

template <class Vec>
constexpr uint32 cComponents = sizeof(Vec) / sizeof(Vec::mX);

/// Returns how many components were read; stops at the first that cannot be.
template <class Vec>
uint32 scanVector(View text, const VectorForm& form, Vec& vector) noexcept {
    NumberScanner scanner(text);
    if (form.opening != '\0' && !scanner.skip(form.opening))
        return 0;
    for (uint32 index = 0; index < cComponents<Vec>; ++index) {
        if (index != 0 && form.separator != '\0' && !scanner.skip(form.separator))
            return index;
        if (!scanner.read(vector[index], cNotation<decltype(Vec::mX)>))
            return index;
    }
    return cComponents<Vec>;
}

/// "(1/2)" begins as "(1,2)" does: of the forms that give components, the one that gives most counts, the first of
/// such.
template <class Vec>
Vec toVector(View text) noexcept {
    Vec best;
    uint32 mostRead = 0;
    for (const VectorForm& form : cVectorForms) {
        Vec vector;
        const uint32 read = scanVector(text, form, vector);
        if (read > mostRead) {
            mostRead = read;
            best = vector;
        }
        if (mostRead == cComponents<Vec>)
            break;
    }
    return best;
}

// For numbers that are not plain. Not inline: the scanner keeps in memory what plain numbers have in registers.

[[gnu::noinline]] int64 readNumber(View text, int64 number) noexcept {
    NumberScanner(text).readSigned(number, NumberScanner::NOTATION_DECIMAL);
    return number;
}

[[gnu::noinline]] double readNumber(View text, double number) noexcept {
    NumberScanner(text).readFloating(number);
    return number;
}

/// A float that a double is too large for becomes infinite.
template <class T>
T toNumber(View text) noexcept {
    std::conditional_t<std::floating_point<T>, double, int64> number = 0;
    if (!convertPlain(text, number)) [[unlikely]]
        number = readNumber(text, number);
    return static_cast<T>(number);
}

bool isTrue(View text) noexcept {
    constexpr View cTrue = "true";
    return text == "1" || std::equal(text.begin(), text.end(), cTrue.begin(), cTrue.end(),
                                     [](char a, char b) { return CharacterTraits<char>::toLower(a) == b; });
}

wchar_t widen(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    const std::wint_t wide = std::btowc(byte);
    return wide != WEOF ? static_cast<wchar_t>(wide) : static_cast<wchar_t>(byte);
}

template <class T>
void splitElements(View text, Container::Vector<T>& list) {
    while (!text.empty()) {
        const View element = text.substr(0, text.find(';'));
        if (!element.empty())
            list.push_back(TextForm<T>::convert(element, list.getAllocator()));
        text.remove_prefix(std::min(element.size() + 1, text.size()));
    }
}

void splitElements(View text, Container::Vector<String>& list) {
    static constexpr View cSeparator = "\";\"";
    // The first piece is to begin with a quote, and the last to end with one; of a single piece, those are two.
    const bool isBegun = text.starts_with('"') && !text.starts_with(cSeparator);
    if (isBegun) {
        text.remove_prefix(1);
        for (std::size_t end = text.find(cSeparator); end != View::npos; end = text.find(cSeparator)) {
            list.push_back(String(text.substr(0, end), list.getAllocator()));
            text.remove_prefix(end + cSeparator.size());
        }
    }
    // Tools see these texts; do not correct them.
    if (!TARQ_ASSERT_AS("tokens.size() >= 2 && tokens[0] == '\"' && lastToken[lastToken.getLength() - 1] == '\"'",
                        isBegun && text.ends_with('"'),
                        "first or last element in the last does not contain necessary \""))
        return list.clear();
    text.remove_suffix(1);
    list.push_back(String(text, list.getAllocator()));
}

template <class T>
Container::Vector<T> toList(View text, const AllocatorPtr& allocator) {
    Container::Vector<T> list(allocator);
    if (text.empty())
        return list;
    if (TARQ_ASSERT_AS("string[0] == '{' && string[string.getLength()-1] == '}'",
                       text.front() == '{' && text.back() == '}',
                       "default value of a vector has to have to form \"{a;b;c;d}\""))
        splitElements(text.substr(1, text.size() - 2), list);
    return list;
}

/// A new value on the allocator; null when that has no memory for it, or when it has more elements than any could hold.
template <class T>
T* makeValue(const AllocatorPtr& allocator, T (*convert)(View, const AllocatorPtr&), View text) {
    try {
        T value = convert(text, allocator);
        return ::new (Memory::allocateBytes(allocator, sizeof(T))) T(std::move(value));
    } catch (Memory::OutOfMemoryException* exception) {
        const Exceptions::Holder holder(exception);
    } catch (const std::length_error&) { // NOLINT(bugprone-empty-catch): nothing is left to be done
    }
    return nullptr;
}

} // namespace

template <class T>
T TextForm<T>::convert(View text, [[maybe_unused]] const AllocatorPtr& allocator) {
    if constexpr (std::is_same_v<T, bool>) {
        return isTrue(text);
    } else if constexpr (std::is_arithmetic_v<T>) {
        return toNumber<T>(text);
    } else if constexpr (std::is_same_v<T, String>) {
        return String(text, allocator);
    } else if constexpr (std::is_same_v<T, WString>) {
        if (text.size() > WString::max_size())
            throw std::length_error("the text is too long for a wide string");
        WString wide(WString::View(), allocator);
        wide.resize(static_cast<uint32>(text.size()));
        std::ranges::transform(text, wide.begin(), widen);
        return wide;
    } else {
        return toVector<T>(text);
    }
}

template <class T>
T* TextForm<T>::parse(const String& text, const AllocatorPtr& allocator) {
    return makeValue<T>(allocator, &TextForm::convert, text.view());
}

template <class T>
Container::Vector<T>* TextForm<T>::parseList(const String& text,
                                             const AllocatorPtr& allocator) requires HasListForm<T> {
    return makeValue<Container::Vector<T>>(allocator, &toList<T>, text.view());
}

template struct TextForm<bool>;
template struct TextForm<int8>;
template struct TextForm<int16>;
template struct TextForm<int32>;
template struct TextForm<int64>;
template struct TextForm<uint8>;
template struct TextForm<uint16>;
template struct TextForm<uint32>;
template struct TextForm<uint64>;
template struct TextForm<float>;
template struct TextForm<double>;
template struct TextForm<Math::Vec2<float>>;
template struct TextForm<Math::Vec2<double>>;
template struct TextForm<Math::Vec2<int32>>;
template struct TextForm<Math::Vec2<uint32>>;
template struct TextForm<Math::Vec3<float>>;
template struct TextForm<Math::Vec3<double>>;
template struct TextForm<Math::Vec3<int32>>;
template struct TextForm<Math::Vec3<uint32>>;
template struct TextForm<String>;
template struct TextForm<WString>;

} // namespace Tarq::Common::Reflection::Datatype
