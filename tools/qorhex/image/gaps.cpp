// SPDX-License-Identifier: MIT

#include "image/gaps.h"

#include <algorithm>

std::vector<range_t> longestGaps(std::vector<range_t> gaps, std::uint64_t least,
                                 std::size_t most) {
  gaps.erase(std::remove_if(
                 gaps.begin(), gaps.end(),
                 [least](const range_t& gap) { return gap.size() <= least; }),
             gaps.end());
  if (gaps.size() <= most) {
    return gaps;
  }
  std::stable_sort(gaps.begin(), gaps.end(),
                   [](const range_t& one, const range_t& other) {
                     return one.size() > other.size();
                   });
  gaps.resize(most);
  std::sort(gaps.begin(), gaps.end(),
            [](const range_t& one, const range_t& other) {
              return one.first < other.first;
            });
  return gaps;
}
