#pragma once

#include "common/string.h"

#include <doctest/doctest.h>

/// doctest, and how it shows the library's texts.
template <class Char>
struct doctest::StringMaker<Tarq::Common::BasicString<Char>> {
    static doctest::String convert(const Tarq::Common::BasicString<Char>& text) {
        std::string shown = "\"";
        for (const Char c : text)
            shown += static_cast<char>(c);
        return (shown + '"').c_str();
    }
};

/// A C string is shown as its characters: names of cases, texts and files of assertions.
template <>
struct doctest::StringMaker<const char*> {
    static doctest::String convert(const char* text) { return text ? text : "null"; }
};
