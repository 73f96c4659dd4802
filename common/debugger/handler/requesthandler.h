#pragma once

#include "common/debug/assert.h"
#include "common/debugger/messageid.h"
#include "common/debugger/outgoingmessage.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagehandler.h"

#include <initializer_list>
#include <memory>
#include <utility>

namespace Tarq::Common::Debugger {

class ClientInfo;
class Server;

/// A handler of what clients ask: reads the fields of the request, finds what they name, acts, replies. A request that
/// cannot be read is dropped; one that is refused is answered with a code and a text, and changes nothing
/// (but for a condition that is no formula).
///
/// Threads: the server thread, under the data mutex. The server outlives it.
class TARQ_API RequestHandler : public Network::Message::MessageHandler {
public:
    ~RequestHandler() override;

protected:
    using MessageBuilder = Network::Message::MessageBuilder;
    using MessageReader = Network::Message::MessageReader;

    /// `layout` describes the message in what is said when it cannot be read; null for one without fields.
    RequestHandler(Server* server, MessageID request, const char* layout) noexcept;

    /// Asserts "Couldn't read the ", the field's name, " out of the " and the layout; false then.
    template <class T>
    bool readField(MessageReader& reader, T& value, const char* name) const {
        return reader.read(value) || failToRead(name);
    }
    bool failToRead(const char* name) const;
    const char* getLayout() const noexcept { return mLayout; }

    /// Asserts "Internal Error: ClientInfo missing" when there is no such client; false then.
    bool findClient(ClientInfo*& client, uint32 connectionID) const;

    /// Sends a message, whose fields `writeFields` writes with a `MessageBuilder`. False, and it is deleted, when that
    /// is not possible.
    template <class WriteFields>
    bool send(uint32 connectionID, MessageID type, const WriteFields& writeFields) const {
        OutgoingMessage message(*mServer, type, cBlockSize);
        writeFields(message.builder());
        return message.sendTo(connectionID);
    }
    /// Sends the answer. Asserts "Couldn't send returning message back to client"; false then.
    template <class WriteFields>
    bool reply(uint32 connectionID, const WriteFields& writeFields) const {
        return sendReply(connectionID, writeFields) || failToReply();
    }
    /// The same without a report, for those who say it otherwise.
    template <class WriteFields>
    bool sendReply(uint32 connectionID, const WriteFields& writeFields) const {
        return send(connectionID, replyTo(mRequest), writeFields);
    }
    /// What every answer has: the code, 0 for none, and the text.
    void writeError(MessageBuilder& builder) const;

    /// Has the answer carry this error: a code that is not 0, and the text that the pieces make. Returns false, for
    /// those who look for something.
    bool refuse(uint8 code, std::initializer_list<Debug::TextPiece> text);
    /// The same for a text that begins with "Client (", the client's computer, ", " and its user.
    bool refuse(const ClientInfo& client, uint8 code, std::initializer_list<Debug::TextPiece> text);

    std::unique_ptr<Memory::MemoryStream> makeStream(const char* name) const;

    Server* mServer;

private:
    /// Most answers are short; longer ones take more blocks.
    static constexpr uint32 cBlockSize = 1024;

    bool failToReply() const;

    MessageID mRequest;
    const char* mLayout;
};

} // namespace Tarq::Common::Debugger
