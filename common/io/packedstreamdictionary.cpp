#include "common/io/packedstreamdictionary.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/exceptions/exception.h"
#include "common/io/bufferedstream.h"
#include "common/io/internal/packedfields.h"
#include "common/io/sectionedstream.h"
#include "common/memory/allocate.h"
#include "common/memory/memoryexception.h"
#include "common/platform/endian.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <utility>

namespace Tarq::Common::IO {

using enum Stream::SeekOrigin;

namespace {

constexpr uint8 cMagic = 0x11;
constexpr uint32 cVersion = 1;
constexpr uint32 cHeaderSize = 21;
constexpr uint32 cTablePositionOffset = 5;
/// What is read from a source, and of a table, at once.
constexpr uint32 cChunkSize = 65536;

/// How many places are looked at for a name's short cut. As many names with one hash may have one.
constexpr uint32 cShortCutPlaces = 4;
constexpr uint64 cMostShortCuts = uint64{1} << 26;

constexpr const char* cOpen = "Tarq::Common::IO::PackedStreamDictionary::open";
constexpr const char* cAddStream = "Tarq::Common::IO::PackedStreamDictionary::addStream";
constexpr const char* cClose = "Tarq::Common::IO::PackedStreamDictionary::close";

template <class... Pieces>
bool refuse(const Debug::LogSite& site, const Pieces&... pieces) {
    Debug::report(site, pieces...);
    return false;
}

/// What every field of the header and the table is read through.
bool hasRead(bool success) {
    if (!TARQ_ASSERT(success, "Cannot read from stream, stream corrupted?"))
        return refuse({Debug::LOG_ERROR, cOpen}, "Stream ends inside of the header or the name table");
    return true;
}

/// For those who have another failure to tell of.
void seekQuietly(Stream& stream, uint64 position) noexcept {
    try {
        stream.seek(static_cast<int64>(position), SORIGIN_BEGIN);
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
    } catch (...) {
    }
}

} // namespace

PackedStreamDictionary::PackedStreamDictionary() : PackedStreamDictionary(false, 8192) {}

PackedStreamDictionary::PackedStreamDictionary(bool exclusive, int32 bufferSize)
    : mIndex(getAllocator()), mShortCuts(getAllocator()), mBufferSize(bufferSize), mIsExclusive(exclusive) {}

PackedStreamDictionary::~PackedStreamDictionary() {
    static constexpr const char* cFunction = "Tarq::Common::IO::PackedStreamDictionary::~PackedStreamDictionary";
    try {
        PackedStreamDictionary::close();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        Debug::report({Debug::LOG_ERROR, cFunction}, "Closing a dictionary has failed: ", exception->getMessage());
    } catch (...) {
        Debug::report({Debug::LOG_ERROR, cFunction}, "Closing a dictionary has failed");
    }
}

bool PackedStreamDictionary::canRead() const {
    return mStream && mStream->canRead();
}

bool PackedStreamDictionary::canWrite() const {
    return false;
}

bool PackedStreamDictionary::isClosed() const {
    return !mStream || mStream->isClosed();
}

bool PackedStreamDictionary::isEmpty() const {
    return mIndex.empty();
}

const String& PackedStreamDictionary::getName() const {
    return mName;
}

bool PackedStreamDictionary::open(Stream* underlyingStream, bool createNew) {
    // Completing the archive that is open moves its stream, which the caller may have put in place for this call.
    const bool isReopened = underlyingStream == mStream && !isClosed();
    const uint64 position = isReopened ? mStream->getPosition() : 0;
    PackedStreamDictionary::close();
    if (!TARQ_ASSERT(underlyingStream, "Stream cannot be NULL"))
        return false;
    if (!underlyingStream->canRead())
        return refuse({Debug::LOG_ERROR, cOpen}, "Underlying stream for packed dictionary must be readable");
    if (!underlyingStream->canSeek())
        return refuse({Debug::LOG_ERROR, cOpen}, "Underlying stream for packed dictionary must be seekable");
    if (isReopened)
        underlyingStream->seek(static_cast<int64>(position), SORIGIN_BEGIN);
    mStream = underlyingStream;
    bool isOpen = false;
    try {
        isOpen = attach(createNew);
    } catch (...) {
        detach();
        throw;
    }
    if (!isOpen)
        detach();
    return isOpen;
}

bool PackedStreamDictionary::attach(bool createNew) {
    const uint64 length = mStream->getLength();
    mName = mStream->getName();
    mBase = mStream->getPosition();
    if (!createNew && length != 0)
        return readHeader(length);
    if (!mStream->canWrite())
        return refuse({Debug::LOG_ERROR, cOpen},
                      "Underlying stream for packed dictionary must be writable if createNew enabled");
    writeHeader();
    return true;
}

bool PackedStreamDictionary::readHeader(uint64 length) {
    unsigned char bytes[cHeaderSize];
    FieldReader header(*mStream, bytes);
    uint8 magic = 0;
    uint32 version = 0;
    uint64 tablePosition = 0;
    if (!hasRead(header.takeNumber(magic)))
        return false;
    if (magic != cMagic)
        return refuse({Debug::LOG_ERROR, cOpen}, "Stream does not contain a PackedStreamDictionary");
    if (!hasRead(header.takeNumber(version)))
        return false;
    if (version != cVersion)
        return refuse({Debug::LOG_ERROR, cOpen}, "Version mismatch for PackedStreamDictionary, expected: ", cVersion,
                      " found: ", version);
    if (!hasRead(header.takeNumber(tablePosition)))
        return false;
    if (tablePosition != 0 && !hasRead(header.takeNumber(mDataEnd)))
        return false;
    // What is no position behind the header is as wrong as none.
    if (!isBehindHeader(tablePosition) || tablePosition > length)
        return refuse({Debug::LOG_ERROR, cOpen},
                      "Invalid table index position, stream corrupted or not closed properly!");
    if (!isBehindHeader(mDataEnd) || mDataEnd > length)
        return refuse({Debug::LOG_ERROR, cOpen}, "Invalid data end position, stream corrupted or not closed properly!");
    mStream->seek(static_cast<int64>(tablePosition), SORIGIN_BEGIN);
    return readTable(length);
}

bool PackedStreamDictionary::readTable(uint64 length) {
    const Memory::ScopedBytes buffer(getAllocator(), cChunkSize);
    FieldReader table(*mStream, {static_cast<unsigned char*>(buffer.get()), cChunkSize});
    uint32 left = 0;
    if (!hasRead(table.takeNumber(left)))
        return false;
    for (; left != 0; --left) {
        uint32 nameLength = 0;
        if (!hasRead(table.takeNumber(nameLength)))
            return false;
        if (nameLength > TARQ_PACKED_DICT_MAXNAMELENGTH)
            return refuse({Debug::LOG_ERROR, cOpen},
                          "Stream name exceeds the maximum name length of the dictionary of ",
                          TARQ_PACKED_DICT_MAXNAMELENGTH, ", stream corrupted?");
        const unsigned char* const bytes = table.take(nameLength + 2 * sizeof(uint64));
        if (!hasRead(bytes != nullptr))
            return false;
        const Entry entry{Platform::loadBigEndian<uint64>(bytes + nameLength),
                          Platform::loadBigEndian<uint64>(bytes + nameLength + sizeof(uint64))};
        String name(reinterpret_cast<const char*>(bytes), nameLength);
        if (!isBehindHeader(entry.start) || entry.start > entry.end || entry.end > length)
            return refuse({Debug::LOG_ERROR, cOpen}, "Stream '", name, "' cannot be from ", entry.start, " to ",
                          entry.end, ", stream corrupted?");
        const auto made = mIndex.try_emplace(std::move(name), entry);
        if (!made.second)
            return refuse({Debug::LOG_ERROR, cOpen}, "Two streams are named '", made.first->first,
                          "', stream corrupted?");
        // Whatever the header says, what is added overwrites no stream.
        mDataEnd = std::max(mDataEnd, entry.end);
    }
    makeShortCuts();
    return true;
}

/// A name is found with one comparison then, instead of as many as the index is deep. Nothing relies on it: without
/// the memory for it, the archive opens all the same.
void PackedStreamDictionary::makeShortCuts() {
    const uint64 count = std::min(std::bit_ceil(uint64{2} * mIndex.size()), cMostShortCuts);
    try {
        mShortCuts.resize(static_cast<uint32>(count));
    } catch (Memory::OutOfMemoryException* exception) {
        const Exceptions::Holder holder(exception);
        return;
    }
    for (const auto& entry : mIndex) {
        const std::size_t hash = std::hash<String>()(entry.first);
        for (uint32 place = 0; place < cShortCutPlaces; ++place) {
            auto*& shortCut = mShortCuts[static_cast<uint32>((hash + place) & (count - 1))];
            if (!shortCut) {
                shortCut = &entry;
                break;
            }
        }
    }
}

auto PackedStreamDictionary::find(const String& name) const -> const Index::value_type* {
    if (!mShortCuts.empty()) {
        const std::size_t hash = std::hash<String>()(name);
        for (uint32 place = 0; place < cShortCutPlaces; ++place) {
            const auto* const shortCut = mShortCuts[static_cast<uint32>((hash + place) & (mShortCuts.size() - 1))];
            if (shortCut && shortCut->first == name)
                return shortCut;
        }
    }
    const auto found = mIndex.find(name);
    return found != mIndex.end() ? &*found : nullptr;
}

bool PackedStreamDictionary::isBehindHeader(uint64 position) const noexcept {
    return position >= mBase && position - mBase >= cHeaderSize;
}

void PackedStreamDictionary::writeHeader() {
    mDataEnd = mBase + cHeaderSize;
    mIsModified = true;
    unsigned char header[cHeaderSize] = {cMagic};
    Platform::storeBigEndian(header + sizeof(cMagic), cVersion);
    mStream->write(header, cHeaderSize);
}

bool PackedStreamDictionary::addStream(Stream* source, const String& name) {
    if (!mStream || !mStream->canWrite())
        return refuse({Debug::LOG_ERROR, cAddStream},
                      "Method addStream requires that the underlying stream is writable");
    if (name.length() > TARQ_PACKED_DICT_MAXNAMELENGTH)
        return refuse({Debug::LOG_ERROR, cAddStream},
                      "Stream name exceeds the maximum name length of the dictionary of ",
                      TARQ_PACKED_DICT_MAXNAMELENGTH);
    if (find(name))
        return refuse({Debug::LOG_ERROR, cAddStream}, "Dictionary contains already a stream with name: ", name);
    if (!TARQ_ASSERT(source, "Stream cannot be NULL"))
        return false;
    if (source == mStream)
        return refuse({Debug::LOG_ERROR, cAddStream}, "The underlying stream of a dictionary cannot be added to it");
    const uint64 end = appendBytes(*source);
    mIndex.try_emplace(name, Entry{mDataEnd, end});
    mDataEnd = end;
    return true;
}

/// Returns where the bytes end. They begin at the end of the data, and are not part of that yet.
uint64 PackedStreamDictionary::appendBytes(Stream& source) {
    const Memory::ScopedBytes buffer(getAllocator(), cChunkSize);
    source.seek(0, SORIGIN_BEGIN);
    // From now on the table that the header shows may be gone.
    mIsModified = true;
    uint64 end = mDataEnd;
    uint64 count = cChunkSize;
    while (count == cChunkSize) {
        count = std::min<uint64>(source.read(buffer.get(), cChunkSize), cChunkSize);
        end = writeAt(end, buffer.get(), count);
    }
    return end;
}

/// Returns where the bytes end.
uint64 PackedStreamDictionary::writeAt(uint64 start, const void* bytes, uint64 count) {
    // What is read in turn, a source in this archive too, seeks for itself. An exclusive stream expects to find the
    // stream below where it was, also after a failure.
    const uint64 position = mIsExclusive ? mStream->getPosition() : 0;
    try {
        mStream->seek(static_cast<int64>(start), SORIGIN_BEGIN);
        if (count != 0)
            mStream->write(bytes, count);
        const uint64 end = mStream->getPosition();
        if (mIsExclusive)
            mStream->seek(static_cast<int64>(position), SORIGIN_BEGIN);
        return end;
    } catch (...) {
        if (mIsExclusive)
            seekQuietly(*mStream, position);
        throw;
    }
}

bool PackedStreamDictionary::removeStream(const String&) {
    TARQ_FAIL("PackedStreamDictionary does not support removeStream");
    return false;
}

Stream* PackedStreamDictionary::openStream(const String& name) {
    const auto* const found = find(name);
    if (!found)
        return nullptr;
    auto* const section = new (getAllocator())
        SectionedStream(found->first, mStream, found->second.start, found->second.end, mIsExclusive);
    if (mBufferSize <= 0)
        return section;
    const StreamPtr shared(section);
    return new (getAllocator()) BufferedStream(shared, static_cast<uint32>(mBufferSize));
}

bool PackedStreamDictionary::existsStream(const String& name) const {
    return find(name) != nullptr;
}

void PackedStreamDictionary::getStreamNames(Container::Vector<String>& names) const {
    names.reserve(names.size() + mIndex.size());
    for (const auto& entry : mIndex)
        names.push_back(entry.first);
}

void PackedStreamDictionary::clear() {
    if (!mStream)
        return;
    mDataEnd = mBase + cHeaderSize;
    mShortCuts.clear();
    mIndex.clear();
    mIsModified = true;
}

void PackedStreamDictionary::close() {
    try {
        if (mIsModified && isClosed())
            Debug::report({Debug::LOG_ERROR, cClose}, "The underlying stream was closed before its dictionary");
        else if (mIsModified && mStream->canWrite())
            writeTable();
    } catch (...) {
        detach();
        throw;
    }
    detach();
}

void PackedStreamDictionary::writeTable() {
    const uint64 tablePosition = mStream->seek(static_cast<int64>(mDataEnd), SORIGIN_BEGIN);
    // Takes any name, and none of the allocator's bytes: an archive is completed also when there are none.
    unsigned char buffer[TARQ_PACKED_DICT_MAXNAMELENGTH];
    FieldWriter table(*mStream, buffer);
    table.putNumber(mIndex.size());
    for (const auto& entry : mIndex) {
        uint32 length = entry.first.length();
        if (!TARQ_ASSERT(length <= TARQ_PACKED_DICT_MAXNAMELENGTH, "Name of stream exceeds maximum name length of ",
                         TARQ_PACKED_DICT_MAXNAMELENGTH))
            length = TARQ_PACKED_DICT_MAXNAMELENGTH;
        table.putNumber(length);
        table.putBytes(entry.first.view().substr(0, length));
        table.putNumber(entry.second.start);
        table.putNumber(entry.second.end);
    }
    table.flush();
    unsigned char positions[2 * sizeof(uint64)];
    Platform::storeBigEndian(Platform::storeBigEndian(positions, tablePosition), mDataEnd);
    mStream->seek(static_cast<int64>(mBase + cTablePositionOffset), SORIGIN_BEGIN);
    mStream->write(positions, sizeof(positions));
}

void PackedStreamDictionary::detach() noexcept {
    mStream = nullptr;
    mName.clear();
    mShortCuts.clear();
    mIndex.clear();
    mDataEnd = 0;
    mBase = 0;
    mIsModified = false;
}

} // namespace Tarq::Common::IO
