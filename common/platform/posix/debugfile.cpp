#include "common/platform/posix/debugfile.h"

#ifdef TARQ_HAVE_LIBDW_HEADERS

#include "common/platform/posix/symbolnames.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

/// Where separate debug information is installed.
constexpr const char* cDebugDirectory = "/usr/lib/debug";

std::string buildIdPath(std::string_view directory, std::string_view buildId) {
    constexpr std::string_view cDigits = "0123456789abcdef";
    std::string path = std::string(directory) + "/.build-id/";
    for (std::size_t at = 0; at < buildId.size(); ++at) {
        const unsigned int byte = static_cast<unsigned char>(buildId[at]);
        path += cDigits[byte >> 4];
        path += cDigits[byte & 15];
        if (at == 0)
            path += '/';
    }
    return path + ".debug";
}

std::vector<std::string> splitDirectories(std::string_view directories) {
    std::vector<std::string> parts;
    while (!directories.empty()) {
        const std::size_t end = std::min(directories.find(';'), directories.size());
        if (end != 0)
            parts.emplace_back(directories.substr(0, end));
        directories.remove_prefix(std::min(end + 1, directories.size()));
    }
    return parts;
}

const char* textOr(const char* text, const char* fallback) noexcept {
    return text ? text : fallback;
}

} // namespace

DebugFile::DebugFile(const Libdw& dw, const LoadedModule& module, const std::string& directories)
    : mDw(dw), mDirectories(directories), mElf(open(module.link, module.buildId)), mSeparateElf(nullptr, dw.elf_end),
      mSharedElf(nullptr, dw.elf_end), mSharedDwarf(nullptr, dw.dwarf_end), mDwarf(nullptr, dw.dwarf_end) {
    if (!mElf)
        return;
    readSymbols(mElf.get());
    mDwarf = readDwarf(mElf.get());
    if (!mDwarf)
        mSeparateElf = openSeparate(module);
    if (mSeparateElf) {
        readSymbols(mSeparateElf.get());
        mDwarf = readDwarf(mSeparateElf.get());
        if (mDwarf)
            openShared();
    }
    std::ranges::stable_sort(mSymbols, {}, &Symbol::begin);
}

DebugFile::ElfPtr DebugFile::open(const std::string& file, std::string_view buildId) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const bool isShort = descriptor < 0 && (errno == EMFILE || errno == ENFILE || errno == ENOMEM);
    ElfPtr elf(descriptor < 0 ? nullptr : mDw.elf_begin(descriptor, ELF_C_READ_MMAP, nullptr), mDw.elf_end);
    // What is not mapped is read now; the descriptor is not needed any more.
    const bool isRead = elf && mDw.elf_cntl(elf.get(), ELF_C_FDREAD) == 0;
    mIsIncomplete = mIsIncomplete || isShort || (descriptor >= 0 && !isRead);
    if (descriptor >= 0)
        close(descriptor);
    const void* bytes = nullptr;
    const ssize_t size = isRead ? mDw.dwelf_elf_gnu_build_id(elf.get(), &bytes) : -1;
    const std::string_view found(static_cast<const char*>(bytes), size > 0 ? static_cast<std::size_t>(size) : 0);
    if (!isRead || found != buildId)
        elf.reset();
    return elf;
}

DebugFile::DwarfPtr DebugFile::readDwarf(Elf* elf) {
    errno = 0;
    DwarfPtr dwarf(mDw.dwarf_begin_elf(elf, DWARF_C_READ, nullptr), mDw.dwarf_end);
    mIsIncomplete = mIsIncomplete || (!dwarf && errno == ENOMEM);
    return dwarf;
}

void DebugFile::openShared() {
    const char* name = nullptr;
    const void* bytes = nullptr;
    const ssize_t size = mDw.dwelf_dwarf_gnu_debugaltlink(mDwarf.get(), &name, &bytes);
    if (size <= 0)
        return;
    const std::string_view sharedId(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    mSharedElf = open(buildIdPath(cDebugDirectory, sharedId), sharedId);
    if (mSharedElf)
        mSharedDwarf = readDwarf(mSharedElf.get());
    // Also when it is not there: otherwise the library looks for it itself, and keeps descriptors.
    mDw.dwarf_setalt(mDwarf.get(), mSharedDwarf.get());
}

/// Looks where a debugger looks, and in the directories: under the build id, then for the name that the file tells.
DebugFile::ElfPtr DebugFile::openSeparate(const LoadedModule& module) {
    ElfPtr elf(nullptr, mDw.elf_end);
    // Nothing else tells whether a file belongs to the module.
    if (module.buildId.empty())
        return elf;
    const std::vector<std::string> directories = splitDirectories(mDirectories);
    std::vector<std::string> files{buildIdPath(cDebugDirectory, module.buildId)};
    for (const std::string& directory : directories)
        files.push_back(buildIdPath(directory, module.buildId));
    GElf_Word checksum = 0;
    if (const char* const link = mDw.dwelf_elf_gnu_debuglink(mElf.get(), &checksum)) {
        const std::string own = module.file.substr(0, module.file.rfind('/') + 1);
        for (const std::string& place : {own, own + ".debug/", cDebugDirectory + own})
            files.push_back(place + link);
        for (const std::string& directory : directories)
            files.push_back(directory + "/" + link);
    }
    for (std::size_t at = 0; !elf && at < files.size(); ++at)
        elf = open(files[at], module.buildId);
    return elf;
}

SymbolSource DebugFile::describe(Dwarf_Addr address, std::vector<FunctionInfo>& functions) {
    FunctionInfo function;
    Dwarf_Die unit{};
    std::vector<Dwarf_Die> scopes;
    const Symbol symbol = findSymbol(address);
    if (mDwarf && findUnit(address, unit)) {
        describeLine(unit, symbol.begin, address, function);
        findFunctions(unit, address, scopes);
    }
    // What was put into another function is at the place inside of it, and that other function at the place of the
    // call.
    const bool hasLine = !function.mFile.empty();
    for (std::size_t depth = scopes.size(); depth > 1; --depth) {
        nameFunction(scopes[depth - 1], function);
        functions.push_back(function);
        function = FunctionInfo();
        describeCall(unit, scopes[depth - 1], function);
    }
    // The linker's name is the better one for the function itself: it tells the parameters of local functions too.
    if (symbol.name) {
        const FunctionName name = demangle(symbol.name);
        function.mName = name.name;
        function.mFullName = name.full;
        function.mSymbolOffset = address - symbol.begin;
    } else if (!scopes.empty()) {
        nameFunction(scopes.front(), function);
    }
    if (function.mName.empty() && function.mFile.empty())
        return SymbolSource::SYMBOLS_NONE;
    functions.push_back(function);
    return hasLine ? SymbolSource::SYMBOLS_DEBUG : SymbolSource::SYMBOLS_TABLE;
}

void DebugFile::readSymbols(Elf* elf) {
    Elf_Scn* section = nullptr;
    while ((section = mDw.elf_nextscn(elf, section)) != nullptr) {
        GElf_Shdr header{};
        if (!mDw.gelf_getshdr(section, &header) || header.sh_type != SHT_SYMTAB)
            continue;
        Elf_Data* const data = mDw.elf_getdata(section, nullptr);
        GElf_Sym symbol{};
        for (int at = 0; data && mDw.gelf_getsym(data, at, &symbol); ++at) {
            if (GELF_ST_TYPE(symbol.st_info) != STT_FUNC || symbol.st_shndx == SHN_UNDEF || symbol.st_size == 0)
                continue;
            if (const char* const name = mDw.elf_strptr(elf, header.sh_link, symbol.st_name))
                mSymbols.push_back({symbol.st_value, symbol.st_value + symbol.st_size, name});
        }
    }
}

/// Finds the function around `address`. Where several names have the place, the last one is told: global names stand
/// behind local ones.
DebugFile::Symbol DebugFile::findSymbol(Dwarf_Addr address) const {
    const auto behind = std::ranges::upper_bound(mSymbols, address, {}, &Symbol::begin);
    if (behind == mSymbols.begin() || address >= std::prev(behind)->end)
        return Symbol();
    return *std::prev(behind);
}

bool DebugFile::findUnit(Dwarf_Addr address, Dwarf_Die& unit) const {
    if (mDw.dwarf_addrdie(mDwarf.get(), address, &unit))
        return true;
    // Not every compiler writes the index that this needs.
    Dwarf_CU* at = nullptr;
    while (mDw.dwarf_get_units(mDwarf.get(), at, &at, nullptr, nullptr, &unit, nullptr) == 0) {
        if (mDw.dwarf_haspc(&unit, address) > 0)
            return true;
    }
    return false;
}

/// Finds the part of `parent` that has code at `address`. Namespaces have no code of their own, but functions.
bool DebugFile::findChild(Dwarf_Die& parent, Dwarf_Addr address, Dwarf_Die& child) const {
    for (int result = mDw.dwarf_child(&parent, &child); result == 0; result = mDw.dwarf_siblingof(&child, &child)) {
        Dwarf_Die inner{};
        switch (mDw.dwarf_tag(&child)) {
        case DW_TAG_subprogram:
        case DW_TAG_inlined_subroutine:
        case DW_TAG_lexical_block:
            if (mDw.dwarf_haspc(&child, address) > 0)
                return true;
            break;
        case DW_TAG_namespace:
            if (findChild(child, address, inner)) {
                child = inner;
                return true;
            }
            break;
        default:
            break;
        }
    }
    return false;
}

/// Lists the functions at `address`: the one that the code belongs to, then those that were put into it.
void DebugFile::findFunctions(Dwarf_Die scope, Dwarf_Addr address, std::vector<Dwarf_Die>& functions) const {
    Dwarf_Die inner{};
    while (findChild(scope, address, inner)) {
        if (mDw.dwarf_tag(&inner) != DW_TAG_lexical_block)
            functions.push_back(inner);
        scope = inner;
    }
}

/// Finds the line at `address`. Code that belongs to none, which has the number 0, is told with the line before it.
void DebugFile::describeLine(Dwarf_Die& unit, Dwarf_Addr functionBegin, Dwarf_Addr address,
                             FunctionInfo& function) const {
    Dwarf_Line* line = nullptr;
    int number = 0;
    Dwarf_Addr begin = address + 1;
    while (number == 0) {
        line = begin > functionBegin ? mDw.dwarf_getsrc_die(&unit, begin - 1) : nullptr;
        if (!line || mDw.dwarf_lineno(line, &number) != 0 || mDw.dwarf_lineaddr(line, &begin) != 0)
            return;
    }
    function.mFile = textOr(mDw.dwarf_linesrc(line, nullptr, nullptr), "");
    function.mLine = static_cast<uint32>(number);
    function.mLineOffset = static_cast<uint32>(address - begin);
}

void DebugFile::describeCall(Dwarf_Die& unit, Dwarf_Die& inlined, FunctionInfo& function) const {
    const auto readNumber = [&](unsigned int attribute) -> Dwarf_Word {
        Dwarf_Attribute value{};
        Dwarf_Word number = 0;
        return mDw.dwarf_attr(&inlined, attribute, &value) && mDw.dwarf_formudata(&value, &number) == 0 ? number : 0;
    };
    Dwarf_Files* files = nullptr;
    std::size_t count = 0;
    const auto file = static_cast<std::size_t>(readNumber(DW_AT_call_file));
    if (mDw.dwarf_getsrcfiles(&unit, &files, &count) == 0 && file < count)
        function.mFile = textOr(mDw.dwarf_filesrc(files, file, nullptr, nullptr), "");
    function.mLine = static_cast<uint32>(readNumber(DW_AT_call_line));
}

void DebugFile::nameFunction(Dwarf_Die& die, FunctionInfo& function) const {
    Dwarf_Attribute attribute{};
    const char* symbol = nullptr;
    if (mDw.dwarf_attr_integrate(&die, DW_AT_linkage_name, &attribute))
        symbol = mDw.dwarf_formstring(&attribute);
    // Functions of C, and those that no other file sees, have only their own name.
    const char* const own = textOr(mDw.dwarf_diename(&die), "");
    const FunctionName name = symbol ? demangle(symbol) : FunctionName{own, own};
    function.mName = name.name;
    function.mFullName = name.full;
}

} // namespace Tarq::Common::Platform

#endif
