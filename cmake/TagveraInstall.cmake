# cmake --install: the library, the public headers, the command, a pkg-config file and a CMake
# package, so that a host project can find_package(tagvera) or ask pkg-config.
include(CMakePackageConfigHelpers)

install(TARGETS tagvera LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS tagvera_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tagvera DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

# Hosts usually load the library at run time, so both forms name the file to load by its soname.
set(TAGVERA_SONAME "${CMAKE_SHARED_LIBRARY_PREFIX}tagvera${CMAKE_SHARED_LIBRARY_SUFFIX}.${PROJECT_VERSION_MAJOR}")

file(RELATIVE_PATH TAGVERA_PC_TO_PREFIX "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
configure_file(${PROJECT_SOURCE_DIR}/cmake/tagvera.pc.in ${PROJECT_BINARY_DIR}/tagvera.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tagvera.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tagvera)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tagveraConfig.cmake.in
  ${PROJECT_BINARY_DIR}/tagveraConfig.cmake
  INSTALL_DESTINATION ${_config_dir}
  PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tagveraConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tagveraConfig.cmake ${PROJECT_BINARY_DIR}/tagveraConfigVersion.cmake
  DESTINATION ${_config_dir})
