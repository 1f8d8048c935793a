// SPDX-License-Identifier: MIT

#include "image/places.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

constexpr std::uint64_t widest = std::numeric_limits<std::uint32_t>::max();

}  // namespace

// Two pieces make a step.
void Places::addRun(std::uint32_t key, const piece_t& piece) {
  const auto column =
      static_cast<std::uint32_t>(std::min(piece.column, widest));
  if (fileKeys.size() != files) {
    fileKeys.resize(files, key);
  } else {
    run_t& last = runs.back();
    const std::uint64_t lineStep = piece.line - last.line;
    if (last.count == 1 && lineStep <= widest && column == last.column &&
        piece.size == last.size) {
      last.keyStep = key - last.key;
      last.lineStep = static_cast<std::uint32_t>(lineStep);
      last.count = 2;
      next = last;
      next.key = key + last.keyStep;
      next.line = piece.line + lineStep;
      return;
    }
  }
  runs.push_back({piece.line, key, 1, 0, 1, column, piece.size});
  next.size = 0;
}

place_t Places::at(std::uint32_t key) const {
  const run_t& run = runAt(key);
  const std::uint32_t piece =
      run.count == 1 ? 0 : (key - run.key) / run.keyStep;
  return {fileOf(key), run.line + std::uint64_t{piece} * run.lineStep,
          run.column + 2 * (std::uint64_t{key - run.key} -
                            std::uint64_t{piece} * run.keyStep)};
}

std::size_t Places::fileOf(std::uint32_t key) const {
  const auto behind = std::upper_bound(fileKeys.begin(), fileKeys.end(), key);
  return static_cast<std::size_t>(behind - fileKeys.begin()) - 1;
}

const Places::run_t& Places::runAt(std::uint32_t key) const {
  return *std::prev(std::upper_bound(
      runs.begin(), runs.end(), key,
      [](std::uint32_t wanted, const run_t& run) { return wanted < run.key; }));
}
