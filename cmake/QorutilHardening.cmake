# SPDX-License-Identifier: MIT
#
# The flags that a distribution hardens its packages with: all of Debian's, as
# dpkg-buildflags of this machine tells them, and what Debian's next releases and
# others add. Included by the preset hardened alone, behind project(): whoever
# builds the plain way decides about such flags, not the library.

include(CheckCXXCompilerFlag)

function(qorutil_ask_debian variable result)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env DEB_BUILD_MAINT_OPTIONS=hardening=+all
      dpkg-buildflags --get ${variable}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  set(${result} ${flags} PARENT_SCOPE)
endfunction()

qorutil_ask_debian(CXXFLAGS compilerFlags)
qorutil_ask_debian(CPPFLAGS preprocessorFlags)
qorutil_ask_debian(LDFLAGS linkerFlags)

# Level 3 knows the sizes of more objects than Debian 12's 2; g++ has it from 12
# on, clang++ from 9 on.
string(REGEX REPLACE "-D_FORTIFY_SOURCE=[0-9]" "-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3"
  preprocessorFlags "${preprocessorFlags}")
string(APPEND CMAKE_CXX_FLAGS
  " ${compilerFlags} ${preprocessorFlags} -D_GLIBCXX_ASSERTIONS")
# Not every processor has these.
foreach(flag IN ITEMS -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "QORUTIL_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
  if(${has})
    string(APPEND CMAKE_CXX_FLAGS " ${flag}")
  endif()
endforeach()
foreach(kind IN ITEMS EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS " ${linkerFlags}")
endforeach()
