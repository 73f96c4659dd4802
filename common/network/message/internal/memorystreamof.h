#pragma once

#include "common/memory/memorystream.h"

#include <typeinfo>

namespace Tarq::Common::Network::Message {

/// The stream as a memory stream, whose short reads and writes need no virtual call; null for any other. Of a class
/// that derives from it, what its own functions do counts.
inline Memory::MemoryStream* memoryStreamOf(IO::Stream* stream) noexcept {
    return typeid(*stream) == typeid(Memory::MemoryStream) ? static_cast<Memory::MemoryStream*>(stream) : nullptr;
}

} // namespace Tarq::Common::Network::Message
