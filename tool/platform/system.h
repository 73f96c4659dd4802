#pragma once

#include "common/network/sockets/hostaddress.h"
#include "common/platform/socket.h"
#include "common/platform/socketerror.h"
#include "common/string.h"

/// What the tool needs of the system and the library does not offer.
namespace Tarq::Tool::System {

/// Puts something that can neither be read nor written in the place of the standard streams that are closed. The first
/// thing that a program opens would stand there otherwise, and get what is printed. False when that is not possible.
bool fillStandardStreams() noexcept;

/// Lets `isStopWanted` say that the user wants to stop. Leaves alone what whoever started the program wants to be
/// ignored. The program may be unable to look, as long as nobody takes its output: so the second time ends it at once.
void catchStopSignals() noexcept;
bool isStopWanted() noexcept;

/// Where a program reads from, waited for together with a socket: the `Wake` of a `Socket::select`.
using InputHandle = Common::Platform::SocketHandle;
InputHandle getStandardInput() noexcept;
/// Whether a person sees the messages there.
bool isErrorTerminal() noexcept;
/// Whether a person types there.
bool isTerminal(InputHandle input) noexcept;
/// Waits for bytes, and takes at most so many. Returns how many; 0 at the end, and when nothing can be read.
Common::uint32 readInput(InputHandle input, char* bytes, Common::uint32 count) noexcept;

/// What this machine calls itself; empty when it cannot be told.
Common::String getComputerName();

/// The user in whose name the tool runs; the number in digits where the user has no name.
Common::String getUserName();

/// Begins to connect a socket that was never connected, without waiting. After `SOCKET_ERROR_WOULD_BLOCK` the socket is
/// ready to write when the outcome is known; the same call tells it then.
///
/// The system looks from time to time whether the other machine is still there, and breaks the connection off when it
/// has been silent for half a minute or so. A host that is held at a breakpoint does not mind.
Common::Platform::SocketError tryConnect(Common::Platform::SocketHandle socket,
                                         const Common::Network::Sockets::HostAddress& address) noexcept;

} // namespace Tarq::Tool::System
