# SPDX-License-Identifier: MIT
#
# Refuses libc++, before a compiler does it with many words.

include(CheckCXXSourceCompiles)

function(qorutil_refuse_libcxx)
  set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)  # nothing has to link
  set(CMAKE_REQUIRED_QUIET ON)
  check_cxx_source_compiles("
    #include <cstddef>
    #ifndef _LIBCPP_VERSION
    #error another library
    #endif" QORUTIL_HAS_LIBCXX)
  if(QORUTIL_HAS_LIBCXX)
    unset(QORUTIL_HAS_LIBCXX CACHE)  # other flags may take another library
    message(FATAL_ERROR "qorutil cannot be built with libc++: there the format \
flags of a stream are a plain unsigned int, so that the printer of format flags \
would be one of numbers. libstdc++ is needed; clang++ takes it with \
-stdlib=libstdc++.")
  endif()
endfunction()

qorutil_refuse_libcxx()
