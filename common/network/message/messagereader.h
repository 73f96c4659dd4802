#pragma once

#include "common/container/bitvector.h"
#include "common/container/vector.h"
#include "common/export.h"
#include "common/io/stream.h"
#include "common/memory/memorystream.h"
#include "common/network/message/streamids.h"
#include "common/network/message/wireform.h"
#include "common/string.h"

#include <type_traits>

namespace Tarq::Common::Network::Message {

/// Reads what a `MessageBuilder` wrote, in the same order.
///
///     MessageReader reader(stream, true);
///     uint32 moduleID = 0;
///     String text;
///     if (!reader.read(moduleID) || !reader.read(text))
///         return false;
///
/// What is read may come from anybody: every read checks what it finds, takes no memory for what there are no bytes
/// for, and throws nothing. One that fails returns false, and leaves the stream where it failed. A value of a fixed
/// size is then what it was, a string or a container holds what came before the failure; nothing, where there are not
/// even bytes for the counts of as many strings as announced. Numbers and truth values that are cut off, alone or in a
/// container, are no assertion: their reader knows what they are. What the stream throws and exhausted memory are
/// assertions.
///
/// Memory: numbers take as much as their bytes. Wide strings take up to twice as much, and containers of strings up to
/// twelve times: a string takes memory even when it is empty. Limit the length of messages by that.
///
/// Ownership: the stream stays its owner's. Threads: one at a time.
class TARQ_API MessageReader {
public:
    /// Goes to the start of the stream, which is not null and outlives the reader. Throws what its `seek` throws.
    MessageReader(IO::Stream* stream, bool useType);

    /// Reads a value of one of the built-in types, or a tag. With `useType`, asserts that the value's tag is there.
    /// Asserts that strings and containers have a number of elements, and strings those elements.
    template <StreamValue T>
    bool read(T& value) {
        if constexpr (HasFixedWireForm<T>)
            return readFixed(value);
        else
            return readCounted(value, mUseType);
    }
    /// Reads a value of that type; for the tag of a container, into a `Container::Vector`. Asserts that the tag names a
    /// type; reads nothing otherwise.
    bool read(void* value, StreamIDs type);
    /// The same, with a tag in front of it or without one, whatever the other values have.
    bool readForceUseType(void* value, StreamIDs type, bool useType);
    /// Reads a tag, and a value of that type: `value` has to be of whatever type comes. Not for what others may have
    /// sent. Asserts that values have tags, and that the tag names a type; reads no value otherwise.
    bool read(void* value);

    /// Reads a container of uint8, and copies its bytes as `readToStream` does.
    bool readStream(IO::Stream* target);
    /// Copies the next bytes to the position of `target`. Asserts that the stream tells of as many; copies nothing
    /// otherwise. Asserts that they come, that the target takes them, and that it is neither null nor this stream; the
    /// target may hold a part of them otherwise.
    bool readToStream(IO::Stream* target, uint64 numBytes);

    /// Whether the position is at the end. Asserts that the stream tells both; true otherwise: there is nothing to be
    /// read from a stream that is closed.
    bool isFinished() const;

    IO::Stream* getStream() const noexcept { return mStream; }

private:
    template <class T>
    bool readFixed(T& value) {
        unsigned char buffer[WireForm<T>::cSize];
        const unsigned char* bytes = takeTaggedInPlace(getStreamID<T>(), mUseType, WireForm<T>::cSize);
        if (!bytes) [[unlikely]]
            bytes = copyTagged(getStreamID<T>(), WireForm<T>::cSize, buffer);
        if (bytes) [[likely]]
            WireForm<T>::load(value, bytes);
        return bytes != nullptr;
    }

    bool readCounted(String& text, bool useType);
    bool readCounted(WString& text, bool useType);
    bool readCounted(Container::Vector<bool>& values, bool useType);
    bool readCounted(Container::Vector<String>& values, bool useType);
    bool readCounted(Container::Vector<WString>& values, bool useType);
    template <HasBlockWireForm E>
    bool readCounted(Container::Vector<E>& values, bool useType) {
        return readNumbers({getStreamID<Container::Vector<E>>(), WireForm<E>::cComponents,
                            sizeof(typename WireForm<E>::Bits), &values, &resize<E>},
                           useType);
    }
    template <class Char>
    bool readTexts(Container::Vector<BasicString<Char>>& values, bool useType);

    /// A container whose elements are numbers, or vectors of these.
    struct NumberContainer {
        StreamIDs type;
        uint32 components;
        uint32 componentSize;
        void* container;
        /// Returns where the elements are.
        void* (*resize)(void* container, uint32 count);
    };
    template <class E>
    static void* resize(void* container, uint32 count) {
        auto& values = *static_cast<Container::Vector<E>*>(container);
        if constexpr (std::is_trivially_default_constructible_v<E>)
            values.resizeForOverwrite(count);
        else
            values.resize(count);
        return values.data();
    }
    bool readNumbers(const NumberContainer& target, bool useType);

    bool readCount(StreamIDs type, bool useType, uint32& count);

    /// Moves behind the next bytes and returns where they lie; null, and nothing moves, when they have to be copied.
    const unsigned char* takeInPlace(uint32 numBytes) noexcept {
        return mMemoryStream ? static_cast<const unsigned char*>(mMemoryStream->readInPlace(numBytes)) : nullptr;
    }
    /// The same for a value, where it has the right tag.
    const unsigned char* takeTaggedInPlace(StreamIDs type, bool useType, uint32 numBytes) noexcept {
        const unsigned char* const bytes = takeInPlace(useType + numBytes);
        if (useType && bytes && *bytes != type) [[unlikely]]
            return putBack(useType + numBytes);
        return bytes ? bytes + useType : nullptr;
    }
    const unsigned char* putBack(uint32 numBytes) noexcept;
    const unsigned char* copyTagged(StreamIDs type, uint32 numBytes, unsigned char* buffer);
    bool verifyGivenType(StreamIDs expected);
    bool readType(StreamIDs& type);
    bool copyBytes(void* dst, uint32 numBytes);
    void readBytes(void* dst, uint64 numBytes, uint64& found);
    template <class Take>
    bool readPieces(uint64 numBytes, uint64& found, const Take& take);

    IO::Stream* mStream;
    Memory::MemoryStream* mMemoryStream; ///< the stream, where it is this and nothing derived from it; or null
    bool mUseType;
};

} // namespace Tarq::Common::Network::Message
