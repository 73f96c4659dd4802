#pragma once

#include <cstddef>
#include <optional>

namespace Tarq::Bench {

/// Another allocator, opened at run time: linked, it would replace `malloc` for every side.
struct ForeignAllocator {
    void* (*allocate)(std::size_t size);
    void (*release)(void* block);
};

/// Opens the library once, for the whole run. Empty, after a line that says so, when it is not there.
std::optional<ForeignAllocator> openForeignAllocator(const char* library, const char* allocateName,
                                                     const char* releaseName);

/// Some allocators keep more for each thread than the loader sets aside for libraries that are opened late. This starts
/// the program again with more, unless it was started so already.
void reserveThreadStorage(char** argv);

} // namespace Tarq::Bench
