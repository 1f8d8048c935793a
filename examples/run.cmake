# SPDX-License-Identifier: MIT
#
# The test of an example; CMakeLists.txt tells what it does.

file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})
execute_process(COMMAND ${emulator} ${program} ${arguments}
  WORKING_DIRECTORY ${folder} TIMEOUT 100
  RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
if(NOT result STREQUAL "0" OR NOT errors STREQUAL "")
  message(FATAL_ERROR "${program}: status ${result}, errors: ${errors}")
endif()

file(READ ${output} expected)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "expected:\n${expected}\nprinted:\n${printed}")
endif()

# The first line of the source is its licence, which the page leaves out.
file(READ ${page} text)
file(READ ${source} code)
string(REGEX REPLACE "^//[^\n]*\n\n" "" code "${code}")
foreach(part IN ITEMS code expected)
  string(FIND "${text}" "\n${${part}}```\n" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "${page} does not show:\n${${part}}")
  endif()
endforeach()
