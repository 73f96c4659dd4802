#pragma once

#include "common/debugger/clientinfo.h"
#include "common/debugger/handler/requesthandler.h"
#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectinstance.h"

namespace Tarq::Common::Debugger {

/// A handler of requests about one element of a module that the sender is connected to.
///
/// The answer repeats the fields of the request, says the code and the text, and then what the request is about.
class TARQ_API ModuleRequestHandler : public RequestHandler {
public:
    ~ModuleRequestHandler() override;

    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) final;
    void reset() override;

protected:
    ModuleRequestHandler(Server* server, MessageID request, const char* layout) noexcept;

    /// Asserts what is missing; the request is dropped then.
    virtual bool readFields(MessageReader& reader) = 0;
    /// Finds module and element. Refuses the request, and returns false, when there is none, when the module is not
    /// connected to the sender, and when there is nothing to do.
    virtual bool find() = 0;
    /// Does what is asked for with what has been found; may refuse it as well. False, after an assertion, when it is
    /// neither done nor refused: the request is dropped then. `reader` stands behind the fields.
    virtual bool act(MessageReader& reader) = 0;
    virtual void writeFields(MessageBuilder& builder) const = 0;
    /// Writes what comes behind code and text. None by default.
    virtual void writeData(MessageBuilder& builder);

    // For `find`. Elements that are not attached are unknown to tools: null, like those that there are not.

    bool findModule();
    bool isConnected() const noexcept { return mModule->getClient() == mClient; }
    ObjectInstance* findObjectInstance(uint32 id) const noexcept;
    BreakpointInstance* findBreakpointInstance(uint32 id) const noexcept;
    /// For a text that begins with the client.
    bool refuseClient(uint8 code, std::initializer_list<Debug::TextPiece> text) { return refuse(*mClient, code, text); }

    uint32 mModuleID = 0;
    Module* mModule = nullptr;

private:
    ClientInfo* mClient = nullptr;
};

} // namespace Tarq::Common::Debugger
