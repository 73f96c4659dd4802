#pragma once

#include "common/export.h"
#include "common/string.h"
#include "common/types.h"

namespace Tarq::Common::Debugger {

/// What the server knows of a client, which is whoever has a connection to it.
///
/// Threads: guarded by the server's data mutex. Ownership: the server's; it goes with the connection.
class TARQ_API ClientInfo {
public:
    ClientInfo(uint32 connectionID, uint64 generation) noexcept
        : mConnectionID(connectionID), mGeneration(generation) {}
    virtual ~ClientInfo();
    ClientInfo(const ClientInfo&) = delete;
    ClientInfo& operator=(const ClientInfo&) = delete;

    String mComputerName;    ///< empty until the client has said who it is
    String mUserName;        ///< likewise
    bool mBreakflag = false; ///< whether every breakpoint of what it is connected to holds
    uint32 mConnectionID;
    uint64 mGeneration; ///< tells clients apart that come one after the other on the same connection ID
};

/// One client, and no later one on the same connection ID: for answers that may come late. Good for one instance of the
/// server.
struct ClientKey {
    uint32 mConnectionID = 0;
    uint64 mGeneration = 0; ///< that of no client

    friend bool operator==(const ClientKey&, const ClientKey&) = default;
};

} // namespace Tarq::Common::Debugger
