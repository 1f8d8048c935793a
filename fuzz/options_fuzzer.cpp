// SPDX-License-Identifier: MIT
//
// Any descriptors and any command line: the help screen is the one that its
// rules give, and get() finds what getopt_long finds with tables that were made
// by hand.

#include "qorutil/options.h"

#include "qorutil/exception.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <deque>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <getopt.h>

#include "target.h"

namespace {

struct descriptor_t {
  int shortName;
  std::optional<std::string> longName;
  std::optional<std::string> argName;
  bool argRequired;
  std::string help;
  int argType;   // 3 is refused
  bool isPlain;  // the type follows from the other fields
};

// A text that a char pointer can stand for, in ASCII if its length counts.
std::optional<std::string> takeName(Input& input, bool isNull, unsigned mask) {
  std::string name = input.text(10);
  for (char& byte : name) {
    byte = static_cast<char>(static_cast<unsigned char>(byte) & mask);
  }
  name.resize(std::min(name.find('\0'), name.size()));
  return isNull ? std::nullopt : std::optional(name);
}

descriptor_t takeDescriptor(Input& input) {
  descriptor_t taken{};
  const unsigned kind = input.below(8);
  taken.shortName = static_cast<int>(input.byte());
  if (kind == 6) {
    taken.shortName += 256;
  } else if (kind == 7) {
    taken.shortName = -taken.shortName;
  }
  const unsigned bits = input.byte();
  taken.longName = takeName(input, (bits & 1U) != 0, 0xFF);
  taken.argName = takeName(input, (bits & 2U) != 0, 0x7F);
  taken.argRequired = (bits & 4U) != 0;
  taken.help = input.text(30);
  taken.isPlain = (bits & 8U) != 0;
  taken.argType = static_cast<int>(bits >> 4U & 3U);
  if (taken.isPlain) {
    taken.argType = taken.argRequired ? 1 : taken.argName ? 2 : 0;
  }
  return taken;
}

// Adds the descriptor, which stays, and tells whether it was taken.
bool add(Options& options, const descriptor_t& descriptor) {
  const auto pointer = [](const std::optional<std::string>& name) {
    return name ? name->c_str() : nullptr;
  };
  const Options::option_t option{
      descriptor.shortName, pointer(descriptor.longName),
      pointer(descriptor.argName), descriptor.argRequired, descriptor.help};
  if (descriptor.isPlain) {
    options.add(option);
    return true;
  }
  try {
    options.add(option, descriptor.argType);
  } catch (const QorException& refusal) {
    require(descriptor.argType == 3, "a type that is none");
    require(refusal.getErrorNumber() == EINVAL &&
                refusal.what() ==
                    std::string("argType must be 0, 1 or 2: Invalid argument"),
            "refusal");
    return false;
  }
  require(descriptor.argType != 3, "a type that is taken");
  return true;
}

using Descriptors = std::deque<descriptor_t>;

bool hasLetter(const descriptor_t& descriptor) {
  return descriptor.shortName >= 0 && descriptor.shortName < 256 &&
         std::isprint(descriptor.shortName) != 0;
}

std::string argumentOf(const descriptor_t& descriptor, const char* joint) {
  const std::string name = descriptor.argName.value_or("?");
  if (descriptor.argType == 0 || (descriptor.argType == 1 && name.empty())) {
    return {};
  }
  const std::string shown = '<' + name + '>';
  if (descriptor.argType == 1) {
    return joint + shown;
  }
  return joint == std::string("=") ? "[=" + shown + ']'
                                   : joint + ('[' + shown + ']');
}

std::string shortForm(const descriptor_t& descriptor) {
  return hasLetter(descriptor)
             ? std::string("-") + static_cast<char>(descriptor.shortName) +
                   argumentOf(descriptor, " ")
             : "";
}

std::string longForm(const descriptor_t& descriptor) {
  return descriptor.longName
             ? "--" + *descriptor.longName + argumentOf(descriptor, "=")
             : "";
}

std::string plainScreen(const Descriptors& descriptors) {
  std::size_t letters = 0;
  std::size_t names = 0;
  for (const descriptor_t& descriptor : descriptors) {
    letters = std::max(letters, shortForm(descriptor).size());
    names = std::max(names, longForm(descriptor).size());
  }
  const std::size_t gap = letters != 0 && names != 0 ? 2 : 0;
  std::string screen;
  for (const descriptor_t& descriptor : descriptors) {
    std::string line = shortForm(descriptor);
    line.resize(letters + gap, ' ');
    line += longForm(descriptor);
    line.resize(letters + gap + names + 1, ' ');
    const std::string indent(line.size(), ' ');
    for (const char character : descriptor.help) {
      line += character;
      if (character == '\n') {
        line += indent;
      }
    }
    screen += line + '\n';
  }
  return screen;
}

void compareScreens(Options& options, const Descriptors& descriptors) {
  constexpr auto flags = std::ios_base::hex | std::ios_base::left |
                         std::ios_base::showbase | std::ios_base::scientific;
  std::ostringstream os;
  os.flags(flags);
  os.fill('*');
  options.print(os);
  require(os.str() == plainScreen(descriptors), "help screen");
  require(os.flags() == flags && os.fill() == '*', "format of the stream");
}

// A command line as main() gets it.
class CommandLine {
 public:
  explicit CommandLine(std::vector<std::string> arguments)
      : words(std::move(arguments)) {
    for (std::string& word : words) {
      pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
  }

  int count() const { return static_cast<int>(words.size()); }

  char** get() { return pointers.data(); }

  // The words as they stand now.
  std::vector<std::string> order() const {
    return {pointers.begin(), pointers.end() - 1};
  }

 private:
  std::vector<std::string> words;
  std::vector<char*> pointers;
};

// What a scan of the command line comes upon, up to the end or `most` options.
template <class Next>
std::vector<std::string> scan(unsigned most, const Next& next) {
  std::vector<std::string> found;
  int value = 0;
  while (value != -1 && found.size() < most) {
    value = next();
    found.push_back(std::to_string(value) + '@' + std::to_string(optind) +
                    (optarg != nullptr ? std::string("=") + optarg : ""));
  }
  return found;
}

constexpr unsigned allOptions = 100000;

std::vector<std::string> scanPlainly(const Descriptors& descriptors,
                                     CommandLine& line, unsigned most) {
  std::string letters;
  std::vector<option> names;
  for (const descriptor_t& descriptor : descriptors) {
    if (hasLetter(descriptor)) {
      letters += static_cast<char>(descriptor.shortName);
      letters += std::string(static_cast<std::size_t>(descriptor.argType), ':');
    }
    if (descriptor.longName) {
      names.push_back({descriptor.longName->c_str(), descriptor.argType,
                       nullptr, descriptor.shortName});
    }
  }
  names.push_back({});
  optind = 0;
  return scan(most, [&] {
    return getopt_long(line.count(), line.get(), letters.c_str(), names.data(),
                       nullptr);
  });
}

std::vector<std::string> argumentsOf(std::string text) {
  std::vector<std::string> arguments{"prog"};
  while (!text.empty()) {
    arguments.emplace_back(text.c_str());
    text.erase(0, arguments.back().size() + 1);
  }
  return arguments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  opterr = 0;  // getopt_long tells nothing
  Input input(data, size);
  const unsigned count = input.below(7);
  const unsigned before = input.below(4);
  Options options;
  Descriptors descriptors;
  for (unsigned i = 0; i < count; ++i) {
    descriptors.push_back(takeDescriptor(input));
    if (!add(options, descriptors.back())) {
      descriptors.pop_back();
    }
  }
  descriptor_t late = takeDescriptor(input);
  const std::vector<std::string> arguments = argumentsOf(input.rest());

  options.update();
  compareScreens(options, descriptors);

  CommandLine line(arguments);
  CommandLine plainLine(arguments);
  const auto next = [&] { return options.get(line.count(), line.get()); };
  const auto compare = [&](unsigned most) {
    const std::vector<std::string> found = scan(most, next);
    const std::vector<std::string> expected =
        scanPlainly(descriptors, plainLine, most);
    require(found.size() < allOptions, "a scan without an end");
    require(found == expected, "what was found");
    require(line.order() == plainLine.order(), "order of the arguments");
  };
  compare(before);
  // An option that comes late begins the scan anew.
  descriptors.push_back(late);
  if (!add(options, descriptors.back())) {
    descriptors.pop_back();
    options.update();
  }
  compare(allOptions);
  compareScreens(options, descriptors);
  return 0;
}
