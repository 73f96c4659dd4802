#include "common/exceptions/exception.h"
#include "common/interface.h"
#include "common/memory/memorystream.h"
#include "common/serialize/binaryserializestorage.h"

#include <cstdlib>

// Opens a stored file, skips everything in it, then reads everything.

using namespace Tarq::Common;
using Serialize::BinarySerializeStorage;
using Storage = Serialize::SerializeStorage;

namespace {

/// A stream without types has an assertion for those who ask for one.
class IgnoringCallback : public Callback::AssertCallback {
public:
    void showAssert(const char*, const char*, unsigned int) override {}
};

/// Runs `body` up to the exception in which it ends. What else is thrown ends the process.
template <class Body>
void runGuarded(Body body) {
    try {
        body();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
    }
}

template <class T>
void readValue(Storage& storage, void (Storage::*read)(const char*&, T&)) {
    const char* name = nullptr;
    T value{};
    (storage.*read)(name, value);
    if (name && String(name).length() > 65535)
        std::abort();
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

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Interface::initLibrary({});
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new IgnoringCallback));
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
    const Storage::PositionPtr start = storage.getPosition();
    runGuarded([&] {
        const char* name;
        for (uint32 type = 1; Storage::getItemTypeName(type);)
            storage.skipItem(name, type);
    });
    storage.setPosition(start);
    runGuarded([&] {
        // Where types are not stored the reader knows them; here, all of them come in turn.
        for (uint32 turn = 1; stream.getPosition() < size; turn = turn % Storage::ITEMTYPE_CLASS_ENTER + 1) {
            const uint8 type = storage.peekItemType();
            readItem(storage, type != 0 ? type : turn);
        }
    });
    return 0;
}
