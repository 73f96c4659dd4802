#pragma once

#include "common/container/bitvector.h"
#include "common/container/vector.h"
#include "common/export.h"
#include "common/io/stream.h"
#include "common/memory/memorystream.h"
#include "common/network/message/streamids.h"
#include "common/network/message/wireform.h"
#include "common/string.h"

namespace Tarq::Common::Network::Message {

/// Writes values into a stream, one behind the other, from its position on.
///
///     Memory::MemoryStream* stream = new (allocator) Memory::MemoryStream("reply", 65535);
///     MessageBuilder builder(stream, true);
///     builder.write(uint32{0x01000006}); // a message begins with its type
///     builder.write(moduleID);
///     builder.write("no such module");
///
/// Bytes: with `useType`, a tag in front of each value; of a container, in front of the whole. Numbers are big-endian
/// and as long as their type, a truth value is one byte, 0 or 1, a vector is its components. Strings and containers
/// begin with a uint32, the number of what follows: of characters, for wide ones of 16-bit units, of elements without
/// tags. A wide character beyond 0xFFFF is two units, a pair of surrogates, and counts as two; what is no character
/// becomes U+FFFD.
///
/// Ownership: the stream stays its owner's. Threads: one at a time.
/// What the stream throws passes on; so does `OutOfMemoryException`. The stream holds a part of the value then.
class TARQ_API MessageBuilder {
public:
    /// The stream is not null, and outlives the builder.
    MessageBuilder(IO::Stream* stream, bool useType) noexcept;

    /// Writes a value of one of the built-in types, or a tag as its number.
    template <StreamValue T>
    void write(const T& value) {
        if constexpr (HasFixedWireForm<T>)
            writeFixed(value);
        else
            writeCounted(value, mUseType);
    }
    /// Writes a text as a string. Asserts that it is not longer than a string can be; writes nothing otherwise.
    void write(String::Text text) { writeCounted(text, mUseType); }
    /// Writes the value of that type at `value`; for the tag of a container, the `Container::Vector`. Asserts that the
    /// tag names a type; writes nothing otherwise.
    void write(const void* value, StreamIDs type);
    /// The same, with a tag in front of it or without one, whatever the other values have.
    void writeForceUseType(const void* value, StreamIDs type, bool useType);

    /// Copies bytes from the position of `source`, as `IO::Stream::writeFromStream` does; unless `rawOnly`, as a
    /// container of uint8.
    ///
    /// Asserts that there are less than 0xFFFFFFFF; writes nothing otherwise. Asserts that the source holds as many;
    /// as a container, it is one of the bytes that are there then. A source that tells of more than it holds spoils
    /// the message. What `writeFromStream` throws for a source that is null or the builder's own stream is thrown
    /// before anything is written.
    void writeStream(IO::Stream* source, uint64 numBytes, bool rawOnly);

    IO::Stream* getStream() const noexcept { return mStream; }

private:
    template <class T>
    void writeFixed(const T& value) {
        putTagged(getStreamID<T>(), value, mUseType);
    }

    void writeCounted(String::Text text, bool useType);
    void writeCounted(const WString& text, bool useType);
    void writeCounted(const Container::Vector<bool>& values, bool useType);
    template <HasBlockWireForm E>
    void writeCounted(const Container::Vector<E>& values, bool useType) {
        writeHead(getStreamID<Container::Vector<E>>(), values.size(), useType);
        writeNumbers(values.data(), uint64{values.size()} * WireForm<E>::cComponents,
                     sizeof(typename WireForm<E>::Bits));
    }
    template <class Char>
    void writeCounted(const Container::Vector<BasicString<Char>>& values, bool useType) {
        writeHead(getStreamID<Container::Vector<BasicString<Char>>>(), values.size(), useType);
        for (const BasicString<Char>& value : values)
            writeCounted(value, false);
    }

    void put(const void* bytes, uint32 numBytes);
    void writeHead(StreamIDs type, uint32 count, bool useType);
    void writeNumbers(const void* numbers, uint64 count, uint32 size);

    /// Where the next bytes of the stream's memory lie; null when they have to be written.
    unsigned char* takeRoom(uint32 numBytes) noexcept {
        return mMemoryStream ? static_cast<unsigned char*>(mMemoryStream->writeInPlace(numBytes)) : nullptr;
    }
    /// Writes a value of a fixed size, in one piece.
    template <class T>
    void putTagged(StreamIDs type, const T& value, bool useType) {
        unsigned char buffer[sizeof(type) + WireForm<T>::cSize];
        const uint32 numBytes = useType + WireForm<T>::cSize;
        unsigned char* const room = takeRoom(numBytes);
        unsigned char* const bytes = room ? room : buffer;
        *bytes = type; // the value takes its place where there is no tag
        WireForm<T>::store(bytes + useType, value);
        if (!room) [[unlikely]]
            mStream->write(buffer, numBytes);
    }

    IO::Stream* mStream;
    Memory::MemoryStream* mMemoryStream; ///< the stream, where it is this and nothing derived from it; or null
    bool mUseType;
};

} // namespace Tarq::Common::Network::Message
