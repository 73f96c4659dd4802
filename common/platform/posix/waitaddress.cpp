#include "common/platform/waitaddress.h"

#include <cerrno>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

static_assert(sizeof(std::atomic<uint32>) == sizeof(uint32), "the kernel reads the word itself");

/// The kernel's own record of a time span, which is what the system call of this word size reads.
struct KernelTimespec {
    long seconds;
    long nanoseconds;
};

} // namespace

void waitOnAddress(const std::atomic<uint32>& word, uint32 expected, uint32 timeoutMicroseconds) noexcept {
    const int savedError = errno;
    const KernelTimespec timeout{static_cast<long>(timeoutMicroseconds / 1000000),
                                 static_cast<long>(timeoutMicroseconds % 1000000) * 1000};
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, &timeout, nullptr, 0);
    errno = savedError;
}

void wakeOneOnAddress(const std::atomic<uint32>* word) noexcept {
    const int savedError = errno;
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    errno = savedError;
}

void relaxProcessor() noexcept {
#if defined(__i386__) || defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm__)
    asm volatile("yield" ::: "memory");
#endif
}

} // namespace Tarq::Common::Platform
