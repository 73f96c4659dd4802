# gdb shows the library's classes as what they mean: it loads this file by itself from beside the library.

file(GENERATE OUTPUT $<TARGET_FILE:tarqcommon>-gdb.py INPUT ${PROJECT_SOURCE_DIR}/cmake/gdb/tarqcommon-gdb.py)
install(FILES cmake/gdb/tarqcommon-gdb.py DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RENAME $<TARGET_FILE_NAME:tarqcommon>-gdb.py)
