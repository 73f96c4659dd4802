#pragma once

#include "tool/platform/system.h"

#include <optional>
#include <string>

namespace Tarq::Tool {

/// Lines that come from a file, a pipe or a person.
class LineInput {
public:
    explicit LineInput(System::InputHandle handle) noexcept : mHandle(handle) {}

    System::InputHandle getHandle() const noexcept { return mHandle; }
    /// Whether no more lines come, beside those that `take` has.
    bool hasEnded() const noexcept { return mHasEnded; }

    /// Reads once; does not wait when the handle is ready.
    void receive();
    /// The next line, without its end; null when there is none yet.
    std::optional<std::string> take();

private:
    System::InputHandle mHandle;
    bool mHasEnded = false;
    std::string mBytes; ///< of lines that were not taken
};

} // namespace Tarq::Tool
