// SPDX-License-Identifier: MIT

#include "inputs.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "image/image_reader.h"
#include "image/ranges.h"
#include "reading/names.h"
#include "reading/number_text.h"
#include "reading/text_input.h"
#include "telling/messages.h"
#include "telling/problem_log.h"
#include "telling/problems.h"
#include "telling/progress.h"
#include "telling/terminal.h"

namespace {

// Sends what the library writes to standard output to standard error.
class OutputDiverted {
 public:
  OutputDiverted() : saved(std::cout.rdbuf(std::cerr.rdbuf())) {}

  OutputDiverted(const OutputDiverted&) = delete;
  OutputDiverted& operator=(const OutputDiverted&) = delete;

  ~OutputDiverted() { std::cout.rdbuf(saved); }

 private:
  std::streambuf* saved;
};

// Tells whether `path` leads where standard output leads.
bool isStandardOutput(const std::string& path) {
  struct stat target {};

  struct stat output {};

  if (path == "-") {
    return true;
  }
  return ::stat(path.c_str(), &target) == 0 &&
         ::fstat(STDOUT_FILENO, &output) == 0 &&
         target.st_dev == output.st_dev && target.st_ino == output.st_ino;
}

image_t loadStrictly(const arguments_t& arguments, const std::string& path) {
  bool carriesOutput = arguments.format == format_t::JSON;
  for (const auto& output :
       {arguments.binaryFile, arguments.hexFile, arguments.pictureFile}) {
    carriesOutput = carriesOutput || (output && isStandardOutput(*output));
  }
  if (carriesOutput) {
    const OutputDiverted diverted;
    return loadImage(path);
  }
  return loadImage(path);
}

std::vector<std::string> eachName(const std::vector<std::string>& paths) {
  std::vector<std::string> names(paths.size());
  std::transform(paths.begin(), paths.end(), names.begin(), nameOf);
  return names;
}

problemStyle_t styleOf(const arguments_t& arguments) {
  const bool json = arguments.format == format_t::JSON;
  return {arguments.check, json, json};
}

void readText(const arguments_t& arguments, const std::string& path,
              ImageReader& reader, std::size_t index,
              const problemSink_t& sink) {
  TextInput text(path);
  Progress progress(arguments.progress, text.name(), "read", text.size());
  text.watch([&progress](std::size_t count) { progress.advance(count); });
  reader.read(text, index, sink);
  progress.finish();
}

// Tells why the FILE `index` was not read.
void leaveOut(const Failure& failure, std::size_t index, ProblemLog& log) {
  writeError(std::string("qorhex: ") + failure.what() + '\n');
  log.leaveOut(index, failure);
}

image_t readStrictly(const arguments_t& arguments, const std::string& path,
                     ProblemLog& log) {
  try {
    return loadStrictly(arguments, path);
  } catch (const Failure& failure) {
    leaveOut(failure, 0, log);
    return {};
  }
}

// Reads one FILE after the other; what is wrong with one does not keep the
// others from being read.
image_t readTexts(const arguments_t& arguments,
                  const std::vector<std::string>& paths,
                  const forbidden_t& forbidden, ProblemLog& log) {
  const problemSink_t sink = [&log](const problem_t& problem) {
    log.take(problem);
  };
  ImageReader reader(eachName(paths),
                     {arguments.force, forbidden,
                      arguments.check || arguments.format == format_t::JSON});
  for (std::size_t i = 0; i < paths.size(); ++i) {
    try {
      readText(arguments, paths[i], reader, i, sink);
    } catch (const Refusal&) {
      continue;  // it is told
    } catch (const Failure& failure) {
      leaveOut(failure, i, log);
    }
  }
  log.endLines();
  if (log.isAllOver() && !arguments.check) {
    return {};
  }
  try {
    return reader.finish(
        sink, [&log](std::size_t index) { return log.wants(index); });
  } catch (const Refusal&) {
    return {};
  }
}

// Tells what has become of `image`, which is sound.
void tellAbout(const image_t& image, const arguments_t& arguments,
               const input_t& input) {
  for (const startAddress_t& start : image.startAddresses) {
    const std::string name = nameOf(input.paths[start.file]);
    if (arguments.verbosity > 0) {
      messageAbout(name) << startAddressText(start) << '\n';
    }
    for (const startAddress_t& replaced : image.replacedStarts) {
      if (replaced.type == start.type && replaced.value != start.value) {
        messageAbout(nameOf(input.paths[replaced.file]))
            << startAddressText(replaced) << " gives way to that of "
            << escapeName(name) << " (--force)\n";
      }
    }
  }
  if (image.merged.conflicting != 0) {
    messageAbout(input.name())
        << countText(image.merged.conflicting, "conflicting byte")
        << " accepted (--force)\n";
  }
  if (image.merged.repeated != 0 && arguments.verbosity > 0) {
    messageAbout(input.name())
        << countText(image.merged.repeated, "repeated byte") << " merged\n";
  }
}

// Reduces the segments of `input` to --range.
void crop(const arguments_t& arguments, input_t& input, ProblemLog& log) {
  const std::uint64_t leftOut = cropSegments(*input.segments, arguments.ranges);
  if (arguments.verbosity > 0) {
    messageAbout(input.name())
        << countText(leftOut, "byte") << " outside of the ranges left out\n";
  }
  if (input.segments->empty()) {
    log.take({severity_t::WARNING,
              input.name(),
              0,
              0,
              "no data in the ranges",
              {},
              input.paths.size() - 1});
  }
}

void takeImage(const arguments_t& arguments, image_t image, input_t& input,
               ProblemLog& log) {
  tellAbout(image, arguments, input);
  input.image.emplace(std::move(image));
  if (arguments.isWriting() || !arguments.ranges.empty()) {
    input.segments = joinBlocks(input.image->blocks);
  }
  if (!arguments.ranges.empty()) {
    crop(arguments, input, log);
  }
}

}  // namespace

std::string namesOf(const std::vector<std::string>& paths) {
  std::string names;
  for (const std::string& path : paths) {
    names += (names.empty() ? "" : ", ") + nameOf(path);
  }
  return names;
}

std::string input_t::name() const {
  return namesOf(paths);
}

SegmentWalk input_t::walk() const {
  return segments ? SegmentWalk(*segments) : SegmentWalk(image->blocks);
}

std::optional<std::vector<region_t>> readMap(const arguments_t& arguments) {
  if (!arguments.mapFile) {
    return std::vector<region_t>();
  }
  TextInput text(*arguments.mapFile);
  bool sound = true;
  std::vector<region_t> regions =
      readRegions(text, [&sound](const problem_t& problem) {
        sound = false;
        writeError(problemText(problem, hasColours(STDERR_FILENO)));
      });
  if (!sound) {
    return std::nullopt;
  }
  return regions;
}

forbidden_t forbiddenBy(const arguments_t& arguments,
                        const std::vector<region_t>& regions) {
  if (regions.empty()) {
    return {};
  }
  return forbidOutside(regions, arguments.ranges);
}

input_t readInput(const arguments_t& arguments,
                  const std::vector<std::string>& paths,
                  const forbidden_t& forbidden) {
  input_t input;
  input.paths = paths;
  ProblemLog log(styleOf(arguments), eachName(paths));
  image_t image = arguments.strict
                      ? readStrictly(arguments, paths.front(), log)
                      : readTexts(arguments, paths, forbidden, log);
  if (log.status() == ALL_WELL) {
    takeImage(arguments, std::move(image), input, log);
  }
  log.finish();
  input.status = log.status();
  input.problems = log.release();
  return input;
}
