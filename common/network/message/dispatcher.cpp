#include "common/network/message/dispatcher.h"

#include "common/debug/assert.h"
#include "common/exceptions/internal/guarded.h"

namespace Tarq::Common::Network::Message {

Dispatcher::Dispatcher() : mHandlers(getAllocator()) {}

Dispatcher::~Dispatcher() {
    for (const auto& entry : mHandlers)
        delete entry.second;
}

bool Dispatcher::registerMessageHandler(MessageHandler* handler) {
    if (!TARQ_ASSERT(handler, "there is no messageHandler to register"))
        return false;
    const uint32 messageTypeID = handler->getMessageTypeID();
    return TARQ_ASSERT_AS(nullptr, mHandlers.insert(messageTypeID, handler).second,
                          "another messageHandler is already registered for this messageID: ", messageTypeID);
}

bool Dispatcher::dispatch(IO::Stream* message, uint32 connection) {
    if (!TARQ_ASSERT(message, "there is no message to dispatch"))
        return false;
    Exceptions::CaughtText caught;
    const bool isHandled = Exceptions::runGuarded(caught, [&] { return handle(message, connection); });
    if (caught.isCaught())
        TARQ_FAIL("a message couldn't be handled: ", caught.getText());
    return isHandled;
}

bool Dispatcher::handle(IO::Stream* message, uint32 connection) {
    MessageReader reader(message, true);
    uint32 messageTypeID = 0;
    if (!reader.read(messageTypeID))
        return TARQ_FAIL("Couldn't read the MessageTypeID out of the Stream -> messageStream can't be dispatched");
    const auto found = mHandlers.find(messageTypeID);
    if (found == mHandlers.end())
        return TARQ_FAIL("No MessageHandler registered for MessageTypeID: ", messageTypeID);
    return found->second->handleMessage(&reader, connection);
}

} // namespace Tarq::Common::Network::Message
