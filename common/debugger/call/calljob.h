#pragma once

#include "common/debugger/clientinfo.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/memory/memorystream.h"
#include "common/reflection/function/functionregistrar.h"
#include "common/string.h"

#include <memory>

namespace Tarq::Common::Debugger {

class Server;

/// One call of a function of the host, as a client has asked for it. Keeps what the call needs, although the function's
/// module may go.
///
/// Threads: one at a time.
class TARQ_API CallJob : public Memory::MemoryManaged {
public:
    /// `arguments` are typed items, one for each argument, in the order of the declaration.
    CallJob(const ClientKey& client, const String& name, const Reflection::Function::FunctionRegistrarPtr& registrar,
            Reflection::Function::FunctionID functionID, std::unique_ptr<Memory::MemoryStream> arguments);
    ~CallJob() override;

    const String& getName() const noexcept { return mName; }
    const Reflection::Function::FunctionRegistrarPtr& getRegistrar() const noexcept { return mRegistrar; }
    /// What it keeps for the call, in bytes.
    uint64 getSize() const { return sizeof(CallJob) + mName.size() + mArguments->getLength(); }

    /// Calls the function, and sends the client the result. What cannot be called is asserted, and not answered. What
    /// the function throws passes on; there is no answer then.
    void execute(Server& server);

private:
    using Types = Reflection::Function::FunctionRegistrar::Types;

    bool readArguments(Reflection::Function::FunctionArgumentList& list);
    bool failToSet(uint32 index) const;
    bool call(void* result, const Reflection::Function::FunctionArgumentList& arguments) const;
    void reply(Server& server, Reflection::Datatype::DatatypeID resultType, const void* result) const;

    ClientKey mClient;
    String mName;
    Reflection::Function::FunctionRegistrarPtr mRegistrar;
    Reflection::Function::FunctionID mFunctionID;
    std::unique_ptr<Memory::MemoryStream> mArguments;
};

} // namespace Tarq::Common::Debugger
