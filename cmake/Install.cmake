# Installs the library for clients that use find_package(Quoll) or pkg-config. Both find it below
# whatever prefix `cmake --install --prefix` names.
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Quoll)

install(TARGETS quoll EXPORT QuollTargets)
install(DIRECTORY include/Quoll DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT QuollTargets NAMESPACE Quoll:: DESTINATION ${package_folder})

configure_package_config_file(cmake/QuollConfig.cmake.in QuollConfig.cmake INSTALL_DESTINATION ${package_folder})
# Before 1.0 a change of the second number may break clients.
write_basic_package_version_file(QuollConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QuollConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/QuollConfigVersion.cmake
    DESTINATION ${package_folder})

file(RELATIVE_PATH QUOLL_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/quoll.pc.in quoll.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quoll.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(WIN32)
    # Exceptions and standard containers cross the library's border, so it and its clients share
    # one C++ runtime: these, never static copies.
    foreach(library libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
            OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        if(NOT IS_ABSOLUTE "${file}")
            message(FATAL_ERROR "The compiler doesn't know where its ${library} is")
        endif()
        install(FILES ${file} DESTINATION ${CMAKE_INSTALL_BINDIR})
    endforeach()
endif()
