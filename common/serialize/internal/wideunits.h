#pragma once

#include "common/string.h"
#include "common/types.h"

#include <type_traits>

/// Wide text as stored data holds it: in 16-bit units, whatever the machine's `wchar_t` has.
///
/// Where that has 32 bits, a character beyond 0xFFFF is a pair of surrogates. Lone surrogates are kept as they are, in
/// both directions; what is no character at all becomes the replacement character.
namespace Tarq::Common::Serialize {

namespace WideUnits {

inline constexpr uint32 cFirstBeyond = 0x10000;
inline constexpr uint32 cLastCharacter = 0x10FFFF;
inline constexpr uint32 cHighSurrogate = 0xD800;
inline constexpr uint32 cLowSurrogate = 0xDC00;
inline constexpr uint32 cSurrogateMask = 0xFC00;
inline constexpr uint16 cReplacement = 0xFFFD;

/// Calls `use` with each unit.
template <class Use>
void forEach(const WString& text, Use use) {
    for (const wchar_t c : text) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): a wide character is meant, of either size and sign
        const uint32 character = static_cast<std::make_unsigned_t<wchar_t>>(c);
        if (sizeof(wchar_t) == sizeof(uint16) || character < cFirstBeyond) {
            use(static_cast<uint16>(character));
        } else if (character > cLastCharacter) {
            use(cReplacement);
        } else {
            const uint32 beyond = character - cFirstBeyond;
            use(static_cast<uint16>(cHighSurrogate + (beyond >> 10)));
            use(static_cast<uint16>(cLowSurrogate + (beyond & 0x3FF)));
        }
    }
}

inline uint64 count(const WString& text) {
    uint64 units = 0;
    forEach(text, [&units](uint16) { ++units; });
    return units;
}

/// Replaces `text`, or throws and leaves it.
inline void assign(WString& text, const uint16* units, uint32 count) {
    text.reserve(count);
    text.clear();
    for (uint32 at = 0; at < count; ++at) {
        uint32 character = units[at];
        if (sizeof(wchar_t) > sizeof(uint16) && (character & cSurrogateMask) == cHighSurrogate && at + 1 < count &&
            (units[at + 1] & cSurrogateMask) == cLowSurrogate) {
            ++at;
            character = cFirstBeyond + ((character - cHighSurrogate) << 10) + (units[at] - cLowSurrogate);
        }
        text.push_back(static_cast<wchar_t>(character));
    }
}

} // namespace WideUnits

} // namespace Tarq::Common::Serialize
