#include "common/library.h"
#include "common/memory/memorystream.h"
#include "common/reflection/reflectioninterface.h"
#include "common/serialize/binaryserializestorage.h"
#include "fuzz/library.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

// Makes a value of every built-in type from a text.

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection;
using Serialize::BinarySerializeStorage;

namespace {

constexpr auto cByteOrder = Platform::Endian::ENDIAN_LITTLE;

void store(const Datatype::DatatypeBase& datatype, const void* value, IO::Stream& stream) {
    BinarySerializeStorage output(BinarySerializeStorage::SMODE_OUTPUT, cByteOrder);
    output.open(&stream);
    datatype.writeValue(value, &output);
    output.close();
}

std::string bytesOf(IO::Stream& stream) {
    std::string bytes(stream.getLength(), '\0');
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    stream.read(bytes.data(), bytes.size());
    return bytes;
}

/// Stores a value and reads it into a default one; the two hold the same bytes in a storage then.
void checkStoredForm(const Datatype::DatatypeBase& datatype, const void* value) {
    void* const copy = datatype.createValue();
    Memory::MemoryStream stored("stored", 4096);
    Memory::MemoryStream storedAgain("stored again", 4096);
    store(datatype, value, stored);
    BinarySerializeStorage input(BinarySerializeStorage::SMODE_INPUT, cByteOrder);
    stored.seek(0, IO::Stream::SORIGIN_BEGIN);
    input.open(&stored);
    datatype.readValue(copy, &input);
    store(datatype, copy, storedAgain);
    if (bytesOf(stored) != bytesOf(storedAgain))
        std::abort();
    datatype.deleteValue(copy);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Tarq::Fuzz::bringUpWithTypes();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    // A text has up to 65535 characters where it is stored.
    const String text(std::string_view(reinterpret_cast<const char*>(data), std::min<std::size_t>(size, 65535)));
    const Memory::AllocatorPtr& allocator = Library::getTempAlloc();
    for (uint32 id = 0; Datatype::DatatypeBase* const datatype =
                            ReflectionInterface::getDatatypeManager()->getDatatype(Datatype::DatatypeID(id));
         ++id) {
        if (datatype->getName() == "Container[WString]") // has no text form
            continue;
        void* const value = datatype->parseValue(text, allocator);
        if (!value)
            std::abort();
        checkStoredForm(*datatype, value);
        datatype->deleteValue(value, allocator);
    }
    return 0;
}
