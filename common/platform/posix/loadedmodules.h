#pragma once

#include "common/types.h"

#include <string>
#include <vector>

/// What the loader knows about the modules in this process.
///
/// All of this is read while the loader holds the lock under which it unmaps modules: none can go meanwhile. These
/// functions do not wait for a `dlopen` or `dlclose` that is in progress on another thread.
namespace Tarq::Common::Platform {

/// How many modules were ever loaded and unloaded: as long as both stay, so do the modules.
struct LoadCounts {
    uint64 loaded = 0;
    uint64 unloaded = 0;

    friend bool operator==(const LoadCounts&, const LoadCounts&) = default;
};

struct LoadedModule {
    std::string file; ///< as it was given to the loader; the program's is absolute
    std::string link; ///< what opens the file; the program's does so even after it was moved or removed
    uint64 bias = 0;  ///< what is added to the addresses in the file
    uint64 begin = 0;
    uint64 end = 0;
    std::string buildId; ///< the bytes that identify the contents of the file; empty when it was linked without

    friend bool operator==(const LoadedModule&, const LoadedModule&) = default;
    bool contains(uint64 address) const noexcept { return address >= begin && address < end; }
};

LoadCounts readLoadCounts() noexcept;

/// Appends the modules. Returns whether these are all: when memory runs out, the last ones are missing.
bool listLoadedModules(std::vector<LoadedModule>& modules) noexcept;

/// Finds the module at `address`; returns whether there is one.
bool findLoadedModule(uint64 address, LoadedModule& module) noexcept;

/// Finds the exported function around `address`: its name as the linker knows it, and the distance from its begin.
/// Returns whether there is one.
bool findExportedSymbol(uint64 address, std::string& symbol, uint64& offset) noexcept;

} // namespace Tarq::Common::Platform
