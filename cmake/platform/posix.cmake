# What the posix backend needs of the system that it is built on.

find_package(Threads REQUIRED)
find_path(LIBDW_INCLUDE_DIR elfutils/libdwelf.h) # brings the other headers with it

# Offsets in files have 64 bits on every machine.
target_compile_definitions(tarqcommon PRIVATE _FILE_OFFSET_BITS=64)
target_link_libraries(tarqcommon PRIVATE Threads::Threads ${CMAKE_DL_LIBS})

# Calls inside the library are bound when it is built: it runs faster, and no other library can take them over.
target_compile_options(tarqcommon PRIVATE -fno-semantic-interposition)
target_link_options(tarqcommon PRIVATE LINKER:-Bsymbolic-functions)

# A symbol that nothing defines is an error of the build, not of the host that loads the library. The sanitizers'
# symbols come from the executable.
if(NOT TARQ_SANITIZE)
    target_link_options(tarqcommon PRIVATE LINKER:-z,defs)
endif()

# Call stacks get their names from libdw, which is opened at run time where it is there; only its headers are needed.
if(LIBDW_INCLUDE_DIR)
    target_compile_definitions(tarqcommon PRIVATE TARQ_HAVE_LIBDW_HEADERS)
    target_include_directories(tarqcommon SYSTEM PRIVATE ${LIBDW_INCLUDE_DIR})
else()
    message(STATUS "No elfutils/libdwelf.h: call stacks will show modules and exported functions only")
endif()
