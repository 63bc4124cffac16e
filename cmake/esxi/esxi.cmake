# Links what is built for the C library of ESXi hosts: no symbol newer than glibc 2.17, and the C++
# runtime inside. docs/host-build.md tells how and why.
set(VESK_ESXI_UNWINDER static CACHE STRING
  "Who unwinds exceptions: static (each file itself) or host (the host's libgcc_s.so.1)")
set_property(CACHE VESK_ESXI_UNWINDER PROPERTY STRINGS static host)
if(NOT VESK_ESXI_UNWINDER MATCHES "^(static|host)$")
  message(FATAL_ERROR "VESK_ESXI_UNWINDER is '${VESK_ESXI_UNWINDER}'; give static or host")
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU" OR NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  message(FATAL_ERROR "VESK_ESXI needs gcc on x86-64; this is ${CMAKE_CXX_COMPILER_ID} on "
                      "${CMAKE_SYSTEM_PROCESSOR}. On Debian: apt-get install g++")
endif()
if(VESK_BUILD_TESTS)
  message(FATAL_ERROR "The tests are built natively and run against the library for the host by "
                      "scripts/check-esxi; give -DVESK_BUILD_TESTS=OFF")
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(vesk_esxi_folder ${CMAKE_CURRENT_LIST_DIR})
set(vesk_stub_folder ${CMAKE_BINARY_DIR}/stubs)
set(vesk_stubs libc.so.6 libm.so.6 libpthread.so.0 libdl.so.2 ld-linux-x86-64.so.2)
list(TRANSFORM vesk_stubs PREPEND ${vesk_stub_folder}/)
add_custom_command(
  OUTPUT ${vesk_stubs}
  COMMAND Python3::Interpreter ${vesk_esxi_folder}/make_stubs.py ${CMAKE_C_COMPILER} ${vesk_stub_folder}
  DEPENDS ${vesk_esxi_folder}/make_stubs.py
  COMMENT "Writing stand-ins for the libraries of glibc 2.17"
  VERBATIM)
add_custom_target(vesk_stubs DEPENDS ${vesk_stubs})

add_library(vesk_old_libc OBJECT ${vesk_esxi_folder}/old_libc.c)
add_library(vesk_own_unwinder OBJECT ${vesk_esxi_folder}/own_unwinder.c)
add_library(vesk_program_start OBJECT ${vesk_esxi_folder}/program_start.c)
foreach(part IN ITEMS vesk_old_libc vesk_own_unwinder vesk_program_start)
  set_target_properties(${part} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${part} PRIVATE -Wall -Wextra -Wshadow -Wconversion -Werror
    -O2 -ffunction-sections -fdata-sections -fstack-protector-strong)
endforeach()

# vesk_esxi_link(<target>): adds to a library or program what the link rules below expect.
function(vesk_esxi_link target)
  get_target_property(type ${target} TYPE)
  if(NOT type MATCHES "^(SHARED_LIBRARY|EXECUTABLE)$")
    return()
  endif()
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:vesk_old_libc>)
  if(VESK_ESXI_UNWINDER STREQUAL "static")
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:vesk_own_unwinder>)
  endif()
  if(type STREQUAL "EXECUTABLE")
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:vesk_program_start>)
  endif()
  add_dependencies(${target} vesk_stubs)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${vesk_stubs})
endfunction()

function(vesk_file_of_compiler variable name)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT IS_ABSOLUTE "${path}")
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} has no ${name}. On Debian: apt-get install g++")
  endif()
  set(${variable} ${path} PARENT_SCOPE)
endfunction()
foreach(name IN ITEMS crti.o crtbeginS.o crtendS.o crtn.o libstdc++.a libgcc.a libgcc_eh.a libgcc_s.so.1)
  vesk_file_of_compiler(file_${name} ${name})
endforeach()
if(VESK_ESXI_UNWINDER STREQUAL "static")
  set(unwinder "${file_libgcc_eh.a}")
else()
  set(unwinder "${file_libgcc_s.so.1}")
endif()

# The whole link line is ours: no file and no library that the compiler would add by itself.
#   -s                       stripped, as it ships
#   --exclude-libs           the C++ runtime stays private: unique symbols would pin a library in
#                            memory, and others would bind to it
#   --allow-shlib-undefined  this machine's libgcc_s asks for more than the stand-ins have
#   -Map                     tells what stands at an address that a host reports
#   -u __cxa_pure_virtual    only referred to weakly; without it a pure virtual call goes to address 0
list(JOIN vesk_stubs " " stubs)
string(CONCAT vesk_link_begin
  "-nodefaultlibs -nostartfiles -s -Wl,-Map,<TARGET>.map -Wl,--exclude-libs,ALL -Wl,-u,__cxa_pure_virtual "
  "-Wl,--gc-sections -Wl,--allow-shlib-undefined ${file_crti.o} ${file_crtbeginS.o}")
string(CONCAT vesk_link_end
  "-Wl,--start-group ${file_libstdc++.a} ${file_libgcc.a} ${unwinder} -Wl,--end-group "
  "-Wl,--as-needed ${stubs} -Wl,--no-as-needed ${file_crtendS.o} ${file_crtn.o}")
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_CREATE_SHARED_LIBRARY
    "<CMAKE_${language}_COMPILER> -shared <LANGUAGE_COMPILE_FLAGS> <LINK_FLAGS> \
<SONAME_FLAG><TARGET_SONAME> -o <TARGET> ${vesk_link_begin} <OBJECTS> <LINK_LIBRARIES> ${vesk_link_end}")
  set(CMAKE_${language}_LINK_EXECUTABLE
    "<CMAKE_${language}_COMPILER> <FLAGS> -pie <LINK_FLAGS> -o <TARGET> \
${vesk_link_begin} <OBJECTS> <LINK_LIBRARIES> ${vesk_link_end}")
endforeach()
set(CMAKE_DL_LIBS "")
set(CMAKE_SKIP_RPATH ON)

# In the place of the platform's library, for the link only. In C: a library in C++, as the simulated
# host is, would hide that something of the C++ runtime is missing.
add_library(vesk_platform_stub SHARED ${PROJECT_SOURCE_DIR}/tests/abi/platform_stand_in.c)
set_target_properties(vesk_platform_stub PROPERTIES
  OUTPUT_NAME vmkmgmt
  LIBRARY_OUTPUT_DIRECTORY ${vesk_stub_folder})
target_include_directories(vesk_platform_stub PRIVATE ${PROJECT_SOURCE_DIR}/src)
vesk_target_options(vesk_platform_stub)
