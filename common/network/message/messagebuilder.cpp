#include "common/network/message/messagebuilder.h"

#include "common/debug/assert.h"
#include "common/io/internal/bytesleft.h"
#include "common/network/message/internal/memorystreamof.h"
#include "common/network/message/internal/numberblock.h"
#include "common/network/message/internal/streamtypes.h"
#include "common/platform/endian.h"
#include "common/serialize/internal/wideunits.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace Tarq::Common::Network::Message {

namespace WideUnits = Serialize::WideUnits;

MessageBuilder::MessageBuilder(IO::Stream* stream, bool useType) noexcept
    : mStream(stream), mMemoryStream(memoryStreamOf(stream)), mUseType(useType) {}

void MessageBuilder::write(const void* value, StreamIDs type) {
    const bool isKnown =
        visitStreamType(type, [this, value]<class T>(std::type_identity<T>) { write(*static_cast<const T*>(value)); });
    TARQ_ASSERT_AS(nullptr, isKnown, "Tried to write not supported StreamIDs variable (", type, ")");
}

void MessageBuilder::writeForceUseType(const void* value, StreamIDs type, bool useType) {
    MessageBuilder forced(*this);
    forced.mUseType = useType;
    forced.write(value, type);
}

void MessageBuilder::writeStream(IO::Stream* source, uint64 numBytes, bool rawOnly) {
    constexpr uint64 cLimit = std::numeric_limits<uint32>::max();
    if (!TARQ_ASSERT_AS("numBytes < TARQ_MAX_UINT32", numBytes < cLimit,
                        "Tried to write from a stream too many bytes: numBytes > TARQ_MAX_UINT32"))
        return;
    // What cannot be a source is refused by the copy, before anything is written.
    if (!rawOnly && source && source != mStream) {
        // A count that is not that of what follows would make the fields behind it data, or data fields.
        const uint64 bytesAvailable = IO::bytesLeft(*source);
        if (!TARQ_ASSERT(bytesAvailable >= numBytes, "Tried to read more bytes (", numBytes,
                         ") out of source stream than left from pos (", source->getPosition(), ") to end (",
                         source->getLength(), ")"))
            numBytes = bytesAvailable;
        writeHead(STREAM_TYPE_ARRAY_UINT08, static_cast<uint32>(numBytes), mUseType);
    }
    mStream->writeFromStream(source, numBytes);
}

void MessageBuilder::put(const void* bytes, uint32 numBytes) {
    // Nothing may be nowhere.
    if (numBytes == 0)
        return;
    if (unsigned char* const room = takeRoom(numBytes))
        std::memcpy(room, bytes, numBytes);
    else
        mStream->write(bytes, numBytes);
}

void MessageBuilder::writeHead(StreamIDs type, uint32 count, bool useType) {
    putTagged(type, count, useType);
}

void MessageBuilder::writeCounted(String::Text text, bool useType) {
    if (!TARQ_ASSERT(text.size() <= String::max_size(), "Tried to write a text that is too long for a string"))
        return;
    writeHead(STREAM_TYPE_BSTRING, static_cast<uint32>(text.size()), useType);
    put(text.data(), static_cast<uint32>(text.size()));
}

void MessageBuilder::writeCounted(const WString& text, bool useType) {
    const uint64 count = WideUnits::count(text);
    if (!TARQ_ASSERT(count <= WString::max_size(), "Tried to write a text that is too long for a string"))
        return;
    writeHead(STREAM_TYPE_WSTRING, static_cast<uint32>(count), useType);
    unsigned char bytes[cChunk];
    uint32 fill = 0;
    WideUnits::forEach(text, [&](uint16 unit) {
        if (fill == cChunk)
            put(bytes, std::exchange(fill, 0));
        Platform::storeBigEndian(bytes + fill, unit);
        fill += sizeof(unit);
    });
    put(bytes, fill);
}

void MessageBuilder::writeCounted(const Container::Vector<bool>& values, bool useType) {
    writeHead(STREAM_TYPE_ARRAY_BOOL, values.size(), useType);
    unsigned char bytes[cChunk];
    uint32 fill = 0;
    for (const bool value : values) {
        if (fill == cChunk)
            put(bytes, std::exchange(fill, 0));
        bytes[fill++] = value ? 1 : 0;
    }
    put(bytes, fill);
}

void MessageBuilder::writeNumbers(const void* numbers, uint64 count, uint32 size) {
    if (count == 0)
        return;
    unsigned char* const room = count * size <= cChunk ? takeRoom(static_cast<uint32>(count * size)) : nullptr;
    if (room) {
        copyNumbers(room, numbers, static_cast<uint32>(count), size);
        return;
    }
    const auto* from = static_cast<const unsigned char*>(numbers);
    unsigned char bytes[cChunk];
    for (uint64 left = count * size; left != 0;) {
        const auto numBytes = static_cast<uint32>(std::min<uint64>(left, cChunk));
        copyNumbers(bytes, from, numBytes / size, size);
        mStream->write(bytes, numBytes);
        from += numBytes;
        left -= numBytes;
    }
}

} // namespace Tarq::Common::Network::Message
