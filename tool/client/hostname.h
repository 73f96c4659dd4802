#pragma once

#include "common/network/sockets/hostaddress.h"
#include "common/string.h"

#include <string_view>

namespace Tarq::Tool {

/// Reads where a host listens: "192.168.0.7:4711", "localhost:4711", or "4711" for this machine.
///
/// Returns null and stores the address, or returns what is wrong with the text.
const char* parseHost(std::string_view text, Common::Network::Sockets::HostAddress& address);

/// The same, as a person reads it: "127.0.0.1:4711".
Common::String nameOfHost(const Common::Network::Sockets::HostAddress& address);

} // namespace Tarq::Tool
