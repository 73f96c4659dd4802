#pragma once

#include "common/types.h"

#include <atomic>

/// Sleeping on a word of memory: the one thing that a lock needs from the kernel.
namespace Tarq::Common::Platform {

/// Sleeps while `word` holds `expected`, for at most `timeoutMicroseconds`.
///
/// Returns when woken, when the word already holds something else, when the time is over, or for no reason at all: the
/// caller reads the word again. Changes neither `errno` nor the word.
void waitOnAddress(const std::atomic<uint32>& word, uint32 expected, uint32 timeoutMicroseconds) noexcept;

/// Wakes one thread that sleeps on the word at this address, if there is one.
///
/// Only the address is used: the word itself may be gone already, because a thread that was let in may have destroyed
/// the lock around it. A stranger that has a word at the same address by then sees a wake-up for no reason.
void wakeOneOnAddress(const std::atomic<uint32>* word) noexcept;

/// Tells the processor that the caller spins.
void relaxProcessor() noexcept;

} // namespace Tarq::Common::Platform
