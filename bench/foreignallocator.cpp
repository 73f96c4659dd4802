#include "bench/foreignallocator.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

namespace Tarq::Bench {

std::optional<ForeignAllocator> openForeignAllocator(const char* library, const char* allocateName,
                                                     const char* releaseName) {
    void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        std::printf("skipped: %s\n", dlerror());
        return {};
    }
    const ForeignAllocator found{reinterpret_cast<void* (*)(std::size_t)>(dlsym(handle, allocateName)),
                                 reinterpret_cast<void (*)(void*)>(dlsym(handle, releaseName))};
    if (!found.allocate || !found.release) {
        std::printf("skipped: %s has no %s and %s\n", library, allocateName, releaseName);
        return {};
    }
    return found;
}

void reserveThreadStorage(char** argv) {
    static constexpr const char* cVariable = "GLIBC_TUNABLES";
    static constexpr const char* cTunable = "glibc.rtld.optional_static_tls";
    const char* const current = std::getenv(cVariable);
    std::string tunables = current ? current : "";
    if (tunables.find(cTunable) != std::string::npos)
        return;
    if (!tunables.empty())
        tunables += ':';
    setenv(cVariable, tunables.append(cTunable).append("=16384").c_str(), 1);
    execv("/proc/self/exe", argv);
    // Still here: then that allocator is skipped, and says why.
}

} // namespace Tarq::Bench
