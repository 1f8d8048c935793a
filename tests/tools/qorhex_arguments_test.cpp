// SPDX-License-Identifier: MIT
//
// qorhex and its command line: help, version, wrong usage.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

using testing::IsEmpty;

TEST_F(Qorhex, HelpIsTheStoredText) {
  const processResult_t result = run({"--help"});
  EXPECT_EQ(result.out, R"(Usage: qorhex [options] FILE...
Tells what Intel HEX files hold and what is wrong with them; cuts, merges,
compares and converts them.

-h         --help          This screen.
-v         --verbose       Increase verbosity. Can be specified more than once.
-p         --progress      Show progress of operation in standard format.
-V         --version       Show the version.
-l         --long          Add gaps, CRC-32, lines, regions and a bar.
-x [<n>]   --hexdump[=<n>] Dump the bytes, n per line (-x8), default=16.
-c         --check         Tell every problem of every FILE.
           --diff          Tell where two images differ.
           --format=<form> text or json, for table, --check and --diff.
-b <file>  --binary=<file> Write the whole image, gaps filled.
-o <dir>   --output=<dir>  Write every segment to
                           <dir>/<file stem>-<start address>.bin.
           --ihex=<file>   Write the image as Intel HEX.
           --svg=<file>    Draw the memory map as a picture.
-m         --merge         Make one image of all FILEs.
           --range=<range> Take only <first>-<last> or <first>+<size>.
                           Can be specified more than once.
           --map=<file>    Regions of the memory, a line for each:
                           <name> <range>; data elsewhere is refused.
-r         --reverse       Reverse each segment before it is written
                           or dumped.
           --fill=<byte>   Fill gaps under --binary, default=0xff.
           --pad           Let --binary cover all of the ranges.
           --max-size=<n>  Largest --binary: n, nK, nM, nG,
                           default=256M.
           --force         Accept conflicting bytes.
           --strict        Leave all reading to the library.
)");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(run({"-h"}).out, result.out);
}

TEST_F(Qorhex, VersionIsThatOfTheProject) {
  for (const char* option : {"-V", "--version"}) {
    const processResult_t result = run({option});
    EXPECT_EQ(result.out, "qorhex " QORHEX_VERSION "\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
  }
}

TEST_F(Qorhex, HelpAndVersionLeaveTheRestAlone) {
  expectRun({"--map=absent.map", "--help", "absent.hex"}, 0,
            run({"--help"}).out);
  expectRun({"--map=absent.map", "-V", "absent.hex"}, 0,
            "qorhex " QORHEX_VERSION "\n");
}

// The options with their letters, as in "-x --hexdump".
std::vector<std::string> optionsIn(const std::string& text,
                                   const std::string& separator) {
  std::vector<std::string> options;
  for (std::size_t at = 0; (at = text.find(separator, at)) != text.npos;) {
    at += separator.size();
    const std::string line = text.substr(at, text.find('\n', at) - at);
    const std::size_t name = line.find("--");
    const std::size_t letter = line.find('-');
    if (name != line.npos) {
      const std::size_t end =
          line.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", name);
      options.push_back((letter < name ? line.substr(letter, 2) : "") + ' ' +
                        line.substr(name, end - name));
    }
  }
  std::sort(options.begin(), options.end());
  return options;
}

TEST_F(Qorhex, TheManualHasTheOptionsOfTheHelpAndNoOthers) {
  std::string manual = readFile(QORHEX_MANUAL);
  manual.erase(std::remove(manual.begin(), manual.end(), '\\'), manual.end());
  const std::size_t begin = manual.find("\n.SH OPTIONS\n");
  manual = manual.substr(begin, manual.find("\n.SH ", begin + 1) - begin);
  const std::vector<std::string> described = optionsIn(manual, "\n.TP\n");
  const std::vector<std::string> listed = optionsIn(run({"--help"}).out, "\n");
  EXPECT_EQ(described, listed);
  EXPECT_EQ(listed.size(), 22U);
}

struct usageCase_t {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;
};

class QorhexUsage : public Qorhex,
                    public testing::WithParamInterface<usageCase_t> {};

TEST_P(QorhexUsage, EndsWithStatusTwoAndAHint) {
  const processResult_t result = run(GetParam().arguments);
  EXPECT_EQ(result.err,
            std::string(GetParam().message) + "qorhex: try 'qorhex --help'\n");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(folder.names(), IsEmpty());
}

const usageCase_t usageCases[] = {
    {"NoArguments", {}, "qorhex: no FILE given\n"},
    {"OptionsOnly", {"-v", "--"}, "qorhex: no FILE given\n"},
    {"UnknownLongOption",
     {"--nonsense", "a.hex"},
     "qorhex: unknown or ambiguous option: '--nonsense'\n"},
    {"UnknownShortOption", {"-z"}, "qorhex: unknown option: '-z'\n"},
    {"MissingArgument",
     {"a.hex", "-b"},
     "qorhex: --binary needs an argument\n"},
    {"MissingArgumentOfALongOption",
     {"--max-size"},
     "qorhex: --max-size needs an argument\n"},
    {"UnwantedArgument",
     {"--force=now", "a.hex"},
     "qorhex: --force takes no argument\n"},
    {"AmbiguousOption",
     {"--ver", "a.hex"},
     "qorhex: unknown or ambiguous option: '--ver'\n"},
    {"UnprintableOption",
     {"--\x1b[31m\n"},
     "qorhex: unknown or ambiguous option: '--\\x1b[31m\\x0a'\n"},
    {"UnprintableLetter", {"-\xff"}, "qorhex: unknown option: '-\\xff'\n"},
    {"BinaryTwice",
     {"-b", "x", "--binary=y", "a"},
     "qorhex: --binary is given twice\n"},
    {"OutputTwice",
     {"-o", ".", "-o", ".", "a"},
     "qorhex: --output is given twice\n"},
    {"MaxSizeTwice",
     {"--max-size=1", "--max-size=1", "a"},
     "qorhex: --max-size is given twice\n"},
    {"FillTwice",
     {"--fill=0", "--fill=0", "-b", "x", "a"},
     "qorhex: --fill is given twice\n"},
    {"FillBeyondAByte",
     {"--fill=256", "-b", "x", "a"},
     "qorhex: --fill: not a number from 0 to 255: '256'\n"},
    {"FillWithoutBinary", {"--fill=0", "a"}, "qorhex: --fill needs --binary\n"},
    {"PadWithoutBinary",
     {"--pad", "--range=0-1", "a"},
     "qorhex: --pad needs --binary\n"},
    {"PadWithoutRange",
     {"--pad", "-b", "x", "a"},
     "qorhex: --pad needs --range\n"},
    {"RangeBackwards",
     {"--range=2-1", "a"},
     "qorhex: --range: the last address is below the first: '2-1'\n"},
    {"UnprintableRange",
     {"--range=\x1b", "a"},
     "qorhex: --range: not a range; write <first>-<last> or <first>+<size>: '\\x1b'\n"},
    {"HexTwice",
     {"--ihex=x", "--ihex=x", "a"},
     "qorhex: --ihex is given twice\n"},
    {"HexOfTwoFiles",
     {"--ihex=x", "a.hex", "b.hex"},
     "qorhex: --ihex takes one FILE only, unless --merge makes one image of "
     "several\n"},
    {"DumpBesideTheHex",
     {"--ihex=-", "-x", "a.hex"},
     "qorhex: --ihex=- and --hexdump both want standard output\n"},
    {"TwoOutputsToStandardOutput",
     {"-b-", "--ihex=-", "a.hex"},
     "qorhex: --binary=- and --ihex=- both want standard output\n"},
    {"StandardInputTwice",
     {"-", "a.hex", "-"},
     "qorhex: the FILE - is given twice\n"},
    {"StandardInputForTheLibrary",
     {"--strict", "-"},
     "qorhex: --strict cannot read standard input\n"},
    {"DumpBesideTheImage",
     {"-b", "-", "-x", "a.hex"},
     "qorhex: --binary=- and --hexdump both want standard output\n"},
    {"SegmentsToStandardOutput",
     {"-o", "-", "a.hex"},
     "qorhex: --output takes a folder, not standard output\n"},
    {"OutputOfTwoUnprintableStems",
     {"-o", ".", "a/\x1b\\.hex", "b/\x1b\\.ihx"},
     "qorhex: --output: two FILEs have the stem '\\x1b\\x5c'\n"},
    {"OutputOfTheStemOfStandardInput",
     {"-o", ".", "a/stdin.hex", "-"},
     "qorhex: --output: two FILEs have the stem 'stdin'\n"},
    {"LeadingZero",
     {"-x016", "a"},
     "qorhex: --hexdump: a leading 0 before other digits; hexadecimal numbers "
     "begin with 0x: '016'\n"},
    {"LeadingZeroOfASize",
     {"--max-size=064K", "a"},
     "qorhex: --max-size: a leading 0 before other digits; hexadecimal numbers "
     "begin with 0x: '064K'\n"},
    {"BinaryOfTwoFiles",
     {"-b", "x", "a.hex", "b.hex"},
     "qorhex: --binary takes one FILE only, unless --merge makes one image of "
     "several\n"},
    {"OutputOfOneStemTwice",
     {"-o", ".", "a/fw.hex", "b/fw.ihx"},
     "qorhex: --output: two FILEs have the stem 'fw'\n"},
    {"NoBytesPerLine",
     {"--hexdump=0", "a"},
     "qorhex: --hexdump: not a number from 1 to 4096: '0'\n"},
    {"MoreBytesPerLineThanAllowed",
     {"-x4097", "a"},
     "qorhex: --hexdump: not a number from 1 to 4096: '4097'\n"},
    {"EmptyBytesPerLine",
     {"--hexdump=", "a"},
     "qorhex: --hexdump: not a number from 1 to 4096: ''\n"},
    {"NegativeBytesPerLine",
     {"-x-1", "a"},
     "qorhex: --hexdump: not a number from 1 to 4096: '-1'\n"},
    {"BytesPerLineWithUnit",
     {"-x1K", "a"},
     "qorhex: --hexdump: not a number from 1 to 4096: '1K'\n"},
    {"OptionAmongTheBytesPerLine",
     {"-xr", "a"},
     "qorhex: --hexdump: not a number from 1 to 4096: 'r'\n"},
    {"BytesPerLineOfMoreThan64Bits",
     {"-x18446744073709551617", "a"},
     "qorhex: --hexdump: not a number from 1 to 4096: "
     "'18446744073709551617'\n"},
    {"EmptySize", {"--max-size=", "a"}, "qorhex: --max-size: not a size: ''\n"},
    {"UnitOnly",
     {"--max-size=K", "a"},
     "qorhex: --max-size: not a size: 'K'\n"},
    {"NegativeSize",
     {"--max-size=-1", "a"},
     "qorhex: --max-size: not a size: '-1'\n"},
    {"SignedSize",
     {"--max-size=+1", "a"},
     "qorhex: --max-size: not a size: '+1'\n"},
    {"BlankInSize",
     {"--max-size= 1", "a"},
     "qorhex: --max-size: not a size: ' 1'\n"},
    {"UnknownUnit",
     {"--max-size=1T", "a"},
     "qorhex: --max-size: not a size: '1T'\n"},
    {"TwoUnits",
     {"--max-size=1KK", "a"},
     "qorhex: --max-size: not a size: '1KK'\n"},
    {"SizeOfMoreThan64Bits",
     {"--max-size=18446744073709551616", "a"},
     "qorhex: --max-size: a size beyond 64 bits: '18446744073709551616'\n"},
    {"SizeOverflowsByItsUnit",
     {"--max-size=17179869184G", "a"},
     "qorhex: --max-size: a size beyond 64 bits: '17179869184G'\n"},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexUsage, testing::ValuesIn(usageCases),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Qorhex, LargestSizesAreAccepted) {
  folder.write("fw.hex", sampleText);
  for (const char* size : {"--max-size=18446744073709551615",
                           "--max-size=17179869183G", "--max-size=0x4"}) {
    EXPECT_EQ(run({size, "-b", "fw.bin", "fw.hex"}).status, 0) << size;
  }
}

}  // namespace
