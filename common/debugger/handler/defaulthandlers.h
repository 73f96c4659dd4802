#pragma once

namespace Tarq::Common::Debugger {

class Server;

/// Makes a handler for each of the requests that tools have, and registers it with the server. False at the first that
/// the server does not take. Throws `OutOfMemoryException`; the server keeps what it has taken.
bool registerDefaultMessageHandlers(Server& server);

} // namespace Tarq::Common::Debugger
