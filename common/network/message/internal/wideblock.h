#pragma once

#include "common/platform/endian.h"
#include "common/serialize/internal/wideunits.h"

/// Wide text in messages.
namespace Tarq::Common::Network::Message {

/// Appends 16-bit units, big-endian. Where characters are wider, a pair of surrogates is one; what is made of a pair is
/// no surrogate, so that the pair may come in two calls.
inline void appendUnits(WString& text, const unsigned char* bytes, uint64 count) {
    namespace WideUnits = Serialize::WideUnits;
    constexpr uint32 cSurrogates = WideUnits::cLowSurrogate - WideUnits::cHighSurrogate; // of each kind
    for (; count != 0; --count, bytes += sizeof(uint16)) {
        const uint32 unit = Platform::loadBigEndian<uint16>(bytes);
        const uint32 low = unit - WideUnits::cLowSurrogate;
        const uint32 high = text.empty() ? cSurrogates : static_cast<uint32>(text.back()) - WideUnits::cHighSurrogate;
        if (sizeof(wchar_t) > sizeof(uint16) && low < cSurrogates && high < cSurrogates)
            text.back() = static_cast<wchar_t>(WideUnits::cFirstBeyond + (high << 10) + low);
        else
            text.push_back(static_cast<wchar_t>(unit));
    }
}

} // namespace Tarq::Common::Network::Message
