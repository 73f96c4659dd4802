#pragma once

#include "common/debugger/model/module.h"
#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

/// What every operation on the elements of a module holds: the data mutex, and then the module's own.
class ModelLock {
public:
    explicit ModelLock(const Module& module) : mData(Server::getDataMutex()), mOfModule(module.getMutex()) { ++tDepth; }
    ~ModelLock() { --tDepth; }
    ModelLock(const ModelLock&) = delete;
    ModelLock& operator=(const ModelLock&) = delete;

    /// Whether the calling thread has one: it is in the middle of an operation, and may not wait for a tool.
    static bool isSet() noexcept { return tDepth != 0; }

private:
    /// In the static block that every process sets aside for libraries loaded late: read without a call.
    [[gnu::tls_model("initial-exec")]] static inline thread_local constinit uint32 tDepth = 0;

    Server::DataLock mData;
    Threading::ScopedLock<Threading::Mutex> mOfModule;
};

} // namespace Tarq::Common::Debugger
