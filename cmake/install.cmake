# What `cmake --install` copies: the library, its headers, and what pkg-config and find_package(zebbase) look for.

install(TARGETS zebbase EXPORT zebbase LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/zebbase DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

configure_file(cmake/zebbase.pc.in zebbase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zebbase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

include(CMakePackageConfigHelpers)
set(ZEB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zebbase)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zebbaseConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zebbaseConfigVersion.cmake DESTINATION ${ZEB_CMAKE_DIR})
install(EXPORT zebbase FILE zebbaseConfig.cmake NAMESPACE zebbase:: DESTINATION ${ZEB_CMAKE_DIR})
