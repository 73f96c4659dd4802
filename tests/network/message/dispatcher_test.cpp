#include "common/network/message/dispatcher.h"

#include "tests/network/message/messages.h"

#include "common/exceptions/invalidstateexception.h"
#include "common/threading/thread.h"

#include <stdexcept>

using namespace Tarq::Test;

namespace {

const std::string cDispatcher = "common/network/message/dispatcher: \nError Message: ";
const std::string cNoMessageType = cDispatcher + "Couldn't read the MessageTypeID out of the Stream -> messageStream "
                                                 "can't be dispatched";

/// Notes what it is called with; the number behind the message's type says what it does.
class NotingHandler : public MessageHandler {
public:
    enum : uint8 { REFUSE, HANDLE, THROW_OWN, THROW_STANDARD, THROW_OTHER, END_THREAD };

    NotingHandler(uint32 messageTypeID, Texts& notes) : MessageHandler(messageTypeID), mNotes(notes) {}
    ~NotingHandler() override { mNotes.push_back("deleted " + std::to_string(getMessageTypeID())); }

    bool handleMessage(MessageReader* reader, uint32 connection) override {
        reset();
        CHECK(reader->read(mErrorCode));
        mErrorText = "text";
        mNotes.push_back(std::to_string(getMessageTypeID()) + " from " + std::to_string(connection));
        if (mErrorCode == THROW_OWN)
            throw new Exceptions::InvalidStateException("not now");
        if (mErrorCode == THROW_STANDARD)
            throw std::length_error("too long");
        if (mErrorCode == THROW_OTHER)
            throw 42;
        if (mErrorCode == END_THREAD)
            Threading::Thread::exit(42);
        return mErrorCode == HANDLE;
    }

private:
    Texts& mNotes;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a message reaches the handler for its type, and what goes wrong is reported") {
    Texts notes;
    auto* const dispatcher = new (allocator()) Dispatcher;
    for (const uint32 type : {42u, 0x01000003u})
        CHECK(dispatcher->registerMessageHandler(new (allocator()) NotingHandler(type, notes)));
    const auto dispatch = [&](const std::string& hex) {
        bool isHandled = false;
        std::string outcome;
        const std::string bytes = bytesOf(hex);
        MemoryStream stream("message", 65535);
        stream.write(bytes.data(), bytes.size());
        outcome = outcomeOf([&] { isHandled = dispatcher->dispatch(&stream, 7); });
        for (const std::string& note : notes)
            outcome += (outcome.empty() ? "" : "; ") + note;
        notes.clear();
        return (isHandled ? "true " : "false ") + outcome;
    };
    CHECK(dispatch("07 00 00 00 2a 05 01") == "true 42 from 7");
    CHECK(dispatch("07 01 00 00 03 05 01 ff ff") == "true 16777219 from 7");
    CHECK(dispatch("07 00 00 00 2a 05 00") == "false 42 from 7");
    CHECK(dispatch("07 00 00 00 2a 05 02") ==
          "false " + cDispatcher + "a message couldn't be handled: not now; 42 from 7");
    CHECK(dispatch("07 00 00 00 2a 05 03") ==
          "false " + cDispatcher + "a message couldn't be handled: too long; 42 from 7");
    CHECK(dispatch("07 00 00 00 2a 05 04") ==
          "false " + cDispatcher + "a message couldn't be handled: an exception of a type unknown here; 42 from 7");
    CHECK(dispatch("07 00 00 00 2b") == "false " + cDispatcher + "No MessageHandler registered for MessageTypeID: 43");
    CHECK(dispatch("07 00 00 00") == "false " + cNoMessageType);
    CHECK(dispatch("") == "false " + cNoType + "; " + cNoMessageType);
    CHECK(dispatch("47 45 54 20 2f") ==
          "false " + cReader + "MessageReader verification found wrong type: expected(STREAM_TYPE_UINT32) found(71); " +
              cNoMessageType);
    delete dispatcher;
    CHECK(notes == Texts{"deleted 42", "deleted 16777219"});
}

TEST_CASE_FIXTURE(LibraryTest, "a handler is registered once, and stays with its maker when it is refused") {
    Texts notes;
    Dispatcher dispatcher;
    CHECK(dispatcher.registerMessageHandler(new (allocator()) NotingHandler(42, notes)));
    NotingHandler second(42, notes);
    CHECK(outcomeOf([&] { CHECK(!dispatcher.registerMessageHandler(&second)); }) ==
          cDispatcher + "another messageHandler is already registered for this messageID: 42");
    CHECK(outcomeOf([&] { CHECK(!dispatcher.registerMessageHandler(nullptr)); }) ==
          "common/network/message/dispatcher: handler\nError Message: there is no messageHandler to register");
    CHECK(outcomeOf([&] { CHECK(!dispatcher.dispatch(nullptr, 7)); }) ==
          "common/network/message/dispatcher: message\nError Message: there is no message to dispatch");
    MemoryStream closed("closed", 16);
    closed.close();
    CHECK(outcomeOf([&] { CHECK(!dispatcher.dispatch(&closed, 7)); }) ==
          cDispatcher + "a message couldn't be handled: Try to seek in a closed MemoryStream");
    CHECK(notes.empty());
}

TEST_CASE_FIXTURE(LibraryTest, "a handler may end the thread that dispatches") {
    Texts notes;
    Dispatcher dispatcher;
    CHECK(dispatcher.registerMessageHandler(new (allocator()) NotingHandler(42, notes)));
    const auto run = [](void* argument) {
        const std::string bytes = bytesOf("07 00 00 00 2a 05 05");
        MemoryStream stream("message", 65535);
        stream.write(bytes.data(), bytes.size());
        return static_cast<Dispatcher*>(argument)->dispatch(&stream, 7) ? 1 : 0;
    };
    Threading::Thread thread(run, &dispatcher, "dispatching", 0);
    CHECK(thread.join() == 42);
    CHECK(notes == Texts{"42 from 7"});
}

TEST_CASE_FIXTURE(LibraryTest, "a handler is reset to no error and no text") {
    Texts notes;
    NotingHandler handler(42, notes);
    CHECK(handler.getMessageTypeID() == 42);
    RecordingStream stream("\x05\x01");
    MessageReader reader(&stream, true);
    CHECK(handler.handleMessage(&reader, 7));
    CHECK((handler.getErrorCode() == 1 && handler.getErrorText() == "text"));
    handler.reset();
    CHECK((handler.getErrorCode() == 0 && handler.getErrorText() == ""));
}
