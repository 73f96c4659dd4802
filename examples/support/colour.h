#pragma once

#include "common/memory/allocate.h"
#include "common/reflection/datatype/datatype.h"
#include "common/serialize/serializestorage.h"

#include <charconv>
#include <cstddef>
#include <new>
#include <string_view>

/// A type of the host's own: with its operators, a text form and a stored form it is as good as a built-in one.
struct Colour {
    Tarq::Common::uint8 red = 0;
    Tarq::Common::uint8 green = 0;
    Tarq::Common::uint8 blue = 0;

    friend bool operator==(const Colour&, const Colour&) = default;
};

/// "#rrggbb", in hexadecimal digits; null for any other text. Throws `OutOfMemoryException`.
inline Colour* parseColour(const Tarq::Common::String& text, const Tarq::Common::Memory::AllocatorPtr& allocator) {
    const std::string_view digits = text.view();
    if (digits.size() != 7 || digits[0] != '#')
        return nullptr;
    Colour colour;
    for (std::size_t place = 1; auto* const part : {&colour.red, &colour.green, &colour.blue}) {
        const char* const end = digits.data() + place + 2;
        if (std::from_chars(digits.data() + place, end, *part, 16).ptr != end)
            return nullptr;
        place += 2;
    }
    return new (Tarq::Common::Memory::allocateBytes(allocator, sizeof(Colour))) Colour(colour);
}

/// As built-in types do it: one named item after the other, read in the order in which they were written.
template <>
class Tarq::Common::Reflection::Datatype::DatatypeSerializer<Colour> {
public:
    static void readValue(Serialize::SerializeStorage* storage, Colour& value) {
        const char* name;
        storage->readUInt08(name, value.red);
        storage->readUInt08(name, value.green);
        storage->readUInt08(name, value.blue);
    }
    static void writeValue(Serialize::SerializeStorage* storage, const Colour& value) {
        storage->writeUInt08("red", value.red);
        storage->writeUInt08("green", value.green);
        storage->writeUInt08("blue", value.blue);
    }
};
