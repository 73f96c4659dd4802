#include "common/platform/posix/libdw.h"

#ifdef TARQ_HAVE_LIBDW_HEADERS

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include <dlfcn.h>

namespace Tarq::Common::Platform {

namespace {

/// Looks one function up, by the name that both sides share.
template <class Function>
bool bind(void* library, const char* name, Function& function) noexcept {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

bool bindAll(void* library, Libdw& dw) noexcept {
    return bind(library, "elf_version", dw.elf_version) && bind(library, "elf_errno", dw.elf_errno) &&
           bind(library, "dwarf_errno", dw.dwarf_errno) && bind(library, "elf_begin", dw.elf_begin) &&
           bind(library, "elf_cntl", dw.elf_cntl) && bind(library, "elf_end", dw.elf_end) &&
           bind(library, "elf_nextscn", dw.elf_nextscn) && bind(library, "elf_getdata", dw.elf_getdata) &&
           bind(library, "elf_strptr", dw.elf_strptr) && bind(library, "gelf_getshdr", dw.gelf_getshdr) &&
           bind(library, "gelf_getsym", dw.gelf_getsym) &&
           bind(library, "dwelf_elf_gnu_build_id", dw.dwelf_elf_gnu_build_id) &&
           bind(library, "dwelf_elf_gnu_debuglink", dw.dwelf_elf_gnu_debuglink) &&
           bind(library, "dwelf_dwarf_gnu_debugaltlink", dw.dwelf_dwarf_gnu_debugaltlink) &&
           bind(library, "dwarf_begin_elf", dw.dwarf_begin_elf) && bind(library, "dwarf_setalt", dw.dwarf_setalt) &&
           bind(library, "dwarf_end", dw.dwarf_end) && bind(library, "dwarf_addrdie", dw.dwarf_addrdie) &&
           bind(library, "dwarf_get_units", dw.dwarf_get_units) && bind(library, "dwarf_child", dw.dwarf_child) &&
           bind(library, "dwarf_siblingof", dw.dwarf_siblingof) && bind(library, "dwarf_haspc", dw.dwarf_haspc) &&
           bind(library, "dwarf_tag", dw.dwarf_tag) && bind(library, "dwarf_diename", dw.dwarf_diename) &&
           bind(library, "dwarf_attr", dw.dwarf_attr) &&
           bind(library, "dwarf_attr_integrate", dw.dwarf_attr_integrate) &&
           bind(library, "dwarf_formstring", dw.dwarf_formstring) &&
           bind(library, "dwarf_formudata", dw.dwarf_formudata) &&
           bind(library, "dwarf_getsrc_die", dw.dwarf_getsrc_die) && bind(library, "dwarf_linesrc", dw.dwarf_linesrc) &&
           bind(library, "dwarf_lineno", dw.dwarf_lineno) && bind(library, "dwarf_lineaddr", dw.dwarf_lineaddr) &&
           bind(library, "dwarf_getsrcfiles", dw.dwarf_getsrcfiles) && bind(library, "dwarf_filesrc", dw.dwarf_filesrc);
}

/// Null: not known yet. Once set, it stays for the life of the process.
constinit std::atomic<const Libdw*> gLibdw{nullptr};
/// What `gLibdw` refers to when the library is not there.
constexpr Libdw cMissing{};

/// Whether `dlopen` failed because there is no such file, and not for want of descriptors or memory. Only its words
/// tell.
bool isFileMissing() noexcept {
    const char* const reason = dlerror();
    return reason && std::strstr(reason, std::strerror(ENOENT));
}

/// Returns null when another attempt may succeed.
const Libdw* load() noexcept {
    std::unique_ptr<Libdw> dw(new (std::nothrow) Libdw{});
    if (!dw)
        return nullptr;
    void* const library = dlopen("libdw.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return isFileMissing() ? &cMissing : nullptr;
    if (bindAll(library, *dw) && dw->elf_version(EV_CURRENT) != EV_NONE)
        return dw.release();
    dlclose(library);
    return &cMissing;
}

} // namespace

const Libdw* openLibdw() noexcept {
    const Libdw* dw = gLibdw.load();
    if (!dw) {
        // Threads that come first together each open it. One table stays; the library counts how often it was opened.
        const Libdw* const loaded = load();
        if (!loaded)
            return nullptr;
        if (gLibdw.compare_exchange_strong(dw, loaded))
            dw = loaded;
        else if (loaded != &cMissing)
            delete loaded;
    }
    if (dw == &cMissing)
        return nullptr;
    // Variables of a thread in a library that was opened late are made at their first use, which may wait for the
    // loader. Every function there uses these two; from now on none waits.
    dw->elf_errno();
    dw->dwarf_errno();
    return dw;
}

} // namespace Tarq::Common::Platform

#endif
