// SPDX-License-Identifier: MIT

#include "qorutil/options.h"

#include "qorutil/exception.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/utf8_locale.h"

namespace {

using testing::ElementsAre;

/// A command line as main() gets it, the program's name in front.
class CommandLine {
 public:
  explicit CommandLine(std::vector<std::string> arguments)
      : words(std::move(arguments)) {
    words.insert(words.begin(), "prog");
    for (std::string& word : words) {
      pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
  }

  int next(Options& options) {
    return options.get(static_cast<int>(words.size()), pointers.data());
  }

  /// Everything that get() finds, as "value" or "value=argument".
  std::vector<std::string> scan(Options& options) {
    std::vector<std::string> found;
    for (int value = 0; (value = next(options)) != -1;) {
      found.push_back(std::to_string(value));
      if (optarg != nullptr) {
        found.back() += std::string("=") + optarg;
      }
    }
    return found;
  }

  /// The arguments behind the options.
  std::vector<std::string> rest() const {
    return {pointers.begin() + optind, pointers.end() - 1};
  }

 private:
  std::vector<std::string> words;
  std::vector<char*> pointers;
};

std::vector<std::string> scanned(Options& options,
                                 std::vector<std::string> arguments) {
  return CommandLine(std::move(arguments)).scan(options);
}

/// Takes what goes to the descriptor of standard error, where getopt_long
/// writes its messages.
class StandardError {
 public:
  StandardError()
      : file(std::tmpfile(), &std::fclose), saved(dup(STDERR_FILENO)) {
    dup2(fileno(file.get()), STDERR_FILENO);
  }

  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;

  ~StandardError() {
    dup2(saved, STDERR_FILENO);
    close(saved);
  }

  std::string text() {
    std::string result(1000, '\0');
    std::rewind(file.get());
    result.resize(std::fread(result.data(), 1, result.size(), file.get()));
    return result;
  }

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
  int saved;
};

/// A buffer that throws instead of taking more than `limit` bytes, and that
/// looks at std::cerr whenever something is written.
class LimitedBuffer : public std::streambuf {
 public:
  explicit LimitedBuffer(std::size_t byteLimit) : limit(byteLimit) {}

  std::string text;
  std::ios_base::fmtflags cerrFlags{};

 protected:
  int_type overflow(int_type character) override {
    if (text.size() == limit) {
      throw std::runtime_error("full");
    }
    text += traits_type::to_char_type(character);
    cerrFlags = std::cerr.flags();
    return character;
  }

 private:
  std::size_t limit;
};

std::string screen(Options& options) {
  std::ostringstream os;
  options.update();
  options.print(os);
  return os.str();
}

std::string spaces(std::size_t count) {
  return std::string(count, ' ');
}

constexpr std::ios_base::fmtflags oddFlags =
    std::ios_base::hex | std::ios_base::left | std::ios_base::showbase |
    std::ios_base::uppercase | std::ios_base::scientific;

Options allStandardOptions() {
  return {optionHelp,   optionVerbose, optionDebug,   optionProgress,
          optionDevice, optionLoops,   optionNoDaemon};
}

constexpr const char* standardScreen =
    "-h            --help            This screen.\n"
    "-v            --verbose         Increase verbosity. Can be specified "
    "more than once.\n"
    "-d [<level>]  --debug[=<level>] Set debug level.\n"
    "-p            --progress        Show progress of operation in standard "
    "format.\n"
    "-d <device>   --device=<device> Device to use.\n"
    "-l <loops>    --loops=<loops>   Loop count (0..max), "
    "default=0=forever.\n"
    "-n            --no-daemon       Run in foreground.\n";

struct DescriptorCase {
  const char* name;
  const Options::option_t* option;
  int shortName;
  const char* longName;
  const char* argName;
  bool argRequired;
  const char* help;
};

const DescriptorCase descriptorCases[] = {
    {"Help", &optionHelp, 104, "help", nullptr, false, "This screen."},
    {"Verbose", &optionVerbose, 118, "verbose", nullptr, false,
     "Increase verbosity. Can be specified more than once."},
    {"Debug", &optionDebug, 100, "debug", "level", false, "Set debug level."},
    {"Progress", &optionProgress, 112, "progress", nullptr, false,
     "Show progress of operation in standard format."},
    {"Device", &optionDevice, 100, "device", "device", true, "Device to use."},
    {"Loops", &optionLoops, 108, "loops", "loops", true,
     "Loop count (0..max), default=0=forever."},
    {"NoDaemon", &optionNoDaemon, 110, "no-daemon", nullptr, false,
     "Run in foreground."},
};

class StandardDescriptor : public testing::TestWithParam<DescriptorCase> {};

TEST_P(StandardDescriptor, HasTheFixedFields) {
  const DescriptorCase& expected = GetParam();
  const Options::option_t& option = *expected.option;
  EXPECT_EQ(option.shortName, expected.shortName);
  EXPECT_STREQ(option.longName, expected.longName);
  EXPECT_STREQ(option.argName, expected.argName);
  EXPECT_EQ(option.argRequired, expected.argRequired);
  EXPECT_EQ(option.help, expected.help);
}

INSTANTIATE_TEST_SUITE_P(Table, StandardDescriptor,
                         testing::ValuesIn(descriptorCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(StandardDescriptors, MayBeChangedBeforeTheyAreAdded) {
  static_assert(!std::is_const_v<decltype(optionDebug)>);
  const Options::option_t saved = optionDevice;
  optionDevice.shortName = 'D';
  Options options{optionDebug, optionDevice};
  optionDevice = saved;
  EXPECT_THAT(scanned(options, {"-D", "x", "-dy", "--device=z"}),
              ElementsAre("68=x", "100=y", "68=z"));
}

TEST(OptionsConstants, AreTheArgumentKindsOfGetoptLong) {
  static_assert(
      std::is_same_v<decltype(Options::argumentVals), const std::int32_t[3]>);
  EXPECT_EQ(Options::argumentVals[0], 0);
  EXPECT_EQ(Options::argumentVals[1], 1);
  EXPECT_EQ(Options::argumentVals[2], 2);
}

TEST(OptionsConstants, AQuestionMarkStandsForAMissingArgumentName) {
  EXPECT_STREQ(Options::defaultArgHelp, "?");
}

TEST(OptionsRecords, HoldTheirFieldsInOrder) {
  static_assert(std::is_aggregate_v<Options::option_t>);
  static_assert(std::is_base_of_v<Options::option_t, Options::entry_t>);
  const Options::entry_t entry{
      {'x', "long", "argument", true, "text"}, 1, 2, 3, 4};
  EXPECT_EQ(entry.shortName, 'x');
  EXPECT_STREQ(entry.longName, "long");
  EXPECT_STREQ(entry.argName, "argument");
  EXPECT_TRUE(entry.argRequired);
  EXPECT_EQ(entry.help, "text");
  EXPECT_EQ(entry.argType, 1);
  EXPECT_EQ(entry.argWidth, 2U);
  EXPECT_EQ(entry.shortWidth, 3U);
  EXPECT_EQ(entry.longWidth, 4U);
}

TEST(OptionsScreen, OfAllStandardOptions) {
  Options options = allStandardOptions();
  EXPECT_EQ(screen(options), standardScreen);
}

TEST(OptionsScreen, OfHelpAndLoops) {
  Options options{optionHelp, optionLoops};
  EXPECT_EQ(screen(options),
            "-h          --help          This screen.\n"
            "-l <loops>  --loops=<loops> Loop count (0..max), "
            "default=0=forever.\n");
}

TEST(OptionsScreen, OfNoOptionIsEmpty) {
  Options options;
  std::ostringstream os;
  os << std::setw(7);
  options.update();
  EXPECT_EQ(&options.print(os), &os);
  EXPECT_EQ(os.str(), "");
  EXPECT_EQ(os.width(), 7);
}

TEST(OptionsScreen, KeepsTheOrderOfAddition) {
  Options options{optionProgress, optionHelp};
  EXPECT_EQ(screen(options),
            "-p  --progress Show progress of operation in standard format.\n"
            "-h  --help     This screen.\n");
}

TEST(OptionsScreen, ShowsAnOptionalArgumentInBrackets) {
  Options options{{'o', "out", "file", false, "H"}};
  EXPECT_EQ(screen(options), "-o [<file>]  --out[=<file>] H\n");
}

TEST(OptionsScreen, ShowsARequiredArgumentWithoutBrackets) {
  Options options{{'o', "out", "file", true, "H"}};
  EXPECT_EQ(screen(options), "-o <file>  --out=<file> H\n");
}

TEST(OptionsScreen, ShowsAQuestionMarkForARequiredArgumentWithoutAName) {
  Options options{{'o', "out", nullptr, true, "H"}};
  EXPECT_EQ(screen(options), "-o <?>  --out=<?> H\n");
}

TEST(OptionsScreen, ShowsAQuestionMarkForAnOptionalArgumentWithoutAName) {
  Options options;
  options.add({'o', "out", nullptr, false, "H"}, 2);
  EXPECT_EQ(screen(options), "-o [<?>]  --out[=<?>] H\n");
}

TEST(OptionsScreen, HidesTheNameOfAnArgumentThatIsNotTaken) {
  Options options;
  options.add({'o', "out", "file", true, "H"}, 0);
  EXPECT_EQ(screen(options), "-o  --out H\n");
}

TEST(OptionsScreen, HidesARequiredArgumentWithAnEmptyName) {
  Options options{{'o', "out", "", true, "H"}};
  EXPECT_EQ(screen(options), "-o  --out H\n");
}

TEST(OptionsScreen, ShowsAnOptionalArgumentWithAnEmptyName) {
  Options options{{'o', "out", "", false, "H"}};
  EXPECT_EQ(screen(options), "-o [<>]  --out[=<>] H\n");
}

TEST(OptionsScreen, WithoutShortFormsBeginsWithTheLongOnes) {
  Options options{{300, "one", nullptr, false, "1"},
                  {301, "three", nullptr, false, "3"}};
  EXPECT_EQ(screen(options), "--one   1\n--three 3\n");
}

TEST(OptionsScreen, WithoutLongFormsHasOneSpaceBeforeTheHelp) {
  Options options{{'a', nullptr, nullptr, false, "1"},
                  {'b', nullptr, "x", true, "2"}};
  EXPECT_EQ(screen(options), "-a     1\n-b <x> 2\n");
}

TEST(OptionsScreen, WithoutAnyFormHasOneSpaceBeforeTheHelp) {
  Options options{{300, nullptr, nullptr, false, "1\n2"}};
  EXPECT_EQ(screen(options), " 1\n 2\n");
}

TEST(OptionsScreen, KeepsTheColumnsOfAFormThatAnOptionLacks) {
  Options options{{'a', nullptr, nullptr, false, "1"},
                  {300, "bb", nullptr, false, "2"},
                  {301, nullptr, nullptr, false, "3"}};
  EXPECT_EQ(screen(options),
            "-a       1\n"
            "    --bb 2\n"
            "         3\n");
}

TEST(OptionsScreen, AlignsALineBreakBehindBothColumns) {
  Options options{{'a', "bb", nullptr, false, "1\n2"}};
  EXPECT_EQ(screen(options), "-a  --bb 1\n" + spaces(2 + 4 + 3) + "2\n");
}

TEST(OptionsScreen, AlignsALineBreakBehindOneColumn) {
  Options longOnly{{300, "bb", nullptr, false, "1\n2"}};
  EXPECT_EQ(screen(longOnly), "--bb 1\n" + spaces(4 + 1) + "2\n");
  Options shortOnly{{'a', nullptr, nullptr, false, "1\n2"}};
  EXPECT_EQ(screen(shortOnly), "-a 1\n" + spaces(2 + 1) + "2\n");
}

TEST(OptionsScreen, AlignsLineBreaksOfTheStandardOptionsAtColumn32) {
  Options options = allStandardOptions();
  options.add({'q', "quit", nullptr, false, "1\n2"});
  EXPECT_EQ(screen(options), std::string(standardScreen) +
                                 "-q            --quit            1\n" +
                                 spaces(32) + "2\n");
}

TEST(OptionsScreen, IndentsAfterEveryLineBreakEvenTheLast) {
  Options options{{'a', nullptr, nullptr, false, "\n\n1\n"}};
  EXPECT_EQ(screen(options), "-a \n   \n   1\n   \n");
}

TEST(OptionsScreen, EndsALineWithoutHelpBehindItsSpaces) {
  Options options{{'a', "bb", nullptr, false, ""}};
  EXPECT_EQ(screen(options), "-a  --bb \n");
}

TEST(OptionsScreen, WritesNulBytesOfTheHelp) {
  Options options{{'a', nullptr, nullptr, false, std::string("1\0002", 3)}};
  EXPECT_EQ(screen(options), std::string("-a 1\0002\n", 7));
}

TEST(OptionsScreen, MeasuresArgumentNamesInCharacters) {
  const Utf8Locale locale;
  if (locale.isMissing()) {
    GTEST_SKIP() << "the C library has no C.UTF-8";
  }
  Options options{{'a', "aa", "gr\xC3\xB6\xC3\x9F\x65", true, "1"},
                  {'b', "bb", "\xE2\x82\xAC", false, "2"},
                  {'c', "cc", "12345", true, "3"}};
  EXPECT_EQ(screen(options),
            "-a <gr\xC3\xB6\xC3\x9F\x65>  --aa=<gr\xC3\xB6\xC3\x9F\x65> 1\n"
            "-b [<\xE2\x82\xAC>]    --bb[=<\xE2\x82\xAC>]   2\n"
            "-c <12345>  --cc=<12345> 3\n");
}

TEST(OptionsScreen, MeasuresLongNamesInBytes) {
  const Utf8Locale locale;
  if (locale.isMissing()) {
    GTEST_SKIP() << "the C library has no C.UTF-8";
  }
  Options options{{300, "\xC3\xB6\xC3\xB6", nullptr, false, "1"},
                  {301, "aaaa", nullptr, false, "2"}};
  EXPECT_EQ(screen(options), "--\xC3\xB6\xC3\xB6 1\n--aaaa 2\n");
}

// mbstowcs gives -1, which goes into the widths as it is: 4 and 5 + 2 - 1 for
// the required argument, 6 and 5 + 1 for the optional one.
TEST(OptionsScreen, TakesTheWidthOfAnInvalidArgumentNameAsItComes) {
  const Utf8Locale locale;
  if (locale.isMissing()) {
    GTEST_SKIP() << "the C library has no C.UTF-8";
  }
  Options required{{'a', "aa", "\xFF", true, "1"},
                   {'b', "bbbbbbbb", nullptr, false, "2"}};
  EXPECT_EQ(screen(required),
            "-a <\xFF>  --aa=<\xFF>     1\n"
            "-b    --bbbbbbbb 2\n");
  Options optional{{'a', "aa", "\xFF", false, "1"},
                   {'b', "bbbbbbbb", nullptr, false, "2"}};
  EXPECT_EQ(screen(optional),
            "-a [<\xFF>]  --aa[=<\xFF>]   1\n"
            "-b      --bbbbbbbb 2\n");
}

TEST(OptionsScreen, ShowsAShortFormForPrintableCharactersAlone) {
  for (int shortName = -300; shortName <= 600; ++shortName) {
    Options options{{shortName, nullptr, nullptr, false, "H"}};
    const bool printable = shortName >= ' ' && shortName <= '~';
    const std::string form =
        printable ? std::string("-") + static_cast<char>(shortName) : "";
    EXPECT_EQ(screen(options), form + " H\n") << shortName;
  }
}

TEST(OptionsPrint, FlushesBehindEachOptionAndIsSilentOnTheOtherStream) {
  Options options{{'a', nullptr, nullptr, false, "1\n2"}, optionHelp};
  options.update();
  const Capture capture;
  options.print(std::cout);
  EXPECT_EQ(capture.transcript(),
            "<out>-a         1\n           2\n<flush>"
            "-h  --help This screen.\n<flush>");
}

TEST(OptionsPrint, ReturnsItsStream) {
  Options options{optionHelp};
  std::ostringstream os;
  EXPECT_EQ(&options.print(os), &os);
}

TEST(OptionsPrint, DoesNotUpdateTheColumns) {
  Options options{optionHelp};
  std::ostringstream os;
  options.print(os);
  EXPECT_EQ(os.str(), " This screen.\n");
}

TEST(OptionsPrint, ShowsAnOptionAddedSinceTheUpdateWithoutItsForms) {
  Options options{optionHelp};
  options.update();
  options.add(optionLoops);
  std::ostringstream os;
  options.print(os);
  EXPECT_EQ(os.str(),
            "-h  --help This screen.\n"
            "           Loop count (0..max), default=0=forever.\n");
}

TEST(OptionsPrint, TakesTheColumnsThatGetBuilt) {
  Options options{optionHelp};
  EXPECT_EQ(CommandLine({}).next(options), -1);
  std::ostringstream os;
  options.print(os);
  EXPECT_EQ(os.str(), "-h  --help This screen.\n");
}

TEST(OptionsPrint, DoesNotDependOnFlagsAndFillAndRestoresThem) {
  Options options = allStandardOptions();
  options.update();
  std::ostringstream os;
  os.flags(oddFlags);
  os.fill('*');
  options.print(os);
  EXPECT_EQ(os.str(), standardScreen);
  EXPECT_EQ(os.flags(), oddFlags);
  EXPECT_EQ(os.fill(), '*');
}

TEST(OptionsPrint, LosesAPendingWidthToTheFirstText) {
  Options options{optionHelp};
  options.update();
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(5);
  options.print(os);
  EXPECT_EQ(os.str(), "    -h  --help This screen.\n");
  EXPECT_EQ(os.width(), 0);
}

TEST(OptionsPrint, SetsFixedAloneOnStandardErrorAndRestoresIt) {
  Options options{optionHelp};
  options.update();
  LimitedBuffer buffer(1000);
  std::ostream os(&buffer);
  const Capture capture;
  std::cerr.flags(oddFlags);
  std::cerr.fill('*');
  options.print(os);
  EXPECT_EQ(buffer.cerrFlags, std::ios_base::fixed);
  EXPECT_EQ(std::cerr.flags(), oddFlags);
  EXPECT_EQ(std::cerr.fill(), '*');
  EXPECT_EQ(capture.transcript(), "");
  std::cerr.fill(' ');
}

TEST(OptionsPrint, WritesToStandardErrorAndRestoresIt) {
  Options options = allStandardOptions();
  options.update();
  const Capture capture;
  std::cerr.flags(oddFlags);
  std::cerr.fill('*');
  options.print(std::cerr);
  EXPECT_EQ(capture.err(), standardScreen);
  EXPECT_EQ(capture.out(), "");
  EXPECT_EQ(std::cerr.flags(), oddFlags);
  EXPECT_EQ(std::cerr.fill(), '*');
  std::cerr.fill(' ');
}

TEST(OptionsPrint, RestoresBothStreamsWhereverAnInsertionThrows) {
  Options options{optionLoops, optionHelp};
  options.update();
  const Capture capture;
  std::cerr.flags(oddFlags);
  const std::size_t length = screen(options).size();
  EXPECT_GT(length, 0U);
  for (std::size_t limit = 0; limit < length; ++limit) {
    LimitedBuffer buffer(limit);
    std::ostream os(&buffer);
    os.exceptions(std::ios_base::badbit);
    os.flags(oddFlags);
    os.fill('*');
    EXPECT_THROW(options.print(os), std::runtime_error) << limit;
    EXPECT_EQ(buffer.text.size(), limit);
    EXPECT_EQ(os.flags(), oddFlags) << limit;
    EXPECT_EQ(os.fill(), '*') << limit;
    EXPECT_EQ(std::cerr.flags(), oddFlags) << limit;
  }
}

TEST(OptionsPrint, ToABadStreamWritesNothingAndRestoresIt) {
  Options options{optionHelp};
  options.update();
  std::ostringstream os;
  os.flags(oddFlags);
  os.fill('*');
  os.setstate(std::ios_base::failbit);
  options.print(os);
  EXPECT_EQ(os.str(), "");
  EXPECT_EQ(os.flags(), oddFlags);
  EXPECT_EQ(os.fill(), '*');
}

TEST(OptionsGet, ReturnsTheShortNameForBothForms) {
  Options options{optionHelp, optionVerbose};
  EXPECT_THAT(scanned(options, {"-h", "--help", "--verbose", "-v"}),
              ElementsAre("104", "104", "118", "118"));
}

TEST(OptionsGet, ReturnsMinusOneAgainAtTheEnd) {
  Options options{optionHelp};
  CommandLine line({"-h"});
  EXPECT_EQ(line.next(options), 'h');
  EXPECT_EQ(line.next(options), -1);
  EXPECT_EQ(line.next(options), -1);
}

TEST(OptionsGet, ReturnsARepeatedOptionOncePerOccurrence) {
  Options options{optionVerbose, optionHelp};
  EXPECT_THAT(scanned(options, {"-vv", "--verbose", "-hv"}),
              ElementsAre("118", "118", "118", "104", "118"));
}

TEST(OptionsGet, TakesARequiredArgumentInEveryForm) {
  Options options{optionLoops};
  EXPECT_THAT(
      scanned(options, {"-l1", "-l", "2", "--loops=3", "--loops", "4", "-l",
                        "-h", "--loops="}),
      ElementsAre("108=1", "108=2", "108=3", "108=4", "108=-h", "108="));
}

TEST(OptionsGet, TakesAnOptionalArgumentOnlyWhereItIsAttached) {
  Options options{optionDebug};
  CommandLine line({"-d1", "-d", "2", "--debug=3", "--debug", "4"});
  EXPECT_THAT(line.scan(options), ElementsAre("100=1", "100", "100=3", "100"));
  EXPECT_THAT(line.rest(), ElementsAre("2", "4"));
}

TEST(OptionsGet, ReturnsACodeAboveAllCharactersForALongForm) {
  Options options{{300, "long-only", "x", true, ""}, optionHelp};
  EXPECT_EQ(screen(options),
            "    --long-only=<x> \n-h  --help          This screen.\n");
  EXPECT_THAT(scanned(options, {"--long-only=1", "-h"}),
              ElementsAre("300=1", "104"));
}

TEST(OptionsGet, ReturnsCodesThatAreNotPrintableForALongForm) {
  Options options{{0, "zero", nullptr, false, ""},
                  {-7, "negative", nullptr, false, ""},
                  {7, "bell", nullptr, false, ""}};
  EXPECT_THAT(scanned(options, {"--zero", "--negative", "--bell"}),
              ElementsAre("0", "-7", "7"));
}

TEST(OptionsGet, TakesAnyPrintableCharacterThatGetoptTakesAsAShortForm) {
  for (char letter = '!'; letter <= '~'; ++letter) {
    // What getopt_long itself reads otherwise: signs in front, ':' and ';',
    // '-' and '?', which is also its answer to an unknown option.
    if (std::string("+-:;?").find(letter) != std::string::npos) {
      continue;
    }
    Options options{{letter, nullptr, nullptr, false, ""}};
    EXPECT_THAT(scanned(options, {std::string("-") + letter}),
                ElementsAre(std::to_string(letter)));
  }
}

TEST(OptionsGet, KnowsAnOptionWithAShortFormAlone) {
  Options options{{'a', nullptr, "x", true, ""},
                  {'b', nullptr, "y", false, ""}};
  EXPECT_THAT(scanned(options, {"-a1", "-b2", "-b", "-a", "3"}),
              ElementsAre("97=1", "98=2", "98", "97=3"));
}

TEST(OptionsGet, FollowsTheArgumentTypeRatherThanTheDescriptor) {
  Options options;
  options.add(optionLoops, 0).add(optionHelp, 1).add(optionVerbose, 2);
  EXPECT_THAT(
      scanned(options, {"-l", "--loops", "-h", "1", "--help=2", "-v3", "-v",
                        "--verbose=4"}),
      ElementsAre("108", "108", "104=1", "104=2", "118=3", "118", "118=4"));
}

TEST(OptionsGet, LeavesTheArgumentsBehindTheOptions) {
  Options options{optionHelp, optionVerbose};
  CommandLine line({"one", "-h", "two", "--", "-v"});
  EXPECT_THAT(line.scan(options), ElementsAre("104"));
  EXPECT_THAT(line.rest(), ElementsAre("one", "two", "-v"));
}

TEST(OptionsGet, TakesAnUnambiguousBeginningOfALongName) {
  Options options{optionHelp, optionVerbose};
  EXPECT_THAT(scanned(options, {"--verb", "--he"}), ElementsAre("118", "104"));
}

TEST(OptionsGet, AppliesTheFirstRuleWhereTwoOptionsShareALetter) {
  Options debugFirst{optionDebug, optionDevice};
  CommandLine optional({"-d", "x", "--device", "y", "--debug=z"});
  EXPECT_THAT(optional.scan(debugFirst), ElementsAre("100", "100=y", "100=z"));
  EXPECT_THAT(optional.rest(), ElementsAre("x"));
  Options deviceFirst{optionDevice, optionDebug};
  CommandLine required({"-d", "x", "--device", "y", "--debug=z"});
  EXPECT_THAT(required.scan(deviceFirst),
              ElementsAre("100=x", "100=y", "100=z"));
}

TEST(OptionsGet, WithoutOptionsFindsNone) {
  Options options;
  CommandLine line({"one"});
  EXPECT_THAT(line.scan(options), ElementsAre());
  EXPECT_THAT(line.rest(), ElementsAre("one"));
}

struct MessageCase {
  const char* name;
  const char* argument;
  const char* message;
};

constexpr MessageCase messageCases[] = {
    {"UnknownLetter", "-x", "prog: invalid option -- 'x'\n"},
    {"UnknownName", "--nope", "prog: unrecognized option '--nope'\n"},
    {"MissingArgumentOfALetter", "-l",
     "prog: option requires an argument -- 'l'\n"},
    {"MissingArgumentOfAName", "--loops",
     "prog: option '--loops' requires an argument\n"},
    {"ArgumentThatIsNotTaken", "--help=1",
     "prog: option '--help' doesn't allow an argument\n"},
    {"AmbiguousName", "--de",
     "prog: option '--de' is ambiguous; possibilities: '--debug' "
     "'--device'\n"},
};

class OptionsMessage : public testing::TestWithParam<MessageCase> {};

TEST_P(OptionsMessage, IsThatOfGetoptLong) {
  Options options = allStandardOptions();
  CommandLine line({GetParam().argument});
  const Capture capture;
  StandardError standardError;
  EXPECT_EQ(line.next(options), '?');
  EXPECT_EQ(standardError.text(), GetParam().message);
  EXPECT_EQ(capture.transcript(), "");
  EXPECT_EQ(line.next(options), -1);
}

INSTANTIATE_TEST_SUITE_P(Table, OptionsMessage, testing::ValuesIn(messageCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(OptionsGet, WritesNothingForKnownOptions) {
  Options options = allStandardOptions();
  const Capture capture;
  StandardError standardError;
  EXPECT_THAT(scanned(options, {"-h", "--loops=1"}),
              ElementsAre("104", "108=1"));
  EXPECT_EQ(standardError.text(), "");
  EXPECT_EQ(capture.transcript(), "");
}

TEST(OptionsAdd, BetweenTwoGetsRebuildsTheTablesAndRestartsTheScan) {
  Options options{optionHelp};
  CommandLine line({"-h", "-vh", "--verbose"});
  EXPECT_EQ(line.next(options), 'h');
  options.add(optionVerbose);
  EXPECT_THAT(line.scan(options), ElementsAre("104", "118", "104", "118"));
}

TEST(OptionsAdd, InTheMiddleOfAClusterRestartsTheScan) {
  Options options{optionVerbose};
  CommandLine line({"-vvv"});
  EXPECT_EQ(line.next(options), 'v');
  options.add(optionHelp);
  EXPECT_THAT(line.scan(options), ElementsAre("118", "118", "118"));
}

TEST(OptionsAdd, ReturnsTheList) {
  Options options;
  EXPECT_EQ(&options.add(optionHelp), &options);
  EXPECT_EQ(&options.add(optionHelp, 0), &options);
}

TEST(OptionsAdd, CopiesTheHelpText) {
  Options::option_t option = optionHelp;
  Options options{option};
  option.help = "changed";
  EXPECT_EQ(screen(options), "-h  --help This screen.\n");
}

TEST(OptionsAdd, DoesNotWriteTheDefaultNameIntoTheDescriptor) {
  const Options::option_t option{'o', "out", nullptr, true, "H"};
  Options options{option};
  options.update();
  EXPECT_EQ(option.argName, nullptr);
}

TEST(OptionsAdd, RefusesOtherArgumentTypesAndAppendsNothing) {
  Options options{optionHelp};
  CommandLine line({"-h", "-h"});
  EXPECT_EQ(line.next(options), 'h');
  const Capture capture;
  for (const int argType : {-1, 3, 1000}) {
    try {
      options.add(optionVerbose, argType);
      ADD_FAILURE() << argType;
    } catch (const QorException& caught) {
      EXPECT_EQ(caught.getErrorNumber(), EINVAL);
      EXPECT_STREQ(caught.what(),
                   "argType must be 0, 1 or 2: Invalid argument");
    }
  }
  EXPECT_THAT(line.scan(options), ElementsAre("104"));  // no restart
  EXPECT_EQ(screen(options), "-h  --help This screen.\n");
  EXPECT_EQ(capture.transcript(), "");
}

TEST(OptionsUpdate, RestartsTheScan) {
  Options options{optionHelp};
  CommandLine line({"-h"});
  EXPECT_THAT(line.scan(options), ElementsAre("104"));
  options.update();
  EXPECT_EQ(optind, 0);
  EXPECT_THAT(line.scan(options), ElementsAre("104"));
}

TEST(OptionsUpdate, DoesNotGatherWhatAnEarlierOneBuilt) {
  Options options{optionHelp, optionLoops};
  const std::string once = screen(options);
  EXPECT_EQ(screen(options), once);
  EXPECT_THAT(scanned(options, {"-h", "-l1"}), ElementsAre("104", "108=1"));
}

TEST(OptionsUpdate, NarrowsTheColumnsOfANameThatBecameShorter) {
  char name[] = "number";
  Options options{{'a', "aa", name, true, "1"}};
  EXPECT_EQ(screen(options), "-a <number>  --aa=<number> 1\n");
  name[1] = '\0';
  EXPECT_EQ(screen(options), "-a <n>  --aa=<n> 1\n");
}

TEST(OptionsUpdate, IsNotRepeatedByGetWithoutAChange) {
  Options options{optionHelp};
  CommandLine line({"-h", "-h"});
  options.update();
  EXPECT_EQ(line.next(options), 'h');
  EXPECT_EQ(line.next(options), 'h');
  EXPECT_EQ(line.next(options), -1);
}

TEST(OptionsCopy, IsIndependent) {
  Options options{optionHelp};
  options.update();
  Options copy = options;
  copy.add(optionVerbose);
  EXPECT_EQ(screen(options), "-h  --help This screen.\n");
  EXPECT_THAT(scanned(copy, {"-v", "--help"}), ElementsAre("118", "104"));
}

// getopt_long stops at the first argument where this variable is set.
[[maybe_unused]] const int permutes = unsetenv("POSIXLY_CORRECT");

Options::option_t flag(int letter, const char* longName = nullptr) {
  return {letter, longName, nullptr, false, ""};
}

// What the header says of letters that mean something to getopt_long.
TEST(OptionsGetoptLetters, PlusStopsAtTheFirstArgument) {
  Options options{flag('+'), flag('a')};
  CommandLine line({"-a", "file", "-a"});
  EXPECT_THAT(line.scan(options), ElementsAre("97"));
  EXPECT_THAT(line.rest(), ElementsAre("file", "-a"));
}

TEST(OptionsGetoptLetters, MinusTakesArgumentsForOptionsOfOne) {
  Options options{flag('-'), flag('a')};
  EXPECT_THAT(scanned(options, {"-a", "file", "-a"}),
              ElementsAre("97", "1=file", "97"));
}

TEST(OptionsGetoptLetters, ColonInFrontSilencesAndTellsMissingArguments) {
  Options options{flag(':'), optionLoops};
  StandardError errors;
  EXPECT_THAT(scanned(options, {"-x", "-l"}), ElementsAre("63", "58"));
  EXPECT_EQ(errors.text(), "");
}

TEST(OptionsGetoptLetters, ColonGivesTheLetterBeforeAnArgument) {
  Options options{flag('a'), flag(':')};
  EXPECT_THAT(scanned(options, {"-a", "x"}), ElementsAre("97=x"));
}

TEST(OptionsGetoptLetters, ColonAndSemicolonAreNeverAccepted) {
  Options options{flag('a'), flag('b'), flag(';')};
  const StandardError errors;
  EXPECT_THAT(scanned(options, {"-;", "-:"}), ElementsAre("63", "63"));
}

TEST(OptionsGetoptLetters, SemicolonBehindWNamesALongOption) {
  Options options{flag('W'), flag(';'), flag('n', "name")};
  EXPECT_THAT(scanned(options, {"-W", "name"}), ElementsAre("110"));
}

}  // namespace
