#pragma once

#include <cstddef>

// The library that reads debug information, from its headers as types only: it is opened at run time, where it is
// installed.
#ifdef TARQ_HAVE_LIBDW_HEADERS

#include <dwarf.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwelf.h>
#include <gelf.h>

namespace Tarq::Common::Platform {

/// Its functions, under their own names.
struct Libdw {
    decltype(&::elf_version) elf_version;
    decltype(&::elf_errno) elf_errno;
    decltype(&::dwarf_errno) dwarf_errno;
    decltype(&::elf_begin) elf_begin;
    decltype(&::elf_cntl) elf_cntl;
    decltype(&::elf_end) elf_end;
    decltype(&::elf_nextscn) elf_nextscn;
    decltype(&::elf_getdata) elf_getdata;
    decltype(&::elf_strptr) elf_strptr;
    decltype(&::gelf_getshdr) gelf_getshdr;
    decltype(&::gelf_getsym) gelf_getsym;
    decltype(&::dwelf_elf_gnu_build_id) dwelf_elf_gnu_build_id;
    decltype(&::dwelf_elf_gnu_debuglink) dwelf_elf_gnu_debuglink;
    decltype(&::dwelf_dwarf_gnu_debugaltlink) dwelf_dwarf_gnu_debugaltlink;
    decltype(&::dwarf_begin_elf) dwarf_begin_elf;
    decltype(&::dwarf_setalt) dwarf_setalt;
    decltype(&::dwarf_end) dwarf_end;
    decltype(&::dwarf_addrdie) dwarf_addrdie;
    decltype(&::dwarf_get_units) dwarf_get_units;
    decltype(&::dwarf_child) dwarf_child;
    decltype(&::dwarf_siblingof) dwarf_siblingof;
    decltype(&::dwarf_haspc) dwarf_haspc;
    decltype(&::dwarf_tag) dwarf_tag;
    decltype(&::dwarf_diename) dwarf_diename;
    decltype(&::dwarf_attr) dwarf_attr;
    decltype(&::dwarf_attr_integrate) dwarf_attr_integrate;
    decltype(&::dwarf_formstring) dwarf_formstring;
    decltype(&::dwarf_formudata) dwarf_formudata;
    decltype(&::dwarf_getsrc_die) dwarf_getsrc_die;
    decltype(&::dwarf_linesrc) dwarf_linesrc;
    decltype(&::dwarf_lineno) dwarf_lineno;
    decltype(&::dwarf_lineaddr) dwarf_lineaddr;
    decltype(&::dwarf_getsrcfiles) dwarf_getsrcfiles;
    decltype(&::dwarf_filesrc) dwarf_filesrc;
};

/// Opens the library at the first call, and makes it ready for the calling thread; null when it is not there, or cannot
/// be opened for want of descriptors or memory. It is never closed again.
///
/// Call this while holding no lock: it may wait for the loader, which runs code of modules meanwhile.
const Libdw* openLibdw() noexcept;

} // namespace Tarq::Common::Platform

#endif
