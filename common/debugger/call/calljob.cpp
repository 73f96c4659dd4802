#include "common/debugger/call/calljob.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/call/callvalues.h"
#include "common/debugger/outgoingmessage.h"
#include "common/debugger/server.h"
#include "common/reflection/datatype/datatypemanager.h"
#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/reflectioninterface.h"

#include <utility>

namespace Tarq::Common::Debugger {

using Reflection::Datatype::DatatypeID;
using Reflection::Function::FunctionArgumentList;

namespace {

/// A value that a function assigns its result to; none where it returns nothing.
class ResultValue {
public:
    ResultValue(DatatypeID type, const Memory::AllocatorPtr& allocator)
        : mType(Reflection::ReflectionInterface::getDatatypeManager()->getDatatype(type)), mAllocator(allocator),
          mValue(mType ? mType->createValue(mAllocator) : nullptr) {}
    ~ResultValue() {
        if (mType)
            mType->deleteValue(mValue, mAllocator);
    }
    ResultValue(const ResultValue&) = delete;
    ResultValue& operator=(const ResultValue&) = delete;

    bool isMissing() const noexcept { return mType && !mValue; }
    void* get() const noexcept { return mValue; }

private:
    const Reflection::Datatype::DatatypeBase* mType;
    Memory::AllocatorPtr mAllocator;
    void* mValue;
};

} // namespace

CallJob::CallJob(const ClientKey& client, const String& name,
                 const Reflection::Function::FunctionRegistrarPtr& registrar,
                 Reflection::Function::FunctionID functionID, std::unique_ptr<Memory::MemoryStream> arguments)
    : mClient(client), mName(name), mRegistrar(registrar), mFunctionID(functionID), mArguments(std::move(arguments)) {}

CallJob::~CallJob() = default;

void CallJob::execute(Server& server) {
    Types signature(getAllocator());
    if (!mRegistrar->getArgumentSignature(signature, mFunctionID))
        return;
    FunctionArgumentList arguments(signature, getAllocator());
    if (!readArguments(arguments))
        return;
    const DatatypeID resultType = mRegistrar->getReturnValueType(mFunctionID);
    const ResultValue result(resultType, getAllocator());
    if (TARQ_ASSERT_AS(nullptr, !result.isMissing(), "No memory for the result of the RPC (", mName, ")") &&
        call(result.get(), arguments))
        reply(server, resultType, result.get());
}

bool CallJob::readArguments(FunctionArgumentList& list) {
    Network::Message::MessageReader reader(mArguments.get(), true);
    for (uint32 index = 0; index < list.size(); ++index) {
        if (!readArgument(reader, list, index))
            return failToSet(index);
    }
    return reader.isFinished() || failToSet(list.size());
}

bool CallJob::failToSet(uint32 index) const {
    return TARQ_FAIL("Couldn't set the", index, "th value out of the stream for an RPC (", mName, ")");
}

bool CallJob::call(void* result, const FunctionArgumentList& arguments) const {
    const bool isCalled = result ? mRegistrar->callFunction(result, mFunctionID, nullptr, arguments)
                                 : mRegistrar->callFunction(mFunctionID, nullptr, arguments);
    return TARQ_ASSERT_AS(nullptr, isCalled, "Couldn't call the RPC (", mName, ")");
}

void CallJob::reply(Server& server, DatatypeID resultType, const void* result) const {
    OutgoingMessage message(server, replyTo(MessageID::CALL));
    message.builder().write(mName);
    if (result && !writeResult(message.builder(), resultType, result))
        return;
    const Server::DataLock inside(Server::getDataMutex());
    ClientKey now;
    if (!server.getClientKey(now, mClient.mConnectionID) || now != mClient)
        Debug::report({Debug::LOG_ERROR, "Tarq::Common::Debugger::RPCHelper::run"}, "The client that has called ",
                      mName, " is gone");
    else if (!message.sendTo(mClient))
        TARQ_FAIL("Couldn't send returning message back to client");
}

} // namespace Tarq::Common::Debugger
