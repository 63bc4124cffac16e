# What developers of hosts install besides library and header: the CMake package and the pkg-config
# file, in the component "development". Components: library, development, tool, simulation.
include(CMakePackageConfigHelpers)

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/VeskNvme)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/packaging/cmake/VeskNvmeConfig.cmake.in
  ${CMAKE_BINARY_DIR}/generated/VeskNvmeConfig.cmake
  INSTALL_DESTINATION ${config_folder}
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR
  NO_SET_AND_CHECK_MACRO)
# Before 1.0 a new minor version may break.
write_basic_package_version_file(
  ${CMAKE_BINARY_DIR}/generated/VeskNvmeConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/generated/VeskNvmeConfig.cmake
  ${CMAKE_BINARY_DIR}/generated/VeskNvmeConfigVersion.cmake
  DESTINATION ${config_folder}
  COMPONENT development)

# As many steps up as the folder has names.
string(REGEX REPLACE "[^/]+" ".." VESK_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
configure_file(
  ${PROJECT_SOURCE_DIR}/packaging/cmake/vesknvme.pc.in
  ${CMAKE_BINARY_DIR}/generated/vesknvme.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/generated/vesknvme.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# Examples, and the pages that a developer reads: links to what is not installed become words.
find_package(Python3 COMPONENTS Interpreter QUIET)
if(NOT VESK_ESXI AND Python3_Interpreter_FOUND)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/libvesknvme-dev)
  file(GLOB examples CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/*.c ${PROJECT_SOURCE_DIR}/examples/*.cpp)
  install(FILES ${examples} DESTINATION ${documents}/examples COMPONENT development)
  list(TRANSFORM examples REPLACE ".*/" "../examples/")
  set(folder ${CMAKE_BINARY_DIR}/generated/docs)
  foreach(page IN ITEMS capture events fields fleet host-build host-guide host-install operations
          veskctl veskctl-json wire-formats)
    list(APPEND sources ${PROJECT_SOURCE_DIR}/docs/${page}.md)
    list(APPEND pages ${folder}/${page}.md)
  endforeach()
  add_custom_command(OUTPUT ${pages}
    COMMAND ${Python3_EXECUTABLE} -B ${PROJECT_SOURCE_DIR}/packaging/pages.py
            ${folder} ${sources} --beside ${examples}
    DEPENDS ${PROJECT_SOURCE_DIR}/packaging/pages.py ${sources}
    VERBATIM)
  add_custom_target(packed_pages ALL DEPENDS ${pages})
  install(FILES ${pages} DESTINATION ${documents}/docs COMPONENT development)
endif()
