// SPDX-License-Identifier: MIT
//
// qorhex: lists the segments of Intel HEX files and writes them as raw binary
// files.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "arguments.h"
#include "image/image.h"
#include "image/ranges.h"
#include "image/segments.h"
#include "outputs.h"
#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/names.h"
#include "reading/number_text.h"
#include "reading/text_input.h"
#include "telling/dump.h"
#include "telling/messages.h"
#include "telling/problems.h"
#include "telling/progress.h"
#include "telling/table.h"
#include "writing/temporary.h"

namespace {

// Makes sure that no file of ours becomes standard input, output or error. What
// was closed can be neither read nor written afterwards, either.
void occupyStandardDescriptors() {
  int descriptor = 0;
  do {
    descriptor = ::open("/", O_PATH);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  Descriptor(descriptor).reset();
}

bool isFolder(const std::string& path) {
  struct stat status {};

  if (::stat(path.c_str(), &status) != 0) {
    return false;
  }
  errno = ENOTDIR;
  return S_ISDIR(status.st_mode);
}

// The first error ends the file.
void tellOrRefuse(const problem_t& problem) {
  if (problem.severity == severity_t::ERROR) {
    throw Refusal(problem);
  }
  writeError(problemText(problem));
}

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

image_t readStrictly(const arguments_t& arguments, const std::string& path) {
  if ((arguments.binaryFile && isStandardOutput(*arguments.binaryFile)) ||
      (arguments.hexFile && isStandardOutput(*arguments.hexFile))) {
    const OutputDiverted diverted;
    return loadImage(path);
  }
  return loadImage(path);
}

void tellAbout(const image_t& image, const arguments_t& arguments,
               const std::string& name) {
  if (arguments.verbosity > 0) {
    for (const startAddress_t& start : image.startAddresses) {
      messageAbout(name) << startAddressText(start) << '\n';
    }
  }
  if (image.merged.conflicting != 0) {
    messageAbout(name) << countText(image.merged.conflicting,
                                    "conflicting byte")
                       << " accepted (--force)\n";
  }
  if (image.merged.repeated != 0 && arguments.verbosity > 0) {
    messageAbout(name) << countText(image.merged.repeated, "repeated byte")
                       << " merged\n";
  }
}

image_t readFile(const arguments_t& arguments, const std::string& path) {
  if (arguments.strict) {
    return readStrictly(arguments, path);
  }
  TextInput text(path);
  Progress progress(arguments.progress, text.name(), "read", text.size());
  text.watch([&progress](std::size_t count) { progress.advance(count); });
  image_t image = readImage(text, arguments.force, tellOrRefuse);
  progress.finish();
  tellAbout(image, arguments, text.name());
  return image;
}

// Reduces the segments of the file `path` to --range.
void crop(const arguments_t& arguments, const std::string& path,
          std::vector<segment_t>& segments) {
  const std::string name = nameOf(path);
  const std::uint64_t leftOut = cropSegments(segments, arguments.ranges);
  if (arguments.verbosity > 0) {
    messageAbout(name) << countText(leftOut, "byte")
                       << " outside of the ranges left out\n";
  }
  if (segments.empty()) {
    tellOrRefuse(
        {severity_t::WARNING, name, 0, 0, "no data in the ranges", {}});
  }
}

// Lists or dumps the segments of the file `path`.
void showFile(const arguments_t& arguments, const std::string& path,
              const SegmentWalk& segments) {
  if (arguments.files.size() > 1) {
    writeOutput(escapeName(nameOf(path)) + ":\n");
  }
  if (arguments.dumpedPerLine) {
    dumpSegments(segments, *arguments.dumpedPerLine);
  } else {
    listSegments(segments);
  }
}

void handleFile(const arguments_t& arguments, const std::string& path,
                FilesInUse& inUse) {
  const image_t image = readFile(arguments, path);
  const bool writing = arguments.isWriting();
  // A table alone does without all segments at once.
  std::vector<segment_t> segments;
  SegmentWalk walk(image.blocks);
  if (writing || !arguments.ranges.empty()) {
    segments = joinBlocks(image.blocks);
    walk = SegmentWalk(segments);
  }
  if (!arguments.ranges.empty()) {
    crop(arguments, path, segments);
  }
  if (arguments.reverse) {
    reverseSegments(walk);
  }
  if (writing) {
    writeFiles(arguments, path, segments, image.startAddresses, inUse);
  }
  if (arguments.isShowing()) {
    showFile(arguments, path, walk);
  }
}

// Handles the file `path` and tells why it could not be; returns its status.
exitStatus_t statusOf(const arguments_t& arguments, const std::string& path,
                      FilesInUse& inUse) {
  try {
    handleFile(arguments, path, inUse);
    return ALL_WELL;
  } catch (const Refusal& refusal) {
    writeError(problemText(refusal.problem));
    return refusal.problem.status();
  } catch (const Failure& failure) {
    writeError(std::string("qorhex: ") + failure.what() + '\n');
    return failure.status;
  } catch (const std::bad_alloc&) {
    messageAbout(nameOf(path)) << "out of memory\n";
    return SYSTEM_FAILED;
  }
}

exitStatus_t handleFiles(const arguments_t& arguments) {
  if (arguments.outputFolder && !isFolder(*arguments.outputFolder)) {
    throwSystemError(*arguments.outputFolder);
  }
  FilesInUse inUse(arguments.files);
  exitStatus_t highest = ALL_WELL;
  for (const std::string& path : arguments.files) {
    highest = std::max(highest, statusOf(arguments, path, inUse));
  }
  return highest;
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardDescriptors();
  // A file beyond the limit is an error like a full disk, not the end.
  std::signal(SIGXFSZ, SIG_IGN);
  removeOnSignals();
  try {
    arguments_t arguments;
    if (const auto status = readArguments(argc, argv, arguments)) {
      return *status;
    }
    return handleFiles(arguments);
  } catch (const std::exception& exception) {
    writeError(std::string("qorhex: ") + exception.what() + '\n');
    return SYSTEM_FAILED;
  }
}
