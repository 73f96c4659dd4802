#include "common/platform/posix/loadedmodules.h"

#include "common/platform/systeminfo.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <string_view>

#include <link.h>

namespace Tarq::Common::Platform {

namespace {

/// Shows each module to the visitor until it returns true. What a visitor throws must not pass through the loader; for
/// want of memory, the visit ends and returns false.
template <class Visitor>
bool visitModules(Visitor visitor) noexcept {
    const auto visit = [](dl_phdr_info* info, std::size_t, void* data) noexcept -> int {
        try {
            return (*static_cast<Visitor*>(data))(*info) ? 1 : 0;
        } catch (const std::bad_alloc&) {
            return -1;
        }
    };
    return dl_iterate_phdr(visit, &visitor) >= 0;
}

std::span<const ElfW(Phdr)> segmentsOf(const dl_phdr_info& info) noexcept {
    return {info.dlpi_phdr, info.dlpi_phnum};
}

template <class T>
const T* pointerAt(uint64 address) noexcept {
    return reinterpret_cast<const T*>(static_cast<uintptr_t>(address));
}

bool containsAddress(const dl_phdr_info& info, uint64 address) noexcept {
    return std::ranges::any_of(segmentsOf(info), [&](const ElfW(Phdr) & segment) {
        const uint64 begin = info.dlpi_addr + segment.p_vaddr;
        return segment.p_type == PT_LOAD && address >= begin && address - begin < segment.p_memsz;
    });
}

std::size_t padded(std::size_t size, std::size_t alignment) noexcept {
    return (size + alignment - 1) / alignment * alignment;
}

/// Finds the note that holds the build id.
std::string_view findBuildId(std::string_view notes, std::size_t alignment) noexcept {
    using namespace std::string_view_literals;
    alignment = std::max<std::size_t>(alignment, 4);
    ElfW(Nhdr) header;
    while (notes.size() >= sizeof(header)) {
        std::memcpy(&header, notes.data(), sizeof(header));
        const std::size_t content = padded(sizeof(header) + header.n_namesz, alignment);
        if (notes.size() < content || notes.size() - content < header.n_descsz)
            break;
        if (header.n_type == NT_GNU_BUILD_ID && notes.substr(sizeof(header), header.n_namesz) == "GNU\0"sv)
            return notes.substr(content, header.n_descsz);
        notes.remove_prefix(std::min(notes.size(), padded(content + header.n_descsz, alignment)));
    }
    return std::string_view();
}

LoadedModule describe(const dl_phdr_info& info) {
    LoadedModule module;
    const bool isProgram = !info.dlpi_name || *info.dlpi_name == '\0';
    module.file = isProgram ? getProgramFile() : std::string(info.dlpi_name);
    module.link = isProgram ? "/proc/self/exe" : module.file;
    module.bias = info.dlpi_addr;
    module.begin = ~uint64{0};
    for (const ElfW(Phdr) & segment : segmentsOf(info)) {
        const uint64 begin = info.dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD) {
            module.begin = std::min(module.begin, begin);
            module.end = std::max(module.end, begin + segment.p_memsz);
        } else if (segment.p_type == PT_NOTE && module.buildId.empty()) {
            module.buildId = findBuildId({pointerAt<char>(begin), segment.p_memsz}, segment.p_align);
        }
    }
    return module;
}

/// The tables of a module's exported names. Their addresses stand in the dynamic section, which the loader has made
/// absolute where it may write there (not in the kernel's own module).
struct ExportTables {
    const ElfW(Sym) * symbols = nullptr;
    const char* names = nullptr;
    const uint32* hash = nullptr;    ///< the classic form: bucket count, symbol count, ...
    const uint32* gnuHash = nullptr; ///< bucket count, first symbol, filter words, shift, filter, buckets, chains
};

ExportTables findExportTables(const dl_phdr_info& info) noexcept {
    ExportTables tables;
    for (const ElfW(Phdr) & segment : segmentsOf(info)) {
        if (segment.p_type != PT_DYNAMIC)
            continue;
        for (auto* entry = pointerAt<ElfW(Dyn)>(info.dlpi_addr + segment.p_vaddr); entry->d_tag != DT_NULL; ++entry) {
            uint64 address = entry->d_un.d_ptr;
            if (address < info.dlpi_addr)
                address += info.dlpi_addr;
            if (entry->d_tag == DT_SYMTAB)
                tables.symbols = pointerAt<ElfW(Sym)>(address);
            else if (entry->d_tag == DT_STRTAB)
                tables.names = pointerAt<char>(address);
            else if (entry->d_tag == DT_HASH)
                tables.hash = pointerAt<uint32>(address);
            else if (entry->d_tag == DT_GNU_HASH)
                tables.gnuHash = pointerAt<uint32>(address);
        }
    }
    return tables;
}

/// No table tells its length; it follows from the hash that goes with it.
uint32 countSymbols(const ExportTables& tables) noexcept {
    if (tables.hash)
        return tables.hash[1];
    if (!tables.gnuHash)
        return 0;
    const uint32 bucketCount = tables.gnuHash[0];
    const uint32 first = tables.gnuHash[1];
    const std::size_t filterSize = tables.gnuHash[2] * (sizeof(ElfW(Addr)) / sizeof(uint32));
    const uint32* const buckets = tables.gnuHash + 4 + filterSize;
    const uint32* const chains = buckets + bucketCount;
    uint32 last = bucketCount == 0 ? 0 : *std::max_element(buckets, buckets + bucketCount);
    if (last < first)
        return first;
    // The last symbol of a chain has an odd hash.
    while ((chains[last - first] & 1) == 0)
        ++last;
    return last + 1;
}

} // namespace

LoadCounts readLoadCounts() noexcept {
    LoadCounts counts;
    visitModules([&counts](const dl_phdr_info& info) {
        counts = {info.dlpi_adds, info.dlpi_subs};
        return true;
    });
    return counts;
}

bool listLoadedModules(std::vector<LoadedModule>& modules) noexcept {
    return visitModules([&modules](const dl_phdr_info& info) {
        modules.push_back(describe(info));
        return false;
    });
}

bool findLoadedModule(uint64 address, LoadedModule& module) noexcept {
    bool isFound = false;
    visitModules([&](const dl_phdr_info& info) {
        if (!containsAddress(info, address))
            return false;
        module = describe(info);
        isFound = true;
        return true;
    });
    return isFound;
}

bool findExportedSymbol(uint64 address, std::string& symbol, uint64& offset) noexcept {
    bool isFound = false;
    visitModules([&](const dl_phdr_info& info) {
        if (!containsAddress(info, address))
            return false;
        const ExportTables tables = findExportTables(info);
        if (!tables.symbols || !tables.names)
            return true;
        for (const ElfW(Sym) & candidate : std::span(tables.symbols, countSymbols(tables))) {
            const uint64 begin = info.dlpi_addr + candidate.st_value;
            if (ELF32_ST_TYPE(candidate.st_info) != STT_FUNC || candidate.st_shndx == SHN_UNDEF || address < begin ||
                address - begin >= candidate.st_size)
                continue;
            symbol = tables.names + candidate.st_name;
            offset = address - begin;
            isFound = true;
            return true;
        }
        return true;
    });
    return isFound;
}

} // namespace Tarq::Common::Platform
