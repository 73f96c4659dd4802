#pragma once

#include "tests/network/sockets/connectedpair.h"
#include "tests/support/streams.h"

#include "common/memory/memorystream.h"
#include "common/network/reactor.h"

#include <functional>
#include <string>
#include <utility>

namespace Tarq::Test {

using Common::Network::EventHandlerType;
using Common::Network::Reactor;

/// Long enough for whatever is to come; a test that waits for this long has failed.
inline constexpr Common::int32 cLongMicroseconds = 20000000;

/// Writes its name into a log when it is called, and once more, with an exclamation mark, when it is deleted.
class RecordingHandler : public Common::Network::EventHandler {
public:
    RecordingHandler(std::string& log, std::string name, EventHandlerType type, TCPSocket* socket)
        : EventHandler(type, socket), mLog(log), mName(std::move(name)) {}
    ~RecordingHandler() override { mLog += mName + "! "; }

    bool handleEvent() override {
        mLog += mName + ' ';
        if (onEvent)
            onEvent();
        return mResult;
    }

    std::function<void()> onEvent;
    bool mResult = true;

private:
    std::string& mLog;
    std::string mName;
};

/// On the global heap.
inline RecordingHandler* makeHandler(std::string& log, const std::string& name, EventHandlerType type,
                                     TCPSocket* socket) {
    return new (globalHeap()) RecordingHandler(log, name, type, socket);
}

/// A finished message with these bytes; its position is at the end.
inline Common::IO::Stream* makeMessage(const std::string& bytes) {
    auto* const stream = new (globalHeap()) Common::Memory::MemoryStream("message", 1000);
    stream->write(bytes.data(), bytes.size());
    return stream;
}

/// The bytes as they go over the connection.
inline std::string packetOf(const std::string& bytes) {
    const std::size_t length = bytes.size();
    const char prefix[] = {static_cast<char>(length >> 24), static_cast<char>(length >> 16),
                           static_cast<char>(length >> 8), static_cast<char>(length)};
    return std::string(prefix, sizeof(prefix)) + bytes;
}

} // namespace Tarq::Test
