// SPDX-License-Identifier: MIT

#include "usage.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "reading/names.h"

namespace {

// An option by its name, and whether it was given.
struct given_t {
  const char* name;
  bool isGiven;
};

// An output by the name of its option.
struct outputOption_t {
  const char* name;
  std::optional<std::string> arguments_t::*path;
};

// The outputs that take one image only.
constexpr outputOption_t singleOutputs[] = {
    {"--binary", &arguments_t::binaryFile},
    {"--ihex", &arguments_t::hexFile},
    {"--svg", &arguments_t::pictureFile},
};

[[noreturn]] void throwExclusive(const char* one, const char* other) {
  throw usageError_t{std::string(one) + " and " + other +
                     " exclude each other"};
}

// No two of `options` may be given.
void checkExclusive(std::initializer_list<given_t> options) {
  const char* before = nullptr;
  for (const given_t& option : options) {
    if (option.isGiven && before != nullptr) {
      throwExclusive(before, option.name);
    }
    before = option.isGiven ? option.name : before;
  }
}

// `option`, when it is given, goes with none of `others`.
void checkAgainst(const given_t& option,
                  std::initializer_list<given_t> others) {
  for (const given_t& other : others) {
    if (option.isGiven && other.isGiven) {
      throwExclusive(option.name, other.name);
    }
  }
}

// What is told instead of the table.
void checkShown(const arguments_t& arguments) {
  const given_t hexdump{"--hexdump", arguments.dumpedPerLine.has_value()};
  const given_t check{"--check", arguments.check};
  const given_t diff{"--diff", arguments.diff};
  checkExclusive({{"--long", arguments.longTable}, hexdump, check, diff});
  for (const given_t& shown : {check, diff}) {
    checkAgainst(shown, {{"--output", arguments.outputFolder.has_value()},
                         {"--binary", arguments.binaryFile.has_value()},
                         {"--ihex", arguments.hexFile.has_value()},
                         {"--svg", arguments.pictureFile.has_value()}});
  }
  checkAgainst(hexdump, {{"--format", arguments.format.has_value()}});
  checkAgainst(
      diff, {{"--merge", arguments.merge}, {"--reverse", arguments.reverse}});
  if (arguments.diff && arguments.files.size() != 2) {
    throw usageError_t{"--diff takes two FILEs"};
  }
}

void checkOutputs(const arguments_t& arguments) {
  if ((arguments.fill || arguments.pad) && !arguments.binaryFile) {
    throw usageError_t{std::string(arguments.pad ? "--pad" : "--fill") +
                       " needs --binary"};
  }
  if (arguments.pad && arguments.ranges.empty()) {
    throw usageError_t{"--pad needs --range"};
  }
  for (const auto& [option, path] : singleOutputs) {
    if (arguments.*path && arguments.files.size() > 1 && !arguments.merge) {
      throw usageError_t{option +
                         std::string(" takes one FILE only, unless --merge "
                                     "makes one image of several")};
    }
  }
  if (arguments.outputFolder == "-") {
    throw usageError_t{"--output takes a folder, not standard output"};
  }
}

// Standard output takes one thing.
void checkStandardOutput(const arguments_t& arguments) {
  std::string user;
  const auto use = [&user](const std::string& option) {
    if (!user.empty()) {
      throw usageError_t{user + " and " + option +
                         " both want standard output"};
    }
    user = option;
  };
  for (const auto& [option, path] : singleOutputs) {
    if (arguments.*path == "-") {
      use(option + std::string("=-"));
    }
  }
  if (user.empty()) {
    return;
  }
  for (const given_t& shown :
       {given_t{"--long", arguments.longTable},
        given_t{"--hexdump", arguments.dumpedPerLine.has_value()},
        given_t{"--format", arguments.format.has_value()}}) {
    if (shown.isGiven) {
      use(shown.name);
    }
  }
}

void checkStrict(const arguments_t& arguments) {
  const std::vector<std::string>& files = arguments.files;
  checkAgainst({"--strict", arguments.strict},
               {{"--check", arguments.check},
                {"--merge", arguments.merge},
                {"--map", arguments.mapFile.has_value()}});
  if (arguments.strict &&
      std::find(files.begin(), files.end(), "-") != files.end()) {
    throw usageError_t{"--strict cannot read standard input"};
  }
}

// The pipe behind the input `path`, by device and inode.
std::optional<std::pair<dev_t, ino_t>> pipeOf(const std::string& path) {
  struct stat status {};

  const int result = path == "-" ? ::fstat(STDIN_FILENO, &status)
                                 : ::stat(path.c_str(), &status);
  if (result != 0 || !S_ISFIFO(status.st_mode)) {
    return std::nullopt;
  }
  return std::pair(status.st_dev, status.st_ino);
}

// What can be read once can be given once.
void checkInputs(const arguments_t& arguments) {
  std::vector<std::string> inputs = arguments.files;
  if (std::count(inputs.begin(), inputs.end(), "-") > 1) {
    throw usageError_t{"the FILE - is given twice"};
  }
  if (arguments.mapFile) {
    if (arguments.mapFile == "-" &&
        std::find(inputs.begin(), inputs.end(), "-") != inputs.end()) {
      throw usageError_t{"--map=- and the FILE - both want standard input"};
    }
    inputs.push_back(*arguments.mapFile);
  }
  if (inputs.size() == 1) {
    return;
  }
  std::set<std::pair<dev_t, ino_t>> pipes;
  for (const std::string& input : inputs) {
    const auto pipe = pipeOf(input);
    if (pipe && !pipes.insert(*pipe).second) {
      throw usageError_t{"the pipe " + escapeName(nameOf(input)) +
                         " is given twice"};
    }
  }
}

void checkStems(const std::vector<std::string>& files) {
  std::set<std::string> stems;
  for (const std::string& file : files) {
    if (!stems.insert(stemOf(file)).second) {
      throw usageError_t{"--output: two FILEs have the stem '" +
                         escapeName(stemOf(file)) + "'"};
    }
  }
}

}  // namespace

void checkUsage(const arguments_t& arguments) {
  if (arguments.files.empty()) {
    throw usageError_t{"no FILE given"};
  }
  checkShown(arguments);
  checkOutputs(arguments);
  checkStandardOutput(arguments);
  checkStrict(arguments);
  checkInputs(arguments);
  if (arguments.outputFolder && !arguments.merge) {
    checkStems(arguments.files);
  }
}
