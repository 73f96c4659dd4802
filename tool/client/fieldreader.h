#pragma once

#include "common/memory/memorystream.h"
#include "common/network/message/messagereader.h"
#include "common/string.h"
#include "common/types.h"

#include <type_traits>

namespace Tarq::Tool {

/// Reads the fields of a message that a peer sent, one after the other, and keeps what is wrong with it as a text.
///
/// `Network::Message::MessageReader` holds what does not fit for an error of the program and asserts. Here nothing is:
/// whether the value is there, whole and of the right type, is found out before it is read.
///
/// Ownership: the stream stays its owner's. Throws `OutOfMemoryException`.
class FieldReader {
public:
    explicit FieldReader(Common::Memory::MemoryStream& message);

    /// False, with a problem, when there is no such value; the field is left alone then.
    template <Common::Network::Message::StreamValue T>
    bool read(const char* field, T& value) {
        using namespace Common::Network::Message;
        return takeTag(field, getStreamID<T>()) && (hasBody<T>() || reportCutOff(field)) && mReader.read(value);
    }

    /// Takes the bytes that are left.
    void takeRest(Common::Container::Vector<Common::uint8>& bytes);
    /// Whether nothing is left; a problem otherwise.
    bool finish();

    const Common::String& getProblem() const noexcept { return mProblem; }

private:
    bool takeTag(const char* field, Common::Network::Message::StreamIDs expected);
    bool reportCutOff(const char* field);

    Common::uint64 bytesLeft() const { return mMessage.getLength() - mMessage.getPosition(); }
    /// Whether the value that comes is all there. The position stays.
    template <class T>
    bool hasBody() {
        using namespace Common;
        if constexpr (Network::Message::HasFixedWireForm<T>) {
            return bytesLeft() >= Network::Message::WireForm<T>::cSize;
        } else {
            const uint64 position = mMessage.getPosition();
            const bool isThere = skipCounted<T>();
            mMessage.seek(static_cast<int64>(position), IO::Stream::SORIGIN_BEGIN);
            return isThere;
        }
    }
    template <class T>
    bool skipCounted() {
        using namespace Common;
        uint32 count = 0;
        if (!mReader.read(count))
            return false;
        if constexpr (std::is_same_v<T, String>) {
            return skip(count);
        } else if constexpr (std::is_same_v<T, WString>) {
            return skip(uint64{count} * sizeof(uint16));
        } else if constexpr (Network::Message::HasFixedWireForm<typename T::value_type>) {
            return skip(uint64{count} * Network::Message::WireForm<typename T::value_type>::cSize);
        } else {
            bool isThere = true;
            for (; count != 0 && isThere; --count)
                isThere = skipCounted<typename T::value_type>();
            return isThere;
        }
    }
    bool skip(Common::uint64 numBytes);

    Common::Memory::MemoryStream& mMessage;
    Common::Network::Message::MessageReader mReader; ///< without tags: they are read here
    Common::String mProblem;
};

} // namespace Tarq::Tool
