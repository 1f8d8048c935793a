// SPDX-License-Identifier: MIT

#include "arguments.h"

#include <filesystem>
#include <iostream>
#include <limits>
#include <set>
#include <string_view>

#include <qorutil/options.h>

namespace {

// What Options::get() returns for the options without a short form.
enum longOption_t : int { STRICT = 256, FORCE, MAX_SIZE };

Options makeOptions() {
  return {
      optionHelp,
      optionVerbose,
      optionProgress,
      {'o', "output", "dir", true,
       "Write every segment to\n<dir>/<file stem>-<start address>.bin."},
      {'b', "binary", "file", true,
       "Write the whole image, gaps filled with 0xff."},
      {'r', "reverse", nullptr, false,
       "Reverse the bytes of each segment before writing or dumping."},
      {'x', "hexdump", "n", false,
       "Dump the bytes of each segment,\nn per line, default=16."},
      {STRICT, "strict", nullptr, false,
       "Hand the file to the library unread, without repairs."},
      {FORCE, "force", nullptr, false,
       "Accept records with conflicting bytes."},
      {MAX_SIZE, "max-size", "n", true,
       "Largest image for --binary, in bytes\nor as nK, nM, nG, default=256M."},
      {'V', "version", nullptr, false, "Show the version."},
  };
}

exitStatus_t wrongUsage(const std::string& reason) {
  if (!reason.empty()) {
    std::cerr << "qorhex: " << reason << '\n';
  }
  std::cerr << "qorhex: try 'qorhex --help'\n";
  return WRONG_USAGE;
}

// Reads a number of decimal digits, nothing else, that 64 bits hold.
std::optional<std::uint64_t> parseNumber(std::string_view text) {
  std::uint64_t number = 0;
  for (const char character : text) {
    if (character < '0' || character > '9') {
      return std::nullopt;
    }
    const auto digit = static_cast<std::uint64_t>(character - '0');
    if (number > (std::numeric_limits<std::uint64_t>::max() - digit) / 10) {
      return std::nullopt;
    }
    number = number * 10 + digit;
  }
  return text.empty() ? std::nullopt : std::optional(number);
}

// Reads "64", "64K", "64M" or "64G"; nothing else, and nothing that 64 bits do
// not hold.
std::optional<std::uint64_t> parseSize(std::string_view text) {
  constexpr std::string_view units = "KMG";
  unsigned shift = 0;
  if (!text.empty() && units.find(text.back()) != std::string_view::npos) {
    shift = 10 * (1 + static_cast<unsigned>(units.find(text.back())));
    text.remove_suffix(1);
  }
  const std::optional<std::uint64_t> number = parseNumber(text);
  if (!number || *number > std::numeric_limits<std::uint64_t>::max() >> shift) {
    return std::nullopt;
  }
  return *number << shift;
}

// Reads the number of bytes in a line of a dump; a missing one is the default.
std::optional<std::uint64_t> parsePerLine(const char* text) {
  constexpr std::uint64_t standard = 16;
  constexpr std::uint64_t most = 4096;
  const std::optional<std::uint64_t> number =
      text == nullptr ? standard : parseNumber(text);
  return number && *number >= 1 && *number <= most ? number : std::nullopt;
}

exitStatus_t showHelp(const Options& options, std::ostream& out) {
  out << "Usage: qorhex [options] FILE...\n"
         "Lists the segments of Intel HEX files, dumps them, or writes "
         "them as raw\nbinary files.\n\n";
  options.print(out);
  return ALL_WELL;
}

exitStatus_t showVersion(std::ostream& out) {
  out << "qorhex " QORHEX_VERSION "\n";
  return ALL_WELL;
}

std::optional<exitStatus_t> readOptions(int argc, char** argv,
                                        arguments_t& arguments,
                                        std::ostream& out) {
  Options options = makeOptions();
  for (int option = 0; (option = options.get(argc, argv)) != -1;) {
    switch (option) {
      case 'h':
        return showHelp(options, out);
      case 'V':
        return showVersion(out);
      case 'v':
        ++arguments.verbosity;
        break;
      case 'p':
        arguments.progress = true;
        break;
      case 'o':
        arguments.outputFolder = optarg;
        break;
      case 'b':
        arguments.binaryFile = optarg;
        break;
      case 'r':
        arguments.reverse = true;
        break;
      case 'x':
        arguments.dumpedPerLine = parsePerLine(optarg);
        if (!arguments.dumpedPerLine) {
          return wrongUsage("--hexdump: not a number from 1 to 4096: '" +
                            std::string(optarg) + "'");
        }
        break;
      case STRICT:
        arguments.strict = true;
        break;
      case FORCE:
        arguments.force = true;
        break;
      case MAX_SIZE: {
        const std::optional<std::uint64_t> size = parseSize(optarg);
        if (!size) {
          return wrongUsage("--max-size: not a size: '" + std::string(optarg) +
                            "'");
        }
        arguments.maxSize = *size;
        break;
      }
      default:
        return wrongUsage({});  // getopt_long has told the reason
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<exitStatus_t> readArguments(int argc, char** argv,
                                          arguments_t& arguments,
                                          std::ostream& out) {
  // The name that getopt_long puts before its messages, too.
  static char name[] = "qorhex";
  if (argc > 0) {
    argv[0] = name;
  }
  if (const auto status = readOptions(argc, argv, arguments, out)) {
    return status;
  }
  arguments.files.assign(argv + optind, argv + argc);
  if (arguments.files.empty()) {
    return wrongUsage("no FILE given");
  }
  if (arguments.binaryFile && arguments.files.size() > 1) {
    return wrongUsage("--binary takes one FILE only");
  }
  if (arguments.outputFolder) {
    std::set<std::string> stems;
    for (const std::string& file : arguments.files) {
      if (!stems.insert(stemOf(file)).second) {
        return wrongUsage("--output: two FILEs have the stem '" + stemOf(file) +
                          "'");
      }
    }
  }
  return std::nullopt;
}

std::string stemOf(const std::string& path) {
  return std::filesystem::path(path).stem().string();
}
