# SPDX-License-Identifier: MIT
#
# For scripts/mutate.py, which compiles the same sources hundreds of times: what
# most of them include is compiled once.

function(qorutil_precompile)
  foreach(target IN ITEMS qorutil_objects qorhex_units)
    target_precompile_headers(${target} PRIVATE
      <algorithm> <array> <cstdint> <cstring> <functional> <iomanip> <iostream>
      <map> <memory> <optional> <sstream> <string> <string_view> <utility>
      <vector>)
  endforeach()
endfunction()

cmake_language(DEFER CALL qorutil_precompile)  # when there are targets
