#pragma once

#include "common/serialize/serializeexception.h"
#include "common/serialize/serializestorage.h"
#include "common/types.h"

/// What the sources of the binary storage throw.
namespace Tarq::Common::Serialize {

/// Makes the text here: callers stay small enough to be inlined where items are read.
[[noreturn]] inline void throwCorrupted(String::Text reason) {
    throw new SerializeException((String("The stream is corrupted. ") += reason));
}

[[noreturn]] inline void throwShort() {
    throwCorrupted("It ends inside of the data that is read");
}

/// The name in messages, for a type that has none too.
inline String shownTypeName(uint32 itemType) {
    if (const char* const name = SerializeStorage::getItemTypeName(itemType))
        return name;
    return (String("unknown (").appendDecimal(itemType) += ")");
}

} // namespace Tarq::Common::Serialize
