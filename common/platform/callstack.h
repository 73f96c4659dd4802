#pragma once

#include "common/types.h"

#include <span>

/// Recording where a thread is.
namespace Tarq::Common::Platform {

/// The end of the stack frame of the function that this is expanded into: the frames of the functions that it calls
/// end below, the frame of the function that called it ends above.
///
/// Ask only in functions that are never inlined themselves.
[[gnu::always_inline]] inline const void* getFrameEnd() noexcept {
    return __builtin_dwarf_cfa();
}

/// Where the function that this is expanded into returns to. Ask only in functions that are never inlined themselves.
[[gnu::always_inline]] inline const void* getReturnAddress() noexcept {
    return __builtin_return_address(0);
}

/// Stores the return addresses of the calling thread's stack, the innermost first, and returns how many there are.
///
/// Functions whose frames end at or below `innerEnd` are left out; so are those for which there is no room, the
/// outermost. The address before each one lies inside the call. Takes no memory and keeps the error number.
uint32 captureReturnAddresses(std::span<void*> addresses, const void* innerEnd) noexcept;

} // namespace Tarq::Common::Platform
