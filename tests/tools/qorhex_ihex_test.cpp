// SPDX-License-Identifier: MIT
//
// The program qorhex with --ihex.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

constexpr unsigned startSegment = 3;
constexpr unsigned startLinear = 5;

class QorhexIhex : public QorhexProgram {
 protected:
  // Expects the text of --ihex for the text `in`.
  void expectHex(const std::string& in, const std::string& out,
                 std::vector<std::string> options = {}) const {
    folder.write("fw.hex", in);
    options.insert(options.end(), {"--ihex=out.hex", "fw.hex"});
    expectRun(options, 0, {});
    EXPECT_EQ(folder.read("out.hex"), out);
  }
};

TEST_F(QorhexIhex, RecordsHaveSixteenBytesFromTheSegmentsStart) {
  expectHex(dataLine(0x13, "ab") + dataLine(0x15, std::string(18, 'c')) +
                dataLine(0x40, "z") + endLine,
            dataLine(0x13, "ab" + std::string(14, 'c')) +
                dataLine(0x23, "cccc") + dataLine(0x40, "z") + endLine);
}

TEST_F(QorhexIhex, EdgesOf64KiBBeginARecordAndAnUpperHalf) {
  const std::string text = dataLine(0xFFFC, "abcd") + upperLine(1) +
                           dataLine(0, "efgh") + upperLine(0xFFFF) +
                           dataLine(0xFFFC, "wxyz") + endLine;
  expectHex(text, text);
}

TEST_F(QorhexIhex, StartAddressesAreKeptAsTheyWereRead) {
  const std::string linear = recordLine(startLinear, 0, "\x12\x34\x56\x78");
  const std::string segment =
      recordLine(startSegment, 0, std::string("\x7E\0\0\1", 4));
  expectHex(linear + dataLine(0, "ab") + segment + endLine,
            dataLine(0, "ab") + linear + segment + endLine);
  expectHex(linear + dataLine(0, "ab") + endLine,
            dataLine(0, "ab") + linear + endLine, {"--range=0+8"});
}

TEST_F(QorhexIhex, TakesWhatOtherOptionsMakeOfTheImage) {
  const std::string text =
      dataLine(0, "abcdef") + dataLine(0x20, "xyz") + endLine;
  expectHex(text, dataLine(1, "dcb") + dataLine(0x20, "zyx") + endLine,
            {"-r", "--range=1-3", "--range=0x20-0x2f"});
}

TEST_F(QorhexIhex, AFileWithoutDataHasAnEndRecordAlone) {
  expectHex(endLine, endLine);
}

TEST_F(QorhexIhex, StandardOutputTakesTheTextAlone) {
  folder.write("fw.hex", dataLine(0, "ab") + endLine);
  expectRun({"--ihex=-", "-b", "fw.bin", "-v", "fw.hex"}, 0,
            dataLine(0, "ab") + endLine,
            "qorhex: fw.bin: written\nqorhex: standard output: written\n");
  EXPECT_EQ(folder.read("fw.bin"), "ab");
}

TEST_F(QorhexIhex, StandardInputGoesToStandardOutput) {
  folder.write("fw.hex", dataLine(0, "ab") + endLine);
  expectRun({"--ihex=-", "-"}, 0, dataLine(0, "ab") + endLine, {}, [this] {
    const std::string path = folder.path("fw.hex");
    if (::dup2(::open(path.c_str(), O_RDONLY), 0) != 0) {
      ::_exit(99);
    }
  });
}

TEST_F(QorhexIhex, TheLibrarysMessagesStayOutOfTheText) {
  folder.write("fw.hex", dataLine(0, "ab"));
  const processResult_t result = run({"--strict", "--ihex=-", "fw.hex"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err, "");
}

TEST_F(QorhexIhex, ARefusedFileLeavesTheOldOneAlone) {
  folder.write("fw.hex", dataLine(0, "ab"));
  folder.write("out.hex", "old");
  EXPECT_EQ(run({"--ihex=out.hex", "fw.hex"}).status, 3);
  EXPECT_EQ(folder.read("out.hex"), "old");
}

TEST_F(QorhexIhex, TheInputIsNoOutput) {
  folder.write("\x1b.hex", dataLine(0, "ab") + endLine);
  expectRun({"--ihex=./\x1b.hex", "\x1b.hex"}, 2, {},
            "qorhex: ./\\x1b.hex: the output is the input \\x1b.hex\n");
  expectRun({"--ihex=x", "-b", "x", "\x1b.hex"}, 2, {},
            "qorhex: x: the output is the same file as the output x\n");
  EXPECT_THAT(folder.names(), ElementsAre("\x1b.hex"));
}

// The test files that the tool takes.
std::vector<std::string> hexFiles() {
  std::vector<std::string> files;
  for (const auto& entry :
       std::filesystem::directory_iterator(QORUTIL_TEST_DATA "/hex")) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".hex" || extension == ".ihex" || extension == ".ihx") {
      files.push_back(entry.path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST_F(QorhexIhex, RealFilesComeBackTheSame) {
  unsigned taken = 0;
  for (const std::string& file : hexFiles()) {
    if (run({"--ihex=out.hex", file}).status != 0) {
      continue;
    }
    ++taken;
    EXPECT_EQ(run({"-x", "out.hex"}).out, run({"-x", file}).out) << file;
    run({"--ihex=again.hex", "out.hex"});
    EXPECT_EQ(folder.read("again.hex"), folder.read("out.hex")) << file;
    // The library refuses start addresses.
    const std::string text = folder.read("out.hex");
    if (text.find("\n:04000003") == std::string::npos &&
        text.find("\n:04000005") == std::string::npos) {
      EXPECT_EQ(run({"--strict", "-x", "out.hex"}).out, run({"-x", file}).out)
          << file;
    }
  }
  EXPECT_GT(taken, 30U);
}

#ifdef QORHEX_OBJCOPY
TEST_F(QorhexIhex, ObjcopyReadsTheSameBytes) {
  unsigned compared = 0;
  for (const std::string& file : hexFiles()) {
    if (run({"--ihex=out.hex", "-b", "ours.bin", "--fill=0", "--max-size=1M",
             file})
                .status != 0 ||
        folder.read("ours.bin").empty()) {
      continue;
    }
    const processResult_t result =
        runProcess({QORHEX_OBJCOPY, "-I", "ihex", "-O", "binary", "--gap-fill",
                    "0", "out.hex", "theirs.bin"},
                   folder.path());
    EXPECT_EQ(result.status, 0) << file << result.err;
    EXPECT_EQ(folder.read("theirs.bin"), folder.read("ours.bin")) << file;
    ++compared;
  }
  EXPECT_GT(compared, 30U);
}
#endif

#ifdef QORHEX_SREC_CAT
TEST_F(QorhexIhex, SrecCatReadsTheSameBytes) {
  unsigned compared = 0;
  for (const std::string& file : hexFiles()) {
    if (run({"--ihex=out.hex", "-b", "ours.bin", "--fill=0", "--max-size=1M",
             file})
                .status != 0 ||
        folder.read("ours.bin").empty()) {
      continue;
    }
    const std::string first = run({file}).out.substr(0, 200);
    const std::string address = first.substr(first.find("0x"), 10);
    // It pads from address 0 on, unless it is told to begin at the first byte.
    const processResult_t result =
        runProcess({QORHEX_SREC_CAT, "out.hex", "-intel", "-offset",
                    "-" + address, "-o", "theirs.bin", "-binary"},
                   folder.path());
    EXPECT_EQ(result.status, 0) << file << result.err;
    EXPECT_EQ(folder.read("theirs.bin"), folder.read("ours.bin")) << file;
    ++compared;
  }
  EXPECT_GT(compared, 30U);
}
#endif

}  // namespace
