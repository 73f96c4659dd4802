#pragma once

#include "common/io/stream.h"

#include <algorithm>

namespace Tarq::Common::IO {

/// From the stream's position to its end, as it tells both.
inline uint64 bytesLeft(const Stream& stream) {
    const uint64 length = stream.getLength();
    return length - std::min(length, stream.getPosition());
}

} // namespace Tarq::Common::IO
