#pragma once

#include "common/network/sockets/hostaddress.h"

namespace Tarq::Common::Debugger {

/// Decides who may connect. Ownership: the host's, which takes it out of the server before it goes.
class AcceptFilter {
public:
    /// Whether a client at this address is let in. Called on the server thread, under the data mutex, and so does not
    /// wait. What it throws is logged, and means no.
    virtual bool isAccepted(const Network::Sockets::HostAddress& peer) = 0;

protected:
    AcceptFilter() = default;
    ~AcceptFilter() = default;
};

} // namespace Tarq::Common::Debugger
