# Compiler and linker options that all of our targets share.

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND VESK_SANITIZE)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
    OUTPUT_VARIABLE VESK_CLANG_RUNTIME OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()

set(VESK_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

# vesk_target_options(<target>): warnings, sanitizers, coverage, hardening.
function(vesk_target_options target)
  target_compile_options(${target} PRIVATE
    ${VESK_WARNINGS}
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    -fno-omit-frame-pointer)
  if(VESK_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${VESK_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${VESK_SANITIZE})
    # As gcc has it: else each program would bring the sanitizer's functions in the place of its own.
    # Not for threads: with clang 14's shared library for these no program gets as far as main.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND VESK_SANITIZE MATCHES "address" AND NOT VESK_FUZZ)
      target_link_options(${target} PRIVATE -shared-libsan LINKER:-rpath,${VESK_CLANG_RUNTIME})
    endif()
    # gcc warns of library headers falsely where sanitizers and optimisation meet.
    target_compile_options(${target} PRIVATE
      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  else()
    target_compile_options(${target} PRIVATE
      -fstack-protector-strong
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
    target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now,-z,noexecstack,-z,defs)
  endif()
  if(VESK_ESXI)
    vesk_esxi_link(${target})
  endif()
  if(VESK_COVERAGE)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      target_compile_options(${target} PRIVATE -fprofile-instr-generate -fcoverage-mapping)
      target_link_options(${target} PRIVATE -fprofile-instr-generate)
    else()
      target_compile_options(${target} PRIVATE --coverage)
      target_link_options(${target} PRIVATE --coverage)
    endif()
  endif()
endfunction()

# vesk_compile_together(<target> <count>): its sources in batches of so many, each batch as one. What
# they all instantiate of other libraries, which takes longest, is then compiled once a batch.
function(vesk_compile_together target count)
  if(VESK_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${count})
  endif()
endfunction()

# vesk_test_options(<target>): the same for what is not shipped. Tests are run once and built often.
function(vesk_test_options target)
  vesk_target_options(${target})
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Og>)
endfunction()
