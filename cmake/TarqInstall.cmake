# Installing: the library, its public headers, and what find_package and pkg-config read.

include(CMakePackageConfigHelpers)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/TarqCommon)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE prefixFromPkgConfig)

configure_package_config_file(cmake/TarqCommonConfig.cmake.in TarqCommonConfig.cmake INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(TarqCommonConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(cmake/tarqcommon.pc.in tarqcommon.pc @ONLY)

install(
    TARGETS tarqcommon
    EXPORT TarqCommonTargets
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarqcommon)
install(EXPORT TarqCommonTargets NAMESPACE Tarq:: DESTINATION ${packageDir})
install(FILES ${PROJECT_BINARY_DIR}/TarqCommonConfig.cmake ${PROJECT_BINARY_DIR}/TarqCommonConfigVersion.cmake
        DESTINATION ${packageDir})
install(FILES ${PROJECT_BINARY_DIR}/tarqcommon.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
