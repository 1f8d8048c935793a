// SPDX-License-Identifier: MIT
//
// qorhex --strict.

#include <cstring>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

TEST_F(Qorhex, StrictReadsPlainText) {
  expectImage(sampleText, "ABCD", "", {"--strict"});
}

TEST_F(Qorhex, StrictLeavesTheMessagesToTheLibrary) {
  folder.write("fw.hex", recordLine(5, 0, "main") + endLine);
  const processResult_t result = run({"--strict", "-b", "fw.bin", "fw.hex"});
  EXPECT_EQ(result.out, recordLine(5, 0, "main"));
  EXPECT_EQ(result.err,
            "#ERROR: unsupported record type found (5)\n"
            "qorhex: fw.hex: the library cannot load this file\n");
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(Qorhex, StrictKeepsTheImageOnStandardOutputClean) {
  folder.write("fw.hex", recordLine(5, 0, "main") + endLine);
  for (const char* target : {"-", "/dev/stdout"}) {
    const processResult_t result = run({"--strict", "-b", target, "fw.hex"});
    EXPECT_EQ(result.out, "") << target;
    EXPECT_EQ(result.err,
              recordLine(5, 0, "main") +
                  "#ERROR: unsupported record type found (5)\n"
                  "qorhex: fw.hex: the library cannot load this file\n");
  }
}

// Another file of the same file system is not standard output.
TEST_F(Qorhex, StrictLeavesStandardOutputAloneWhereTheImageGoesElsewhere) {
  folder.write("fw.hex", recordLine(5, 0, "main") + endLine);
  folder.write("fw.bin", "old");
  const processResult_t result =
      run({"--strict", "-b", "fw.bin", "fw.hex"},
          [] { dup2(creat("out", 0600), STDOUT_FILENO); });
  EXPECT_EQ(result.err,
            "#ERROR: unsupported record type found (5)\n"
            "qorhex: fw.hex: the library cannot load this file\n");
  EXPECT_EQ(folder.read("out"), recordLine(5, 0, "main"));
}

TEST_F(Qorhex, StrictTakesARecordWithoutDataWithTheLibrarysWarning) {
  expectImage(dataLine(0, "ab") + dataLine(0x10, "") + endLine, "ab",
              "#ERROR: line.data.size() is zero\n", {"--strict"});
  folder.write("fw.hex", dataLine(0, "") + endLine);
  expectRefusal({"--strict", "fw.hex"},
                "#ERROR: corrupt line data in line \":0000000000\"\n"
                "qorhex: fw.hex: the library cannot load this file\n");
}

// The library takes it; the bytes behind the edge would come to lie at 0.
TEST_F(Qorhex, StrictRefusesDataBeyondTheLastAddress) {
  const std::string low = dataLine(0, "UUUU");
  const std::string edge = upperLine(0xFFFF);
  const std::string message =
      "qorhex: fw.hex: the data passes the address 0xffffffff; without "
      "--strict the line is told\n";
  folder.write("good.hex", edge + dataLine(0xFFF8, "abcdefgh") + endLine);
  for (const std::string& text :
       {low + edge + dataLine(0xFFF8, "abcdefghijklmnop") + endLine,
        edge + dataLine(0xFFFF, "ab") + endLine,
        edge + dataLine(0xFFF8, "abcdefgh") + dataLine(0xFFFF, "hi") +
            endLine}) {
    folder.write("fw.hex", text);
    expectRefusal({"--strict", "--ihex=o.hex", "fw.hex"}, message);
    expectRefusal({"--strict", "fw.hex"}, message);
    expectRefusal({"--strict", "--diff", "fw.hex", "good.hex"}, message);
  }
  EXPECT_EQ(run({"--strict", "-b", "-", "good.hex"}).out, "abcdefgh");
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
  const std::string text = dataLine(0, "abcdefgh") + dataLine(2, "CDE") +
                           dataLine(4, "5") + dataLine(8, "i") + endLine;
  expectImage(text, "abCD5fghi", "", {"--strict"});
  expectImage(text, "ihgf5DCba", "", {"--strict", "-r"});
  EXPECT_EQ(run({"--strict", "fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000008  9  9B\n"
            "total                          9  9B\n");
}

// What is left of the second block lies behind the third.
TEST_F(Qorhex, StrictLaysABlockOverTheOneThatIsBehindAnother) {
  expectImage(dataLine(0, "abcdefgh") + dataLine(1, "BCDEFGHIJK") +
                  dataLine(3, "4") + endLine,
              "aBC4EFGHIJK", "", {"--strict"});
}

}  // namespace
