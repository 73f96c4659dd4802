#pragma once

#include "tool/cli/face.h"
#include "tool/client/session.h"

namespace Tarq::Tool {

/// Connects once and tells what the host answered.
int identify(const Face& face, SessionOptions options, bool isJson);

/// Stays connected and prints events, until it is told to stop, or the session ends.
int stayConnected(const Face& face, const SessionOptions& options, bool isJson);

} // namespace Tarq::Tool
