#pragma once

#include "common/debug/assert.h"
#include "common/debugger/messageid.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagehandler.h"

#include <initializer_list>
#include <memory>
#include <utility>

namespace Tarq::Common::Debugger {

class Server;

/// A handler of what clients ask: reads the fields of the request, acts, replies.
///
/// Threads: the server thread, under the data mutex. The server outlives it.
class TARQ_API RequestHandler : public Network::Message::MessageHandler {
public:
    ~RequestHandler() override;

protected:
    /// `layout` describes the message in what is said when it cannot be read.
    RequestHandler(Server* server, MessageID request, const char* layout) noexcept;

    /// Asserts "Couldn't read the ", the field's name, " out of the " and the layout; false then.
    template <class T>
    bool readField(Network::Message::MessageReader& reader, T& value, const char* name) const {
        return reader.read(value) || failToRead(name);
    }

    /// Sends the answer, whose fields `writeFields` writes with a `MessageBuilder`. Asserts "Couldn't send returning
    /// message back to client"; false then.
    template <class WriteFields>
    bool reply(uint32 connectionID, const WriteFields& writeFields) const {
        std::unique_ptr<Memory::MemoryStream> message = makeMessage();
        Network::Message::MessageBuilder builder(message.get(), true);
        builder.write(static_cast<uint32>(replyTo(mRequest)));
        writeFields(builder);
        return sendReply(connectionID, std::move(message));
    }

    /// Has the answer carry this error: a code that is not 0, and the text that the pieces make.
    void refuse(uint8 code, std::initializer_list<Debug::TextPiece> text);

    Server* mServer;

private:
    bool failToRead(const char* name) const;
    std::unique_ptr<Memory::MemoryStream> makeMessage() const;
    bool sendReply(uint32 connectionID, std::unique_ptr<Memory::MemoryStream> message) const;

    MessageID mRequest;
    const char* mLayout;
};

} // namespace Tarq::Common::Debugger
