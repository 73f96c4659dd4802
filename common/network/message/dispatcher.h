#pragma once

#include "common/container/lookup.h"
#include "common/export.h"
#include "common/io/stream.h"
#include "common/memory/memorymanaged.h"
#include "common/network/message/messagehandler.h"
#include "common/types.h"

namespace Tarq::Common::Network::Message {

/// Routes each message to the handler for its type: a uint32 with a tag, at the start of the message.
///
/// Ownership: owns the handlers. Threads: one at a time.
class TARQ_API Dispatcher : public Memory::MemoryManaged {
public:
    Dispatcher();
    ~Dispatcher() override;

    /// Takes the handler over. To be done before messages come.
    ///
    /// Asserts that there is one, and none yet for its messages; returns false, and leaves it to the caller, otherwise.
    /// One that is registered already stays the dispatcher's. Throws `OutOfMemoryException`, and leaves it to the
    /// caller then.
    bool registerMessageHandler(MessageHandler* handler);

    /// Lets the handler for its type handle the message, and returns what that returns.
    ///
    /// Asserts that the message has a type, that there is a handler, and that nothing is thrown; returns false
    /// otherwise. The stream stays its owner's.
    bool dispatch(IO::Stream* message, uint32 connection);

private:
    bool handle(IO::Stream* message, uint32 connection);

    Container::LookUp<uint32, MessageHandler*> mHandlers;
};

} // namespace Tarq::Common::Network::Message
