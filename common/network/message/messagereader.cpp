#include "common/network/message/messagereader.h"

#include "common/debug/assert.h"
#include "common/exceptions/internal/guarded.h"
#include "common/io/internal/bytesleft.h"
#include "common/network/message/internal/memorystreamof.h"
#include "common/network/message/internal/numberblock.h"
#include "common/network/message/internal/streamtypes.h"
#include "common/network/message/internal/wideblock.h"

#include <algorithm>
#include <limits>

namespace Tarq::Common::Network::Message {

using enum IO::Stream::SeekOrigin;

namespace {

/// In bytes. A count may stand for more.
constexpr uint64 cLongestInPlace = std::numeric_limits<uint32>::max();

/// Returns what `body` returns; asserts that it throws nothing, false otherwise.
template <class Body>
bool guarded(const Body& body) {
    Exceptions::CaughtText caught;
    const bool isDone = Exceptions::runGuarded(caught, body);
    if (caught.isCaught())
        TARQ_FAIL("MessageReader couldn't read out of the stream: ", caught.getText());
    return isDone;
}

/// The condition is one that tools know; do not correct it.
bool checkText(uint64 found, uint32 count, const char* text) {
    return TARQ_ASSERT_AS("readWithEndian(cBuffer)", found == count, text, found, " of needed ", count);
}

} // namespace

MessageReader::MessageReader(IO::Stream* stream, bool useType)
    : mStream(stream), mMemoryStream(memoryStreamOf(stream)), mUseType(useType) {
    stream->seek(0, SORIGIN_BEGIN);
}

bool MessageReader::read(void* value, StreamIDs type) {
    bool isRead = false;
    const bool isKnown = visitStreamType(
        type, [this, value, &isRead]<class T>(std::type_identity<T>) { isRead = read(*static_cast<T*>(value)); });
    TARQ_ASSERT_AS(nullptr, isKnown, "Tried to read not supported StreamIDs variable (", type, ")");
    return isRead;
}

bool MessageReader::readForceUseType(void* value, StreamIDs type, bool useType) {
    // The position is the stream's; the reader has nothing else to keep.
    MessageReader forced(*this);
    forced.mUseType = useType;
    return forced.read(value, type);
}

bool MessageReader::read(void* value) {
    if (!mUseType)
        return TARQ_FAIL("Read void* only supported if useType enabled");
    StreamIDs type;
    return readType(type) && readForceUseType(value, type, false);
}

bool MessageReader::readStream(IO::Stream* target) {
    uint32 count;
    return readCount(STREAM_TYPE_ARRAY_UINT08, mUseType, count) && readToStream(target, count);
}

bool MessageReader::readToStream(IO::Stream* target, uint64 numBytes) {
    return guarded([&] {
        const uint64 position = mStream->getPosition();
        if (!TARQ_ASSERT_AS(nullptr, numBytes <= IO::bytesLeft(*mStream), "Tried to copy more data (", numBytes,
                            ") from stream to another stream than is available from current position (", position,
                            ") to end (", mStream->getLength(), ")"))
            return false;
        mStream->readToStream(target, numBytes);
        return mStream->getPosition() - position == numBytes;
    });
}

bool MessageReader::isFinished() const {
    // A stream that cannot tell has nothing to be read.
    bool isFinished = true;
    guarded([&] {
        isFinished = mStream->getPosition() == mStream->getLength();
        return true;
    });
    return isFinished;
}

/// Null.
const unsigned char* MessageReader::putBack(uint32 numBytes) noexcept {
    mMemoryStream->seek(-int64{numBytes}, SORIGIN_CURRENT);
    return nullptr;
}

/// Returns the buffer; null when the value is not there.
const unsigned char* MessageReader::copyTagged(StreamIDs type, uint32 numBytes, unsigned char* buffer) {
    return (!mUseType || verifyGivenType(type)) && copyBytes(buffer, numBytes) ? buffer : nullptr;
}

/// Asserts that the tag that comes is the expected one, and moves behind whatever comes.
bool MessageReader::verifyGivenType(StreamIDs expected) {
    StreamIDs found;
    return readType(found) &&
           TARQ_ASSERT_AS(nullptr, found == expected, "MessageReader verification found wrong type: expected(",
                          shownStreamID(expected), ") found(", shownStreamID(found), ")");
}

bool MessageReader::readType(StreamIDs& type) {
    return TARQ_ASSERT_AS(nullptr, copyBytes(&type, sizeof(type)),
                          "Type couldn't be verified by MessageReader: couldn't read the type out of the stream");
}

/// Reads what strings and containers begin with.
bool MessageReader::readCount(StreamIDs type, bool useType, uint32& count) {
    unsigned char buffer[sizeof(count)];
    const unsigned char* bytes = takeTaggedInPlace(type, useType, sizeof(count));
    if (!bytes) {
        if (useType && !verifyGivenType(type))
            return false;
        if (!TARQ_ASSERT_AS(nullptr, copyBytes(buffer, sizeof(buffer)),
                            "number of children of an array/String couldn't be extracted from the stream"))
            return false;
        bytes = buffer;
    }
    WireForm<uint32>::load(count, bytes);
    return true;
}

bool MessageReader::readCounted(String& text, bool useType) {
    uint32 count;
    if (!readCount(STREAM_TYPE_BSTRING, useType, count))
        return false;
    const auto* const characters = reinterpret_cast<const char*>(takeInPlace(count));
    if (characters && count <= text.capacity()) [[likely]] {
        text.assign(characters, count); // throws nothing, as it takes no memory
        return true;
    }
    uint64 found = 0;
    const bool isDone = guarded([&] {
        text.clear();
        if (characters) {
            text.assign(characters, count);
            found = count;
            return true;
        }
        const auto room = static_cast<uint32>(std::min<uint64>(count, IO::bytesLeft(*mStream)));
        text.reserve(room); // takes no more than this
        text.resize(room);
        readBytes(text.data(), room, found);
        return true;
    });
    text.resize(static_cast<uint32>(found));
    return isDone && checkText(found, count, "Couldn't read one BChar after ");
}

bool MessageReader::readCounted(WString& text, bool useType) {
    uint32 count;
    if (!readCount(STREAM_TYPE_WSTRING, useType, count))
        return false;
    const uint64 numBytes = uint64{count} * sizeof(uint16);
    const unsigned char* const inPlace =
        numBytes <= cLongestInPlace ? takeInPlace(static_cast<uint32>(numBytes)) : nullptr;
    uint64 room = numBytes;
    const bool hasRoom = guarded([&] {
        text.clear();
        if (!inPlace)
            room = std::min(numBytes, IO::bytesLeft(*mStream));
        text.reserve(static_cast<uint32>(room / sizeof(uint16)));
        return true;
    });
    if (!hasRoom)
        return false;
    if (inPlace) {
        appendUnits(text, inPlace, count);
        return true;
    }
    // What is left may end inside a unit, which belongs to what was read then.
    uint64 found = 0;
    return readPieces(
               room, found,
               [&text](const unsigned char* bytes, uint64 come) { appendUnits(text, bytes, come / sizeof(uint16)); }) &&
           checkText(found / sizeof(uint16), count, "Couldn't read one WChar after ");
}

bool MessageReader::readCounted(Container::Vector<bool>& values, bool useType) {
    uint32 count;
    if (!readCount(STREAM_TYPE_ARRAY_BOOL, useType, count))
        return false;
    uint32 room = 0;
    const bool hasRoom = guarded([&] {
        values.clear();
        room = static_cast<uint32>(std::min<uint64>(count, IO::bytesLeft(*mStream)));
        values.reserve(room);
        return true;
    });
    uint64 found = 0;
    return hasRoom &&
           readPieces(room, found,
                      [&values](const unsigned char* bytes, uint64 come) {
                          for (uint64 at = 0; at < come; ++at)
                              values.push_back(bytes[at] != 0);
                      }) &&
           found == count;
}

template <class Char>
bool MessageReader::readTexts(Container::Vector<BasicString<Char>>& values, bool useType) {
    uint32 count;
    if (!readCount(getStreamID<Container::Vector<BasicString<Char>>>(), useType, count))
        return false;
    return guarded([&] {
        values.clear();
        // Every string has its own count at least. Where there are no bytes for all of these, the strings are read for
        // the failure that is coming, and not kept: they take more memory than a peer needs to announce them.
        const bool isKept = count <= IO::bytesLeft(*mStream) / sizeof(count);
        if (isKept)
            values.reserve(count);
        for (; count != 0; --count) {
            if (!isKept)
                values.clear();
            values.emplace_back();
            if (!readCounted(values.back(), false)) {
                values.pop_back();
                return false;
            }
        }
        return true;
    });
}

bool MessageReader::readCounted(Container::Vector<String>& values, bool useType) {
    return readTexts(values, useType);
}

bool MessageReader::readCounted(Container::Vector<WString>& values, bool useType) {
    return readTexts(values, useType);
}

bool MessageReader::readNumbers(const NumberContainer& target, bool useType) {
    uint32 count;
    if (!readCount(target.type, useType, count))
        return false;
    const uint32 elementSize = target.components * target.componentSize;
    const uint64 numBytes = uint64{count} * elementSize;
    const void* const inPlace = numBytes <= cLongestInPlace ? takeInPlace(static_cast<uint32>(numBytes)) : nullptr;
    void* elements = nullptr;
    uint64 found = 0;
    const bool isDone = guarded([&] {
        const uint64 whole = inPlace ? count : std::min<uint64>(count, IO::bytesLeft(*mStream) / elementSize);
        elements = target.resize(target.container, static_cast<uint32>(whole));
        if (inPlace) {
            found = numBytes;
            return true;
        }
        readBytes(elements, whole * elementSize, found);
        if (found == numBytes)
            return true;
        // The element that is cut off was begun.
        unsigned char rest[WireForm<Math::Vec3<double>>::cSize];
        uint64 begun = 0;
        readBytes(rest, std::min<uint64>(elementSize - 1, IO::bytesLeft(*mStream)), begun);
        return false;
    });
    if (found != 0)
        copyNumbers(elements, inPlace ? inPlace : elements, static_cast<std::size_t>(found / target.componentSize),
                    target.componentSize);
    if (!isDone)
        target.resize(target.container, static_cast<uint32>(found / elementSize));
    return isDone;
}

bool MessageReader::copyBytes(void* dst, uint32 numBytes) {
    return guarded([&] {
        uint64 found = 0;
        readBytes(dst, numBytes, found);
        return found == numBytes;
    });
}

/// Counts those that come, also where the stream throws in between.
void MessageReader::readBytes(void* dst, uint64 numBytes, uint64& found) {
    auto* const to = static_cast<unsigned char*>(dst);
    while (found != numBytes) {
        const uint64 count = mStream->read(to + found, numBytes - found);
        if (count == 0)
            return;
        found += std::min(count, numBytes - found);
    }
}

/// Reads up to as many bytes and hands them to `take`, which throws nothing, piece by piece. Returns whether the stream
/// threw nothing.
template <class Take>
bool MessageReader::readPieces(uint64 numBytes, uint64& found, const Take& take) {
    unsigned char bytes[cChunk];
    while (found != numBytes) {
        const uint64 wanted = std::min<uint64>(numBytes - found, cChunk);
        uint64 come = 0;
        const bool isDone = guarded([&] {
            readBytes(bytes, wanted, come);
            return true;
        });
        take(bytes, come);
        found += come;
        if (!isDone || come != wanted)
            return isDone;
    }
    return true;
}

} // namespace Tarq::Common::Network::Message
