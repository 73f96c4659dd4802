#pragma once

namespace Tarq::Common::Platform {

/// Writes a text for whoever debugs this process; nothing happens when nobody does. Keeps the error number.
void writeDebuggerOutput(const char* text) noexcept;

} // namespace Tarq::Common::Platform
