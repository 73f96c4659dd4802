#pragma once

#include "tests/support/hex.h"
#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagereader.h"
#include "common/reflection/datatype/stringconversionfunctions.h"

#include <set>
#include <type_traits>

/// Messages and values for the tests of the message format.
namespace Tarq::Test {

using namespace Common;
using namespace Common::Network::Message;
using Memory::MemoryStream;
using Reflection::Datatype::forEachBuiltinDatatype;
template <class E>
using Vector = Container::Vector<E>;

/// What `build` makes of a builder.
template <class Build>
std::string messageOf(Build build, bool useType = true) {
    RecordingStream stream;
    MessageBuilder builder(&stream, useType);
    build(builder);
    return stream.getBytes();
}

/// Calls `use` with the bytes in a stream that has them together, in ones that have them in pieces, and in one that has
/// no memory to look into.
template <class Use>
void inEachStream(const std::string& bytes, Use use) {
    for (const uint32 blockSize : {65535u, 7u, 1u}) {
        CAPTURE(blockSize);
        MemoryStream stream("message", blockSize);
        stream.write(bytes.data(), bytes.size());
        use(stream);
    }
    RecordingStream stream(bytes);
    use(stream);
    stream.limitReads(3);
    use(stream);
}

/// Tells of another length than it has.
class TellingStream : public RecordingStream {
public:
    TellingStream(const std::string& contents, uint64 length) : RecordingStream(contents), mLength(length) {}

    uint64 getLength() const override { return mLength; }

private:
    uint64 mLength;
};

/// A value of a built-in type: 1, or what comes next to it; of a container three elements, not all the same.
template <class T>
T sampleOf(const Memory::AllocatorPtr& allocator) {
    if constexpr (StreamContainer<T>::value) {
        using Form = Reflection::Datatype::TextForm<typename T::value_type>;
        const auto one = Form::convert("1", allocator);
        return T(allocator, {one, Form::convert("0", allocator), one});
    } else {
        return Reflection::Datatype::TextForm<T>::convert("1", allocator);
    }
}
/// Another one.
template <class T>
T emptyOf(const Memory::AllocatorPtr& allocator) {
    if constexpr (StreamContainer<T>::value)
        return T(allocator);
    else
        return Reflection::Datatype::TextForm<T>::convert("0", allocator);
}

/// Reads a T out of the stream and says what came of it: the value's own message, or what was asserted; and where the
/// stream is.
template <class T>
std::string readingFrom(IO::Stream& stream, const T& value, bool useType = true) {
    T found = value;
    MessageReader reader(&stream, useType);
    bool isRead = false;
    const std::string outcome = outcomeOf([&] { isRead = reader.read(found); });
    CHECK((!isRead || outcome.empty()));
    const std::string rest = messageOf([&](MessageBuilder& builder) { builder.write(found); }, false);
    return (isRead ? "read " : "failed ") + hexOf(rest) + " at " + std::to_string(stream.getPosition()) +
           (outcome.empty() ? "" : ", " + outcome);
}

/// The same for the bytes in each kind of stream.
template <class T>
std::string readingOf(const std::string& hex, T value, bool useType = true) {
    std::set<std::string> readings;
    inEachStream(bytesOf(hex), [&](IO::Stream& stream) { readings.insert(readingFrom(stream, value, useType)); });
    CHECK(readings.size() == 1);
    return *readings.begin();
}

inline const std::string cReader = "common/network/message/messagereader: \nError Message: ";
inline const std::string cNoType =
    cReader + "Type couldn't be verified by MessageReader: couldn't read the type out of the stream";
inline const std::string cNoCount =
    cReader + "number of children of an array/String couldn't be extracted from the stream";
inline const std::string cThrown = cReader + "MessageReader couldn't read out of the stream: ";

} // namespace Tarq::Test
