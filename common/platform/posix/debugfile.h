#pragma once

#include "common/platform/posix/libdw.h"
#include "common/platform/posix/loadedmodules.h"
#include "common/platform/symbols.h"

#ifdef TARQ_HAVE_LIBDW_HEADERS

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tarq::Common::Platform {

/// The file of a module, and the separate file with its debug information where there is one. Addresses are those in
/// the file. Threads: one at a time. No descriptor stays open.
class DebugFile {
public:
    /// Opens the module's file if it is what was loaded, which the build id tells. The separate file is looked for in
    /// `directories` too, which ";" separates.
    DebugFile(const Libdw& dw, const LoadedModule& module, const std::string& directories);

    /// Whether opening the module anew, with these directories, would find nothing more.
    bool isSettled(const std::string& directories) const noexcept {
        return !mIsIncomplete && (mDwarf || mDirectories == directories);
    }

    /// Appends the functions at `address`, the innermost first. Returns where their names are from; when nothing is
    /// known, it appends nothing.
    SymbolSource describe(Dwarf_Addr address, std::vector<FunctionInfo>& functions);

private:
    using ElfPtr = std::unique_ptr<Elf, decltype(Libdw::elf_end)>;
    using DwarfPtr = std::unique_ptr<Dwarf, decltype(Libdw::dwarf_end)>;
    struct Symbol {
        Dwarf_Addr begin = 0;
        Dwarf_Addr end = 0;
        const char* name = nullptr; ///< as the linker knows it; null when there is none
    };

    ElfPtr open(const std::string& file, std::string_view buildId);
    ElfPtr openSeparate(const LoadedModule& module);
    DwarfPtr readDwarf(Elf* elf);
    void openShared();
    void readSymbols(Elf* elf);
    Symbol findSymbol(Dwarf_Addr address) const;
    bool findUnit(Dwarf_Addr address, Dwarf_Die& unit) const;
    bool findChild(Dwarf_Die& parent, Dwarf_Addr address, Dwarf_Die& child) const;
    void findFunctions(Dwarf_Die scope, Dwarf_Addr address, std::vector<Dwarf_Die>& functions) const;
    void describeLine(Dwarf_Die& unit, Dwarf_Addr functionBegin, Dwarf_Addr address, FunctionInfo& function) const;
    void describeCall(Dwarf_Die& unit, Dwarf_Die& inlined, FunctionInfo& function) const;
    void nameFunction(Dwarf_Die& die, FunctionInfo& function) const;

    const Libdw& mDw;
    std::string mDirectories;
    bool mIsIncomplete = false; ///< a file could not be opened for want of descriptors or memory
    ElfPtr mElf;
    ElfPtr mSeparateElf; ///< null when the file has everything itself
    ElfPtr mSharedElf;   ///< what several separate files have in common
    DwarfPtr mSharedDwarf;
    DwarfPtr mDwarf;
    std::vector<Symbol> mSymbols; ///< the functions in the linker's tables, by their begin
};

} // namespace Tarq::Common::Platform

#endif
