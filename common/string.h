#pragma once

#include "common/container/vector.h"
#include "common/library.h"

#include <charconv>
#include <compare>
#include <concepts>
#include <functional>
#include <string>
#include <string_view>

namespace Tarq::Common {

/// How characters compare and fold: a `char` is an unsigned byte, and only the letters of ASCII have two cases. Nothing
/// depends on the process locale.
template <class Char>
struct CharacterTraits : std::char_traits<Char> {
    static constexpr Char toLower(Char c) noexcept {
        return c >= Char('A') && c <= Char('Z') ? static_cast<Char>(c + ('a' - 'A')) : c;
    }
    static constexpr Char toUpper(Char c) noexcept {
        return c >= Char('a') && c <= Char('z') ? static_cast<Char>(c - ('a' - 'A')) : c;
    }
    static constexpr bool isSpace(Char c) noexcept { return c == Char(' ') || (c >= Char('\t') && c <= Char('\r')); }
    static constexpr bool isDigit(Char c) noexcept { return c >= Char('0') && c <= Char('9'); }
};

/// The library's text: characters and a final NUL in one `Container::Vector`, with the meanings of the standard string.
///
/// Storage comes from the string allocator, unless a constructor is given another. A copy shares nothing with its
/// source and always takes its storage from the string allocator. The empty string holds just the NUL, takes no
/// storage, and may be made before the library is up; what is made while it is down lives on the global heap.
///
/// A null C string is the empty string. Growth beyond `max_size` throws `std::length_error`; a position beyond the end
/// throws `std::out_of_range`; exhaustion throws `Memory::OutOfMemoryException`. Arguments may be part of the string.
template <class Char>
class BasicString {
    using Chars = Container::Vector<Char>;

public:
    using Traits = CharacterTraits<Char>;
    using View = std::basic_string_view<Char>;
    using value_type = Char;
    using size_type = uint32;
    using iterator = Char*;
    using const_iterator = const Char*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    /// Text as an argument: a string, a view, or a C string, where null is the empty text.
    class Text : public View {
    public:
        using View::View;
        constexpr Text(const Char* text) noexcept : View(text ? View(text) : View()) {}
        constexpr Text(View text) noexcept : View(text) {}
        constexpr Text(const BasicString& text) noexcept : View(text.view()) {}
        template <class Allocator>
        constexpr Text(const std::basic_string<Char, std::char_traits<Char>, Allocator>& text) noexcept : View(text) {}
    };

    /// What the finding functions return for "nowhere", and the count that means "to the end".
    static constexpr size_type npos = 0xFFFFFFFF;

    BasicString() noexcept : mChars(cNoText) {}
    BasicString(const Char* text) : mChars(makeChars(Text(text))) {}
    BasicString(const Char* text, size_type length) : mChars(makeChars(View(text, length))) {}
    explicit BasicString(View text) : mChars(makeChars(text)) {}
    BasicString(View text, const Memory::AllocatorPtr& allocator) : mChars(makeChars(text, allocator)) {}
    BasicString(size_type count, Char c) : BasicString() { append(count, c); }
    template <std::input_iterator Iterator>
    BasicString(Iterator first, Iterator last) : BasicString() {
        if constexpr (std::contiguous_iterator<Iterator> && std::is_same_v<std::iter_value_t<Iterator>, Char>) {
            assign(View(first, last));
        } else {
            for (; first != last; ++first)
                push_back(*first);
        }
    }
    BasicString(const BasicString& other) : mChars(makeChars(other.view())) {}
    BasicString(BasicString&& other) noexcept : BasicString() { swap(other); }
    ~BasicString() {
        if (hasStorage())
            releaseChars();
    }

    BasicString& operator=(const BasicString& other) { return assign(other); }
    BasicString& operator=(BasicString&& other) noexcept {
        swap(other);
        return *this;
    }
    BasicString& operator=(Text text) { return assign(text); }
    BasicString& operator=(const Char* text) { return assign(text); }

    const Char* c_str() const noexcept { return mChars.data(); }
    const Char* data() const noexcept { return mChars.data(); }
    /// The characters, and behind them the NUL, which is not to be changed, however it is reached: by `operator[]` and
    /// `end` too.
    Char* data() noexcept { return mChars.data(); }
    /// The number of characters, the final NUL not counted.
    size_type length() const noexcept { return mChars.size() - 1; }
    size_type size() const noexcept { return length(); }
    bool empty() const noexcept { return mChars.size() == 1; }
    size_type capacity() const noexcept { return hasStorage() ? mChars.capacity() - 1 : 0; }
    static constexpr size_type max_size() noexcept { return Chars::max_size() - 1; }
    View view() const noexcept { return View(c_str(), length()); }
    operator View() const noexcept { return view(); }

    iterator begin() noexcept { return mChars.begin(); }
    iterator end() noexcept { return mChars.end() - 1; }
    const_iterator begin() const noexcept { return mChars.begin(); }
    const_iterator end() const noexcept { return mChars.end() - 1; }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    /// The position right behind the last character reads as the NUL, which is not to be changed.
    Char& operator[](size_type index) noexcept { return mChars[index]; }
    const Char& operator[](size_type index) const noexcept { return mChars[index]; }
    Char& at(size_type index) { return mChars[index < length() ? index : throwOutOfRange()]; }
    const Char& at(size_type index) const { return mChars[index < length() ? index : throwOutOfRange()]; }
    Char& front() noexcept { return mChars.front(); }
    const Char& front() const noexcept { return mChars.front(); }
    Char& back() noexcept { return mChars[length() - 1]; }
    const Char& back() const noexcept { return mChars[length() - 1]; }

    void reserve(size_type count) {
        if (count <= capacity())
            return;
        reallocate(checkedLength(count) + 1);
    }
    void resize(size_type count, Char c = Char()) {
        if (count > length())
            append(count - length(), c);
        else if (count < length())
            setEnd(begin() + count);
    }
    /// Keeps the storage.
    void clear() noexcept {
        if (hasStorage())
            setEnd(begin());
    }
    void swap(BasicString& other) noexcept { mChars.swap(other.mChars); }

    BasicString& assign(Text text);
    BasicString& assign(const Char* text, size_type length) { return assign(View(text, length)); }
    BasicString& append(Text text) {
        if (!hasRoomFor(text.size())) [[unlikely]]
            return appendGrown(text);
        Char* const oldEnd = end();
        Traits::move(oldEnd, text.data(), text.size());
        setEnd(oldEnd + text.size());
        return *this;
    }
    BasicString& append(const Char* text, size_type length) { return append(View(text, length)); }
    BasicString& append(size_type count, Char c);
    void push_back(Char c) {
        if (!hasRoomFor(1)) [[unlikely]]
            grow(1);
        *end() = c;
        setEnd(end() + 1);
    }
    void pop_back() noexcept { setEnd(end() - 1); }
    BasicString& operator+=(Text text) { return append(text); }
    BasicString& operator+=(Char c) {
        push_back(c);
        return *this;
    }
    /// Appends the number as decimal digits, with a minus sign where it is negative.
    template <std::integral Number>
    BasicString& appendDecimal(Number number);

    BasicString& insert(size_type position, Text text) { return replace(position, 0, text); }
    BasicString& insert(size_type position, size_type count, Char c) {
        checkedPosition(position);
        append(count, c);
        std::rotate(begin() + position, end() - count, end());
        return *this;
    }
    /// Works in place: throws nothing but `std::out_of_range`, for a position beyond the end.
    BasicString& erase(size_type position = 0, size_type count = npos) { return replace(position, count, View()); }
    /// Puts `text` in the place of up to `count` characters.
    BasicString& replace(size_type position, size_type count, Text text);

    BasicString substr(size_type position, size_type count = npos) const {
        return BasicString(view().substr(checkedPosition(position), count == npos ? View::npos : count));
    }

    size_type find(Text text, size_type from = 0) const noexcept { return narrow(view().find(text, from)); }
    size_type find(Char c, size_type from = 0) const noexcept { return narrow(view().find(c, from)); }
    size_type rfind(Text text, size_type from = npos) const noexcept { return narrow(view().rfind(text, widen(from))); }
    size_type rfind(Char c, size_type from = npos) const noexcept { return narrow(view().rfind(c, widen(from))); }
    size_type find_first_of(Text set, size_type from = 0) const noexcept {
        return narrow(view().find_first_of(set, from));
    }
    size_type find_last_of(Text set, size_type from = npos) const noexcept {
        return narrow(view().find_last_of(set, widen(from)));
    }
    size_type find_first_not_of(Text set, size_type from = 0) const noexcept {
        return narrow(view().find_first_not_of(set, from));
    }
    size_type find_last_not_of(Text set, size_type from = npos) const noexcept {
        return narrow(view().find_last_not_of(set, widen(from)));
    }
    bool starts_with(Text text) const noexcept { return view().starts_with(text); }
    bool starts_with(Char c) const noexcept { return view().starts_with(c); }
    bool ends_with(Text text) const noexcept { return view().ends_with(text); }
    bool ends_with(Char c) const noexcept { return view().ends_with(c); }
    bool contains(Text text) const noexcept { return find(text) != npos; }
    bool contains(Char c) const noexcept { return find(c) != npos; }
    int compare(Text other) const noexcept { return view().compare(other); }

    /// The same text with the letters of ASCII in one case.
    BasicString toLower() const;
    BasicString toUpper() const;

    friend bool operator==(const BasicString& a, const BasicString& b) noexcept { return a.view() == b.view(); }
    friend bool operator==(const BasicString& a, const Char* b) noexcept { return a.view() == Text(b); }
    friend bool operator==(const BasicString& a, View b) noexcept { return a.view() == b; }
    friend std::strong_ordering operator<=>(const BasicString& a, const BasicString& b) noexcept {
        return a.compare(b.view()) <=> 0;
    }
    friend std::strong_ordering operator<=>(const BasicString& a, const Char* b) noexcept {
        return a.compare(Text(b)) <=> 0;
    }
    friend std::strong_ordering operator<=>(const BasicString& a, View b) noexcept { return a.compare(b) <=> 0; }

    friend BasicString operator+(const BasicString& a, const BasicString& b) { return concatenate(a.view(), b.view()); }
    friend BasicString operator+(const BasicString& a, const Char* b) { return concatenate(a.view(), Text(b)); }
    friend BasicString operator+(const BasicString& a, View b) { return concatenate(a.view(), b); }
    friend BasicString operator+(const Char* a, const BasicString& b) { return concatenate(Text(a), b.view()); }
    friend BasicString operator+(View a, const BasicString& b) { return concatenate(a, b.view()); }
    friend BasicString operator+(BasicString&& a, const BasicString& b) { return std::move(a.append(b.view())); }
    friend BasicString operator+(BasicString&& a, const Char* b) { return std::move(a.append(Text(b))); }
    friend BasicString operator+(BasicString&& a, View b) { return std::move(a.append(b)); }
    friend BasicString operator+(const BasicString& a, Char b) { return concatenate(a.view(), View(&b, 1)); }
    friend BasicString operator+(Char a, const BasicString& b) { return concatenate(View(&a, 1), b.view()); }
    friend BasicString operator+(BasicString&& a, Char b) { return std::move(a.append(1, b)); }

private:
    static constexpr Char cNul = Char();
    static constexpr typename Chars::Fixed cNoText{&cNul, 1};
    /// Growth by appending makes room for more than is needed: for this much at least, or for twice as much as before.
    static constexpr uint64 cSmallestGrowth = 64;

    static size_type narrow(std::size_t position) noexcept {
        return position == View::npos ? npos : static_cast<size_type>(position);
    }
    static std::size_t widen(size_type position) noexcept { return position == npos ? View::npos : position; }
    static size_type checkedLength(uint64 length) {
        if (length > max_size())
            throw std::length_error("vector<T> too long");
        return static_cast<size_type>(length);
    }
    size_type checkedPosition(size_type position) const { return position <= length() ? position : throwOutOfRange(); }
    [[noreturn]] static size_type throwOutOfRange() { throw std::out_of_range("string position out of range"); }
    static BasicString concatenate(View a, View b);

    /// The contents of a new string, in exactly as much storage as they need.
    static Chars makeChars(View text);
    static Chars makeChars(View text, const Memory::AllocatorPtr& allocator);
    void releaseChars() noexcept;

    /// Without it, the characters are the fixed NUL, which is never written to.
    bool hasStorage() const noexcept { return mChars.mBegin != mChars.mCapacityEnd; }
    /// Where storage comes from: a string that takes its first chooses then, unless a constructor was told.
    const Memory::AllocatorPtr& storageAllocator() const noexcept {
        return hasStorage() || mChars.getAllocator() ? mChars.getAllocator() : Library::getStringAlloc();
    }
    void reallocate(size_type newCapacity);
    bool hasRoomFor(uint64 count) const noexcept {
        return static_cast<int64>(count) <= int64{mChars.mCapacityEnd - mChars.mEnd};
    }
    BasicString& appendGrown(View text);
    /// The capacity, NUL included, to which a string grows that is to have that many characters.
    size_type grownCapacity(uint64 newLength) const;
    void grow(uint64 count) { reallocate(grownCapacity(length() + count)); }
    /// Ends the text at `newEnd`, which takes storage.
    void setEnd(Char* newEnd) noexcept {
        *newEnd = Char();
        mChars.mEnd = newEnd + 1;
    }
    bool isInside(View text) const noexcept {
        return !std::less<const Char*>()(text.data(), mChars.begin()) &&
               std::less<const Char*>()(text.data(), mChars.end());
    }

    Chars mChars; ///< the characters and one NUL
};

template <class Char>
inline auto BasicString<Char>::makeChars(View text, const Memory::AllocatorPtr& allocator) -> Chars {
    if (text.empty())
        return Chars(cNoText, allocator);
    const size_type length = checkedLength(text.size());
    Char* const storage = Container::takeStorage<Char>(allocator, length + 1);
    Traits::copy(storage, text.data(), length);
    storage[length] = Char();
    return Chars(typename Chars::Filled{storage, length + 1}, allocator);
}

template <class Char>
auto BasicString<Char>::makeChars(View text) -> Chars {
    return text.empty() ? Chars(cNoText) : makeChars(text, Library::getStringAlloc());
}

template <class Char>
void BasicString<Char>::releaseChars() noexcept {
    Memory::releaseBytes(mChars.mAllocator, mChars.mBegin);
    mChars.mAllocator.reset();
    mChars.mCapacityEnd = mChars.mBegin;
}

template <class Char>
BasicString<Char>& BasicString<Char>::assign(Text text) {
    if (text.size() > capacity()) {
        // The new text may be part of the old one, which stays until the copy is made.
        makeChars(text, storageAllocator()).swap(mChars);
    } else if (hasStorage()) {
        Traits::move(begin(), text.data(), text.size());
        setEnd(begin() + text.size());
    }
    return *this;
}

template <class Char>
BasicString<Char>& BasicString<Char>::appendGrown(View text) {
    if (text.empty())
        return *this;
    const std::ptrdiff_t offset = isInside(text) ? text.data() - mChars.data() : -1;
    grow(text.size());
    return append(offset >= 0 ? View(mChars.data() + offset, text.size()) : text);
}

template <class Char>
BasicString<Char>& BasicString<Char>::append(size_type count, Char c) {
    if (count == 0)
        return *this;
    if (!hasRoomFor(count))
        grow(count);
    Char* const oldEnd = end();
    Traits::assign(oldEnd, count, c);
    setEnd(oldEnd + count);
    return *this;
}

template <class Char>
typename BasicString<Char>::size_type BasicString<Char>::grownCapacity(uint64 newLength) const {
    const uint64 needed = uint64{checkedLength(newLength)} + 1;
    const uint64 doubled = std::min<uint64>(2 * uint64{mChars.capacity()}, Chars::max_size());
    return static_cast<size_type>(std::max({needed, doubled, cSmallestGrowth}));
}

template <class Char>
void BasicString<Char>::reallocate(size_type newCapacity) {
    const Memory::AllocatorPtr& allocator = storageAllocator();
    Char* const storage = Container::takeStorage<Char>(allocator, newCapacity);
    const size_type count = mChars.size();
    Traits::copy(storage, mChars.begin(), count);
    if (hasStorage())
        Memory::releaseBytes(allocator, mChars.begin());
    else
        mChars.mAllocator = allocator;
    mChars.mBegin = storage;
    mChars.mEnd = storage + count;
    mChars.mCapacityEnd = storage + newCapacity;
}

template <class Char>
template <std::integral Number>
BasicString<Char>& BasicString<Char>::appendDecimal(Number number) {
    char digits[std::numeric_limits<Number>::digits10 + 3];
    const char* const end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    Char text[sizeof(digits)];
    std::copy(static_cast<const char*>(digits), end, text);
    return append(View(text, static_cast<std::size_t>(end - digits)));
}

template <class Char>
BasicString<Char>& BasicString<Char>::replace(size_type position, size_type count, Text text) {
    count = std::min(count, length() - checkedPosition(position));
    if (count == 0 && text.empty())
        return *this;
    const View tail = view().substr(position + count);
    const uint64 newLength = uint64{position} + text.size() + tail.size();
    if (newLength <= capacity() && !isInside(text)) {
        Char* const place = begin() + position;
        Traits::move(place + text.size(), tail.data(), tail.size());
        Traits::copy(place, text.data(), text.size());
        setEnd(begin() + newLength);
    } else {
        BasicString result(View(), mChars.getAllocator());
        result.reallocate(grownCapacity(newLength));
        result.append(view().substr(0, position)).append(text).append(tail);
        swap(result);
    }
    return *this;
}

template <class Char>
BasicString<Char> BasicString<Char>::concatenate(View a, View b) {
    BasicString result;
    result.reserve(checkedLength(uint64{a.size()} + b.size()));
    result.append(a).append(b);
    return result;
}

template <class Char>
BasicString<Char> BasicString<Char>::toLower() const {
    BasicString result(*this);
    std::transform(result.begin(), result.end(), result.begin(), Traits::toLower);
    return result;
}

template <class Char>
BasicString<Char> BasicString<Char>::toUpper() const {
    BasicString result(*this);
    std::transform(result.begin(), result.end(), result.begin(), Traits::toUpper);
    return result;
}

extern template class TARQ_API BasicString<char>;
extern template class TARQ_API BasicString<wchar_t>;

using String = BasicString<char>;
using WString = BasicString<wchar_t>;

} // namespace Tarq::Common

template <class Char>
struct std::hash<Tarq::Common::BasicString<Char>> {
    std::size_t operator()(const Tarq::Common::BasicString<Char>& text) const noexcept {
        return std::hash<std::basic_string_view<Char>>()(text.view());
    }
};
