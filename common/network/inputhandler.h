#pragma once

#include "common/io/stream.h"
#include "common/network/eventhandler.h"

#include <memory>

namespace Tarq::Common::Network {

enum InputHandlerState : int32 {
    INSTATE_FAILED = 0, ///< every event returns false
    INSTATE_INIT = 1,   ///< the next event calls `initialize`
    INSTATE_READ_LENGTH = 2,
    INSTATE_READ_DATA = 3,
};

/// A handler for a socket that something arrives at.
class TARQ_API InputHandler : public EventHandler {
public:
    ~InputHandler() override;

    InputHandlerState getState() const noexcept { return mState; }

protected:
    explicit InputHandler(Sockets::TCPSocket* socket) noexcept : EventHandler(EVENTHANDLER_READ, socket) {}

    InputHandlerState mState = INSTATE_INIT;
    std::unique_ptr<IO::Stream> mMessageStream; ///< what is being received; null when there is nothing
};

} // namespace Tarq::Common::Network
