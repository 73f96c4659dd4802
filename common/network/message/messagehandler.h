#pragma once

#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/network/message/messagereader.h"
#include "common/string.h"
#include "common/types.h"

namespace Tarq::Common::Network::Message {

/// Answers the messages of one type. A `Dispatcher` calls it.
///
/// Ownership: the dispatcher that it is registered with deletes it. Threads: one at a time.
class TARQ_API MessageHandler : public Memory::MemoryManaged {
public:
    ~MessageHandler() override;

    /// Handles one message, whose reader stands behind the message's type; reader and stream last for this call only.
    /// `connection` is the sender's id. Returns whether the message was understood and answered. What it throws makes
    /// the dispatch fail.
    virtual bool handleMessage(MessageReader* reader, uint32 connection) = 0;
    /// Forgets the last message: no error, no text. To be called before a message is handled; a handler with fields of
    /// its own forgets these too.
    virtual void reset();

    uint32 getMessageTypeID() const noexcept { return mMessageTypeID; }
    /// 0 for none.
    uint8 getErrorCode() const noexcept { return mErrorCode; }
    const String& getErrorText() const noexcept { return mErrorText; }

protected:
    explicit MessageHandler(uint32 messageTypeID) noexcept;

    uint8 mErrorCode = 0;
    String mErrorText;

private:
    uint32 mMessageTypeID;
};

} // namespace Tarq::Common::Network::Message
