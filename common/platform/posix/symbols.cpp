#include "common/platform/symbols.h"

#include "common/platform/posix/debugfile.h"
#include "common/platform/posix/loadedmodules.h"
#include "common/platform/posix/symbolnames.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>

namespace Tarq::Common::Platform {

namespace {

/// Reads the numbers that a library's file name ends with: "libtarq.so.1.2.3".
uint64 readFileVersion(std::string_view name) noexcept {
    constexpr std::string_view cLabel = ".so.";
    const std::size_t label = name.rfind(cLabel);
    if (label == std::string_view::npos)
        return 0;
    name.remove_prefix(label + cLabel.size());
    uint64 version = 0;
    for (int shift = 48; shift >= 0 && !name.empty(); shift -= 16) {
        uint16 number = 0;
        const char* const end = std::from_chars(name.data(), name.data() + name.size(), number).ptr;
        version |= uint64{number} << shift;
        name.remove_prefix(static_cast<std::size_t>(end - name.data()));
        name.remove_prefix(std::min<std::size_t>(name.size(), 1));
    }
    return version;
}

ModuleInfo makeModuleInfo(const LoadedModule& loaded) {
    ModuleInfo module;
    module.mName = loaded.file.substr(loaded.file.rfind('/') + 1);
    module.mFile = loaded.file;
    module.mBase = loaded.begin;
    module.mSize = loaded.end - loaded.begin;
    module.mVersion = readFileVersion(module.mName);
    return module;
}

constinit std::atomic<bool> gIsEnabled{true};

#ifdef TARQ_HAVE_LIBDW_HEADERS

/// What has been read of the modules' files, one for the process.
///
/// Its lock is never held while waiting for a `dlopen` or `dlclose` that is in progress: these run code of modules,
/// which may throw and read exceptions.
class Session {
public:
    /// Appends the functions at `address`, if debug information or a table of symbols tells them.
    SymbolSource describe(const Libdw& dw, uint64 address, const std::string& directories,
                          std::vector<FunctionInfo>& functions) {
        const std::scoped_lock inside(mLock);
        // Whoever switches it off closes the session afterwards: nothing is read any more.
        if (!gIsEnabled.load())
            return SymbolSource::SYMBOLS_NONE;
        refresh();
        const auto module = std::ranges::find_if(
            mModules, [address](const Module& candidate) { return candidate.loaded.contains(address); });
        if (module == mModules.end())
            return SymbolSource::SYMBOLS_NONE;
        if (!module->file || !module->file->isSettled(directories))
            module->file = std::make_unique<DebugFile>(dw, module->loaded, directories);
        return module->file->describe(address - module->loaded.bias, functions);
    }

    void close() noexcept {
        const std::scoped_lock inside(mLock);
        std::vector<Module>().swap(mModules);
        mCounts = LoadCounts();
    }

private:
    struct Module {
        LoadedModule loaded;
        std::unique_ptr<DebugFile> file; ///< null until somebody asks
    };

    /// Follows what was loaded and unloaded; files of modules that are still the same stay open.
    void refresh() {
        const LoadCounts counts = readLoadCounts();
        if (counts == mCounts)
            return;
        std::vector<LoadedModule> all;
        const bool isComplete = listLoadedModules(all);
        std::vector<Module> modules;
        for (LoadedModule& loaded : all) {
            Module& added = modules.emplace_back();
            added.loaded = std::move(loaded);
            const auto known = std::ranges::find(mModules, added.loaded, &Module::loaded);
            // Without an id, nothing tells whether a module that could be unloaded meanwhile is the same.
            if (known != mModules.end() && (counts.unloaded == mCounts.unloaded || !added.loaded.buildId.empty()))
                added.file = std::move(known->file);
        }
        mModules = std::move(modules);
        if (isComplete)
            mCounts = counts;
    }

    std::mutex mLock;
    std::vector<Module> mModules;
    LoadCounts mCounts; ///< from before the modules were listed, so that none is missed
};

/// Never destroyed: exceptions may be read while the process ends.
Session& session() noexcept {
    alignas(Session) static std::byte memory[sizeof(Session)];
    static Session* const only = ::new (static_cast<void*>(memory)) Session;
    return *only;
}

SymbolSource describeFunctions(uint64 address, const std::string& directories, std::vector<FunctionInfo>& functions) {
    const Libdw* const dw = gIsEnabled.load() ? openLibdw() : nullptr;
    return dw ? session().describe(*dw, address, directories, functions) : SymbolSource::SYMBOLS_NONE;
}

void closeSession() noexcept {
    session().close();
}

bool hasLibrary() noexcept {
    return openLibdw() != nullptr;
}

#else

SymbolSource describeFunctions(uint64, const std::string&, std::vector<FunctionInfo>&) {
    return SymbolSource::SYMBOLS_NONE;
}

void closeSession() noexcept {}

bool hasLibrary() noexcept {
    return false;
}

#endif

} // namespace

AddressInfo resolveAddress(uint64 address, const std::string& directories) noexcept {
    AddressInfo info;
    try {
        LoadedModule loaded;
        if (!findLoadedModule(address, loaded))
            return info;
        info.mModule = makeModuleInfo(loaded);
        info.mModule.mSource = describeFunctions(address, directories, info.mFunctions);
        std::string symbol;
        uint64 offset = 0;
        if (info.mModule.mSource != SymbolSource::SYMBOLS_NONE || !findExportedSymbol(address, symbol, offset))
            return info;
        info.mModule.mSource = SymbolSource::SYMBOLS_EXPORTED;
        const FunctionName name = demangle(std::move(symbol));
        FunctionInfo& function = info.mFunctions.emplace_back();
        function.mName = name.name;
        function.mFullName = name.full;
        function.mSymbolOffset = offset;
    } catch (const std::bad_alloc&) {
        // What was found until now is told.
    }
    return info;
}

std::vector<ModuleInfo> listModules() noexcept {
    std::vector<ModuleInfo> modules;
    try {
        std::vector<LoadedModule> all;
        listLoadedModules(all);
        for (const LoadedModule& loaded : all) {
            modules.push_back(makeModuleInfo(loaded));
            modules.back().mSource =
                canReadDebugInfo() ? SymbolSource::SYMBOLS_DEFERRED : SymbolSource::SYMBOLS_EXPORTED;
        }
    } catch (const std::bad_alloc&) {
        // The last ones are missing.
    }
    return modules;
}

const char* getSymbolServer() noexcept {
    return "https://debuginfod.elfutils.org";
}

bool canReadDebugInfo() noexcept {
    return gIsEnabled.load() && hasLibrary();
}

void enableDebugInfo(bool enable) noexcept {
    gIsEnabled.store(enable);
    if (!enable)
        closeSession();
}

void closeSymbols() noexcept {
    closeSession();
}

} // namespace Tarq::Common::Platform
