#include "common/network/message/messagehandler.h"

namespace Tarq::Common::Network::Message {

MessageHandler::MessageHandler(uint32 messageTypeID) noexcept : mMessageTypeID(messageTypeID) {}

MessageHandler::~MessageHandler() = default;

void MessageHandler::reset() {
    mErrorCode = 0;
    mErrorText.clear();
}

} // namespace Tarq::Common::Network::Message
