// SPDX-License-Identifier: MIT

#include "arguments.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include <qorutil/options.h>

#include "image/numbers.h"
#include "image/ranges.h"
#include "reading/names.h"
#include "telling/messages.h"

namespace {

// What Options::get() returns for the options without a short form.
enum longOption_t : int {
  STRICT = 256,
  FORCE,
  MAX_SIZE,
  RANGE,
  FILL,
  PAD,
  IHEX
};

constexpr std::uint64_t standardPerLine = 16;
constexpr std::uint64_t mostPerLine = 4096;

std::vector<Options::option_t> describeOptions() {
  return {
      optionHelp,
      optionVerbose,
      optionProgress,
      {'V', "version", nullptr, false, "Show the version."},
      {'x', "hexdump", "n", false,
       "Dump the bytes, n per line (-x8), default=16."},
      {'b', "binary", "file", true, "Write the whole image, gaps filled."},
      {'o', "output", "dir", true,
       "Write every segment to\n<dir>/<file stem>-<start address>.bin."},
      {IHEX, "ihex", "file", true, "Write the image as Intel HEX."},
      {RANGE, "range", "range", true,
       "Take only <first>-<last> or <first>+<size>.\n"
       "Can be specified more than once."},
      {'r', "reverse", nullptr, false,
       "Reverse each segment before it is written\nor dumped."},
      {FILL, "fill", "byte", true, "Fill gaps under --binary, default=0xff."},
      {PAD, "pad", nullptr, false, "Let --binary cover all of the ranges."},
      {MAX_SIZE, "max-size", "n", true,
       "Largest --binary: n, nK, nM, nG,\ndefault=256M."},
      {FORCE, "force", nullptr, false, "Accept conflicting bytes."},
      {STRICT, "strict", nullptr, false, "Leave all reading to the library."},
  };
}

// Thrown where the command line makes no sense.
struct usageError_t {
  std::string reason;
};

std::string quoted(const char* text) {
  return ": '" + escapeName(text) + "'";
}

// Notes that `target`, where `option` puts its argument, is to be `value`.
void setOnce(std::optional<std::string>& target, const char* option,
             const char* value) {
  if (target) {
    throw usageError_t{std::string(option) + " is given twice"};
  }
  target = value;
}

std::uint64_t parsePerLine(const char* text) {
  if (text == nullptr) {
    return standardPerLine;
  }
  std::string reason;
  const auto number = parseNumber(text, 1, mostPerLine, reason);
  if (!number) {
    throw usageError_t{"--hexdump: " + reason + quoted(text)};
  }
  return *number;
}

std::uint64_t parseMaxSize(const std::optional<std::uint64_t>& before,
                           const char* text) {
  if (before) {
    throw usageError_t{"--max-size is given twice"};
  }
  std::string reason;
  const auto size = parseSize(text, reason);
  if (!size) {
    throw usageError_t{"--max-size: " + reason + quoted(text)};
  }
  return *size;
}

unsigned char parseFill(const std::optional<unsigned char>& before,
                        const char* text) {
  if (before) {
    throw usageError_t{"--fill is given twice"};
  }
  std::string reason;
  const auto byte = parseNumber(text, 0, 255, reason);
  if (!byte) {
    throw usageError_t{"--fill: " + reason + quoted(text)};
  }
  return static_cast<unsigned char>(*byte);
}

range_t parseWanted(const char* text) {
  std::string reason;
  const auto range = parseRange(text, reason);
  if (!range) {
    throw usageError_t{"--range: " + reason + quoted(text)};
  }
  return *range;
}

exitStatus_t showHelp(const Options& options) {
  std::ostringstream text;
  text.exceptions(std::ios_base::badbit);  // lets std::bad_alloc through
  text << "Usage: qorhex [options] FILE...\n"
          "Lists the segments of Intel HEX files, dumps them, or writes "
          "them as raw\nbinary files.\n\n";
  options.print(text);
  writeOutput(text.str());
  return ALL_WELL;
}

exitStatus_t showVersion() {
  writeOutput("qorhex " QORHEX_VERSION "\n");
  return ALL_WELL;
}

// Says what getopt_long() did not understand, whose own message would show the
// argument as it is. It has taken the argument before `optind`, or is still at
// the letters of that one.
[[noreturn]] void throwUnknown(const std::vector<Options::option_t>& known,
                               char** argv) {
  if (optopt == 0) {
    throw usageError_t{"unknown or ambiguous option" +
                       quoted(argv[optind - 1])};
  }
  for (const Options::option_t& option : known) {
    if (option.shortName == optopt) {
      throw usageError_t{
          std::string("--") + option.longName +
          (option.argRequired ? " needs an argument" : " takes no argument")};
    }
  }
  const char letter[] = {'-', static_cast<char>(optopt), '\0'};
  throw usageError_t{"unknown option" + quoted(letter)};
}

std::optional<exitStatus_t> readOptions(int argc, char** argv,
                                        arguments_t& arguments) {
  const std::vector<Options::option_t> known = describeOptions();
  Options options;
  for (const Options::option_t& option : known) {
    options.add(option);
  }
  std::optional<std::uint64_t> maxSize;
  opterr = 0;
  for (int option = 0; (option = options.get(argc, argv)) != -1;) {
    switch (option) {
      case 'h':
        return showHelp(options);
      case 'V':
        return showVersion();
      case 'v':
        ++arguments.verbosity;
        break;
      case 'p':
        arguments.progress = true;
        break;
      case 'o':
        setOnce(arguments.outputFolder, "--output", optarg);
        break;
      case 'b':
        setOnce(arguments.binaryFile, "--binary", optarg);
        break;
      case IHEX:
        setOnce(arguments.hexFile, "--ihex", optarg);
        break;
      case 'r':
        arguments.reverse = true;
        break;
      case 'x':
        arguments.dumpedPerLine = parsePerLine(optarg);
        break;
      case STRICT:
        arguments.strict = true;
        break;
      case FORCE:
        arguments.force = true;
        break;
      case MAX_SIZE:
        maxSize = parseMaxSize(maxSize, optarg);
        break;
      case RANGE:
        arguments.ranges.push_back(parseWanted(optarg));
        break;
      case FILL:
        arguments.fill = parseFill(arguments.fill, optarg);
        break;
      case PAD:
        arguments.pad = true;
        break;
      default:
        throwUnknown(known, argv);
    }
  }
  arguments.maxSize = maxSize.value_or(arguments.maxSize);
  arguments.ranges = uniteRanges(std::move(arguments.ranges));
  return std::nullopt;
}

// The pipe behind the FILE `path`, by device and inode.
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
void checkPipes(const std::vector<std::string>& files) {
  if (std::count(files.begin(), files.end(), "-") > 1) {
    throw usageError_t{"the FILE - is given twice"};
  }
  std::set<std::pair<dev_t, ino_t>> pipes;
  for (const std::string& file : files) {
    const auto pipe = pipeOf(file);
    if (pipe && !pipes.insert(*pipe).second) {
      throw usageError_t{"the pipe " + escapeName(nameOf(file)) +
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

// The outputs that take one image only, by the names of their options.
std::vector<std::pair<const char*, const std::optional<std::string>*>>
singleOutputs(const arguments_t& arguments) {
  return {{"--binary", &arguments.binaryFile}, {"--ihex", &arguments.hexFile}};
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
  for (const auto& [option, path] : singleOutputs(arguments)) {
    if (*path == "-") {
      use(option + std::string("=-"));
    }
  }
  if (arguments.dumpedPerLine) {
    use("--hexdump");
  }
}

void check(const arguments_t& arguments) {
  const std::vector<std::string>& files = arguments.files;
  if (files.empty()) {
    throw usageError_t{"no FILE given"};
  }
  if ((arguments.fill || arguments.pad) && !arguments.binaryFile) {
    throw usageError_t{std::string(arguments.pad ? "--pad" : "--fill") +
                       " needs --binary"};
  }
  if (arguments.pad && arguments.ranges.empty()) {
    throw usageError_t{"--pad needs --range"};
  }
  for (const auto& [option, path] : singleOutputs(arguments)) {
    if (*path && files.size() > 1) {
      throw usageError_t{option + std::string(" takes one FILE only")};
    }
  }
  checkStandardOutput(arguments);
  if (arguments.outputFolder == "-") {
    throw usageError_t{"--output takes a folder, not standard output"};
  }
  if (arguments.strict &&
      std::find(files.begin(), files.end(), "-") != files.end()) {
    throw usageError_t{"--strict cannot read standard input"};
  }
  if (files.size() > 1) {
    checkPipes(files);
  }
  if (arguments.outputFolder) {
    checkStems(files);
  }
}

}  // namespace

std::optional<exitStatus_t> readArguments(int argc, char** argv,
                                          arguments_t& arguments) {
  try {
    if (const auto status = readOptions(argc, argv, arguments)) {
      return status;
    }
    arguments.files.assign(argv + std::min(optind, argc), argv + argc);
    check(arguments);
  } catch (const usageError_t& error) {
    writeError("qorhex: " + error.reason + "\nqorhex: try 'qorhex --help'\n");
    return WRONG_USAGE;
  }
  return std::nullopt;
}

std::string stemOf(const std::string& path) {
  return path == "-" ? "stdin" : std::filesystem::path(path).stem().string();
}
