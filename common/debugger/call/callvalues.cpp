#include "common/debugger/call/callvalues.h"

#include "common/debug/assert.h"
#include "common/reflection/datatype/builtindatatypes.h"

namespace Tarq::Common::Debugger {

using Network::Message::MessageBuilder;
using Network::Message::MessageReader;
using Reflection::Datatype::DatatypeID;
using Reflection::Datatype::GET_DATATYPE_ID;
using Reflection::Function::FunctionArgumentList;

namespace {

/// Calls `visit` with the entry of the built-in type in the list, and returns what it returns; `otherwise` when this is
/// none.
template <class Visit, class Otherwise>
bool visitBuiltin(DatatypeID id, const Visit& visit, const Otherwise& otherwise) {
    bool isFound = false;
    bool result = false;
    Reflection::Datatype::forEachBuiltinDatatype([&]<class Entry>(const Entry& entry) {
        if (isFound || GET_DATATYPE_ID<typename Entry::Native>() != id)
            return;
        isFound = true;
        result = visit(entry);
    });
    return isFound ? result : otherwise();
}

template <class T>
bool readValue(MessageReader& reader, T& value) {
    return reader.read(value) || TARQ_FAIL("Couldn't read data type from stream");
}

template <class T>
bool readUntagged(MessageReader& reader, T& value) {
    return reader.readForceUseType(&value, Network::Message::getStreamID<T>(), false);
}

/// Whether a container of these begins here, with its count. The reader stays where it is.
template <class E>
bool beginsContainer(const MessageReader& reader) {
    IO::Stream& stream = *reader.getStream();
    const uint64 start = stream.getPosition();
    unsigned char head[1 + sizeof(uint32)];
    const bool isWhole = stream.read(head, sizeof(head)) == sizeof(head);
    stream.seek(static_cast<int64>(start), IO::Stream::SORIGIN_BEGIN);
    return isWhole && head[0] == Network::Message::getStreamID<Container::Vector<E>>();
}

template <class E>
bool readElements(MessageReader& reader, Container::Vector<E>& values) {
    // What has come before the failure is in the container.
    return reader.read(values) || TARQ_FAIL("Can't read the (", values.size(), ")th element from stream");
}

/// One after the other: when texts are read at once, it is not known which one is cut off.
template <class Char>
bool readElements(MessageReader& reader, Container::Vector<BasicString<Char>>& values) {
    uint8 tag = 0;
    uint32 count = 0;
    if (!readUntagged(reader, tag) || !readUntagged(reader, count))
        return TARQ_FAIL("Couldn't read the size of the vector");
    for (uint32 index = 0; index < count; ++index) {
        values.emplace_back();
        if (!readUntagged(reader, values.back()))
            return TARQ_FAIL("Can't read the (", index, ")th element from stream");
    }
    return true;
}

template <class E>
bool readValue(MessageReader& reader, Container::Vector<E>& values) {
    if (!beginsContainer<E>(reader))
        return TARQ_FAIL("Couldn't read the size of the vector");
    return readElements(reader, values);
}

} // namespace

bool readArgument(MessageReader& reader, FunctionArgumentList& list, uint32 index) {
    const DatatypeID type = list.getDatatypeID(index);
    return visitBuiltin(
        type,
        [&](const auto& entry) {
            auto value = entry.makeDefault(Memory::AllocatorPtr());
            return readValue(reader, value) && list.setValue(&value, index);
        },
        [type] { return TARQ_FAIL("Should read unsupported DatatypeID:", GetIDWrapperValue(type)); });
}

bool writeResult(MessageBuilder& builder, DatatypeID type, const void* value) {
    return visitBuiltin(
        type,
        [&]<class Entry>(const Entry&) {
            builder.write(*static_cast<const typename Entry::Native*>(value));
            return true;
        },
        [] { return TARQ_FAIL("Couldn't write value to stream"); });
}

} // namespace Tarq::Common::Debugger
