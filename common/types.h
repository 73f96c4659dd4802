#pragma once

#include <cstddef>
#include <cstdint>

/// The fixed-width integer names that every signature of the library uses.
///
/// Wire and file formats are written in these; `std::size_t` appears only where the language hands one out, and is
/// narrowed only after a check.
namespace Tarq::Common {

using int8 = std::int8_t;
using int16 = std::int16_t;
using int32 = std::int32_t;
using int64 = std::int64_t;
using uint8 = std::uint8_t;
using uint16 = std::uint16_t;
using uint32 = std::uint32_t;
using uint64 = std::uint64_t;

} // namespace Tarq::Common
