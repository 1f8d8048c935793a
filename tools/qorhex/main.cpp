// SPDX-License-Identifier: MIT
//
// qorhex: tells what Intel HEX files hold and what is wrong with them; cuts,
// merges, compares and converts them.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "arguments.h"
#include "image/outside.h"
#include "image/regions.h"
#include "image/segments.h"
#include "inputs.h"
#include "outputs.h"
#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/names.h"
#include "telling/difference_text.h"
#include "telling/dump.h"
#include "telling/json.h"
#include "telling/long_table.h"
#include "telling/messages.h"
#include "telling/report.h"
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

// What all images of one call share.
struct work_t {
  const arguments_t& arguments;
  std::vector<region_t> regions;
  forbidden_t forbidden;
  FilesInUse inUse;
  // What --diff compares.
  std::vector<input_t> compared;
};

// Shows `input` as text.
void showInput(const arguments_t& arguments, const input_t& input,
               const report_t& report) {
  if (arguments.files.size() > input.paths.size()) {
    writeOutput(escapeName(input.name()) + ":\n");
  }
  if (arguments.dumpedPerLine) {
    dumpSegments(input.walk(), *arguments.dumpedPerLine);
  } else if (arguments.longTable) {
    showLongTable(report);
  } else {
    listSegments(input.walk());
  }
}

// Describes `input`, of which nothing is reversed yet.
void describe(const work_t& work, const input_t& input, report_t& report) {
  report.status = input.status;
  report.problems = input.problems;
  if (input.image && work.arguments.isDescribing()) {
    const Sources* const sources =
        work.arguments.strict ? nullptr : &input.image->sources;
    describeImage(report, input.walk(), sources, work.regions,
                  input.image->startAddresses);
  }
}

// Handles the FILEs `paths`, which make one image.
void handleImage(work_t& work, const std::vector<std::string>& paths,
                 report_t& report) {
  const arguments_t& arguments = work.arguments;
  input_t input = readInput(arguments, paths, work.forbidden);
  describe(work, input, report);
  if (arguments.check || !input.image) {
    return;
  }
  if (arguments.diff) {
    work.compared.push_back(std::move(input));
    return;
  }
  if (arguments.reverse) {
    reverseSegments(input.walk());
  }
  if (arguments.isWriting()) {
    writeFiles(arguments, paths.front(), *input.segments,
               input.image->startAddresses, report, work.inUse);
  }
  if (arguments.isShowing() && arguments.format != format_t::JSON) {
    showInput(arguments, input, report);
  }
}

// Handles the image of `paths` and tells why it could not be; returns what is
// told about it.
report_t handleOrTell(work_t& work, const std::vector<std::string>& paths) {
  report_t report;
  report.isMerged = work.arguments.merge;
  std::transform(paths.begin(), paths.end(), std::back_inserter(report.names),
                 nameOf);
  try {
    handleImage(work, paths, report);
  } catch (const Failure& failure) {
    writeError(std::string("qorhex: ") + failure.what() + '\n');
    noteFailure(report, failure.what(), failure.status);
  } catch (const std::bad_alloc&) {
    messageAbout(namesOf(paths)) << "out of memory\n";
    noteFailure(report, "out of memory", SYSTEM_FAILED);
  }
  return report;
}

// The FILEs of each image.
std::vector<std::vector<std::string>> imagesOf(const arguments_t& arguments) {
  if (arguments.merge) {
    return {arguments.files};
  }
  std::vector<std::vector<std::string>> images;
  images.reserve(arguments.files.size());
  for (const std::string& path : arguments.files) {
    images.push_back({path});
  }
  return images;
}

// Tells where the two images of --diff differ, when both are there.
exitStatus_t compare(const work_t& work, JsonDocument& document) {
  if (work.compared.size() != 2) {
    return ALL_WELL;
  }
  const auto sideOf = [](const input_t& input) {
    return compared_t{input.name(), input.walk(), input.image->startAddresses};
  };
  const bool differ = tellDifferences(
      sideOf(work.compared[0]), sideOf(work.compared[1]),
      work.arguments.format == format_t::JSON ? &document : nullptr);
  return differ ? DIFFERENT : ALL_WELL;
}

// What is read, and where something is shown.
FilesInUse filesInUseBy(const arguments_t& arguments) {
  std::vector<std::string> inputs = arguments.files;
  if (arguments.mapFile) {
    inputs.push_back(*arguments.mapFile);
  }
  FilesInUse inUse(inputs);
  if (arguments.isShowing()) {
    inUse.addStandardOutput();
  }
  return inUse;
}

exitStatus_t handleFiles(const arguments_t& arguments) {
  if (arguments.outputFolder && !isFolder(*arguments.outputFolder)) {
    throwSystemError(*arguments.outputFolder);
  }
  const auto regions = readMap(arguments);
  if (!regions) {
    return REFUSED;
  }
  work_t work{arguments,
              *regions,
              forbiddenBy(arguments, *regions),
              filesInUseBy(arguments),
              {}};
  JsonDocument document(writeOutput);
  exitStatus_t highest = ALL_WELL;
  for (const std::vector<std::string>& paths : imagesOf(arguments)) {
    const report_t report = handleOrTell(work, paths);
    highest = std::max(highest, report.status);
    if (arguments.format == format_t::JSON) {
      document.add(report);
    }
  }
  highest = std::max(highest, compare(work, document));
  if (arguments.format == format_t::JSON) {
    document.finish();
  }
  return highest;
}

// The end where memory is lacking even for what was to be told about that: for
// an exception of the library, which then ends the program, or for a message
// whose life ends. Every other exception is caught.
[[noreturn]] void endWithoutMemory() {
  TemporaryFile::removeAll();
  writeOutOfMemory();
  std::_Exit(SYSTEM_FAILED);
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardDescriptors();
  // A file beyond the limit is an error like a full disk, not the end.
  std::signal(SIGXFSZ, SIG_IGN);
  removeOnSignals();
  std::set_terminate(endWithoutMemory);
  try {
    arguments_t arguments;
    if (const auto status = readArguments(argc, argv, arguments)) {
      return *status;
    }
    return handleFiles(arguments);
  } catch (const Failure& failure) {
    writeError(std::string("qorhex: ") + failure.what() + '\n');
    return failure.status;
  } catch (const std::bad_alloc&) {
    writeOutOfMemory();
    return SYSTEM_FAILED;
  } catch (const std::exception& exception) {
    writeError(std::string("qorhex: ") + exception.what() + '\n');
    return SYSTEM_FAILED;
  }
}
