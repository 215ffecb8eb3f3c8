# What `cmake --install` copies: the library, its headers, and what pkg-config and find_package(zebbase) look for.

install(TARGETS zebbase EXPORT zebbase LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/zebbase DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

# Both find the rest from where they lie, so that an installation can be moved as a whole.
file(RELATIVE_PATH ZEB_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" ZEB_PC_TO_PREFIX ${ZEB_PC_TO_PREFIX})
configure_file(cmake/zebbase.pc.in zebbase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zebbase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

include(CMakePackageConfigHelpers)
set(ZEB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zebbase)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zebbaseConfigVersion.cmake COMPATIBILITY SameMajorVersion
  ARCH_INDEPENDENT) # the configuration itself says which machine it is for
configure_file(cmake/zebbaseConfig.cmake.in zebbaseConfig.cmake @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zebbaseConfig.cmake ${PROJECT_BINARY_DIR}/zebbaseConfigVersion.cmake
  DESTINATION ${ZEB_CMAKE_DIR})
install(EXPORT zebbase FILE zebbaseTargets.cmake NAMESPACE zebbase:: DESTINATION ${ZEB_CMAKE_DIR})
