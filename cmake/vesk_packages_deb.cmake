# Debian packages, one for each component: scripts/make-deb.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vesknvme)
set(CPACK_PACKAGE_CONTACT "VeskNvme maintainers <maintainers@vesknvme.example>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL library development tool simulation)
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 1)  # the same bytes each time

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# libvmkmgmt.so belongs to no package: hypervisors have it, and veskctl-sim brings its own.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libvesknvme0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
  "inventory and monitoring of an NVMe RAID controller
 Shared library through which a server-management stack reads an NVMe RAID
 controller of a VMware ESXi host: identity, firmware and PCIe link, physical
 and virtual disks, health, events and the locate lights.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvesknvme-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libvesknvme0 (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "header and build files of libVeskNvme
 What a management stack is built with: the header for C and C++, the CMake
 package VeskNvme, the pkg-config file vesknvme, examples and documents.")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME veskctl)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS
  "libvesknvme0 (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION
  "command-line program for an NVMe RAID controller
 Shows controller, disks, volumes, health and events of the NVMe RAID
 controller of a VMware ESXi host, as tables and as JSON. Needs the
 hypervisor's own management library; veskctl-sim runs anywhere.")
set(CPACK_DEBIAN_SIMULATION_PACKAGE_NAME veskctl-sim)
# veskctl has the capture library, the schemas and the pages that both programs share.
set(CPACK_DEBIAN_SIMULATION_PACKAGE_DEPENDS
  "libvesknvme0 (>= ${PROJECT_VERSION}), veskctl (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_SIMULATION_DESCRIPTION
  "veskctl with a simulated NVMe RAID controller inside
 The program veskctl on a simulated host, with scenarios of healthy, degraded,
 worn and silent controllers, for trying it out and for testing what uses it;
 and a library to preload that puts the simulated host under other programs.")

# Each package carries licence and changes below its own name.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  find_program(VESK_GZIP gzip REQUIRED)
  set(debian_changes ${CMAKE_BINARY_DIR}/generated/changelog.Debian.gz)
  add_custom_command(
    OUTPUT ${debian_changes}
    COMMAND ${VESK_GZIP} -9 --no-name --stdout ${PROJECT_SOURCE_DIR}/packaging/deb/changelog
            > ${debian_changes}
    DEPENDS ${PROJECT_SOURCE_DIR}/packaging/deb/changelog
    VERBATIM)
  add_custom_target(debian_changes ALL DEPENDS ${debian_changes})
  foreach(component IN ITEMS LIBRARY DEVELOPMENT TOOL SIMULATION)
    string(TOLOWER ${component} component_name)
    set(package ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/deb/copyright ${debian_changes}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
      COMPONENT ${component_name})
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/deb/${package}.lintian-overrides
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
      RENAME ${package}
      COMPONENT ${component_name})
  endforeach()
endif()

set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/deb/triggers)
set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/deb/triggers)

include(CPack)
