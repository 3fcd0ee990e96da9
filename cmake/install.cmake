# What `cmake --install` gives: headers, the shared library, a CMake package, a pkg-config file and
# gdb's pretty printers.
include(CMakePackageConfigHelpers)

install(TARGETS qxut EXPORT qxut-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/qxut DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qxut)
install(EXPORT qxut-targets NAMESPACE qxut:: DESTINATION ${package_dir})
configure_package_config_file(cmake/qxut-config.cmake.in qxut-config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(qxut-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qxut-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/qxut-config-version.cmake
        DESTINATION ${package_dir})

# The prefix is found from the file's own place, so an installed tree may be moved.
file(RELATIVE_PATH QXUT_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/qxut.pc.in qxut.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qxut.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# gdb loads them by itself with the library when a copy stands in its auto-load folder, else by
# `source PREFIX/share/qxut/gdb/qxut-gdb.py`.
install(FILES tools/gdb/qxut-gdb.py DESTINATION ${CMAKE_INSTALL_DATADIR}/qxut/gdb)
