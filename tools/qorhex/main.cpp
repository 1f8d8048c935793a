// SPDX-License-Identifier: MIT
//
// qorhex: lists the segments of Intel HEX files and writes them as raw binary
// files.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "arguments.h"
#include "image/outside.h"
#include "image/segments.h"
#include "outputs.h"
#include "inputs.h"
#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/names.h"
#include "telling/dump.h"
#include "telling/messages.h"
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

// Lists or dumps the segments of `input`.
void showInput(const arguments_t& arguments, const input_t& input) {
  if (arguments.files.size() > input.paths.size()) {
    writeOutput(escapeName(input.name()) + ":\n");
  }
  if (arguments.dumpedPerLine) {
    dumpSegments(input.walk(), *arguments.dumpedPerLine);
  } else {
    listSegments(input.walk());
  }
}

// Handles the FILEs `paths`, which make one image.
exitStatus_t handleImage(const arguments_t& arguments,
                         const std::vector<std::string>& paths,
                         const forbidden_t& forbidden, FilesInUse& inUse) {
  const input_t input = readInput(arguments, paths, forbidden);
  if (arguments.check || !input.image) {
    return input.status;
  }
  if (arguments.reverse) {
    reverseSegments(input.walk());
  }
  if (arguments.isWriting()) {
    writeFiles(arguments, paths.front(), *input.segments,
               input.image->startAddresses, inUse);
  }
  if (arguments.isShowing()) {
    showInput(arguments, input);
  }
  return input.status;
}

// Handles the image of `paths` and tells why it could not be.
exitStatus_t statusOf(const arguments_t& arguments,
                      const std::vector<std::string>& paths,
                      const forbidden_t& forbidden, FilesInUse& inUse) {
  try {
    return handleImage(arguments, paths, forbidden, inUse);
  } catch (const Failure& failure) {
    writeError(std::string("qorhex: ") + failure.what() + '\n');
    return failure.status;
  } catch (const std::bad_alloc&) {
    messageAbout(namesOf(paths)) << "out of memory\n";
    return SYSTEM_FAILED;
  }
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

exitStatus_t handleFiles(const arguments_t& arguments) {
  if (arguments.outputFolder && !isFolder(*arguments.outputFolder)) {
    throwSystemError(*arguments.outputFolder);
  }
  const auto regions = readMap(arguments);
  if (!regions) {
    return REFUSED;
  }
  const forbidden_t forbidden = forbiddenBy(arguments, *regions);
  std::vector<std::string> inputs = arguments.files;
  if (arguments.mapFile) {
    inputs.push_back(*arguments.mapFile);
  }
  FilesInUse inUse(inputs);
  exitStatus_t highest = ALL_WELL;
  for (const std::vector<std::string>& paths : imagesOf(arguments)) {
    highest = std::max(highest, statusOf(arguments, paths, forbidden, inUse));
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
  } catch (const Failure& failure) {
    writeError(std::string("qorhex: ") + failure.what() + '\n');
    return failure.status;
  } catch (const std::exception& exception) {
    writeError(std::string("qorhex: ") + exception.what() + '\n');
    return SYSTEM_FAILED;
  }
}
