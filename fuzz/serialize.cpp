#include "common/exceptions/exception.h"
#include "common/memory/memorystream.h"
#include "common/serialize/binaryserializestorage.h"
#include "fuzz/library.h"

#include <cstdlib>

// Opens a stored file, skips and reads each item in it. Both must get equally far.

using namespace Tarq::Common;
using Serialize::BinarySerializeStorage;
using Storage = Serialize::SerializeStorage;

namespace {

/// Runs `body`, and returns false when it ends in an exception. What else is thrown ends the process.
template <class Body>
bool runGuarded(Body body) {
    try {
        body();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        return false;
    }
    return true;
}

template <class T>
void readValue(Storage& storage, void (Storage::*read)(const char*&, T&)) {
    const char* name = nullptr;
    T value{};
    (storage.*read)(name, value);
}

void readItem(Storage& storage, uint32 type) {
    using enum Storage::ItemType;
    const char *name, *typeName, *secondTypeName;
    uint32 value;
    switch (type) {
    case ITEMTYPE_BOOL:
        return readValue(storage, &Storage::readBool);
    case ITEMTYPE_UINT08:
        return readValue(storage, &Storage::readUInt08);
    case ITEMTYPE_INT08:
        return readValue(storage, &Storage::readInt08);
    case ITEMTYPE_UINT16:
        return readValue(storage, &Storage::readUInt16);
    case ITEMTYPE_INT16:
        return readValue(storage, &Storage::readInt16);
    case ITEMTYPE_UINT32:
        return readValue(storage, &Storage::readUInt32);
    case ITEMTYPE_INT32:
        return readValue(storage, &Storage::readInt32);
    case ITEMTYPE_UINT64:
        return readValue(storage, &Storage::readUInt64);
    case ITEMTYPE_INT64:
        return readValue(storage, &Storage::readInt64);
    case ITEMTYPE_FLOAT32:
        return readValue(storage, &Storage::readFloat32);
    case ITEMTYPE_FLOAT64:
        return readValue(storage, &Storage::readFloat64);
    case ITEMTYPE_BSTRING:
        return readValue(storage, &Storage::readBString);
    case ITEMTYPE_WSTRING:
        return readValue(storage, &Storage::readWString);
    case ITEMTYPE_CLASS_ENTER:
        return storage.readClassEnter(name, typeName, secondTypeName, value);
    default:
        return storage.readClassExit();
    }
}

/// Reads an item, of a class all that is in it.
void readWhole(Storage& storage) {
    uint64 depth = 0;
    do {
        const uint8 type = storage.peekItemType();
        readItem(storage, type);
        depth += type == Storage::ITEMTYPE_CLASS_ENTER ? 1u : 0u;
        depth -= type == Storage::ITEMTYPE_CLASS_EXIT && depth != 0 ? 1u : 0u;
    } while (depth != 0);
}

/// Returns whether there was an item.
bool skipAndRead(Storage& storage, const IO::Stream& stream) {
    const Storage::PositionPtr start = storage.getPosition();
    const char* name;
    uint32 type = 0;
    const bool isSkipped = runGuarded([&] { storage.skipItem(name, type); });
    const uint64 end = stream.getPosition();
    storage.setPosition(start);
    if (isSkipped && !Storage::getItemTypeName(type))
        return false;
    const bool isRead = runGuarded([&] { readWhole(storage); });
    if (isRead != isSkipped || (isRead && stream.getPosition() != end))
        std::abort();
    return isRead;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Tarq::Fuzz::bringUp();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    Memory::MemoryStream stream("fuzzed", 4096);
    stream.write(data, size);
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    BinarySerializeStorage storage(Storage::SMODE_INPUT, Platform::Endian::ENDIAN_LITTLE);
    bool isOpen = false;
    runGuarded([&] { isOpen = storage.open(&stream); });
    if (!isOpen)
        return 0;
    while (skipAndRead(storage, stream)) {
    }
    runGuarded([&] {
        // Where types are not stored the reader knows them; here, all of them come in turn.
        for (uint32 turn = 1; storage.peekItemType() == 0; turn = turn % Storage::ITEMTYPE_CLASS_ENTER + 1)
            readItem(storage, turn);
    });
    return 0;
}
