// SPDX-License-Identifier: MIT
//
// From the FILEs of the command line to images, with all that is told on the
// way.

#ifndef QORHEX_INPUTS_H
#define QORHEX_INPUTS_H

#include <optional>
#include <string>
#include <vector>

#include "arguments.h"
#include "image/image.h"
#include "image/outside.h"
#include "image/regions.h"
#include "image/segments.h"
#include "reading/failure.h"
#include "reading/problem.h"

/// Returns one name for the FILEs `paths`, for messages.
std::string namesOf(const std::vector<std::string>& paths);

/// The FILEs of one image and what came of them.
struct input_t {
  /// The FILEs as they were given.
  std::vector<std::string> paths;
  /// Their image; nothing where a FILE is refused or cannot be read.
  std::optional<image_t> image;
  /// The segments of the image reduced to --range, where a range is given or
  /// something is written.
  std::optional<std::vector<segment_t>> segments;
  /// The highest exit status that the FILEs give.
  exitStatus_t status{ALL_WELL};
  /// The problems in the order in which they are told, where the form JSON is
  /// asked for.
  std::vector<problem_t> problems;

  /// Returns a name for the whole, for messages.
  std::string name() const;

  /// Returns a walk over the segments, which the image has.
  SegmentWalk walk() const;
};

/// Reads the map of the command line; no region where none is given. Its
/// problems are told; when there is one, nothing is returned.
///
/// Throws Failure where reading fails.
std::optional<std::vector<region_t>> readMap(const arguments_t& arguments);

/// Returns where the FILEs must have no data, by the map's `regions` and the
/// ranges of the command line.
forbidden_t forbiddenBy(const arguments_t& arguments,
                        const std::vector<region_t>& regions);

/// Reads the FILEs `paths` to the image that they make together, without data
/// in `forbidden`, and tells what is wrong with them: of each FILE the first
/// error, or with --check all.
///
/// Throws Failure where standard output fails, and std::bad_alloc.
input_t readInput(const arguments_t& arguments,
                  const std::vector<std::string>& paths,
                  const forbidden_t& forbidden);

#endif  // QORHEX_INPUTS_H
