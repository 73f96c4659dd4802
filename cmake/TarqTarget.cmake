# tarq_target(<target>) gives a target of this project the flags that all of them share. They are private: a project
# that builds us as a part of itself keeps its own.

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(CCACHE_PROGRAM ccache)
    if(CCACHE_PROGRAM)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
    endif()
endif()

set(TARQ_WARNINGS
    -Wall -Wextra -Wpedantic
    -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual
    -Wshadow -Wundef -Wvla -Wformat=2 -Wextra-semi
    -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND TARQ_WARNINGS -Wduplicated-cond -Wduplicated-branches -Wlogical-op)
endif()
if(TARQ_WARNINGS_AS_ERRORS)
    list(APPEND TARQ_WARNINGS -Werror)
endif()

set(TARQ_TIDY_COMMAND "")
if(TARQ_TIDY)
    find_program(CLANG_TIDY_PROGRAM NAMES clang-tidy-14 clang-tidy REQUIRED)
    # The hash makes a changed list of checks a changed command, so that everything is checked again.
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/.clang-tidy)
    file(SHA256 ${PROJECT_SOURCE_DIR}/.clang-tidy tidyHash)
    set(TARQ_TIDY_COMMAND ${CLANG_TIDY_PROGRAM} --quiet --warnings-as-errors=* --extra-arg=-DTARQ_TIDY_${tidyHash})
endif()

function(tarq_target target)
    set_target_properties(
        ${target}
        PROPERTIES CXX_EXTENSIONS OFF
                   CXX_VISIBILITY_PRESET hidden
                   VISIBILITY_INLINES_HIDDEN ON
                   CXX_CLANG_TIDY "${TARQ_TIDY_COMMAND}")
    # Reports name files as "common/io/stream.cpp", wherever the checkout is. Debug information keeps the full path, so
    # that a debugger finds the source.
    target_compile_options(${target} PRIVATE ${TARQ_WARNINGS} -fno-omit-frame-pointer
                                             -fmacro-prefix-map=${TarqCommon_SOURCE_DIR}/=)
    if(TARQ_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${TARQ_SANITIZE} -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${TARQ_SANITIZE})
    endif()
endfunction()
