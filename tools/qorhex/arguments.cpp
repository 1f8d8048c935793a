// SPDX-License-Identifier: MIT

#include "arguments.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <utility>

#include <unistd.h>

#include <qorutil/options.h>

#include "image/numbers.h"
#include "image/ranges.h"
#include "reading/names.h"
#include "telling/messages.h"
#include "usage.h"

namespace {

// What Options::get() returns for the options without a short form.
enum longOption_t : int {
  STRICT = 256,
  FORCE,
  MAX_SIZE,
  RANGE,
  MAP,
  FILL,
  PAD,
  IHEX,
  SVG,
  DIFF,
  FORMAT
};

constexpr std::uint64_t standardPerLine = 16;
constexpr std::uint64_t mostPerLine = 4096;

std::vector<Options::option_t> describeOptions() {
  return {
      optionHelp,
      optionVerbose,
      optionProgress,
      {'V', "version", nullptr, false, "Show the version."},
      {'l', "long", nullptr, false,
       "Add gaps, CRC-32, lines, regions and a bar."},
      {'x', "hexdump", "n", false,
       "Dump the bytes, n per line (-x8), default=16."},
      {'c', "check", nullptr, false, "Tell every problem of every FILE."},
      {DIFF, "diff", nullptr, false, "Tell where two images differ."},
      {FORMAT, "format", "form", true,
       "text or json, for table, --check and --diff."},
      {'b', "binary", "file", true, "Write the whole image, gaps filled."},
      {'o', "output", "dir", true,
       "Write every segment to\n<dir>/<file stem>-<start address>.bin."},
      {IHEX, "ihex", "file", true, "Write the image as Intel HEX."},
      {SVG, "svg", "file", true, "Draw the memory map as a picture."},
      {'m', "merge", nullptr, false, "Make one image of all FILEs."},
      {RANGE, "range", "range", true,
       "Take only <first>-<last> or <first>+<size>.\n"
       "Can be specified more than once."},
      {MAP, "map", "file", true,
       "Regions of the memory, a line for each:\n"
       "<name> <range>; data elsewhere is refused."},
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

// The options that say yes.
struct flag_t {
  int option;
  bool arguments_t::*target;
};

constexpr flag_t flags[] = {
    {'p', &arguments_t::progress},  {'l', &arguments_t::longTable},
    {'c', &arguments_t::check},     {DIFF, &arguments_t::diff},
    {'m', &arguments_t::merge},     {'r', &arguments_t::reverse},
    {PAD, &arguments_t::pad},       {FORCE, &arguments_t::force},
    {STRICT, &arguments_t::strict},
};

// The options that name a file, once.
struct fileOption_t {
  int option;
  const char* name;
  std::optional<std::string> arguments_t::*target;
};

constexpr fileOption_t fileOptions[] = {
    {'b', "--binary", &arguments_t::binaryFile},
    {'o', "--output", &arguments_t::outputFolder},
    {IHEX, "--ihex", &arguments_t::hexFile},
    {SVG, "--svg", &arguments_t::pictureFile},
    {MAP, "--map", &arguments_t::mapFile},
};

std::string quoted(const char* text) {
  return ": '" + escapeName(text) + "'";
}

// Gives `target`, where `option` puts its argument, the `value`.
template <typename T>
void setOnce(std::optional<T>& target, const char* option, T value) {
  if (target) {
    throw usageError_t{std::string(option) + " is given twice"};
  }
  target = std::move(value);
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

std::uint64_t parseMaxSize(const char* text) {
  std::string reason;
  const auto size = parseSize(text, reason);
  if (!size) {
    throw usageError_t{"--max-size: " + reason + quoted(text)};
  }
  return *size;
}

unsigned char parseFill(const char* text) {
  std::string reason;
  const auto byte = parseNumber(text, 0, 255, reason);
  if (!byte) {
    throw usageError_t{"--fill: " + reason + quoted(text)};
  }
  return static_cast<unsigned char>(*byte);
}

format_t parseFormat(const std::string& text) {
  if (text != "text" && text != "json") {
    throw usageError_t{"--format: neither text nor json" +
                       quoted(text.c_str())};
  }
  return text == "json" ? format_t::JSON : format_t::TEXT;
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
  text
      << "Usage: qorhex [options] FILE...\n"
         "Tells what Intel HEX files hold and what is wrong with them; cuts, merges,\n"
         "compares and converts them.\n\n";
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

// Takes the options that say yes or name a file; false for others.
bool takeSimple(int option, arguments_t& arguments) {
  const auto isIt = [option](const auto& known) {
    return known.option == option;
  };
  const auto* const flag =
      std::find_if(std::begin(flags), std::end(flags), isIt);
  if (flag != std::end(flags)) {
    arguments.*flag->target = true;
    return true;
  }
  const auto* const file =
      std::find_if(std::begin(fileOptions), std::end(fileOptions), isIt);
  if (file != std::end(fileOptions)) {
    setOnce(arguments.*file->target, file->name, std::string(optarg));
    return true;
  }
  return false;
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
    if (takeSimple(option, arguments)) {
      continue;
    }
    switch (option) {
      case 'h':
        return showHelp(options);
      case 'V':
        return showVersion();
      case 'v':
        ++arguments.verbosity;
        break;
      case 'x':
        arguments.dumpedPerLine = parsePerLine(optarg);
        break;
      case FORMAT:
        setOnce(arguments.format, "--format", parseFormat(optarg));
        break;
      case MAX_SIZE:
        setOnce(maxSize, "--max-size", parseMaxSize(optarg));
        break;
      case RANGE:
        arguments.ranges.push_back(parseWanted(optarg));
        break;
      case FILL:
        setOnce(arguments.fill, "--fill", parseFill(optarg));
        break;
      default:
        throwUnknown(known, argv);
    }
  }
  arguments.maxSize = maxSize.value_or(arguments.maxSize);
  arguments.ranges = uniteRanges(std::move(arguments.ranges));
  return std::nullopt;
}

}  // namespace

std::optional<exitStatus_t> readArguments(int argc, char** argv,
                                          arguments_t& arguments) {
  try {
    if (const auto status = readOptions(argc, argv, arguments)) {
      return status;
    }
    arguments.files.assign(argv + std::min(optind, argc), argv + argc);
    checkUsage(arguments);
  } catch (const usageError_t& error) {
    writeError("qorhex: " + error.reason + "\nqorhex: try 'qorhex --help'\n");
    return WRONG_USAGE;
  }
  return std::nullopt;
}

std::string stemOf(const std::string& path) {
  return path == "-" ? "stdin" : std::filesystem::path(path).stem().string();
}
