// SPDX-License-Identifier: MIT
//
// The table of segments, and what becomes of standard output and error.

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(Qorhex, ListsSegmentsInAlignedColumns) {
  folder.write("fw.hex", dataLine(0x100, std::string(64, 'a')) +
                             baseLine(4, 0xFFFF) +
                             dataLine(0xFFF0, "0123456789abcdef") + endLine);
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
  folder.write("fw.hex", endLine);
  const processResult_t result = run({"fw.hex"});
  EXPECT_EQ(result.out, "total  0\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, ListsSizesUnderEachOther) {
  folder.write("fw.hex", dataLine(0, std::string(100, 'a')) +
                             dataLine(0x1000, "b") + endLine);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000063  100  100B\n"
            "    1  0x00001000  0x00001000    1    1B\n"
            "total                          101  101B\n");
}

TEST_F(Qorhex, ListsSizesInReadableUnitsToo) {
  std::string text;
  for (unsigned at = 0; at < 0x600; at += 0x80) {
    text += dataLine(at, std::string(0x80, 'a'));
  }
  text += dataLine(0x1000, std::string(0x10, 'b')) + baseLine(4, 1);
  for (unsigned at = 0; at < 0x10000; at += 0x80) {
    text += dataLine(at, std::string(0x80, 'c'));
  }
  folder.write("fw.hex", text + endLine);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last         size\n"
            "    0  0x00000000  0x000005ff   1536      1.5KiB\n"
            "    1  0x00001000  0x0000100f     16         16B\n"
            "    2  0x00010000  0x0001ffff  65536       64KiB\n"
            "total                          67088  65.5156KiB\n");
}

TEST_F(Qorhex, JoinsSegmentsAcross64KiB) {
  folder.write("fw.hex", dataLine(0xFFFC, "abcd") + baseLine(4, 1) +
                             dataLine(0, "efgh") + endLine);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x0000fffc  0x00010003  8  8B\n"
            "total                          8  8B\n");
}

TEST_F(Qorhex, ListsSeveralFilesUnderTheirNames) {
  folder.write("a.hex", sampleText);
  folder.write("b.hex", endLine);
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
  folder.write("abcdLine.hex", sampleText);
  folder.write("bad.hex", "rubbish\n");
  EXPECT_EQ(run({"abcdLine.hex", "bad.hex", "abcdLine.hex"}).status, 3);
  EXPECT_EQ(run({"none.hex", "bad.hex"}).status, 4);
  EXPECT_EQ(run({"bad.hex", "none.hex", "abcdLine.hex"}).status, 4);
}

TEST_F(Qorhex, NamesAreEscapedWhereverTheyStand) {
  const std::string hostile = "\x1b[31m\\\n\xC2\x9B\xFF\xC3\xA4.hex";
  const std::string shown = "\\x1b[31m\\x5c\\x0a\\xc2\\x9b\\xff\xC3\xA4.hex";
  expectFailure({hostile},
                "qorhex: " + shown + ": No such file or directory\n");
  folder.write(hostile, dataLine(0, "a") + dataLine(0, "b") + endLine);
  expectRefusal({hostile}, shown +
                               ":2:10: error: byte 0x62 at 0x00000000 "
                               "conflicts with 0x61 of " +
                               shown +
                               ":1, 1 byte in all; --force accepts that\n");
  EXPECT_EQ(run({"--force", hostile}).err,
            "qorhex: " + shown + ": 1 conflicting byte accepted (--force)\n");
  folder.write("a.hex", endLine);
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
  folder.write("a.hex", abcdLine + "rubbish\n");
  folder.write("b.hex",
               recordLine(5, 0, "main") + abcdLine + abcdLine + endLine);
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
                          "beginning; every line is a record, comments are not "
                          "understood\nrubbish\n^\n",
                          "qorhex: b.hex: start address 0x6d61696e\n",
                          "qorhex: b.hex: 4 repeated bytes merged\n",
                          "qorhex: ./b-00000000.bin: written\n",
                          "qorhex: unknown or ambiguous option: '--nonsense'\n"
                          "qorhex: try 'qorhex --help'\n"));
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
