# Runs one command line and compares what a user gets: exit code, standard output to the letter,
# standard error by a regular expression.
#   cmake -DCOMMAND=... -DEXIT=n -DSTDOUT=file|"" -DSTDERR=regex|"" -P run_golden.cmake
# With VESK_UPDATE=1 in the environment the committed output is replaced.
execute_process(COMMAND ${COMMAND}
  RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE errors)

if(NOT code EQUAL EXIT)
  message(FATAL_ERROR "exit code ${code}, expected ${EXIT}\n${output}${errors}")
endif()

# Nobody may take the simulated host for a real one.
if(NOT output MATCHES "^SIMULATED HOST" AND NOT errors MATCHES "^SIMULATED HOST\n")
  message(FATAL_ERROR "the simulated host is not named\n${output}${errors}")
endif()
string(REGEX REPLACE "^SIMULATED HOST\n" "" errors "${errors}")

if(STDERR STREQUAL "")
  if(NOT errors STREQUAL "")
    message(FATAL_ERROR "standard error was expected to be empty:\n${errors}")
  endif()
elseif(NOT errors MATCHES "${STDERR}")
  message(FATAL_ERROR "standard error does not match '${STDERR}':\n${errors}")
endif()

if(STDOUT STREQUAL "")
  if(NOT output STREQUAL "")
    message(FATAL_ERROR "standard output was expected to be empty:\n${output}")
  endif()
elseif("$ENV{VESK_UPDATE}" STREQUAL "1")
  file(WRITE ${STDOUT} "${output}")
else()
  file(READ ${STDOUT} expected)
  if(NOT output STREQUAL expected)
    message(FATAL_ERROR "standard output differs from ${STDOUT}. Got:\n${output}\nExpected:\n${expected}")
  endif()
endif()
