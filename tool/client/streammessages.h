#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"
#include "tool/client/plainreply.h"
#include "tool/client/variablemessages.h"

#include "common/string.h"
#include "common/types.h"

#include <tuple>

/// Messages about files that a host reads on the tool's machine.
namespace Tarq::Tool {

/// Offers bytes that a host may ask for from now on.
struct RegisterStream {
    using Reply = PlainReply<RegisterStream>;
    static constexpr MessageID cID = MessageID::MESSAGE_REGISTER_STREAM;
    static constexpr std::size_t cIdentifyingFields = 3;

    Common::String name;
    Common::uint32 streamID = 0; ///< chosen by the tool; no other stream of the host has it
    Common::uint32 length = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"networkStreamName", &RegisterStream::name},
                          Field{"networkStreamID", &RegisterStream::streamID},
                          Field{"networkStreamLength", &RegisterStream::length});
    }
};

/// Ends what a host reads of the stream.
struct DeregisterStream {
    using Reply = PlainReply<DeregisterStream>;
    static constexpr MessageID cID = MessageID::MESSAGE_DEREGISTER_STREAM;
    static constexpr std::size_t cIdentifyingFields = 1;

    Common::uint32 streamID = 0;

    static constexpr auto fields() { return std::tuple(Field{"networkStreamID", &DeregisterStream::streamID}); }
};

/// A host waits for bytes of a stream.
struct StreamDataRequest {
    static constexpr MessageID cID = MessageID::MESSAGE_REQUEST_STREAM_DATA;

    Common::uint32 streamID = 0;
    Common::uint32 position = 0;
    Common::uint32 amount = 0;

    static constexpr auto fields() {
        return std::tuple(Field{"networkStreamID", &StreamDataRequest::streamID},
                          Field{"read position", &StreamDataRequest::position},
                          Field{"requested amount", &StreamDataRequest::amount});
    }
};

struct StreamData {
    static constexpr MessageID cID = MessageID::MESSAGE_STREAM_DATA;

    Common::uint32 streamID = 0;
    Bytes data = noBytes(); ///< from the position that was asked for on; no more than was asked for

    static constexpr auto fields() {
        return std::tuple(Field{"networkStreamID", &StreamData::streamID}, Field{"dataStream", &StreamData::data});
    }
};

} // namespace Tarq::Tool
