#pragma once

#include "common/debugger/messageid.h"
#include "common/debugger/server.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"

#include <memory>

namespace Tarq::Common::Debugger {

/// A message to a client, which begins with its type. Dropped unless it is sent.
///
///     OutgoingMessage message(server, MessageID::MODULE_SHUTDOWN);
///     message.builder().write(moduleID);
///     if (!message.sendTo(connectionID))
///         ...;
class OutgoingMessage {
public:
    /// Most messages are shorter than a block; longer ones take more of them. Throws `OutOfMemoryException`.
    OutgoingMessage(Server& server, MessageID type, uint32 blockSize = 128)
        : mServer(server), mStream(new (server.getAllocator()) Memory::MemoryStream("stream", blockSize)),
          mBuilder(mStream.get(), true) {
        mBuilder.write(static_cast<uint32>(type));
    }

    Network::Message::MessageBuilder& builder() noexcept { return mBuilder; }

    /// Queues it for a client, who is named as in `Server::sendMessage`. Once.
    template <class Client>
    bool sendTo(const Client& client) {
        if (!mServer.sendMessage(client, mStream.get()))
            return false;
        static_cast<void>(mStream.release()); // it is the connection's now
        return true;
    }

private:
    Server& mServer;
    std::unique_ptr<Memory::MemoryStream> mStream;
    Network::Message::MessageBuilder mBuilder;
};

} // namespace Tarq::Common::Debugger
