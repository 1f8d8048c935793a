// SPDX-License-Identifier: MIT
//
// The program qorhex with --merge.

#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

class QorhexMerging : public QorhexProgram {
 protected:
  QorhexMerging() {
    folder.write("boot.hex", dataLine(0, "abcd") + dataLine(0x10, "efgh") +
                                 recordLine(5, 0, {0, 0, 0, 1}) + endLine);
    folder.write("app.hex",
                 dataLine(0x14, "ijkl") + dataLine(0x20, "mnop") + endLine);
    folder.write("over.hex", dataLine(0x12, "gHiJ") + endLine);
  }
};

TEST_F(QorhexMerging, TheFilesAreOneImage) {
  for (const std::vector<std::string>& files :
       {std::vector<std::string>{"boot.hex", "app.hex"},
        {"app.hex", "boot.hex"}}) {
    expectRun({"-m", files[0], files[1]}, 0,
              "   no  first       last        size\n"
              "    0  0x00000000  0x00000003   4   4B\n"
              "    1  0x00000010  0x00000017   8   8B\n"
              "    2  0x00000020  0x00000023   4   4B\n"
              "total                          16  16B\n");
    expectRun({"-m", "-b", "all.bin", "--fill=0x2e", files[0], files[1]}, 0,
              {});
    EXPECT_EQ(folder.read("all.bin"), "abcd............efghijkl........mnop");
  }
  expectRun(
      {"-m", "-x", "app.hex", "boot.hex"}, 0,
      "0x00000000: 61 62 63 64                                      |abcd|\n\n"
      "0x00000010: 65 66 67 68 69 6a 6b 6c                          "
      "|efghijkl|\n\n"
      "0x00000020: 6d 6e 6f 70                                      |mnop|\n");
}

TEST_F(QorhexMerging, StartAddressesSurvive) {
  expectRun({"-m", "--ihex=all.hex", "app.hex", "boot.hex"}, 0, {});
  EXPECT_EQ(folder.read("all.hex"),
            dataLine(0, "abcd") + dataLine(0x10, "efghijkl") +
                dataLine(0x20, "mnop") + recordLine(5, 0, {0, 0, 0, 1}) +
                endLine);
}

TEST_F(QorhexMerging, SegmentsTakeTheStemOfTheFirstFile) {
  expectRun({"-m", "-o", ".", "app.hex", "boot.hex"}, 0, {});
  EXPECT_THAT(
      folder.names(),
      ElementsAre("app-00000000.bin", "app-00000010.bin", "app-00000020.bin",
                  "app.hex", "boot.hex", "over.hex"));
  EXPECT_EQ(folder.read("app-00000010.bin"), "efghijkl");
  // Two FILEs with one stem make one image all the same.
  expectRun({"-m", "-v", "-o", ".", "--range=0+4", "boot.hex", "./boot.hex"}, 0,
            {},
            "qorhex: boot.hex: start address 0x00000001\n"
            "qorhex: boot.hex, ./boot.hex: 8 repeated bytes merged\n"
            "qorhex: boot.hex, ./boot.hex: 4 bytes outside of the ranges left "
            "out\n"
            "qorhex: ./boot-00000000.bin: written\n");
}

TEST_F(QorhexMerging, OneFileIsAnImageToo) {
  expectRun({"-m", "over.hex"}, 0, run({"over.hex"}).out);
}

TEST_F(QorhexMerging, ConflictsNameBothFilesAndLines) {
  const std::string inOver =
      "over.hex:1:12: error: byte 0x48 at 0x00000013 conflicts with 0x68 of "
      "boot.hex:2, 1 byte in all; --force accepts that\n";
  expectRun({"-m", "-b", "all.bin", "boot.hex", "over.hex"}, 3, {}, inOver);
  expectRun({"-m", "over.hex", "boot.hex"}, 3, {},
            "boot.hex:2:16: error: byte 0x68 at 0x00000013 conflicts with 0x48 "
            "of over.hex:1, 1 byte in all; --force accepts that\n");
  // Of over.hex the first one only, in the order of addresses.
  expectRun({"-m", "boot.hex", "app.hex", "over.hex"}, 3, {}, inOver);
  EXPECT_THAT(folder.names(), ElementsAre("app.hex", "boot.hex", "over.hex"));
}

TEST_F(QorhexMerging, EveryFileInConflictIsTold) {
  folder.write("late.hex",
               dataLine(0x21, "NoP") + dataLine(0, "ABCD") + endLine);
  expectRun({"-m", "app.hex", "boot.hex", "over.hex", "late.hex"}, 3, {},
            "late.hex:2:10: error: byte 0x41 at 0x00000000 conflicts with 0x61 "
            "of boot.hex:1, 4 bytes in all; --force accepts that\n"
            "over.hex:1:12: error: byte 0x48 at 0x00000013 conflicts with 0x68 "
            "of boot.hex:2, 1 byte in all; --force accepts that\n");
}

TEST_F(QorhexMerging, StandardInputIsAFileLikeTheOthers) {
  const auto asInput = [this] {
    ::close(0);
    static_cast<void>(::open(folder.path("over.hex").c_str(), O_RDONLY));
  };
  expectRun(
      {"-mp", "-b", "all.bin", "--force", "--range=0x12+4", "boot.hex", "-"}, 0,
      {},
      "qorhex: boot.hex: read 100%\n"
      "qorhex: <stdin>: read 100%\n"
      "qorhex: boot.hex, <stdin>: 1 conflicting byte accepted "
      "(--force)\n"
      "qorhex: all.bin: written 100%\n",
      asInput);
  EXPECT_EQ(folder.read("all.bin"), "gHiJ");
  expectRun({"-m", "-o", ".", "--range=0x14+1", "-", "app.hex"}, 3, {},
            "app.hex:1:12: error: byte 0x6a at 0x00000015 conflicts with 0x4a "
            "of <stdin>:1, 1 byte in all; --force accepts that\n",
            asInput);
  expectRun({"-m", "-o", ".", "--range=0x14+1", "-"}, 0, {}, {}, asInput);
  EXPECT_EQ(folder.read("stdin-00000014.bin"), "i");
}

TEST_F(QorhexMerging, HostileNamesAreEscaped) {
  folder.write("\x1b[2J.hex", dataLine(0x12, "gHiJ") + endLine);
  expectRun({"-m", "\x1b[2J.hex", "boot.hex"}, 3, {},
            "boot.hex:2:16: error: byte 0x68 at 0x00000013 conflicts with 0x48 "
            "of \\x1b[2J.hex:1, 1 byte in all; --force accepts that\n");
  expectRun({"-m", "--force", "--range=0+1", "\x1b[2J.hex", "boot.hex"}, 0,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000000  1  1B\n"
            "total                          1  1B\n",
            "qorhex: \\x1b[2J.hex, boot.hex: 1 conflicting byte accepted "
            "(--force)\n");
}

TEST_F(QorhexMerging, CheckTellsEachFileItsConflicts) {
  expectRun({"-cm", "over.hex", "boot.hex", "app.hex"}, 3,
            "over.hex: 0 errors, 0 warnings\n"
            "boot.hex:2:16: error: byte 0x68 at 0x00000013 conflicts with 0x48 "
            "of over.hex:1, 1 byte in all; --force accepts that\n"
            "boot.hex: 1 error, 0 warnings\n"
            "app.hex:1:12: error: byte 0x6a at 0x00000015 conflicts with 0x4a "
            "of over.hex:1, 1 byte in all; --force accepts that\n"
            "app.hex: 1 error, 0 warnings\n");
  expectRun({"-cm", "boot.hex", "app.hex"}, 0,
            "boot.hex: 0 errors, 0 warnings\n"
            "app.hex: 0 errors, 0 warnings\n");
}

TEST_F(QorhexMerging, UnderForceTheLaterFileCounts) {
  const auto expectForced = [this](const std::vector<std::string>& files,
                                   const std::string& bytes) {
    std::vector<std::string> arguments{"-m", "--force", "-b", "all.bin",
                                       "--range=0x10-0x17"};
    arguments.insert(arguments.end(), files.begin(), files.end());
    expectRun(arguments, 0, {},
              "qorhex: " + files[0] + ", " + files[1] + ", " + files[2] +
                  ": 2 conflicting bytes accepted (--force)\n");
    EXPECT_EQ(folder.read("all.bin"), bytes);
  };
  expectForced({"boot.hex", "app.hex", "over.hex"}, "efgHiJkl");
  expectForced({"boot.hex", "over.hex", "app.hex"}, "efgHijkl");
  expectForced({"over.hex", "boot.hex", "app.hex"}, "efghijkl");
  expectForced({"app.hex", "over.hex", "boot.hex"}, "efghiJkl");
}

TEST_F(QorhexMerging, UnderForceTheLaterStartAddressCountsAndIsTold) {
  folder.write("other.hex", recordLine(3, 0, {0, 0, 0, 5}) +
                                recordLine(5, 0, {0, 0, 0, 2}) + endLine);
  expectRun({"-m", "boot.hex", "other.hex"}, 3, {},
            "other.hex:2:10: error: start address 0x00000002 conflicts with "
            "0x00000001 of boot.hex:3; --force accepts that\n"
            ":0400000500000002F5\n"
            "         ^\n");
  expectRun({"-m", "--force", "--ihex=all.hex", "--range=0+4", "boot.hex",
             "other.hex"},
            0, {},
            "qorhex: boot.hex: start address 0x00000001 gives way to that of "
            "other.hex (--force)\n");
  EXPECT_EQ(folder.read("all.hex"),
            dataLine(0, "abcd") + recordLine(5, 0, {0, 0, 0, 2}) +
                recordLine(3, 0, {0, 0, 0, 5}) + endLine);
}

// What gives way to its own value gives way to nothing.
TEST_F(QorhexMerging, AStartAddressThatComesBackIsNotToldToGiveWay) {
  folder.write("other.hex", recordLine(5, 0, {0, 0, 0, 2}) + endLine);
  folder.write("last.hex", recordLine(5, 0, {0, 0, 0, 1}) + endLine);
  expectRun({"-m", "--force", "--ihex=all.hex", "--range=0+4", "boot.hex",
             "other.hex", "last.hex"},
            0, {},
            "qorhex: other.hex: start address 0x00000002 gives way to that of "
            "last.hex (--force)\n");
  EXPECT_EQ(folder.read("all.hex"),
            dataLine(0, "abcd") + recordLine(5, 0, {0, 0, 0, 1}) + endLine);
}

// A warning of other.hex in column 10, as JSON.
std::string warningJson(int line, const std::string& text) {
  return R"({"file":"other.hex","line":)" + std::to_string(line) +
         R"(,"column":10,"severity":"warning","text":")" + text + "\"}";
}

TEST_F(QorhexMerging, WhatGivesWayIsAWarningWhereAllIsTold) {
  folder.write("other.hex",
               dataLine(0, "Abcd") + recordLine(5, 0, {0, 0, 0, 2}) + endLine);
  const std::string sum =
      "qorhex: boot.hex: start address 0x00000001 gives way to that of "
      "other.hex (--force)\n"
      "qorhex: boot.hex, other.hex: 1 conflicting byte accepted (--force)\n";
  const std::string ofStart =
      "start address 0x00000002 conflicts with 0x00000001 of boot.hex:3, which "
      "gives way (--force)";
  const std::string ofByte =
      "byte 0x41 at 0x00000000 conflicts with 0x61 of boot.hex:1, 1 byte in "
      "all; accepted (--force)";
  expectRun({"-m", "--force", "--check", "boot.hex", "other.hex"}, 0,
            "boot.hex: 0 errors, 0 warnings\n"
            "other.hex:2:10: warning: " +
                ofStart +
                "\n:0400000500000002F5\n"
                "         ^\n"
                "other.hex:1:10: warning: " +
                ofByte + "\nother.hex: 0 errors, 2 warnings\n",
            sum);
  const processResult_t json =
      run({"-m", "--force", "--format=json", "boot.hex", "other.hex"});
  EXPECT_EQ(json.err, sum);
  EXPECT_THAT(json.out,
              testing::HasSubstr("\"problems\":[" + warningJson(2, ofStart) +
                                 ',' + warningJson(1, ofByte) + ']'));
}

TEST_F(QorhexMerging, EachFileTellsItsFirstProblem) {
  folder.write("bad.hex", dataLine(0x10, "EFGH") + "x\ny\n" + endLine);
  folder.write("short.hex", dataLine(0x100, "abcd"));
  expectRun({"-m", "--ihex=all.hex", "bad.hex", "boot.hex", "nix.hex",
             "short.hex", "app.hex"},
            4, {},
            "bad.hex:2:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "x\n"
            "^\n"
            "qorhex: nix.hex: No such file or directory\n"
            "short.hex:1:20: error: the text ends without an end record; the "
            "file was cut, or :00000001FF is missing\n"
            ":040100006162636471\n"
            "                   ^\n"
            "boot.hex:2:10: error: byte 0x65 at 0x00000010 conflicts with 0x45 "
            "of bad.hex:1, 4 bytes in all; --force accepts that\n");
  EXPECT_THAT(folder.names(), ElementsAre("app.hex", "bad.hex", "boot.hex",
                                          "over.hex", "short.hex"));
  expectRun({"-m", "bad.hex", "short.hex"}, 3, {},
            "bad.hex:2:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "x\n"
            "^\n"
            "short.hex:1:20: error: the text ends without an end record; the "
            "file was cut, or :00000001FF is missing\n"
            ":040100006162636471\n"
            "                   ^\n");
}

TEST_F(QorhexMerging, OfADamagedFileDataOutsideIsNotTold) {
  folder.write("map", "low 0-0xff\n");
  folder.write("bad.hex", dataLine(0x200, "far") + "x\n" + endLine);
  expectRun({"-m", "--map=map", "bad.hex", "boot.hex"}, 3, {},
            "bad.hex:2:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "x\n"
            "^\n");
}

TEST_F(QorhexMerging, RangesAndMapsActOnTheWholeImage) {
  folder.write("map", "boot 0+0x14\napp 0x14+0x100\n");
  expectRun({"-m", "--map=map", "--range=0x12-0x15", "-b", "all.bin",
             "boot.hex", "app.hex"},
            0, {});
  EXPECT_EQ(folder.read("all.bin"), "ghij");
  expectRun({"-m", "--range=0x100+1", "boot.hex", "app.hex"}, 0, "total  0\n",
            "qorhex: boot.hex, app.hex: warning: no data in the ranges\n");
  expectRun(
      {"-m", "-r", "-b", "all.bin", "--range=0x12-0x15", "app.hex", "boot.hex"},
      0, {});
  EXPECT_EQ(folder.read("all.bin"), "jihg");
}

TEST_F(QorhexMerging, AnOutputThatIsAnInputIsRefused) {
  const std::string before = folder.read("app.hex");
  expectRun({"-m", "--ihex=app.hex", "boot.hex", "./app.hex"}, 2, {},
            "qorhex: app.hex: the output is the input ./app.hex\n");
  EXPECT_EQ(folder.read("app.hex"), before);
}

// ------------------------------------------------------------- Random files

using ByteMap = std::map<std::uint32_t, char>;

// Writes a random FILE and returns its bytes; with `known` those at addresses
// that it has are the same.
ByteMap writeRandom(const TemporaryFolder& folder, const std::string& name,
                    std::mt19937& generator, const ByteMap* known) {
  ByteMap bytes;
  std::string text;
  for (std::size_t i = 0, count = 1 + generator() % 12; i < count; ++i) {
    const auto upper = static_cast<std::uint32_t>(generator() % 2);
    const auto offset = static_cast<std::uint32_t>(
        upper == 0 ? 0xFF80 + generator() % 0x60 : generator() % 0x80);
    std::string data(1 + generator() % 32, 'x');
    for (std::size_t k = 0; k < data.size(); ++k) {
      const auto address =
          (upper << 16U) + offset + static_cast<std::uint32_t>(k);
      data[k] = static_cast<char>(generator() % 256);
      for (const ByteMap* const before :
           {known, static_cast<const ByteMap*>(&bytes)}) {
        if (before != nullptr && before->count(address) != 0) {
          data[k] = before->at(address);
        }
      }
      bytes[address] = data[k];
    }
    text += upperLine(upper) + dataLine(offset, data);
  }
  folder.write(name, text + endLine);
  return bytes;
}

std::string imageOf(const ByteMap& bytes) {
  std::string image;
  for (const auto& [address, byte] : bytes) {
    image.resize(address - bytes.begin()->first, '\xff');
    image += byte;
  }
  return image;
}

class QorhexMergingRandomFiles : public QorhexMerging {
 protected:
  // Writes `count` FILEs, and expects that merging them gives the union of
  // their bytes, of which the later counts.
  void expectUnion(unsigned seed, bool conflicting) {
    std::mt19937 generator(seed);
    const std::size_t count = 2 + generator() % 4;
    merged.clear();
    files.clear();
    for (std::size_t i = 0; i < count; ++i) {
      files.push_back("f" + std::to_string(i) + ".hex");
      const ByteMap bytes = writeRandom(folder, files.back(), generator,
                                        conflicting ? nullptr : &merged);
      for (const auto& [address, byte] : bytes) {
        merged[address] = byte;
      }
    }
    std::vector<std::string> arguments{"-m", "-b", "ours.bin",
                                       "--ihex=ours.hex"};
    if (conflicting) {
      arguments.emplace_back("--force");
    }
    arguments.insert(arguments.end(), files.begin(), files.end());
    const processResult_t result = run(arguments);
    ASSERT_EQ(result.status, 0) << seed << result.err;
    ASSERT_EQ(folder.read("ours.bin"), imageOf(merged)) << seed;
    ASSERT_EQ(run({"-b", "again.bin", "ours.hex"}).status, 0);
    ASSERT_EQ(folder.read("again.bin"), folder.read("ours.bin")) << seed;
  }

  ByteMap merged;
  std::vector<std::string> files;
};

TEST_F(QorhexMergingRandomFiles, AreTheUnionOfTheirBytes) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    expectUnion(seed, false);
  }
}

TEST_F(QorhexMergingRandomFiles, UnderForceTheLaterOneCounts) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    expectUnion(seed, true);
  }
}

#ifdef QORHEX_SREC_CAT
TEST_F(QorhexMergingRandomFiles, SrecCatMakesTheSameImage) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    expectUnion(seed, false);
    std::vector<std::string> arguments{QORHEX_SREC_CAT, "-multiple", "("};
    for (const std::string& file : files) {
      arguments.insert(arguments.end(), {file, "-intel"});
    }
    arguments.insert(
        arguments.end(),
        {")", "-fill", "0xff", std::to_string(merged.begin()->first),
         std::to_string(merged.rbegin()->first + 1), "-offset",
         '-' + std::to_string(merged.begin()->first), "-o", "theirs.bin",
         "-binary"});
    const processResult_t result = runProcess(arguments, folder.path());
    ASSERT_EQ(result.status, 0) << result.err;
    ASSERT_EQ(folder.read("theirs.bin"), folder.read("ours.bin")) << seed;
  }
}
#endif

}  // namespace
