# SPDX-License-Identifier: MIT
#
# Runs the port of vcpkg with functions that stand for vcpkg's, and build for real:
# cmake -DPORT=... -DSOURCES=... -DWORK=... -DFEATURES=... -P vcpkg.cmake
cmake_minimum_required(VERSION 3.20)

file(READ ${PORT}/vcpkg.json manifest)
string(JSON VERSION GET ${manifest} version)
set(CURRENT_PACKAGES_DIR ${WORK}/packages)
file(REMOVE_RECURSE ${WORK})

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

# vcpkg has two kinds of libraries, of which it installs one.
function(expect path)
  if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/${path})
    message(FATAL_ERROR "${path} is not installed")
  endif()
endfunction()

function(vcpkg_download_distfile result)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "URLS;FILENAME;SHA512" "")
  if(NOT arg_FILENAME STREQUAL "qorutil-${VERSION}.tar.gz")
    message(FATAL_ERROR "the archive is named ${arg_FILENAME}")
  endif()
  set(${result} ${arg_FILENAME} PARENT_SCOPE)
endfunction()

function(vcpkg_extract_source_archive result)
  set(${result} ${SOURCES} PARENT_SCOPE)
endfunction()

function(vcpkg_check_features)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "OUT_FEATURE_OPTIONS" "FEATURES")
  list(POP_FRONT arg_FEATURES feature option)
  set(value OFF)
  if(feature IN_LIST FEATURES)
    set(value ON)
  endif()
  set(${arg_OUT_FEATURE_OPTIONS} -D${option}=${value} PARENT_SCOPE)
endfunction()

function(vcpkg_cmake_configure)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "SOURCE_PATH" "OPTIONS")
  run(${CMAKE_COMMAND} -S ${arg_SOURCE_PATH} -B ${WORK}/build -G Ninja
    -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF
    -DCMAKE_INSTALL_PREFIX=${CURRENT_PACKAGES_DIR} -DCMAKE_INSTALL_LIBDIR=lib
    ${arg_OPTIONS})
endfunction()

function(vcpkg_cmake_install)
  run(${CMAKE_COMMAND} --build ${WORK}/build)
  run(${CMAKE_COMMAND} --install ${WORK}/build)
endfunction()

function(vcpkg_cmake_config_fixup)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "CONFIG_PATH" "")
  expect(${arg_CONFIG_PATH}/qorutilConfig.cmake)
endfunction()

function(vcpkg_fixup_pkgconfig)
  expect(lib/pkgconfig/qorutil.pc)
endfunction()

function(vcpkg_copy_tools)
  cmake_parse_arguments(PARSE_ARGV 0 arg "AUTO_CLEAN" "" "TOOL_NAMES")
  foreach(tool IN LISTS arg_TOOL_NAMES)
    expect(bin/${tool})
  endforeach()
endfunction()

function(vcpkg_install_copyright)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "FILE_LIST")
  foreach(file IN LISTS arg_FILE_LIST)
    if(NOT EXISTS ${file})
      message(FATAL_ERROR "there is no ${file}")
    endif()
  endforeach()
endfunction()

include(${PORT}/portfile.cmake)
expect(lib/libqorutil.a)
expect(include/qorutil/qorutil.h)
