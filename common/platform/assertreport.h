#pragma once

namespace Tarq::Common::Platform {

/// Reports a failed assertion where the platform reports its own, and ends the process abnormally.
[[noreturn]] void reportAssertionAndEnd(const char* message, const char* file, unsigned int line) noexcept;

} // namespace Tarq::Common::Platform
