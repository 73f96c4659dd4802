# The 32-bit build on a 64-bit machine, through the compiler's multilib (Debian: g++-multilib).

set(CMAKE_CXX_COMPILER g++)
# Floating-point values are rounded as on every other machine, not kept in 80 bits.
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
