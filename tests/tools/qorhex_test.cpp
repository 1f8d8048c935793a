// SPDX-License-Identifier: MIT
//
// The program qorhex, run as its users run it.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/hexrecord.h"
#include "support/process.h"
#include "support/sanitizers.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::string;

constexpr char endRecord[] = ":00000001FF\n";

// The line of a sound record.
std::string hexRecord(unsigned type, unsigned offset, const Bytes& data) {
  const std::vector<unsigned char> bytes(data.begin(), data.end());
  return ::hexRecord(type, offset, bytes) + '\n';
}

std::string dataRecord(unsigned offset, const Bytes& data) {
  return hexRecord(0, offset, data);
}

// The record that sets the upper address (type 4) or the segment (type 2).
std::string baseRecord(unsigned type, unsigned value) {
  return hexRecord(type, 0,
                   {static_cast<char>(value >> 8U), static_cast<char>(value)});
}

const std::string good = dataRecord(0, "abcd");

const char sampleText[] =
    ":0401000041424344F1\n"
    ":00000001FF\n";

/// A folder with HEX files, and the program run in it.
class Qorhex : public testing::Test {
 protected:
  processResult_t run(std::vector<std::string> arguments,
                      const std::function<void()>& inChild = {}) const {
    arguments.insert(arguments.begin(), QORHEX_PROGRAM);
    return runProcess(arguments, folder.path(), inChild);
  }

  // Expects the program to end with `status` and `message` alone, and to leave
  // the folder as it was.
  void expectEnd(int status, const std::vector<std::string>& arguments,
                 const std::string& message,
                 const std::function<void()>& inChild = {}) const {
    const std::vector<std::string> before = folder.names();
    const processResult_t result = run(arguments, inChild);
    EXPECT_EQ(result.err, message);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(folder.names(), before);
  }

  // Expects that something cannot be read or written.
  void expectFailure(const std::vector<std::string>& arguments,
                     const std::string& message,
                     const std::function<void()>& inChild = {}) const {
    expectEnd(4, arguments, message, inChild);
  }

  // Expects that a file is refused for what it holds.
  void expectRefusal(const std::vector<std::string>& arguments,
                     const std::string& message,
                     const std::function<void()>& inChild = {}) const {
    expectEnd(3, arguments, message, inChild);
  }

  // Expects --binary to give `image`, with `message` on standard error.
  void expectImage(const std::string& text, const Bytes& image,
                   const std::string& message = {},
                   const std::vector<std::string>& options = {}) const {
    folder.write("fw.hex", text);
    std::vector<std::string> arguments{"-b", "fw.bin", "fw.hex"};
    arguments.insert(arguments.begin(), options.begin(), options.end());
    const processResult_t result = run(arguments);
    EXPECT_EQ(result.err, message) << text;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(folder.read("fw.bin"), image) << text;
    EXPECT_THAT(folder.names(), ElementsAre("fw.bin", "fw.hex"));
    std::filesystem::remove(folder.path("fw.bin"));
  }

  const TemporaryFolder folder;
};

// ---------------------------------------------------------------- Arguments

TEST_F(Qorhex, HelpIsTheStoredText) {
  const processResult_t result = run({"--help"});
  EXPECT_EQ(result.out, R"(Usage: qorhex [options] FILE...
Lists the segments of Intel HEX files, dumps them, or writes them as raw
binary files.

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

// ------------------------------------------------------------------ Listing

TEST_F(Qorhex, ListsSegmentsInAlignedColumns) {
  folder.write("fw.hex",
               dataRecord(0x100, Bytes(64, 'a')) + baseRecord(4, 0xFFFF) +
                   dataRecord(0xFFF0, "0123456789abcdef") + endRecord);
  const processResult_t result = run({"fw.hex"});
  EXPECT_EQ(result.out,
            "   no  first       last        size\n"
            "    0  0x00000100  0x0000013f  64  64B\n"
            "    1  0xfffffff0  0xffffffff  16  16B\n"
            "total                          80  80B\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, ListsATotalOnlyWithoutData) {
  folder.write("fw.hex", endRecord);
  const processResult_t result = run({"fw.hex"});
  EXPECT_EQ(result.out, "total  0\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, ListsSizesUnderEachOther) {
  folder.write("fw.hex", dataRecord(0, Bytes(100, 'a')) +
                             dataRecord(0x1000, "b") + endRecord);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000063  100  100B\n"
            "    1  0x00001000  0x00001000    1    1B\n"
            "total                          101  101B\n");
}

TEST_F(Qorhex, ListsSizesInReadableUnitsToo) {
  std::string text;
  for (unsigned at = 0; at < 0x600; at += 0x80) {
    text += dataRecord(at, Bytes(0x80, 'a'));
  }
  text += dataRecord(0x1000, Bytes(0x10, 'b')) + baseRecord(4, 1);
  for (unsigned at = 0; at < 0x10000; at += 0x80) {
    text += dataRecord(at, Bytes(0x80, 'c'));
  }
  folder.write("fw.hex", text + endRecord);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last         size\n"
            "    0  0x00000000  0x000005ff   1536      1.5KiB\n"
            "    1  0x00001000  0x0000100f     16         16B\n"
            "    2  0x00010000  0x0001ffff  65536       64KiB\n"
            "total                          67088  65.5156KiB\n");
}

TEST_F(Qorhex, JoinsSegmentsAcross64KiB) {
  folder.write("fw.hex", dataRecord(0xFFFC, "abcd") + baseRecord(4, 1) +
                             dataRecord(0, "efgh") + endRecord);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x0000fffc  0x00010003  8  8B\n"
            "total                          8  8B\n");
}

TEST_F(Qorhex, ListsSeveralFilesUnderTheirNames) {
  folder.write("a.hex", sampleText);
  folder.write("b.hex", endRecord);
  const processResult_t result = run({"a.hex", "b.hex"});
  EXPECT_EQ(result.out,
            "a.hex:\n"
            "   no  first       last        size\n"
            "    0  0x00000100  0x00000103  4  4B\n"
            "total                          4  4B\n"
            "b.hex:\n"
            "total  0\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, AFailingFileDoesNotKeepTheOthersFromBeingHandled) {
  folder.write("a.hex", sampleText);
  folder.write("c.hex", sampleText);
  const processResult_t result = run({"-o", ".", "a.hex", "b.hex", "c.hex"});
  EXPECT_EQ(result.err, "qorhex: b.hex: No such file or directory\n");
  EXPECT_EQ(result.status, 4);
  EXPECT_THAT(folder.names(), ElementsAre("a-00000100.bin", "a.hex",
                                          "c-00000100.bin", "c.hex"));
}

TEST_F(Qorhex, ListingToAFullDeviceIsAnError) {
  folder.write("fw.hex", sampleText);
  expectFailure({"fw.hex"},
                "qorhex: standard output: No space left on device\n",
                [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  expectFailure({"--help"},
                "qorhex: standard output: No space left on device\n",
                [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
}

TEST_F(Qorhex, ListingToAClosedOutputIsAnError) {
  folder.write("fw.hex", sampleText);
  expectFailure({"fw.hex"}, "qorhex: standard output: Bad file descriptor\n",
                [] { close(STDOUT_FILENO); });
}

TEST_F(Qorhex, ClosedStandardDescriptorsDoNotReceiveTheImage) {
  folder.write("fw.hex", sampleText);
  const char told[] = "qorhex: fw.bin: written\n";
  for (unsigned closed = 0; closed < 8; ++closed) {
    const processResult_t result =
        run({"-v", "-b", "fw.bin", "fw.hex"}, [closed] {
          for (const int descriptor : {0, 1, 2}) {
            if ((closed >> descriptor & 1U) != 0) {
              close(descriptor);
            }
          }
        });
    EXPECT_EQ(result.status, 0) << closed;
    EXPECT_EQ(result.out, "") << closed;
    EXPECT_EQ(result.err, (closed & 4U) != 0 ? "" : told) << closed;
    EXPECT_EQ(folder.read("fw.bin"), "ABCD") << closed;
    EXPECT_THAT(folder.names(), ElementsAre("fw.bin", "fw.hex"));
    std::filesystem::remove(folder.path("fw.bin"));
  }
}

TEST_F(Qorhex, AClosedStandardInputIsAnError) {
  for (const bool others : {false, true}) {
    const processResult_t result = run({"-b", "fw.bin", "-"}, [others] {
      close(STDIN_FILENO);
      if (others) {
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
      }
    });
    EXPECT_EQ(result.err,
              others ? "" : "qorhex: <stdin>: Bad file descriptor\n");
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(folder.names(), IsEmpty());
  }
}

TEST_F(Qorhex, AClosedStandardOutputIsAnErrorForTheImage) {
  folder.write("fw.hex", sampleText);
  const processResult_t result =
      run({"-b", "-", "fw.hex"}, [] { close(STDOUT_FILENO); });
  EXPECT_THAT(result.err, testing::HasSubstr("Bad file descriptor\n"));
  EXPECT_EQ(result.status, 4);
}

TEST_F(Qorhex, TheHighestStatusOfAllFilesCounts) {
  folder.write("good.hex", sampleText);
  folder.write("bad.hex", "rubbish\n");
  EXPECT_EQ(run({"good.hex", "bad.hex", "good.hex"}).status, 3);
  EXPECT_EQ(run({"none.hex", "bad.hex"}).status, 4);
  EXPECT_EQ(run({"bad.hex", "none.hex", "good.hex"}).status, 4);
}

TEST_F(Qorhex, NamesAreEscapedWhereverTheyStand) {
  const std::string hostile = "\x1b[31m\\\n\xC2\x9B\xFF\xC3\xA4.hex";
  const std::string shown = "\\x1b[31m\\x5c\\x0a\\xc2\\x9b\\xff\xC3\xA4.hex";
  expectFailure({hostile},
                "qorhex: " + shown + ": No such file or directory\n");
  folder.write(hostile, dataRecord(0, "a") + dataRecord(0, "b") + endRecord);
  expectRefusal({hostile}, shown +
                               ":2:10: error: byte 0x62 at 0x00000000 "
                               "conflicts with 0x61 of " +
                               shown +
                               ":1, 1 byte in all; --force accepts that\n");
  EXPECT_EQ(run({"--force", hostile}).err,
            "qorhex: " + shown + ": 1 conflicting byte accepted (--force)\n");
  folder.write("a.hex", endRecord);
  EXPECT_EQ(run({"--force", "a.hex", hostile}).out,
            "a.hex:\ntotal  0\n" + shown +
                ":\n"
                "   no  first       last        size\n"
                "    0  0x00000000  0x00000000  1  1B\n"
                "total                          1  1B\n");
  EXPECT_EQ(run({"-p", "--force", hostile}).err.substr(0, shown.size() + 9),
            "qorhex: " + shown + ':');
  EXPECT_EQ(run({"--strict", "none\n"}).err,
            "#ERROR: failed to open \"none\n\"\n"
            "qorhex: none\\x0a: the library cannot load this file\n");
}

// A message that is cut in pieces can be torn apart by another program's.
TEST_F(Qorhex, AMessageIsOneWrite) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
  folder.write("a.hex", good + "rubbish\n");
  folder.write("b.hex", hexRecord(5, 0, "main") + good + good + endRecord);
  run({"-v", "-o", ".", "a.hex", "b.hex"},
      [&ends] { dup2(ends[1], STDERR_FILENO); });
  run({"--nonsense"}, [&ends] { dup2(ends[1], STDERR_FILENO); });
  std::vector<std::string> messages;
  char text[1000];
  for (ssize_t size = 0;
       (size = recv(ends[0], text, sizeof text, MSG_DONTWAIT)) > 0;) {
    messages.emplace_back(text, static_cast<std::size_t>(size));
  }
  EXPECT_THAT(messages,
              ElementsAre("a.hex:2:1: error: no start code ':' at the "
                          "beginning\nrubbish\n^\n",
                          "qorhex: b.hex: start address 0x6d61696e\n",
                          "qorhex: b.hex: 4 repeated bytes merged\n",
                          "qorhex: ./b-00000000.bin: written\n",
                          "qorhex: unknown or ambiguous option: '--nonsense'\n"
                          "qorhex: try 'qorhex --help'\n"));
  close(ends[0]);
  close(ends[1]);
}

// ------------------------------------------------------------------ Dumping

const std::string alphabetText =
    dataRecord(0x100, "abcdefghijklmnopqrst") + endRecord;

const char alphabetDump[] =
    "0x00000100: 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70  |abcdefghijklmnop|\n"
    "0x00000110: 71 72 73 74                                      |qrst|\n";

const char alphabetDumpOfEight[] =
    "0x00000100: 61 62 63 64 65 66 67 68  |abcdefgh|\n"
    "0x00000108: 69 6a 6b 6c 6d 6e 6f 70  |ijklmnop|\n"
    "0x00000110: 71 72 73 74              |qrst|\n";

TEST_F(Qorhex, DumpShowsTheBytesBehindTheirAddress) {
  folder.write("fw.hex", alphabetText);
  for (const char* option : {"-x", "--hexdump", "-x16", "--hexdump=16"}) {
    const processResult_t result = run({option, "fw.hex"});
    EXPECT_EQ(result.out, alphabetDump) << option;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
  }
}

TEST_F(Qorhex, DumpTakesTheNumberOfBytesPerLine) {
  folder.write("fw.hex", alphabetText);
  for (const char* option : {"-x8", "--hexdump=8", "--hex=0x8"}) {
    EXPECT_EQ(run({option, "fw.hex"}).out, alphabetDumpOfEight) << option;
  }
  EXPECT_EQ(run({"-x4096", "fw.hex"}).out,
            "0x00000100: 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70 71 72 "
            "73 74" +
                std::string(4076 * std::size_t{3}, ' ') +
                "  |abcdefghijklmnopqrst|\n");
}

TEST_F(Qorhex, DumpTakesANumberApartFromItAsAFile) {
  folder.write("fw.hex", alphabetText);
  const processResult_t result = run({"fw.hex", "-x", "8"});
  EXPECT_EQ(result.out, std::string("fw.hex:\n") + alphabetDump);
  EXPECT_EQ(result.err, "qorhex: 8: No such file or directory\n");
  EXPECT_EQ(result.status, 4);
}

TEST_F(Qorhex, DumpOfOneBytePerLine) {
  folder.write("fw.hex", sampleText);
  EXPECT_EQ(run({"-x1", "fw.hex"}).out,
            "0x00000100: 41  |A|\n"
            "0x00000101: 42  |B|\n"
            "0x00000102: 43  |C|\n"
            "0x00000103: 44  |D|\n");
}

TEST_F(Qorhex, DumpRunsOnAcross64KiB) {
  folder.write("fw.hex", baseRecord(4, 0x0800) + dataRecord(0xFFFA, "abcdef") +
                             baseRecord(4, 0x0801) + dataRecord(0, "ghijkl") +
                             endRecord);
  EXPECT_EQ(run({"-x4", "fw.hex"}).out,
            "0x0800fffa: 61 62 63 64  |abcd|\n"
            "0x0800fffe: 65 66 67 68  |efgh|\n"
            "0x08010002: 69 6a 6b 6c  |ijkl|\n");
  EXPECT_EQ(
      run({"-x", "fw.hex"}).out,
      "0x0800fffa: 61 62 63 64 65 66 67 68 69 6a 6b 6c              |abcdefghijkl|\n");
}

TEST_F(Qorhex, DumpPutsAnEmptyLineBetweenSegments) {
  folder.write("fw.hex", dataRecord(0, "abcde") + dataRecord(6, "gh") +
                             baseRecord(4, 0xFFFF) + dataRecord(0xFFFD, "xyz") +
                             endRecord);
  EXPECT_EQ(run({"-x4", "fw.hex"}).out,
            "0x00000000: 61 62 63 64  |abcd|\n"
            "0x00000004: 65           |e|\n"
            "\n"
            "0x00000006: 67 68        |gh|\n"
            "\n"
            "0xfffffffd: 78 79 7a     |xyz|\n");
}

TEST_F(Qorhex, DumpShowsReversedBytesAtThePlaceOfTheirSegment) {
  folder.write("fw.hex", dataRecord(0xFFFE, "ab") + baseRecord(4, 1) +
                             dataRecord(0, "cd") + dataRecord(6, "xyz") +
                             endRecord);
  EXPECT_EQ(run({"-rx3", "fw.hex"}).out,
            "0x0000fffe: 64 63 62  |dcb|\n"
            "0x00010001: 61        |a|\n"
            "\n"
            "0x00010006: 7a 79 78  |zyx|\n");
}

TEST_F(Qorhex, DumpNamesSeveralFiles) {
  folder.write("a.hex", sampleText);
  folder.write("b.hex", endRecord);
  folder.write("c d.hex", dataRecord(0, "x") + endRecord);
  const processResult_t result = run({"-x", "--", "a.hex", "b.hex", "c d.hex"});
  EXPECT_EQ(
      result.out,
      "a.hex:\n"
      "0x00000100: 41 42 43 44                                      |ABCD|\n"
      "b.hex:\n"
      "c d.hex:\n"
      "0x00000000: 78                                               |x|\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, DumpOfNoDataIsEmpty) {
  folder.write("fw.hex", endRecord);
  const processResult_t result = run({"-x", "fw.hex"});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, DumpStandsBesideTheFiles) {
  folder.write("fw.hex", sampleText);
  const processResult_t result =
      run({"-x", "-o", ".", "-b", "fw.bin", "fw.hex"});
  EXPECT_EQ(
      result.out,
      "0x00000100: 41 42 43 44                                      |ABCD|\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  EXPECT_EQ(folder.read("fw-00000100.bin"), "ABCD");
}

TEST_F(Qorhex, DumpOfABadFileIsEmpty) {
  folder.write("fw.hex", good + "rubbish\n");
  expectRefusal({"-x", "fw.hex"},
                "fw.hex:2:1: error: no start code ':' at the beginning\n"
                "rubbish\n"
                "^\n");
}

TEST_F(Qorhex, DumpToAFullDeviceIsAnError) {
  folder.write("fw.hex", sampleText);
  expectFailure({"-x", "fw.hex"},
                "qorhex: standard output: No space left on device\n",
                [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  expectFailure({"-x", "fw.hex"},
                "qorhex: standard output: Bad file descriptor\n",
                [] { close(STDOUT_FILENO); });
}

// A sound text of `size` bytes, a multiple of 64 KiB, each the low byte of its
// address.
std::string textOf(unsigned size) {
  std::string text;
  for (unsigned at = 0; at < size; at += 0x80) {
    if (at % 0x10000 == 0) {
      text += baseRecord(4, at >> 16U);
    }
    Bytes data;
    for (unsigned i = at; i < at + 0x80; ++i) {
      data += static_cast<char>(i);
    }
    text += dataRecord(at & 0xFFFFU, data);
  }
  return text + endRecord;
}

TEST_F(Qorhex, DumpEndsAtTheFirstPieceThatFails) {
  folder.write("fw.hex", textOf(0x20000));
  folder.write("dump", "");
  expectFailure({"-x", "fw.hex"}, "qorhex: standard output: File too large\n",
                [] {
                  const rlimit limit{100000, 100000};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  dup2(open("dump", O_WRONLY), STDOUT_FILENO);
                });
  EXPECT_EQ(folder.read("dump").size(), 100000U);
}

TEST_F(Qorhex, DumpIsNotHeldInMemory) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer holds back what was freed";
#endif
  constexpr unsigned size = 0x80000;
  folder.write("fw.hex", textOf(size));
  const processResult_t listing = run({"fw.hex"});
  const processResult_t dump = run({"-x1", "fw.hex"});
  EXPECT_EQ(dump.out.size(), size * 20);
  EXPECT_EQ(dump.out.substr(dump.out.size() - 40),
            "0x0007fffe: fe  |.|\n"
            "0x0007ffff: ff  |.|\n");
  EXPECT_LT(dump.peakMemory - listing.peakMemory, 2 << 10);
}

// ------------------------------------------------------------- Refused text

struct badText_t {
  const char* name;
  std::string text;
  std::string place;
  std::string reason;
  std::string line;
};

class QorhexBadText : public Qorhex,
                      public testing::WithParamInterface<badText_t> {};

// The caret stands below the column.
std::string caretLine(const std::string& place) {
  const unsigned long column = std::stoul(place.substr(place.find(':') + 1));
  return std::string(column - 1, ' ') + "^\n";
}

TEST_P(QorhexBadText, IsRefusedWithPlaceReasonAndLine) {
  const badText_t& tested = GetParam();
  folder.write("bad.hex", tested.text);
  const std::string message = "bad.hex:" + tested.place +
                              ": error: " + tested.reason + '\n' + tested.line +
                              '\n' + caretLine(tested.place);
  expectRefusal({"-b", "fw.bin", "bad.hex"}, message);
  expectRefusal({"-o", ".", "bad.hex"}, message);
  expectRefusal({"bad.hex"}, message);
  expectRefusal({"--force", "bad.hex"}, message);
}

const std::string noStartCode = "no start code ':' at the beginning";
const std::string noDigit = "not a hex digit";
const std::string noEnd = "the text ends without an end record";

std::string shorter(const std::string& characters, int instead) {
  return "shorter than its byte count says, " + characters + " instead of " +
         std::to_string(instead);
}

std::string longer(const std::string& characters, int instead) {
  return "longer than its byte count says, " + characters + " instead of " +
         std::to_string(instead);
}

const badText_t badTexts[] = {
    {"NoStartCode", good + "0401000041424344F1\n" + endRecord, "2:1",
     noStartCode, "0401000041424344F1"},
    {"NoStartCodeBehindBlanks", good + " \t0401000041424344F1\n", "2:3",
     noStartCode, " .0401000041424344F1"},
    {"NoStartCodeComesFirst", "x401000041G24344F1\n", "1:1", noStartCode,
     "x401000041G24344F1"},
    {"NoHexDigit", good + "\n:0401000041G24344F1\r\n" + endRecord, "3:12",
     noDigit, ":0401000041G24344F1"},
    {"NoHexDigitComesBeforeTooMany", good + ":0401000041424344F1 FF0G\n",
     "2:20", noDigit, ":0401000041424344F1 FF0G"},
    {"NoHexDigitComesBeforeTooFew", ":0401G0\n", "1:6", noDigit, ":0401G0"},
    {"NoHexDigitInTheByteCount", ":G401000041424344F1\n", "1:2", noDigit,
     ":G401000041424344F1"},
    {"SignInTheByteCount", ":-101000041424344F1\n", "1:2", noDigit,
     ":-101000041424344F1"},
    {"BlankInside", ":04010000 41424344F1\n", "1:10", noDigit,
     ":04010000 41424344F1"},
    {"ByteOfTheUpperHalf",
     ":0401000041\xC3\xBC"
     "24344F1\n",
     "1:12", noDigit, ":0401000041..24344F1"},
    {"NulInside",
     dataRecord(0, "a") + std::string(":04010000\0001424344F1\n", 20), "2:10",
     noDigit, ":04010000.1424344F1"},
    {"EscapeSequenceInside", ":0401\x1b[31m0000\n", "1:6", noDigit,
     ":0401.[31m0000"},
    {"SecondStartCode", "::0401000041424344F1\n", "1:2", noDigit,
     "::0401000041424344F1"},
    {"StartCodeOnly", ":\n", "1:2", shorter("1 character", 11), ":"},
    {"TenCharacters", ":000000000\n", "1:11", shorter("10 characters", 11),
     ":000000000"},
    {"ShorterThanItsByteCount", ":0401000041424344\n", "1:18",
     shorter("17 characters", 19), ":0401000041424344"},
    {"ShorterByOneCharacter", ":0401000041424344F \t\r\n", "1:19",
     shorter("18 characters", 19), ":0401000041424344F ."},
    {"LongerThanItsByteCount", " :0401000041424344F100\n", "1:21",
     longer("21 characters", 19), " :0401000041424344F100"},
    {"WrongChecksum", good + good + ":0401000041424344F2\n", "3:18",
     "wrong checksum 0xf2, the bytes give 0xf1", ":0401000041424344F2"},
    {"WrongChecksumOfTheLongestRecord",
     dataRecord(0, Bytes(255, 'a')).substr(0, 519) + "00\n", "1:520",
     "wrong checksum 0x00, the bytes give 0x62",
     dataRecord(0, Bytes(255, 'a')).substr(0, 519) + "00"},
    {"WrongChecksumComesBeforeTheType", ":02000006616236\n", "1:14",
     "wrong checksum 0x36, the bytes give 0x35", ":02000006616236"},
    {"OneCharacterMoreThanTheLongestRecord",
     ":FF" + std::string(519, '0') + '\n', "1:522",
     longer("522 characters", 521), ":FF" + std::string(519, '0')},
    {"UnsupportedType", good + "\xEF\xBB\xBF" + "\n", "2:1", noStartCode,
     "..."},
    {"UnsupportedTypeSix", good + hexRecord(6, 0, "ab"), "2:8",
     "unsupported record type 0x06", ":02000006616235"},
    {"LargestType", '\t' + hexRecord(255, 0, ""), "1:9",
     "unsupported record type 0xff", ".:000000FF01"},
    {"EndWithData", hexRecord(1, 0, "a"), "1:2",
     "a record of type 0x01 has 0 data bytes, not 1", ":01000001619D"},
    {"ShortSegmentAddress", hexRecord(2, 0, "a"), "1:2",
     "a record of type 0x02 has 2 data bytes, not 1", ":01000002619C"},
    {"ShortStartSegment", hexRecord(3, 0, "ab"), "1:2",
     "a record of type 0x03 has 4 data bytes, not 2", ":02000003616238"},
    {"LongLinearAddress", hexRecord(4, 0, "abc"), "1:2",
     "a record of type 0x04 has 2 data bytes, not 3", ":03000004616263D3"},
    {"EmptyStartLinear", hexRecord(5, 0, ""), "1:2",
     "a record of type 0x05 has 4 data bytes, not 0", ":00000005FB"},
    {"SecondStartAddress",
     hexRecord(5, 0, "main") + hexRecord(3, 0, "segm") +
         hexRecord(5, 0, "main") + hexRecord(5, 0, "Main"),
     "4:10", "a second start address 0x4d61696e, that of line 1 is 0x6d61696e",
     ":040000054D61696E72"},
    {"PassesTheLastAddress",
     baseRecord(4, 0xFFFF) + dataRecord(0xFFFD, "abcd") + endRecord, "2:16",
     "the record passes the address 0xffffffff", ":04FFFD006162636476"},
    {"EmptyFile", "", "1:1", noEnd, ""},
    {"BlankLinesOnly", "\n\r\n \n", "3:2", noEnd, " "},
    {"NoEndRecord", good + dataRecord(0x100, "ABCD"), "2:20", noEnd,
     ":0401000041424344F1"},
    {"NoEndRecordBeforeBlankLines", good + "\n \r\n\n", "4:1", noEnd, ""},
    {"NoEndRecordAndNoLineFeed", good + ":0401000041424344F1 ", "2:21", noEnd,
     ":0401000041424344F1 "},
    {"DamagedEndRecord", good + ":00000001FE\n", "2:10",
     "wrong checksum 0xfe, the bytes give 0xff", ":00000001FE"},
    {"ByteOrderMarkInTheSecondLine", good + "\xEF\xBB\xBF" + good, "2:1",
     noStartCode, "...:0400000061626364" + good.substr(17, 2)},
    {"DamageBehindAByteOrderMark", "\xEF\xBB\xBF:0x\n", "1:6", noDigit,
     "...:0x"},
    {"CarriageReturnsAsLineEnds", ":0401000041424344F1\r:00000001FF\r", "1:20",
     noDigit, ":0401000041424344F1.:00000001FF"},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexBadText, testing::ValuesIn(badTexts),
                         [](const auto& tested) { return tested.param.name; });

struct longLine_t {
  const char* name;
  std::string text;
  std::string place;
  std::string reason;
  std::string shown;
  std::size_t caret;
};

class QorhexLongLine : public Qorhex,
                       public testing::WithParamInterface<longLine_t> {};

TEST_P(QorhexLongLine, IsShownAroundTheColumn) {
  const longLine_t& tested = GetParam();
  folder.write("bad.hex", good + tested.text);
  expectRefusal({"bad.hex"}, "bad.hex:" + tested.place + ": error: " +
                                 tested.reason + '\n' + tested.shown + '\n' +
                                 std::string(tested.caret, ' ') + "^\n");
}

std::string zeros(std::size_t count) {
  return std::string(count, '0');
}

std::string blanks(std::size_t count) {
  return std::string(count, ' ');
}

// More than what is read at a time.
constexpr std::size_t large = 300000;

const longLine_t longLines[] = {
    {"OfTheLongestLengthThatIsShownWhole", ':' + zeros(530) + '\n', "2:12",
     longer("531 characters", 11), ':' + zeros(530), 11},
    {"LongerByOne", ':' + zeros(531) + '\n', "2:12",
     longer("532 characters", 11), ':' + zeros(79), 11},
    {"DamageInTheMiddle", ':' + zeros(400) + 'x' + zeros(400) + '\n', "2:402",
     noDigit, zeros(40) + 'x' + zeros(39), 40},
    {"DamageAtTheEnd", ':' + zeros(600) + "x\n", "2:602", noDigit,
     zeros(79) + 'x', 79},
    {"MissingBehindManyBlanks", blanks(600) + ":00\n", "2:604",
     shorter("3 characters", 11), blanks(77) + ":00", 80},
    {"DigitsWithoutEnd", ':' + zeros(large) + '\n', "2:12",
     longer("300001 characters", 11), ':' + zeros(79), 11},
    {"DigitsAndNoLineFeed", ':' + zeros(large), "2:12",
     longer("300001 characters", 11), ':' + zeros(79), 11},
    {"StrangeFarBehind", ':' + zeros(large) + 'x' + zeros(large) + '\n',
     "2:300002", noDigit, zeros(40) + 'x' + zeros(39), 40},
    {"StrangeAtTheEnd", ':' + zeros(large) + "x\n", "2:300002", noDigit,
     zeros(79) + 'x', 79},
    {"TwoRecordsInOneLine",
     good.substr(0, 19) + blanks(large) + good.substr(0, 19) + '\n', "2:20",
     noDigit, good.substr(0, 19) + blanks(61), 19},
    {"NoStartCodeBehindManyBlanks", blanks(large) + "no record\n", "2:300001",
     noStartCode, blanks(71) + "no record", 71},
    {"WrongChecksumBehindManyBlanks",
     blanks(large) + ":0401000041424344F2" + blanks(large) + '\n', "2:300018",
     "wrong checksum 0xf2, the bytes give 0xf1",
     blanks(23) + ":0401000041424344F2" + blanks(38), 40},
    {"MissingBetweenManyBlanks", blanks(large) + ":00" + blanks(large) + '\n',
     "2:300004", shorter("3 characters", 11), blanks(37) + ":00" + blanks(40),
     40},
    {"NoEndRecord", good.substr(0, 19) + blanks(large), "2:300020", noEnd,
     blanks(80), 80},
    {"NoEndRecordBehindABlankLine", blanks(large) + "\r\n", "2:300001", noEnd,
     blanks(79) + '.', 79},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexLongLine, testing::ValuesIn(longLines),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Qorhex, ARecordMayStandInALineOfAnyLength) {
  const std::string record = dataRecord(0, "abcd").substr(0, 19);
  expectImage(blanks(large) + record + '\n' + endRecord, "abcd");
  expectImage(record + blanks(large) + '\n' + endRecord, "abcd");
  expectImage("\xEF\xBB\xBF" + blanks(large) + record + blanks(large) + "\n" +
                  blanks(large) + endRecord,
              "abcd");
  expectImage(
      blanks(large) + '\n' + record + '\n' + endRecord + blanks(large) + '\n',
      "abcd");
}

TEST_F(Qorhex, LinesBehindALongOneKeepTheirNumbers) {
  folder.write("bad.hex", blanks(large) + good + blanks(large) + "\nx\n");
  expectRefusal({"bad.hex"},
                "bad.hex:3:1: error: no start code ':' at the beginning\n"
                "x\n"
                "^\n");
}

TEST_F(Qorhex, ALongLineTakesNoMemory) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer needs memory of its own";
#endif
  folder.write("fw.hex", good + endRecord);
  folder.write("long.hex",
               blanks(50 << 20) + good + blanks(50 << 20) + '\n' + endRecord);
  const long peak = run({"fw.hex"}).peakMemory;
  const processResult_t result = run({"long.hex"});
  EXPECT_EQ(result.status, 0);
  EXPECT_LT(result.peakMemory, peak + 1024);
}

TEST_F(Qorhex, AHugeLineIsRefusedWithoutBeingRead) {
  folder.write("huge.hex", dataRecord(0, "a") + ":");
  ASSERT_EQ(truncate(folder.path("huge.hex").c_str(), off_t{1} << 40U), 0);
  expectRefusal({"huge.hex"}, "huge.hex:2:2: error: not a hex digit\n:" +
                                  std::string(79, '.') + "\n ^\n");
}

TEST_F(Qorhex, AnEndlessDeviceIsRefusedAtOnce) {
  expectRefusal({"/dev/zero"},
                "/dev/zero:1:1: error: these are raw bytes; objcopy -I binary "
                "-O ihex --change-addresses=<address> makes Intel HEX of "
                "them\n" +
                    std::string(80, '.') + "\n^\n");
}

TEST_F(Qorhex, AMissingFileIsNamed) {
  expectFailure({"none.hex"}, "qorhex: none.hex: No such file or directory\n");
}

TEST_F(Qorhex, AFolderIsNoFile) {
  expectFailure({"."}, "qorhex: .: Is a directory\n");
}

TEST_F(Qorhex, AnUnreadableFileIsNamed) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root reads everything";
  }
  folder.write("fw.hex", sampleText);
  chmod(folder.path("fw.hex").c_str(), 0);
  expectFailure({"fw.hex"}, "qorhex: fw.hex: Permission denied\n");
}

// ------------------------------------------------------------------ Repairs

TEST_F(Qorhex, PlainTextIsReadAsItStands) {
  expectImage(sampleText, "ABCD");
  expectImage(":0401000041424344F1\r\n:00000001FF\r\n", "ABCD");
  expectImage(":0401000041424344F1  \n:00000001FF  \n", "ABCD");
  expectImage(":0401000041424344F1\n:00000001FF", "ABCD");
  expectImage(dataRecord(4, "efgh") + dataRecord(0, "abcd") + endRecord,
              "abcdefgh");
}

TEST_F(Qorhex, BlanksBeforeTheLineEndAreSkipped) {
  for (const char* blank : {"\t", " ", "\t ", " \t\r", "\r\r"}) {
    const std::string ending = std::string(blank) + '\n';
    expectImage(":0401000041424344F1" + ending + ":00000001FF\n", "ABCD");
    expectImage(":0401000041424344F1\n:00000001FF" + ending, "ABCD");
    expectImage(":0401000041424344F1\n:00000001FF" + std::string(blank),
                "ABCD");
  }
}

TEST_F(Qorhex, LowerCaseDigitsAreRead) {
  expectImage(":040100006a6b6c6d4d\n:00000001ff\n", "jklm");
}

TEST_F(Qorhex, AnyEndRecordEndsTheFile) {
  expectImage(dataRecord(0, "abcd") + ":00000001ff\n", "abcd");
  expectImage(dataRecord(0, "abcd") + "  :00000001FF\n", "abcd");
  expectImage(dataRecord(0, "abcd") + hexRecord(1, 0x1234, ""), "abcd");
}

TEST_F(Qorhex, BlanksTabsAndBlankLinesAreSkipped) {
  expectImage("\n\t\n \r\n\t " + dataRecord(0, "ab") + "\r\r\n :020002006364" +
                  dataRecord(2, "cd").substr(13, 2) + " \t\r\n" + endRecord,
              "abcd");
}

TEST_F(Qorhex, AByteOrderMarkIsSkipped) {
  expectImage("\xEF\xBB\xBF" + dataRecord(0, "abcd") + endRecord, "abcd");
  expectImage(std::string("\xEF\xBB\xBF\n") + endRecord, "");
}

TEST_F(Qorhex, ZeroLengthDataIsLeftOut) {
  expectImage(dataRecord(0, "ab") + dataRecord(2, "") + dataRecord(2, "cd") +
                  dataRecord(0, "") + endRecord,
              "abcd");
}

TEST_F(Qorhex, LinesBehindTheEndRecordAreCountedInAWarning) {
  expectImage(sampleText + std::string("\n \n"), "ABCD");
  expectImage(sampleText + std::string("\n rubbish\t\n\r\n"), "ABCD",
              "fw.hex:4:1: warning: 1 line behind the end record is left out\n"
              " rubbish.\n"
              "^\n");
  expectImage(sampleText + dataRecord(0, "x") + "\x1A" + "\n" + endRecord +
                  "no line feed",
              "ABCD",
              "fw.hex:3:1: warning: 4 lines behind the end record are left "
              "out\n"
              ":010000007887\n"
              "^\n");
  expectImage(sampleText + std::string(large, 'x') + "\n\n" +
                  std::string(large, ' ') + "y",
              "ABCD",
              "fw.hex:3:1: warning: 2 lines behind the end record are left "
              "out\n" +
                  std::string(80, 'x') + "\n^\n");
  expectImage(sampleText + std::string(large, ' ') + "y", "ABCD",
              "fw.hex:3:1: warning: 1 line behind the end record is left "
              "out\n" +
                  std::string(80, ' ') + "\n^\n");
}

TEST_F(Qorhex, StartAddressesAreToldWithVerbose) {
  const std::string text = dataRecord(0, "abcd") +
                           hexRecord(5, 0, {0x08, 0, 0x01, '\x99'}) +
                           hexRecord(5, 0, {0x08, 0, 0x01, '\x99'}) + endRecord;
  expectImage(text, "abcd");
  expectImage(text, "abcd",
              "qorhex: fw.hex: start address 0x08000199\n"
              "qorhex: fw.bin: written\n",
              {"-v"});
  expectImage(hexRecord(3, 0, {'\xF0', 0, 0x12, 0x34}) + text, "abcd",
              "qorhex: fw.hex: start address 0x000f1234 (segment 0xf000, "
              "offset 0x1234)\n"
              "qorhex: fw.hex: start address 0x08000199\n"
              "qorhex: fw.bin: written\n",
              {"--verbose"});
}

TEST_F(Qorhex, SegmentAddressesBecomePlainOnes) {
  folder.write("fw.hex", baseRecord(2, 0x1234) + dataRecord(0x10, "ab") +
                             baseRecord(2, 0xFFFF) + dataRecord(0xFFF0, "cd") +
                             endRecord);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00012350  0x00012351  2  2B\n"
            "    1  0x0010ffe0  0x0010ffe1  2  2B\n"
            "total                          4  4B\n");
}

TEST_F(Qorhex, OffsetsWrapInsideASegment) {
  folder.write("fw.hex",
               baseRecord(2, 0x1000) + dataRecord(0xFFFE, "abcd") + endRecord);
  EXPECT_EQ(run({"-o", ".", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw-00010000.bin"), "cd");
  EXPECT_EQ(folder.read("fw-0001fffe.bin"), "ab");
  EXPECT_THAT(folder.names(),
              ElementsAre("fw-00010000.bin", "fw-0001fffe.bin", "fw.hex"));
}

TEST_F(Qorhex, OffsetsRunOnUnderALinearAddress) {
  const std::string text = dataRecord(0xFFFE, "abcd");
  expectImage(text + endRecord, "abcd");
  expectImage(baseRecord(2, 0) + baseRecord(4, 1) + text + endRecord, "abcd");
}

TEST_F(Qorhex, ARecordMayEndWithTheLastAddress) {
  expectImage(baseRecord(4, 0xFFFF) + dataRecord(0xFFFC, "abcd") + endRecord,
              "abcd");
}

TEST_F(Qorhex, RecordsOfAllLengthsAreRead) {
  Bytes image;
  std::string text = hexRecord(5, 0, "main");
  for (unsigned length = 1; length < 256; ++length) {
    Bytes data(length, static_cast<char>(length));
    data.back() = '\n';
    text += baseRecord(4, static_cast<unsigned>(image.size() >> 16U)) +
            dataRecord(image.size() & 0xFFFFU, data);
    image += data;
  }
  expectImage(text + endRecord, image);
}

// ------------------------------------------------------ Repeats and conflicts

struct mergeCase_t {
  const char* name;
  std::string text;
  Bytes image;
  unsigned repeated;
};

class QorhexMerge : public Qorhex,
                    public testing::WithParamInterface<mergeCase_t> {};

TEST_P(QorhexMerge, KeepsEveryByteOnce) {
  const mergeCase_t& tested = GetParam();
  expectImage(
      tested.text + endRecord, tested.image,
      "qorhex: fw.hex: " + std::to_string(tested.repeated) +
          (tested.repeated == 1 ? " repeated byte" : " repeated bytes") +
          " merged\nqorhex: fw.bin: written\n",
      {"-v"});
}

const mergeCase_t mergeCases[] = {
    {"TheSameRecordTwice", dataRecord(0, "abcd") + dataRecord(0, "abcd"),
     "abcd", 4},
    {"OneByteTwice", dataRecord(0, "a") + dataRecord(0, "a"), "a", 1},
    {"TheSameRecordFourTimes",
     dataRecord(0, "ab") + dataRecord(0, "ab") + dataRecord(0, "ab") +
         dataRecord(0, "ab"),
     "ab", 2},
    {"LaterIsLonger", dataRecord(0, "ab") + dataRecord(0, "abcd"), "abcd", 2},
    {"LaterIsShorter", dataRecord(0, "abcd") + dataRecord(0, "ab"), "abcd", 2},
    {"LongerBetweenShorter",
     dataRecord(0, "ab") + dataRecord(0, "abcde") + dataRecord(0, "abc") +
         dataRecord(5, "f"),
     "abcdef", 3},
    {"OneInsideTheOther", dataRecord(0, "abcdef") + dataRecord(2, "cd"),
     "abcdef", 2},
    {"TheOuterOneLater", dataRecord(2, "cd") + dataRecord(0, "abcdef"),
     "abcdef", 2},
    {"ChainOfThree",
     dataRecord(4, "efgh") + dataRecord(2, "cdef") + dataRecord(0, "abcd"),
     "abcdefgh", 4},
    {"LongOneUnderSeveralShortOnes",
     dataRecord(0, "abcdefghij") + dataRecord(1, "b") + dataRecord(3, "de") +
         dataRecord(8, "ijkl"),
     "abcdefghijkl", 5},
    {"Across64KiB",
     dataRecord(0xFFFE, "abcd") + baseRecord(4, 1) + dataRecord(0, "cdef"),
     "abcdef", 2},
    {"SegmentAgainstLinear",
     baseRecord(4, 1) + dataRecord(0, "abcd") + baseRecord(2, 0x1000) +
         dataRecord(2, "cdef"),
     "abcdef", 2},
    {"TwoSegmentsOfOneAddress",
     baseRecord(2, 0x1000) + dataRecord(0x10, "abcd") + baseRecord(2, 0x1001) +
         dataRecord(0, "abcdef"),
     "abcdef", 4},
    {"WrappedOverItsBeginning",
     baseRecord(2, 0) + dataRecord(0, "cdef") + dataRecord(0xFFFE, "abcd"),
     "cdef" + Bytes(0xFFFA, '\xFF') + "ab", 2},
    {"LongestRecordsShiftedByOne",
     dataRecord(1, Bytes(255, 'x')) + dataRecord(0, Bytes(255, 'x')),
     Bytes(256, 'x'), 254},
    {"BlanksAroundARepeat",
     "  " + dataRecord(0, "abcd").substr(0, 19) + "\t\r\n\n" +
         dataRecord(2, "cdef"),
     "abcdef", 2},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexMerge, testing::ValuesIn(mergeCases),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Qorhex, MergedRepeatsAreOneSegment) {
  folder.write("fw.hex", dataRecord(0, "abcdef") + dataRecord(2, "cd") +
                             dataRecord(0, "abcdefgh") + endRecord);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000007  8  8B\n"
            "total                          8  8B\n");
}

struct conflictCase_t {
  const char* name;
  std::string text;
  std::string place;
  std::string message;
};

class QorhexConflict : public Qorhex,
                       public testing::WithParamInterface<conflictCase_t> {};

TEST_P(QorhexConflict, IsRefusedWithBothPlaces) {
  folder.write("fw.hex", GetParam().text + endRecord);
  expectRefusal({"-b", "fw.bin", "fw.hex"},
                "fw.hex:" + GetParam().place + ": error: byte " +
                    GetParam().message + " in all; --force accepts that\n");
}

const conflictCase_t conflictCases[] = {
    {"InTheMiddle", dataRecord(0x10, "abcd") + "\n" + dataRecord(0x12, "cX"),
     "3:12", "0x58 at 0x00000013 conflicts with 0x64 of fw.hex:1, 1 byte"},
    {"LaterLineStartsLower", dataRecord(2, "X") + dataRecord(0, "abc"), "2:14",
     "0x63 at 0x00000002 conflicts with 0x58 of fw.hex:1, 1 byte"},
    {"SeveralBytes", dataRecord(0, "abcdef") + "  " + dataRecord(1, "XcYZfg"),
     "2:12", "0x58 at 0x00000001 conflicts with 0x62 of fw.hex:1, 3 bytes"},
    {"LowestAddressFirst",
     dataRecord(0x20, "a") + dataRecord(0x20, "b") + dataRecord(0x10, "ab") +
         dataRecord(0x11, "c"),
     "4:10", "0x63 at 0x00000011 conflicts with 0x62 of fw.hex:3, 1 byte"},
    {"LowestAddressIsOfThePieceBehind",
     dataRecord(0, "abcdefgh") + dataRecord(1, "bcdeXXX") + dataRecord(2, "CD"),
     "3:10", "0x43 at 0x00000002 conflicts with 0x63 of fw.hex:1, 2 bytes"},
    {"FirstLineAgainstTheFirstThatDiffers",
     dataRecord(0, "a") + dataRecord(0, "a") + dataRecord(0, "b") +
         dataRecord(0, "c"),
     "3:10", "0x62 at 0x00000000 conflicts with 0x61 of fw.hex:1, 1 byte"},
    {"AcrossTheRepeat",
     dataRecord(4, "x") + dataRecord(0, "abcdx") + dataRecord(3, "dy"), "3:12",
     "0x79 at 0x00000004 conflicts with 0x78 of fw.hex:1, 1 byte"},
    {"WrappedPart",
     baseRecord(2, 0) + dataRecord(0xFFFE, "abcd") + dataRecord(0, "cX"),
     "3:12", "0x58 at 0x00000001 conflicts with 0x64 of fw.hex:2, 1 byte"},
    {"WrappedPartLater",
     baseRecord(2, 0) + dataRecord(0, "cX") + dataRecord(0xFFFE, "abcd"),
     "3:16", "0x64 at 0x00000001 conflicts with 0x58 of fw.hex:2, 1 byte"},
    {"EvenlySteppedLines",
     dataRecord(0, "ab") + "\n" + dataRecord(2, "cd") + "\n" +
         dataRecord(4, "ef") + "\n" + dataRecord(3, "d!f"),
     "7:12", "0x21 at 0x00000004 conflicts with 0x65 of fw.hex:5, 1 byte"},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexConflict,
                         testing::ValuesIn(conflictCases),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Qorhex, DamageComesBeforeConflicts) {
  folder.write("fw.hex", good + dataRecord(0, "X") + "rubbish\n" + endRecord);
  expectRefusal({"fw.hex"},
                "fw.hex:3:1: error: no start code ':' at the beginning\n"
                "rubbish\n"
                "^\n");
}

TEST_F(Qorhex, ForceTakesTheFirstOfOneAddressForTheCommonBytes) {
  expectImage(
      dataRecord(0, "abcd") + dataRecord(0, "ABCDEF") + endRecord, "abcdEF",
      "qorhex: fw.hex: 4 conflicting bytes accepted (--force)\n", {"--force"});
  expectImage(
      dataRecord(0, "aBCDEF") + dataRecord(0, "ab") + endRecord, "aBCDEF",
      "qorhex: fw.hex: 1 conflicting byte accepted (--force)\n", {"--force"});
}

TEST_F(Qorhex, ForceTakesTheHigherStartElsewhere) {
  expectImage(
      dataRecord(2, "CD") + dataRecord(0, "abcdef") + endRecord, "abCDef",
      "qorhex: fw.hex: 2 conflicting bytes accepted (--force)\n", {"--force"});
}

TEST_F(Qorhex, ForceCountsAnAddressOnce) {
  expectImage(
      dataRecord(0, "a") + dataRecord(0, "b") + dataRecord(0, "c") + endRecord,
      "a", "qorhex: fw.hex: 1 conflicting byte accepted (--force)\n",
      {"--force"});
}

TEST_F(Qorhex, ForceSaysNothingWithoutConflicts) {
  expectImage(dataRecord(0, "ab") + dataRecord(1, "bc") + endRecord, "abc", "",
              {"--force"});
}

// ------------------------------------------------------------- Random texts

// A random text, and what it stands for by the rules.
struct randomText_t {
  std::string text;
  std::map<std::uint32_t, char> image;
  unsigned conflicting{0};
};

struct placed_t {
  std::uint32_t address;
  Bytes data;
};

// Lays the pieces over each other: the higher start wins, of one start the
// first in the text.
void layPieces(std::vector<placed_t> pieces, randomText_t& random) {
  std::map<std::uint32_t, bool> differs;
  std::reverse(pieces.begin(), pieces.end());
  std::stable_sort(pieces.begin(), pieces.end(),
                   [](const placed_t& one, const placed_t& two) {
                     return one.address < two.address;
                   });
  for (const placed_t& piece : pieces) {
    for (std::size_t i = 0; i < piece.data.size(); ++i) {
      const auto at = static_cast<std::uint32_t>(piece.address + i);
      const auto known = random.image.find(at);
      if (known != random.image.end() && known->second != piece.data[i]) {
        differs[at] = true;
      }
      random.image[at] = piece.data[i];
    }
  }
  random.conflicting = static_cast<unsigned>(differs.size());
}

// With `consistent`, a byte depends on its address alone.
randomText_t makeRandomText(unsigned seed, bool consistent) {
  std::mt19937 generator(seed);
  const auto below = [&](unsigned limit) {
    return static_cast<unsigned>(generator() % limit);
  };
  randomText_t random;
  std::vector<placed_t> pieces;
  std::uint32_t base = 0;
  bool segmented = false;
  const unsigned range = 40 + below(600);
  const unsigned records = 1 + below(60);
  for (unsigned i = 0; i < records; ++i) {
    if (below(4) == 0) {
      segmented = below(2) == 0;
      // Both kinds of base lie around the edge at 0x10000.
      const unsigned value = segmented ? 0xFF0 + below(32) : below(2);
      base = value * (segmented ? 16 : 0x10000);
      random.text += baseRecord(segmented ? 2 : 4, value);
    }
    const std::uint32_t target = 0x10000 - range / 2 + below(range);
    const std::uint32_t offset = (target - base) & 0xFFFFU;
    Bytes data(1 + below(below(4) == 0 ? 255 : 20), '\0');
    std::vector<placed_t> parts;
    for (std::size_t k = 0; k < data.size(); ++k) {
      const auto linear = static_cast<std::uint32_t>(offset + k);
      const std::uint32_t at = base + (segmented ? linear & 0xFFFFU : linear);
      data[k] = static_cast<char>(consistent ? at * 2654435761U >> 13U
                                             : 'a' + below(2));
      if (k == 0 || (segmented && linear == 0x10000)) {
        parts.push_back({at, {}});
      }
      parts.back().data += data[k];
    }
    pieces.insert(pieces.end(), parts.begin(), parts.end());
    random.text += dataRecord(offset, data);
  }
  random.text += endRecord;
  layPieces(pieces, random);
  return random;
}

// What --output should write, by file name.
std::map<std::string, Bytes> segmentsOf(const randomText_t& random) {
  std::map<std::string, Bytes> files;
  std::string name;
  std::uint32_t expected = 0;
  for (const auto& [address, byte] : random.image) {
    if (name.empty() || address != expected) {
      char text[16];
      snprintf(text, sizeof text, "%08x", address);
      name = std::string("fw-") + text + ".bin";
    }
    files[name] += byte;
    expected = address + 1;
  }
  return files;
}

Bytes flatImageOf(const randomText_t& random) {
  const std::uint32_t first = random.image.begin()->first;
  Bytes image(random.image.rbegin()->first - first + 1, '\xFF');
  for (const auto& [address, byte] : random.image) {
    image[address - first] = byte;
  }
  return image;
}

void checkSegmentFiles(const TemporaryFolder& folder,
                       const std::map<std::string, Bytes>& segments) {
  EXPECT_EQ(folder.names().size(), segments.size() + 1);
  for (const auto& [name, bytes] : segments) {
    EXPECT_EQ(folder.read(name), bytes) << name;
  }
}

void checkRandomTexts(unsigned firstSeed, bool consistent) {
  for (unsigned seed = firstSeed; seed < firstSeed + 100; ++seed) {
    const randomText_t random = makeRandomText(seed, consistent);
    const TemporaryFolder folder;
    folder.write("fw.hex", random.text);
    std::vector<std::string> command{QORHEX_PROGRAM, "-b", "/dev/stdout",
                                     "fw.hex"};
    if (!consistent) {
      command.emplace_back("--force");
    }
    // Every segment costs a sync of the disk.
    const bool segmentFiles = seed % 20 == 0;
    if (segmentFiles) {
      command.insert(command.end(), {"-o", "."});
    }
    const processResult_t result = runProcess(command, folder.path());
    const std::string message =
        "qorhex: fw.hex: " + std::to_string(random.conflicting) +
        (random.conflicting == 1 ? " conflicting byte" : " conflicting bytes") +
        " accepted (--force)\n";
    ASSERT_EQ(result.err, random.conflicting == 0 ? "" : message) << seed;
    ASSERT_EQ(result.status, 0) << seed;
    ASSERT_EQ(result.out, flatImageOf(random)) << seed;
    if (segmentFiles) {
      checkSegmentFiles(folder, segmentsOf(random));
    }
  }
}

TEST(QorhexRandom, ConsistentTextsGiveTheirMemoryImage) {
  checkRandomTexts(1, true);
}

TEST(QorhexRandom, ConflictingTextsFollowTheRules) {
  checkRandomTexts(1000, false);
}

// ------------------------------------------------------------ Other sources

TEST_F(Qorhex, AFifoIsReadOnce) {
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  for (const std::string& text :
       {std::string(sampleText),
        dataRecord(0x102, "CD") + dataRecord(0x100, "ABCD") + endRecord}) {
    const processResult_t result = run({"-b", "fw.bin", "fifo"}, [&] {
      if (fork() == 0) {
        const int fifo = open("fifo", O_WRONLY);
        _exit(write(fifo, text.data(), text.size()) == -1 ? 1 : 0);
      }
    });
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  }
}

TEST_F(Qorhex, StandardInputIsReadThroughItsDevice) {
  const processResult_t result = run({"/dev/stdin"}, [] {
    int ends[2];
    if (pipe(ends) != 0 ||
        write(ends[1], sampleText, sizeof sampleText - 1) == -1) {
      _exit(99);
    }
    close(ends[1]);
    dup2(ends[0], STDIN_FILENO);
  });
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "   no  first       last        size\n"
            "    0  0x00000100  0x00000103  4  4B\n"
            "total                          4  4B\n");
}

// Makes standard input a pipe that holds `text` and stays open; a program that
// waits for its end does not wait for long.
void givePipe(const std::string& text) {
  int ends[2];
  if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) == -1) {
    _exit(99);
  }
  dup2(ends[0], STDIN_FILENO);
  alarm(20);
}

TEST_F(Qorhex, StandardInputIsNotReadBeyondTheEndRecord) {
  for (const char* behind : {"\n", "\r\n", "", "\n:0", "\nrubbish\n", " \t"}) {
    const std::string text = dataRecord(0, "abcd") + ":00000001FF" + behind;
    for (const char* path : {"-", "/dev/stdin"}) {
      const processResult_t result =
          run({"-b", "-", path}, [&text] { givePipe(text); });
      EXPECT_EQ(result.out, "abcd") << behind;
      EXPECT_EQ(result.err, "") << behind;
      EXPECT_EQ(result.status, 0) << behind;
    }
  }
}

TEST_F(Qorhex, LinesOfAPipeAreJudgedAsTheyCome) {
  const processResult_t result =
      run({"-"}, [] { givePipe(good + "rubbish\n"); });
  EXPECT_EQ(result.err,
            "<stdin>:2:1: error: no start code ':' at the beginning\n"
            "rubbish\n"
            "^\n");
  EXPECT_EQ(result.status, 3);
}

TEST_F(Qorhex, StandardInputHasANameAndAStem) {
  folder.write("a.hex", endRecord);
  EXPECT_EQ(run({"-", "a.hex"}, [] { givePipe(sampleText); }).out,
            "<stdin>:\n"
            "   no  first       last        size\n"
            "    0  0x00000100  0x00000103  4  4B\n"
            "total                          4  4B\n"
            "a.hex:\n"
            "total  0\n");
  EXPECT_EQ(run({"-o", ".", "-"}, [] { givePipe(sampleText); }).status, 0);
  EXPECT_EQ(folder.read("stdin-00000100.bin"), "ABCD");
}

TEST_F(Qorhex, APipeGivenTwiceIsWrongUsage) {
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  const processResult_t result = run({"fifo", "./fifo"});
  EXPECT_EQ(result.err,
            "qorhex: the pipe ./fifo is given twice\n"
            "qorhex: try 'qorhex --help'\n");
  EXPECT_EQ(result.status, 2);
}

// What the library would take without a word must not come to it unchecked.
TEST_F(Qorhex, AFileThatIsRenamedOverIsOneOrTheOther) {
  const std::string sound = dataRecord(0, "abcd") + endRecord;
  const std::string conflicting =
      dataRecord(0, "abcd") + dataRecord(2, "XY") + endRecord;
  folder.write("fw.hex", sound);
  std::atomic<bool> done{false};
  std::thread renaming([&] {
    while (!done) {
      for (const std::string& text : {conflicting, sound}) {
        folder.write("new", text);
        std::filesystem::rename(folder.path("new"), folder.path("fw.hex"));
        usleep(500);
      }
    }
  });
  int taken = 0;
  for (int i = 0; i < 100; ++i) {
    const processResult_t result = run({"-b", "-", "fw.hex"});
    EXPECT_EQ(result.status, result.out == "abcd" ? 0 : 3);
    EXPECT_EQ(result.out.empty(), result.status != 0);
    taken += result.status == 0 ? 1 : 0;
  }
  done = true;
  renaming.join();
  EXPECT_GT(taken, 0);
}

TEST_F(Qorhex, ABadLineOfAPipeIsShown) {
  expectRefusal(
      {"/dev/stdin"},
      "/dev/stdin:2:20: error: the text ends without an end record\n"
      ":0401000041424344F1\n"
      "                   ^\n",
      [] {
        int ends[2];
        const std::string text = "\n:0401000041424344F1\n";
        if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) == -1) {
          _exit(99);
        }
        close(ends[1]);
        dup2(ends[0], STDIN_FILENO);
      });
}

// Made a controlling terminal, the FILE would answer to /dev/tty as well.
TEST_F(Qorhex, ATerminalIsReadWithoutBecomingTheControllingOne) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_NE(terminal, -1);
  ASSERT_EQ(grantpt(terminal), 0);
  ASSERT_EQ(unlockpt(terminal), 0);
  const std::string name = ptsname(terminal);
  const int other = open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_NE(other, -1);
  // Once for each FILE, so that a failing test does not wait.
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(write(terminal, sampleText, sizeof sampleText - 1),
              static_cast<ssize_t>(sizeof sampleText - 1));
  }
  const processResult_t result =
      run({name, "/dev/tty"}, [] { static_cast<void>(setsid()); });
  EXPECT_EQ(result.err, "qorhex: /dev/tty: No such device or address\n");
  EXPECT_THAT(result.out, testing::HasSubstr("0x00000100  0x00000103"));
  EXPECT_EQ(result.status, 4);
  close(other);
  close(terminal);
}

TEST_F(Qorhex, NothingNeedsProc) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer reads /proc";
#endif
  constexpr int notAllowed = 77;
  folder.write("fw.hex", sampleText);
  folder.write("fw.bin", "old");
  std::filesystem::create_directory(folder.path("out"));
  const auto hideProc = [] {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", "/proc", "tmpfs", 0, nullptr) != 0) {
      _exit(notAllowed);
    }
    // The loader asks /proc where the program is.
    setenv("LD_LIBRARY_PATH", QORHEX_LIBRARIES, 1);
  };
  const processResult_t result =
      run({"-b", "fw.bin", "-o", "out", "-x", "fw.hex"}, hideProc);
  if (result.status == notAllowed) {
    GTEST_SKIP() << "/proc cannot be hidden here";
  }
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  EXPECT_EQ(folder.read("out/fw-00000100.bin"), "ABCD");
}

// ------------------------------------------------------------------ Writing

const std::string sparseText = dataRecord(0, "abcd") + baseRecord(4, 0xFFFF) +
                               dataRecord(0xFFF0, "efgh") + endRecord;

TEST_F(Qorhex, OutputWritesEverySegmentOfASparseImage) {
  folder.write("sub.fw.hex", sparseText);
  std::filesystem::create_directory(folder.path("out"));
  const processResult_t result = run({"--output=out", "./sub.fw.hex"});
  EXPECT_LT(result.peakMemory, 256 << 10);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("out/sub.fw-00000000.bin"), "abcd");
  EXPECT_EQ(folder.read("out/sub.fw-fffffff0.bin"), "efgh");
  EXPECT_THAT(folder.names(), ElementsAre("out", "sub.fw.hex"));
}

TEST_F(Qorhex, BinaryRefusesASpanBeyondTheLimit) {
  folder.write("fw.hex", sparseText);
  expectRefusal(
      {"-b", "fw.bin", "fw.hex"},
      "qorhex: fw.hex: the image spans 4294967284 bytes (4GiB) from "
      "0x00000000 to 0xfffffff3, more than the 268435456 (256MiB) that "
      "--max-size allows for --binary\n");
  expectRefusal({"-b", "fw.bin", "-o", ".", "--max-size=1K", "fw.hex"},
                "qorhex: fw.hex: the image spans 4294967284 bytes (4GiB) from "
                "0x00000000 to 0xfffffff3, more than the 1024 (1KiB) that "
                "--max-size allows for --binary\n");
}

TEST_F(Qorhex, ASpanBeyondTheLimitNamesStandardInput) {
  folder.write("fw.hex", sparseText);
  const auto takeFile = [this] {
    const int descriptor = open(folder.path("fw.hex").c_str(), O_RDONLY);
    dup2(descriptor, STDIN_FILENO);
  };
  expectRefusal(
      {"-b", "fw.bin", "-"},
      "qorhex: <stdin>: the image spans 4294967284 bytes (4GiB) from "
      "0x00000000 to 0xfffffff3, more than the 268435456 (256MiB) that "
      "--max-size allows for --binary\n",
      takeFile);
}

TEST_F(Qorhex, TheLimitItselfIsAllowed) {
  folder.write("fw.hex",
               dataRecord(0, "a") + dataRecord(0x3FF, "b") + endRecord);
  EXPECT_EQ(run({"-b", "fw.bin", "--max-size=1023", "fw.hex"}).status, 3);
  EXPECT_EQ(run({"-b", "fw.bin", "--max-size=1K", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw.bin"), 'a' + Bytes(1022, '\xFF') + 'b');
}

TEST_F(Qorhex, LongGapsAreFilled) {
  expectImage(
      dataRecord(1, "a") + baseRecord(4, 3) + dataRecord(7, "b") + endRecord,
      'a' + Bytes(0x30005, '\xFF') + 'b');
}

TEST_F(Qorhex, LargeImagesArriveWhole) {
  std::mt19937 generator(7);
  Bytes image;
  std::string text;
  for (unsigned i = 0; i < 12000; ++i) {
    Bytes data(16, '\0');
    std::generate(data.begin(), data.end(),
                  [&] { return static_cast<char>(generator()); });
    if (image.size() % 0x10000 == 0) {
      text += baseRecord(4, static_cast<unsigned>(image.size() >> 16U));
    }
    text += dataRecord(image.size() & 0xFFFFU, data);
    image += data;
  }
  expectImage(text + endRecord, image);
  expectImage(text + hexRecord(5, 0, "main") + endRecord, image);
  std::reverse(image.begin(), image.end());
  expectImage(text + endRecord, image, "", {"-r"});
}

TEST_F(Qorhex, LinesMayBeCutAnywhereBetweenTwoReads) {
  Bytes image;
  std::string text;
  while (text.size() < large) {  // of which 128 KiB are read at a time
    const Bytes data(16, static_cast<char>(image.size() >> 4U));
    if (image.size() % 0x10000 == 0) {
      text += baseRecord(4, static_cast<unsigned>(image.size() >> 16U));
    }
    text += dataRecord(image.size() & 0xFFFFU, data);
    text.insert(text.size() - 1, "\r");
    image += data;
  }
  // Every blank moves the edges of the pieces by one character.
  for (std::size_t count = 0; count < 46; ++count) {
    folder.write("fw.hex", blanks(count) + text + endRecord);
    const processResult_t result = run({"-b", "-", "fw.hex"});
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out == image) << count;
  }
}

TEST_F(Qorhex, AnEmptyImageGivesAnEmptyBinaryAndNoSegments) {
  expectImage(endRecord, "");
  EXPECT_EQ(run({"-o", ".", "fw.hex"}).status, 0);
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(Qorhex, ReverseTurnsEachSegmentAsOneSequence) {
  const std::string text = dataRecord(0xFFFE, "ab") + baseRecord(4, 1) +
                           dataRecord(0, "cd") + dataRecord(6, "xyz") +
                           endRecord;
  expectImage(text, "dcba\xFF\xFF\xFF\xFFzyx", "", {"-r"});
  EXPECT_EQ(run({"-r", "-o", ".", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw-0000fffe.bin"), "dcba");
  EXPECT_EQ(folder.read("fw-00010006.bin"), "zyx");
}

TEST_F(Qorhex, ManySegmentsAreListed) {
  std::string text;
  for (unsigned i = 0; i < 300; ++i) {
    text += dataRecord(i * 3, "ab");
  }
  folder.write("fw.hex", text + endRecord);
  const std::string listing = run({"fw.hex"}).out;
  EXPECT_EQ(std::count(listing.begin(), listing.end(), '\n'), 302);
  EXPECT_NE(listing.find("\n  299  0x00000381  0x00000382    2    2B\n"),
            std::string::npos);
}

TEST_F(Qorhex, AListingThatMemoryDoesNotHoldIsAnError) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer needs more address space than the limits";
#endif
  std::string text;
  for (unsigned i = 0; i < 20000; ++i) {
    text += dataRecord(i * 3, "a");
  }
  folder.write("fw.hex", text + endRecord);
  const std::string whole = run({"fw.hex"}).out;
  for (rlim_t limit = 6 << 20; limit <= 16 << 20; limit += 512 << 10) {
    const processResult_t result = run({"fw.hex"}, [limit] {
      const rlimit space{limit, limit};
      setrlimit(RLIMIT_AS, &space);
    });
    EXPECT_EQ(result.out, result.status == 0 ? whole : "") << limit;
    EXPECT_EQ(result.err.empty(), result.status == 0) << limit;
  }
}

TEST_F(Qorhex, ManySegmentsAreWritten) {
  std::string text;
  for (unsigned i = 0; i < 40; ++i) {
    text += dataRecord(i * 3, "ab");
  }
  folder.write("fw.hex", text + endRecord);
  EXPECT_EQ(run({"-o", ".", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.names().size(), 41U);
  EXPECT_EQ(folder.read("fw-00000075.bin"), "ab");
}

TEST_F(Qorhex, TheBinaryMayHaveTheNameOfASegmentElsewhere) {
  folder.write("fw.hex", good + endRecord);
  std::filesystem::create_directory(folder.path("o"));
  EXPECT_EQ(run({"-o", "o", "-b", "fw-00000000.bin", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw-00000000.bin"), "abcd");
  EXPECT_EQ(folder.read("o/fw-00000000.bin"), "abcd");
}

TEST_F(Qorhex, TheOutputFolderMustExist) {
  folder.write("fw.hex", sampleText);
  expectFailure({"-o", "none", "fw.hex"},
                "qorhex: none: No such file or directory\n");
  expectFailure({"-o", "fw.hex", "fw.hex"},
                "qorhex: fw.hex: Not a directory\n");
  expectFailure({"-b", "none/fw.bin", "fw.hex"},
                "qorhex: none/fw.bin: No such file or directory\n");
}

TEST_F(Qorhex, AFolderIsNoTarget) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_directory(folder.path("fw.bin"));
  expectFailure({"-b", "fw.bin", "fw.hex"}, "qorhex: fw.bin: Is a directory\n");
}

TEST_F(Qorhex, ANewFileHasTheModeOfTheUmask) {
  folder.write("fw.hex", sampleText);
  EXPECT_EQ(run({"-b", "fw.bin", "fw.hex"}, [] { umask(027); }).status, 0);

  struct stat status {};

  ASSERT_EQ(stat(folder.path("fw.bin").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(Qorhex, AReplacedFileKeepsItsMode) {
  folder.write("fw.hex", sampleText);
  folder.write("fw.bin", "old and longer");
  chmod(folder.path("fw.bin").c_str(), 0751);
  EXPECT_EQ(run({"-b", "fw.bin", "fw.hex"}, [] { umask(077); }).status, 0);

  struct stat status {};

  ASSERT_EQ(stat(folder.path("fw.bin").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0751U);
  EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  EXPECT_THAT(folder.names(), ElementsAre("fw.bin", "fw.hex"));
}

TEST_F(Qorhex, SymbolicLinksAreFollowed) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_directory(folder.path("sub"));
  folder.write("sub/real.bin", "old");
  std::filesystem::create_symlink("real.bin", folder.path("sub/inner"));
  std::filesystem::create_symlink("sub/inner", folder.path("outer"));
  EXPECT_EQ(run({"-b", "outer", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("sub/real.bin"), "ABCD");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("outer")));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("sub/inner")));
}

TEST_F(Qorhex, ADanglingLinkIsFollowed) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_directory(folder.path("sub"));
  std::filesystem::create_symlink(folder.path("sub/new.bin"),
                                  folder.path("link"));
  EXPECT_EQ(run({"-b", "link", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("sub/new.bin"), "ABCD");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
}

TEST_F(Qorhex, ALoopOfLinksIsAnError) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_symlink("b", folder.path("a"));
  std::filesystem::create_symlink("a", folder.path("b"));
  expectFailure({"-b", "a", "fw.hex"},
                "qorhex: a: Too many levels of symbolic links\n");
}

TEST_F(Qorhex, AFullDeviceIsAnError) {
  folder.write("fw.hex", sampleText);
  expectFailure({"-b", "/dev/full", "fw.hex"},
                "qorhex: /dev/full: No space left on device\n");
}

TEST_F(Qorhex, StandardOutputTakesTheImage) {
  folder.write("fw.hex", sampleText);
  const processResult_t result = run({"-b", "/dev/stdout", "fw.hex"});
  EXPECT_EQ(result.out, "ABCD");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, AppendedStandardOutputKeepsWhatItHolds) {
  folder.write("fw.hex", sampleText);
  folder.write("all.bin", "before ");
  const processResult_t result = run({"-b", "/dev/stdout", "fw.hex"}, [] {
    dup2(open("all.bin", O_WRONLY | O_APPEND), STDOUT_FILENO);
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("all.bin"), "before ABCD");
}

TEST_F(Qorhex, AFifoTakesTheImage) {
  folder.write("fw.hex", sampleText);
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  const int reader = open(folder.path("fifo").c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(run({"-b", "fifo", "fw.hex"}).status, 0);
  char text[16];
  EXPECT_EQ(read(reader, text, sizeof text), 4);
  EXPECT_EQ(Bytes(text, 4), "ABCD");
  close(reader);
  EXPECT_THAT(folder.names(), ElementsAre("fifo", "fw.hex"));
}

// A disk with room for `size` bytes per file.
std::function<void()> fileLimit(rlim_t size) {
  return [size] {
    const rlimit limit{size, size};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
}

TEST_F(Qorhex, AFailedWriteLeavesTheOldFile) {
  folder.write("fw.hex", dataRecord(0, Bytes(200, 'n')) + endRecord);
  folder.write("fw.bin", "old");
  expectFailure({"-b", "fw.bin", "fw.hex"}, "qorhex: fw.bin: File too large\n",
                fileLimit(100));
  EXPECT_EQ(folder.read("fw.bin"), "old");
}

TEST_F(Qorhex, AFailedSegmentLeavesAllTheOldFiles) {
  folder.write("fw.hex", dataRecord(0, "new") +
                             dataRecord(0x100, Bytes(200, 'n')) + endRecord);
  folder.write("fw-00000000.bin", "old");
  expectFailure({"-o", ".", "fw.hex"},
                "qorhex: ./fw-00000100.bin: File too large\n", fileLimit(100));
  EXPECT_EQ(folder.read("fw-00000000.bin"), "old");
}

// Sends `signals` to the program as soon as it has a temporary file. It waits
// for a reader of the FIFO then, which never comes.
void endWhenTemporaryExists(const std::vector<int>& signals) {
  const pid_t program = getpid();
  if (fork() != 0) {
    return;
  }
  const auto isTemporary = [](const std::filesystem::directory_entry& entry) {
    return entry.path().filename().string().rfind(".qorhex-", 0) == 0;
  };
  for (const std::filesystem::directory_iterator end;
       std::find_if(std::filesystem::directory_iterator("."), end,
                    isTemporary) == end;) {
    usleep(1000);
  }
  for (const int number : signals) {
    kill(program, number);
  }
  _exit(0);
}

class QorhexSignal : public Qorhex, public testing::WithParamInterface<int> {};

TEST_P(QorhexSignal, LeavesNoTemporaryFileAndTheOldOnes) {
  folder.write("fw.hex", sparseText);
  folder.write("fw-fffffff0.bin", "old");
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  const processResult_t result =
      run({"-o", ".", "-b", "fifo", "--max-size=4G", "fw.hex"}, [] {
        // The surroundings of the test may ignore it, or want a core.
        std::signal(GetParam(), SIG_DFL);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        endWhenTemporaryExists({GetParam()});
      });
  EXPECT_EQ(result.status, 1000 + GetParam());
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(folder.names(), ElementsAre("fifo", "fw-fffffff0.bin", "fw.hex"));
  EXPECT_EQ(folder.read("fw-fffffff0.bin"), "old");
}

INSTANTIATE_TEST_SUITE_P(Ending, QorhexSignal,
                         testing::Values(SIGHUP, SIGINT, SIGQUIT, SIGPIPE,
                                         SIGTERM),
                         [](const auto& tested) {
                           return "Signal" + std::to_string(tested.param);
                         });

TEST_F(Qorhex, SignalsIgnoredAtTheStartStayIgnored) {
  folder.write("fw.hex", sparseText);
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  // Of several signals the one of the lowest number arrives first.
  const processResult_t result =
      run({"-o", ".", "-b", "fifo", "--max-size=4G", "fw.hex"}, [] {
        std::signal(SIGHUP, SIG_IGN);
        std::signal(SIGINT, SIG_IGN);
        std::signal(SIGTERM, SIG_DFL);
        endWhenTemporaryExists({SIGHUP, SIGINT, SIGTERM});
      });
  EXPECT_EQ(result.status, 1000 + SIGTERM);
  EXPECT_THAT(folder.names(), ElementsAre("fifo", "fw.hex"));
}

TEST_F(Qorhex, AClosedPipeLeavesNoTemporaryFile) {
  folder.write("fw.hex", sampleText);
  const auto closePipe = [] {
    int ends[2];
    if (pipe(ends) != 0) {
      _exit(99);
    }
    std::signal(SIGPIPE, SIG_DFL);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
  };
  const processResult_t result =
      run({"-o", ".", "-b", "/dev/stdout", "fw.hex"}, closePipe);
  EXPECT_EQ(result.status, 1000 + SIGPIPE);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(Qorhex, ProgressIsToldInTenths) {
  folder.write("fw.hex", sampleText);
  const processResult_t result = run({"-p", "-b", "fw.bin", "fw.hex"});
  EXPECT_EQ(result.err,
            "qorhex: fw.hex: read 100%\n"
            "qorhex: fw.bin: written 100%\n");
  EXPECT_EQ(result.out, "");
  std::string text;
  for (unsigned i = 0; i < 8192; ++i) {
    text += (i % 4096 == 0 ? baseRecord(4, i / 4096) : "") +
            dataRecord(i % 4096 * 16, "0123456789abcdef");
  }
  folder.write("fw.hex", text + endRecord);
  EXPECT_EQ(run({"--progress", "fw.hex"}).err,
            "qorhex: fw.hex: read 30%\n"
            "qorhex: fw.hex: read 70%\n"
            "qorhex: fw.hex: read 100%\n");
}

TEST_F(Qorhex, ProgressIsThatOfTheBytesWritten) {
  folder.write("fw.hex",
               dataRecord(0, "a") + dataRecord(0x9FF, "b") + endRecord);
  EXPECT_EQ(run({"-p", "-b", "fw.bin", "fw.hex"}).err,
            "qorhex: fw.hex: read 100%\n"
            "qorhex: fw.bin: written 90%\n"
            "qorhex: fw.bin: written 100%\n");
  EXPECT_EQ(run({"-p", "-o", ".", "fw.hex"}).err,
            "qorhex: fw.hex: read 100%\n"
            "qorhex: ./fw-00000000.bin: written 100%\n"
            "qorhex: ./fw-000009ff.bin: written 100%\n");
}

// ------------------------------------------------------------------- Strict

TEST_F(Qorhex, StrictReadsPlainText) {
  expectImage(sampleText, "ABCD", "", {"--strict"});
}

TEST_F(Qorhex, StrictLeavesTheMessagesToTheLibrary) {
  folder.write("fw.hex", hexRecord(5, 0, "main") + endRecord);
  const processResult_t result = run({"--strict", "-b", "fw.bin", "fw.hex"});
  EXPECT_EQ(result.out, hexRecord(5, 0, "main"));
  EXPECT_EQ(result.err,
            "#ERROR: unsupported record type found (5)\n"
            "qorhex: fw.hex: the library cannot load this file\n");
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(Qorhex, StrictKeepsTheImageOnStandardOutputClean) {
  folder.write("fw.hex", hexRecord(5, 0, "main") + endRecord);
  for (const char* target : {"-", "/dev/stdout"}) {
    const processResult_t result = run({"--strict", "-b", target, "fw.hex"});
    EXPECT_EQ(result.out, "") << target;
    EXPECT_EQ(result.err,
              hexRecord(5, 0, "main") +
                  "#ERROR: unsupported record type found (5)\n"
                  "qorhex: fw.hex: the library cannot load this file\n");
  }
}

TEST_F(Qorhex, StrictTakesARecordWithoutDataWithTheLibrarysWarning) {
  expectImage(dataRecord(0, "ab") + dataRecord(0x10, "") + endRecord, "ab",
              "#ERROR: line.data.size() is zero\n", {"--strict"});
  folder.write("fw.hex", dataRecord(0, "") + endRecord);
  expectRefusal({"--strict", "fw.hex"},
                "#ERROR: corrupt line data in line \":0000000000\"\n"
                "qorhex: fw.hex: the library cannot load this file\n");
}

TEST_F(Qorhex, StrictNamesTheFileOfAnException) {
  folder.write("fw.hex", ":0400000041\n");
  folder.write("odd.hex", ":0400000041424\n");
  const processResult_t result = run({"--strict", "odd.hex"});
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err,
              testing::MatchesRegex("qorhex: odd.hex: the library cannot load "
                                    "this file: .+\n"));
  EXPECT_EQ(result.status, 3);
}

TEST_F(Qorhex, StrictNamesAMissingFile) {
  expectFailure({"--strict", "none.hex"},
                "#ERROR: failed to open \"none.hex\"\n"
                "qorhex: none.hex: the library cannot load this file\n");
}

TEST_F(Qorhex, StrictLaysLaterBlocksOverEarlierOnes) {
  const std::string text = dataRecord(0, "abcdefgh") + dataRecord(2, "CDE") +
                           dataRecord(4, "5") + dataRecord(8, "i") + endRecord;
  expectImage(text, "abCD5fghi", "", {"--strict"});
  expectImage(text, "ihgf5DCba", "", {"--strict", "-r"});
  EXPECT_EQ(run({"--strict", "fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000008  9  9B\n"
            "total                          9  9B\n");
}

}  // namespace
