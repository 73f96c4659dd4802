#include "common/platform/callstack.h"

#include <cstdint>

#include <unwind.h>

namespace Tarq::Common::Platform {

namespace {

struct Recording {
    std::span<void*> addresses;
    uintptr_t innerEnd;
    uintptr_t stackPointer = 0; ///< of the frame before
    uint32 count = 0;
    bool isInside = true; ///< no frame above `innerEnd` was seen yet
};

_Unwind_Reason_Code recordFrame(_Unwind_Context* context, void* data) {
    Recording& recording = *static_cast<Recording*>(data);
    // The frame before, the inner one, ends where this frame's stack pointer stood at the call.
    const uintptr_t stackPointer = _Unwind_GetCFA(context);
    recording.isInside = recording.isInside && stackPointer <= recording.innerEnd;
    if (recording.isInside)
        recording.count = 0;

    // An interrupted function stands at an instruction, all others stand behind a call.
    int isInterrupted = 0;
    const uintptr_t instruction = _Unwind_GetIPInfo(context, &isInterrupted);
    void* const address = reinterpret_cast<void*>(instruction + (isInterrupted ? 1 : 0));
    if (instruction == 0 || recording.count == recording.addresses.size())
        return _URC_END_OF_STACK;
    // Where the description of a frame is broken, the unwinder may stand still.
    if (recording.count > 0 && stackPointer == recording.stackPointer &&
        address == recording.addresses[recording.count - 1])
        return _URC_END_OF_STACK;
    recording.stackPointer = stackPointer;
    recording.addresses[recording.count++] = address;
    return _URC_NO_REASON;
}

} // namespace

uint32 captureReturnAddresses(std::span<void*> addresses, const void* innerEnd) noexcept {
    Recording recording{addresses, reinterpret_cast<uintptr_t>(innerEnd)};
    _Unwind_Backtrace(&recordFrame, &recording);
    return recording.count;
}

} // namespace Tarq::Common::Platform
