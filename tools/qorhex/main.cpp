// SPDX-License-Identifier: MIT
//
// qorhex: lists the segments of Intel HEX files and writes them as raw binary
// files.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include <qorutil/intelhex.h>

#include "arguments.h"
#include "image/segments.h"
#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/reading.h"
#include "telling/dump.h"
#include "telling/messages.h"
#include "telling/table.h"
#include "writing/temporary.h"
#include "writing/writing.h"

namespace {

// Makes sure that no file of ours becomes standard input, output or error.
// What was closed cannot be written to afterwards either.
void occupyStandardDescriptors() {
  int descriptor = 0;
  do {
    descriptor = ::open("/dev/null", O_RDONLY);
  } while (descriptor >= 0 && descriptor <= 2);
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

// Lists or dumps the segments of the file `path`; false when standard output
// fails.
bool showFile(const arguments_t& arguments, const std::string& path,
              const std::vector<segment_t>& segments) {
  std::ostringstream text;
  text.exceptions(std::ios_base::badbit);  // lets std::bad_alloc through
  if (arguments.files.size() > 1) {
    text << path << ":\n";
  }
  if (arguments.dumpedPerLine) {
    return writeOutput(text.str()) &&
           dumpSegments(segments, *arguments.dumpedPerLine);
  }
  listSegments(text, segments);
  return writeOutput(text.str());
}

bool handleFile(const arguments_t& arguments, const std::string& path) {
  try {
    const IntelHexFile image = readImage(arguments, path);
    std::vector<segment_t> segments = joinBlocks(image);
    if (arguments.reverse) {
      reverseSegments(segments);
    }
    const bool writing = arguments.outputFolder || arguments.binaryFile;
    if (writing) {
      writeFiles(arguments, path, segments);
    }
    return (writing && !arguments.dumpedPerLine) ||
           showFile(arguments, path, segments);
  } catch (const Failure& failure) {
    std::cerr << "qorhex: " << failure.what() << '\n';
  } catch (const std::bad_alloc&) {
    messageAbout(path) << "out of memory\n";
  }
  return false;
}

exitStatus_t handleFiles(const arguments_t& arguments) {
  if (arguments.outputFolder && !isFolder(*arguments.outputFolder)) {
    messageAbout(*arguments.outputFolder) << std::strerror(errno) << '\n';
    return SYSTEM_FAILED;
  }
  bool well = true;
  for (const std::string& path : arguments.files) {
    well = handleFile(arguments, path) && well;
  }
  return well ? ALL_WELL : REFUSED;
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardDescriptors();
  // A file beyond the limit is an error like a full disk, not the end.
  std::signal(SIGXFSZ, SIG_IGN);
  removeOnSignals();
  try {
    arguments_t arguments;
    std::ostringstream answer;
    if (const auto status = readArguments(argc, argv, arguments, answer)) {
      return writeOutput(answer.str()) ? *status : SYSTEM_FAILED;
    }
    return handleFiles(arguments);
  } catch (const std::exception& exception) {
    std::cerr << "qorhex: " << exception.what() << '\n';
    return SYSTEM_FAILED;
  }
}
