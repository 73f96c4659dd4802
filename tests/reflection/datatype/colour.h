#pragma once

#include "common/reflection/datatype/datatype.h"

#include <cstdlib>

namespace Tarq::Test {

/// A type of the host's own, with every operator.
struct Colour {
    Common::int32 grey = 0;

    friend auto operator<=>(const Colour&, const Colour&) = default;
    friend Colour operator+(Colour a, Colour b) { return {a.grey + b.grey}; }
    friend Colour operator-(Colour a, Colour b) { return {a.grey - b.grey}; }
    friend Colour operator*(Colour a, Colour b) { return {a.grey * b.grey}; }
    friend Colour operator/(Colour a, Colour b) { return {a.grey / b.grey}; }
};

/// A parse function that adds `Offset`, for telling whose it is.
template <Common::int32 Offset>
Colour* parseColour(const Common::String& text, const Common::Memory::AllocatorPtr& allocator) {
    return ::new (Common::Memory::allocateBytes(allocator, sizeof(Colour))) Colour{std::atoi(text.c_str()) + Offset};
}

/// What `tests/modules/datatypes.cpp` shows to the host.
struct DatatypesModule {
    using DatatypeBase = Common::Reflection::Datatype::DatatypeBase;
    using DatatypeManagerPtr = Common::Reflection::Datatype::DatatypeManagerPtr;

    /// How many of the built-in types and `Colour` are known there.
    Common::uint32 (*countKnown)();
    const DatatypeBase* (*registerColour)(const DatatypeManagerPtr& manager, bool isParsed);
    /// Its own version of a type that the host has as well.
    const DatatypeBase* (*registerVersioned)(const DatatypeManagerPtr& manager, const char* name);
};

} // namespace Tarq::Test
