#include "common/platform/posix/debugfile.h"

#ifdef TARQ_HAVE_LIBDW_HEADERS

#include "common/platform/posix/symbolnames.h"

#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

/// Where separate debug information is installed.
constexpr const char* cDebugDirectory = "/usr/lib/debug";

std::string buildIdPath(std::string_view buildId) {
    constexpr std::string_view cDigits = "0123456789abcdef";
    std::string path = std::string(cDebugDirectory) + "/.build-id/";
    for (std::size_t at = 0; at < buildId.size(); ++at) {
        const unsigned int byte = static_cast<unsigned char>(buildId[at]);
        path += cDigits[byte >> 4];
        path += cDigits[byte & 15];
        if (at == 0)
            path += '/';
    }
    return path + ".debug";
}

const char* textOr(const char* text, const char* fallback) noexcept {
    return text ? text : fallback;
}

} // namespace

DebugFile::DebugFile(const Libdw& dw, const std::string& file, std::string_view buildId)
    : mDw(dw), mElf(open(file, buildId)), mSeparateElf(nullptr, dw.elf_end), mSharedElf(nullptr, dw.elf_end),
      mSharedDwarf(nullptr, dw.dwarf_end), mDwarf(nullptr, dw.dwarf_end) {
    if (!mElf)
        return;
    mDwarf = readDwarf(mElf.get());
    if (mDwarf)
        return;
    mSeparateElf = openSeparate(file, buildId);
    if (mSeparateElf)
        mDwarf = readDwarf(mSeparateElf.get());
    if (mDwarf)
        openShared();
}

DebugFile::ElfPtr DebugFile::open(const std::string& file, std::string_view buildId) const {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    ElfPtr elf(descriptor < 0 ? nullptr : mDw.elf_begin(descriptor, ELF_C_READ_MMAP, nullptr), mDw.elf_end);
    // What is not mapped is read now; the descriptor is not needed any more.
    const bool isRead = elf && mDw.elf_cntl(elf.get(), ELF_C_FDREAD) == 0;
    if (descriptor >= 0)
        close(descriptor);
    const void* bytes = nullptr;
    const ssize_t size = isRead ? mDw.dwelf_elf_gnu_build_id(elf.get(), &bytes) : -1;
    const std::string_view found(static_cast<const char*>(bytes), size > 0 ? static_cast<std::size_t>(size) : 0);
    if (!isRead || found != buildId)
        elf.reset();
    return elf;
}

DebugFile::DwarfPtr DebugFile::readDwarf(Elf* elf) const {
    return DwarfPtr(mDw.dwarf_begin_elf(elf, DWARF_C_READ, nullptr), mDw.dwarf_end);
}

void DebugFile::openShared() {
    const char* name = nullptr;
    const void* bytes = nullptr;
    const ssize_t size = mDw.dwelf_dwarf_gnu_debugaltlink(mDwarf.get(), &name, &bytes);
    if (size <= 0)
        return;
    const std::string_view sharedId(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    mSharedElf = open(buildIdPath(sharedId), sharedId);
    if (mSharedElf)
        mSharedDwarf = readDwarf(mSharedElf.get());
    // Also when it is not there: otherwise the library looks for it itself, and keeps descriptors.
    mDw.dwarf_setalt(mDwarf.get(), mSharedDwarf.get());
}

/// Looks where a debugger looks: under the build id, then for the name that the file tells.
DebugFile::ElfPtr DebugFile::openSeparate(const std::string& file, std::string_view buildId) const {
    ElfPtr elf(nullptr, mDw.elf_end);
    if (!buildId.empty())
        elf = open(buildIdPath(buildId), buildId);
    GElf_Word checksum = 0;
    const char* const link = elf ? nullptr : mDw.dwelf_elf_gnu_debuglink(mElf.get(), &checksum);
    if (!link)
        return elf;
    const std::string directory = file.substr(0, file.rfind('/') + 1);
    for (const std::string& place : {directory, directory + ".debug/", cDebugDirectory + directory}) {
        elf = open(place + link, buildId);
        if (elf)
            break;
    }
    return elf;
}

SymbolSource DebugFile::describe(Dwarf_Addr address, std::vector<FunctionInfo>& functions) {
    if (!mElf)
        return SymbolSource::SYMBOLS_NONE;
    const Symbol symbol = findSymbol(address);
    const std::size_t first = functions.size();
    Dwarf_Die unit{};
    FunctionInfo function;
    if (mDwarf && findUnit(address, unit)) {
        describeLine(unit, address, function);
        // From the innermost block to the unit. What was put into another function is reported at the place inside
        // of it, and its caller at the place of the call.
        for (Dwarf_Die& scope : findScopes(unit, address)) {
            const int tag = mDw.dwarf_tag(&scope);
            if (tag != DW_TAG_inlined_subroutine && tag != DW_TAG_subprogram)
                continue;
            nameFunction(scope, function);
            function.mSymbolOffset = symbol.offset;
            functions.push_back(function);
            if (tag == DW_TAG_subprogram)
                break;
            function = FunctionInfo();
            describeCall(unit, scope, function);
        }
    }
    const bool isKnown = functions.size() > first;
    if (!symbol.name.empty()) {
        // The linker's name is the better one for the function itself: it tells the parameters of local functions too.
        if (!isKnown)
            functions.push_back(function);
        const FunctionName name = demangle(symbol.name);
        functions.back().mName = name.name;
        functions.back().mFullName = name.full;
        functions.back().mSymbolOffset = symbol.offset;
    }
    if (functions.size() == first)
        return SymbolSource::SYMBOLS_NONE;
    return isKnown || !function.mFile.empty() ? SymbolSource::SYMBOLS_DEBUG : SymbolSource::SYMBOLS_TABLE;
}

DebugFile::Symbol DebugFile::findSymbol(Dwarf_Addr address) const {
    Symbol symbol;
    if (mSeparateElf)
        symbol = findSymbol(mSeparateElf.get(), address);
    return symbol.name.empty() ? findSymbol(mElf.get(), address) : symbol;
}

/// Finds the function around `address`; where several names have the place, the narrowest, and a global one first.
DebugFile::Symbol DebugFile::findSymbol(Elf* elf, Dwarf_Addr address) const {
    Symbol best;
    GElf_Xword bestSize = ~GElf_Xword{0};
    bool isBestGlobal = false;
    Elf_Scn* section = nullptr;
    while ((section = mDw.elf_nextscn(elf, section)) != nullptr) {
        GElf_Shdr header{};
        if (!mDw.gelf_getshdr(section, &header) || header.sh_type != SHT_SYMTAB)
            continue;
        Elf_Data* const data = mDw.elf_getdata(section, nullptr);
        GElf_Sym symbol{};
        for (int at = 0; data && mDw.gelf_getsym(data, at, &symbol); ++at) {
            if (GELF_ST_TYPE(symbol.st_info) != STT_FUNC || symbol.st_shndx == SHN_UNDEF ||
                address - symbol.st_value >= symbol.st_size)
                continue;
            const bool isGlobal = GELF_ST_BIND(symbol.st_info) == STB_GLOBAL;
            if (symbol.st_size > bestSize || (symbol.st_size == bestSize && (isBestGlobal || !isGlobal)))
                continue;
            bestSize = symbol.st_size;
            isBestGlobal = isGlobal;
            best = {textOr(mDw.elf_strptr(elf, header.sh_link, symbol.st_name), ""), address - symbol.st_value};
        }
    }
    return best;
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

std::vector<Dwarf_Die> DebugFile::findScopes(Dwarf_Die& unit, Dwarf_Addr address) const {
    using Scopes = std::unique_ptr<Dwarf_Die[], decltype(&std::free)>;
    Dwarf_Die* found = nullptr;
    if (mDw.dwarf_getscopes(&unit, address, &found) <= 0)
        return {};
    const Scopes innermost(found, &std::free);
    // The first answer leaves an inlined function towards the place where it was written; asked again, for the
    // innermost one, it tells where it was put.
    const int count = mDw.dwarf_getscopes_die(&innermost[0], &found);
    if (count <= 0)
        return {};
    const Scopes scopes(found, &std::free);
    return {found, found + count};
}

void DebugFile::describeLine(Dwarf_Die& unit, Dwarf_Addr address, FunctionInfo& function) const {
    Dwarf_Line* const line = mDw.dwarf_getsrc_die(&unit, address);
    if (!line)
        return;
    int number = 0;
    Dwarf_Addr begin = address;
    mDw.dwarf_lineno(line, &number);
    mDw.dwarf_lineaddr(line, &begin);
    function.mFile = textOr(mDw.dwarf_linesrc(line, nullptr, nullptr), "");
    function.mLine = static_cast<uint32>(number);
    function.mLineOffset = static_cast<uint32>(address - begin);
}

bool DebugFile::readNumber(Dwarf_Die& die, unsigned int attribute, Dwarf_Word& number) const {
    Dwarf_Attribute value{};
    return mDw.dwarf_attr(&die, attribute, &value) && mDw.dwarf_formudata(&value, &number) == 0;
}

void DebugFile::describeCall(Dwarf_Die& unit, Dwarf_Die& inlined, FunctionInfo& function) const {
    Dwarf_Files* files = nullptr;
    std::size_t count = 0;
    Dwarf_Word file = 0;
    Dwarf_Word line = 0;
    if (readNumber(inlined, DW_AT_call_file, file) && mDw.dwarf_getsrcfiles(&unit, &files, &count) == 0)
        function.mFile = textOr(mDw.dwarf_filesrc(files, static_cast<std::size_t>(file), nullptr, nullptr), "");
    if (readNumber(inlined, DW_AT_call_line, line))
        function.mLine = static_cast<uint32>(line);
}

void DebugFile::nameFunction(Dwarf_Die& die, FunctionInfo& function) const {
    Dwarf_Attribute attribute{};
    const char* symbol = nullptr;
    if (mDw.dwarf_attr_integrate(&die, DW_AT_linkage_name, &attribute))
        symbol = mDw.dwarf_formstring(&attribute);
    const FunctionName name = symbol ? demangle(symbol) : FunctionName{qualify(die), std::string()};
    function.mName = name.name;
    function.mFullName = name.full;
}

/// Puts the names around it in front of a function's own. Local functions have no linker's name in debug information.
std::string DebugFile::qualify(Dwarf_Die& die) const {
    std::string name = textOr(mDw.dwarf_diename(&die), "");
    Dwarf_Die written = die;
    Dwarf_Attribute attribute{};
    for (const unsigned int origin : {DW_AT_abstract_origin, DW_AT_specification}) {
        if (mDw.dwarf_attr(&written, origin, &attribute))
            mDw.dwarf_formref_die(&attribute, &written);
    }
    Dwarf_Die* found = nullptr;
    const int count = mDw.dwarf_getscopes_die(&written, &found);
    const std::unique_ptr<Dwarf_Die[], decltype(&std::free)> scopes(found, &std::free);
    for (int at = 1; at < count; ++at) {
        switch (mDw.dwarf_tag(&scopes[static_cast<std::size_t>(at)])) {
        case DW_TAG_namespace:
        case DW_TAG_class_type:
        case DW_TAG_structure_type:
        case DW_TAG_union_type:
        case DW_TAG_subprogram:
            name = textOr(mDw.dwarf_diename(&scopes[static_cast<std::size_t>(at)]), "(anonymous namespace)") +
                   ("::" + name);
            break;
        default:
            break;
        }
    }
    return name;
}

} // namespace Tarq::Common::Platform

#endif
