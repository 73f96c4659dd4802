#include "common/serialize/binaryserializestorage.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/memory/allocate.h"
#include "common/memory/memorystream.h"
#include "common/serialize/internal/numberbytes.h"
#include "common/serialize/internal/storagefailures.h"

#include <algorithm>
#include <cstring>
#include <typeinfo>

namespace Tarq::Common::Serialize {

using Platform::Endian;
using enum IO::Stream::SeekOrigin;

namespace {

constexpr uint8 cSignature = 0x12;
constexpr uint32 cVersion = 3;
constexpr int64 cTablePositionOffset = 6;
constexpr uint32 cFeatureInstanceNames = 1;
constexpr uint32 cFeatureStreamIDs = 2;
/// Takes the longest name, in bytes: lengths have 16 bits.
constexpr uint32 cScratchSize = 65536;

constexpr const char* cOpen = "Tarq::Common::Serialize::BinarySerializeStorage::open";

} // namespace

BinarySerializeStorage::BinaryPosition::~BinaryPosition() = default;

bool BinarySerializeStorage::BinaryPosition::equals(const PositionPtr& other) const {
    const auto* const position = dynamic_cast<const BinaryPosition*>(other.get());
    return position && position->mStreamPosition == mStreamPosition;
}

BinarySerializeStorage::BinarySerializeStorage(SerializeMode mode, Endian::Endiness endiness)
    : mMode(mode), mInstanceNames(getAllocator()), mTypeNames(getAllocator()) {
    setByteOrder(endiness);
    setFeatures(cFeatureInstanceNames | cFeatureStreamIDs);
}

BinarySerializeStorage::~BinarySerializeStorage() {
    static constexpr const char* cFunction = "Tarq::Common::Serialize::BinarySerializeStorage::~BinarySerializeStorage";
    try {
        BinarySerializeStorage::close();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        Debug::report({Debug::LOG_ERROR, cFunction}, "Closing a storage has failed: ", exception->getMessage());
    } catch (...) {
        Debug::report({Debug::LOG_ERROR, cFunction}, "Closing a storage has failed");
    }
}

void BinarySerializeStorage::throwClosed() {
    throw new Exceptions::InvalidStateException("BinarySerializeStorage: The storage is not open.");
}

/// Of a class that derives from the memory stream, what its own `read` does counts.
void BinarySerializeStorage::attach(IO::Stream* stream) noexcept {
    mStream = stream;
    const bool isMemory = stream && typeid(*stream) == typeid(Memory::MemoryStream);
    mMemoryStream = isMemory ? static_cast<Memory::MemoryStream*>(stream) : nullptr;
}

/// Numbers in a stream are compared with this before memory is taken for them.
uint64 BinarySerializeStorage::bytesLeft() const {
    const uint64 length = mStream->getLength();
    return length - std::min(length, mStream->getPosition());
}

void BinarySerializeStorage::setFeatures(uint32 features) noexcept {
    mFeatures = features;
    mTypeSize = (features & cFeatureStreamIDs) != 0 ? sizeof(uint8) : 0;
    mNameSize = (features & cFeatureInstanceNames) != 0 ? sizeof(uint32) : 0;
}

void BinarySerializeStorage::setByteOrder(Endian::Endiness endiness) noexcept {
    mByteOrder = endiness;
    mIsSwapped = endiness != Endian::getSystemEncoding();
}

SerializeStorage::PositionPtr BinarySerializeStorage::getPosition() const {
    requireOpen();
    return PositionPtr(new (getAllocator()) BinaryPosition(mStream->getPosition()));
}

void BinarySerializeStorage::setPosition(const PositionPtr& position) {
    requireOpen();
    if (!position)
        throw new Exceptions::ArgumentNullException("BinarySerializeStorage: A position cannot be NULL.", "position");
    const auto* const own = dynamic_cast<const BinaryPosition*>(position.get());
    if (!own)
        throw new Exceptions::ArgumentException("BinarySerializeStorage: The position is of another kind of storage.",
                                                "position");
    mStream->seek(static_cast<int64>(own->getStreamPosition()), SORIGIN_BEGIN);
}

bool BinarySerializeStorage::open(IO::Stream* stream) {
    BinarySerializeStorage::close();
    if (!stream)
        throw new Exceptions::ArgumentNullException("BinarySerializeStorage: The stream cannot be NULL.", "stream");
    const bool isOutput = mMode == SMODE_OUTPUT;
    if (!(isOutput ? stream->canWrite() : stream->canRead())) {
        Debug::report({Debug::LOG_ERROR, cOpen}, isOutput
                                                     ? "IO stream has to be writable for an output serialize stream"
                                                     : "IO stream has to be readable for an input serialize stream");
        return false;
    }
    if (!stream->canSeek()) {
        Debug::report({Debug::LOG_ERROR, cOpen}, isOutput
                                                     ? "IO stream has to be seekable for an output serialize stream"
                                                     : "IO stream has to be seekable for an input serialize stream");
        return false;
    }
    mInstanceNames.clear();
    mTypeNames.clear();
    attach(stream);
    bool isOpen = true;
    try {
        if (isOutput)
            writeHeader();
        else
            isOpen = readHeader();
    } catch (...) {
        attach(nullptr);
        throw;
    }
    if (!isOpen)
        attach(nullptr);
    return isOpen;
}

void BinarySerializeStorage::readBytes(void* bytes, uint32 numBytes) {
    if (numBytes != 0 && mStream->read(bytes, numBytes) != numBytes)
        throwShort();
}

template <class T>
T BinarySerializeStorage::readNumber() {
    unsigned char bytes[sizeof(T)];
    readBytes(bytes, sizeof(T));
    T value;
    loadNumber(value, bytes, mIsSwapped);
    return value;
}

template <class T>
void BinarySerializeStorage::writeNumber(T value) {
    unsigned char bytes[sizeof(T)];
    storeNumber(bytes, value, mIsSwapped);
    mStream->write(bytes, sizeof(T));
}

void BinarySerializeStorage::writeHeader() {
    unsigned char header[18] = {cSignature, static_cast<unsigned char>(mByteOrder)};
    unsigned char* at = storeNumber(header + 2, cVersion, mIsSwapped);
    at = storeNumber(at, uint64{0}, mIsSwapped);
    at = storeNumber(at, mFeatures, mIsSwapped);
    mStream->write(header, static_cast<uint64>(at - header));
}

bool BinarySerializeStorage::readHeader() {
    if (readNumber<uint8>() != cSignature) {
        Debug::report({Debug::LOG_ERROR, cOpen}, "Wrong stream, this is no BinarySerializeStorage stream !");
        return false;
    }
    setByteOrder(readNumber<uint8>() == Endian::ENDIAN_LITTLE ? Endian::ENDIAN_LITTLE : Endian::ENDIAN_BIG);
    if (mIsSwapped)
        Debug::report({Debug::LOG_WARNING, cOpen}, "PERFORMANCE WARNING: Stream stored has not the same endiness as "
                                                   "the current system, byte swapping enabled !");
    const uint32 version = readNumber<uint32>();
    if (version != cVersion) {
        Debug::report({Debug::LOG_ERROR, cOpen},
                      "The input stream has a wrong version for this serialize storage. We found version '", version,
                      "' but expected version '", cVersion, "'");
        return false;
    }
    const uint64 tablePosition = readNumber<uint64>();
    if (tablePosition == 0)
        throw new SerializeException("Stream is corrupted, no lookup table stored in the stream");
    readTables(tablePosition);
    setFeatures(readNumber<uint32>());
    return true;
}

void BinarySerializeStorage::readTables(uint64 tablePosition) {
    if (tablePosition > mStream->getLength())
        throwCorrupted("The lookup tables lie behind its end");
    const uint64 itemPosition = mStream->getPosition();
    mStream->seek(static_cast<int64>(tablePosition), SORIGIN_BEGIN);
    const Memory::ScopedBytes scratch(getAllocator(), cScratchSize);
    readTable(mInstanceNames, static_cast<char*>(scratch.get()));
    readTable(mTypeNames, static_cast<char*>(scratch.get()));
    mStream->seek(static_cast<int64>(itemPosition), SORIGIN_BEGIN);
}

void BinarySerializeStorage::readTable(NameTable& table, char* scratch) {
    uint32 left = readNumber<uint32>();
    if (bytesLeft() / sizeof(uint16) < left)
        throwShort();
    for (; left != 0; --left) {
        const uint16 length = readNumber<uint16>();
        readBytes(scratch, length);
        table.append(String::View(scratch, length));
    }
}

void BinarySerializeStorage::close() {
    if (!mStream)
        return;
    try {
        if (mMode == SMODE_OUTPUT)
            completeFile();
    } catch (...) {
        attach(nullptr);
        throw;
    }
    attach(nullptr);
}

void BinarySerializeStorage::completeFile() {
    const uint64 tablePosition = mStream->getPosition();
    writeTable(mInstanceNames);
    writeTable(mTypeNames);
    const uint64 end = mStream->getPosition();
    mStream->seek(cTablePositionOffset, SORIGIN_BEGIN);
    writeNumber(tablePosition);
    // A stream with a buffer may not yet count all bytes that were written.
    if (mStream->seek(0, SORIGIN_END) < end)
        mStream->seek(static_cast<int64>(end), SORIGIN_BEGIN);
}

void BinarySerializeStorage::writeTable(const NameTable& table) {
    writeNumber(table.size());
    for (uint32 index = 0; index < table.size(); ++index) {
        const std::size_t length = std::strlen(table[index]);
        writeNumber(static_cast<uint16>(length));
        mStream->write(table[index], length);
    }
}

uint8 BinarySerializeStorage::peekItemType() {
    requireOpen();
    if (!TARQ_ASSERT_AS("HAS_FEAT_STREAMIDS()", mTypeSize != 0,
                        "Needed feature StreamIDs is not enabled for the current stream"))
        return 0;
    const uint8 itemType = readNumber<uint8>();
    mStream->seek(-1, SORIGIN_CURRENT);
    return itemType;
}

/// Counts the open classes instead of calling itself: a stream may nest them as deep as it is long.
void BinarySerializeStorage::skipItem(const char*& name, uint32& itemType) {
    const uint8 outerType = peekItemType();
    const char* skippedName = nullptr;
    if (getItemTypeName(outerType))
        skipOne(outerType, skippedName);
    for (uint64 depth = outerType == ITEMTYPE_CLASS_ENTER ? 1 : 0; depth != 0;) {
        const uint8 innerType = peekItemType();
        if (!getItemTypeName(innerType))
            throwCorrupted("A class holds an item of type: '" + shownTypeName(innerType) + "'");
        const char* ignored;
        skipOne(innerType, ignored);
        depth += innerType == ITEMTYPE_CLASS_ENTER ? 1u : 0u;
        depth -= innerType == ITEMTYPE_CLASS_EXIT ? 1u : 0u;
    }
    const bool isBracket = outerType == ITEMTYPE_CLASS_ENTER || outerType == ITEMTYPE_CLASS_EXIT;
    name = isBracket ? "" : skippedName;
    itemType = outerType;
}

} // namespace Tarq::Common::Serialize
