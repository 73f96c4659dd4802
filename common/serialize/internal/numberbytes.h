#pragma once

#include "common/types.h"

#include <algorithm>
#include <concepts>
#include <cstring>

/// Numbers as bytes of either order. Bytes are swapped, never values: a floating-point number whose bits are in the
/// wrong order may not survive being handed around.
namespace Tarq::Common::Serialize {

/// For a bool, every byte but 0 is true.
template <class T>
void loadNumber(T& value, const unsigned char* bytes, bool isSwapped) noexcept {
    if constexpr (std::same_as<T, bool>)
        value = *bytes != 0;
    else if (isSwapped && sizeof(T) > 1) [[unlikely]]
        std::reverse_copy(bytes, bytes + sizeof(T), reinterpret_cast<unsigned char*>(&value));
    else
        std::memcpy(&value, bytes, sizeof(T));
}

/// Returns where the next bytes go.
template <class T>
unsigned char* storeNumber(unsigned char* bytes, T value, bool isSwapped) noexcept {
    std::memcpy(bytes, &value, sizeof(T));
    if (isSwapped && sizeof(T) > 1) [[unlikely]]
        std::reverse(bytes, bytes + sizeof(T));
    return bytes + sizeof(T);
}

} // namespace Tarq::Common::Serialize
