#pragma once

#include "common/memory/memorystream.h"
#include "fuzz/require.h"

#include <cstddef>
#include <string>

namespace Tarq::Fuzz {

/// All that is in the stream.
inline std::string bytesOf(Common::Memory::MemoryStream& stream) {
    stream.seek(0, Common::IO::Stream::SORIGIN_BEGIN);
    std::string bytes(static_cast<std::size_t>(stream.getLength()), '\0');
    require(stream.read(bytes.data(), bytes.size()) == bytes.size());
    return bytes;
}

} // namespace Tarq::Fuzz
