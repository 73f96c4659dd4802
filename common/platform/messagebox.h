#pragma once

namespace Tarq::Common::Platform {

/// Shows a message where the platform has no windows: caption and text on standard error. Returns whether that worked.
bool writeMessage(const char* caption, const char* text) noexcept;

} // namespace Tarq::Common::Platform
