// SPDX-License-Identifier: MIT
//
// The program qorhex with --map.

#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

const std::string bothTable =
    "   no  first       last        size\n"
    "    0  0x00000100  0x00000107   8   8B\n"
    "    1  0x00000200  0x00000207   8   8B\n"
    "total                          16  16B\n";

class QorhexMap : public QorhexProgram {
 protected:
  QorhexMap() {
    folder.write("fw.hex", dataLine(0x100, "abcdefgh") +
                               dataLine(0x200, "ijklmnop") + endLine);
  }

  // Expects what is told about a map, and that the FILE is not read: it is not
  // there.
  void expectMapProblems(const std::string& map, const std::string& err) const {
    folder.write("map", map);
    expectRun({"--map=map", "nix.hex"}, 3, {}, err);
  }

  // Expects that the map is taken, and all data is in its regions.
  void expectMapTaken(const std::string& map) const {
    folder.write("map", map);
    expectRun({"--map=map", "fw.hex"}, 0, bothTable);
  }
};

TEST_F(QorhexMap, DataInRegionsIsTaken) {
  expectMapTaken("boot 0x100-0x1ff\napp 0x200+256\n");
  expectMapTaken("app 512+8\nboot 256-263\n");
  expectMapTaken("all 0-0xffffffff\n");
  expectMapTaken("all 0+4G\n");
}

TEST_F(QorhexMap, BlanksCommentsAndLineEndsAreLeftAside) {
  expectMapTaken(
      "\xEF\xBB\xBF \t# the memory\r\n"
      "\r\n"
      "\tboot\t0x100-0x1ff \t # first\r\n"
      "   \n"
      "#app 0-1\n"
      "a_p-p.2  0x200-0x2ff#last");
  expectMapTaken(
      "\xEF\xBB\xBF"
      "all 0+1K\n");
  expectMapTaken("all 0+1K #" + std::string(100000, 'x') + "\n");
  expectMapTaken(std::string(100000, '\n') + "all 0+1K");
}

TEST_F(QorhexMap, EveryProblemOfAMapIsToldBeforeAFileIsRead) {
  expectMapProblems(
      "boot 0x100-0x1ff\n"
      "boot 0x300-0x3ff\n"
      "a/pp 0x400-0x4ff\n"
      "app\n"
      "app 0x400 - 0x4ff # three\n"
      "app 0x400-07\n"
      "app 0x400-0x3ff\n"
      "  app  0x1ff+1\n"
      "\xEF\xBB\xBFlate 0x500+1\n"
      "app 0+0x101\n",
      "map:2:1: error: the name is that of line 1 already; choose another\n"
      "boot 0x300-0x3ff\n"
      "^\n"
      "map:3:2: error: a name has letters, digits, '_', '-' and '.' alone; "
      "comments begin with #\n"
      "a/pp 0x400-0x4ff\n"
      " ^\n"
      "map:4:4: error: a region is two words, <name> <range>, not 1; write the "
      "range behind the name\n"
      "app\n"
      "   ^\n"
      "map:5:11: error: a region is two words, <name> <range>, not 4; comments "
      "begin with #\n"
      "app 0x400 - 0x4ff # three\n"
      "          ^\n"
      "map:6:5: error: a leading 0 before other digits; hexadecimal numbers "
      "begin with 0x\n"
      "app 0x400-07\n"
      "    ^\n"
      "map:7:5: error: the last address is below the first; a range is "
      "<first>-<last> or <first>+<size>, up to 0xffffffff\n"
      "app 0x400-0x3ff\n"
      "    ^\n"
      "map:8:8: error: overlaps the region of line 1, boot "
      "0x00000100-0x000001ff; let one end before the other begins\n"
      "  app  0x1ff+1\n"
      "       ^\n"
      "map:9:1: error: a name has letters, digits, '_', '-' and '.' alone; "
      "comments begin with #\n"
      "...late 0x500+1\n"
      "^\n"
      "map:10:5: error: overlaps the region of line 1, boot "
      "0x00000100-0x000001ff; let one end before the other begins\n"
      "app 0+0x101\n"
      "    ^\n");
}

TEST_F(QorhexMap, RegionsThatTouchDoNotOverlap) {
  expectMapTaken("b 0x200-0x2ff\na 0x000-0x1ff\nc 0x300-0xffffffff\n");
  expectMapProblems("b 0x200-0x2ff\na 0x000-0x400\n",
                    "map:2:3: error: overlaps the region of line 1, b "
                    "0x00000200-0x000002ff; let one end before the other "
                    "begins\n"
                    "a 0x000-0x400\n"
                    "  ^\n");
}

TEST_F(QorhexMap, AMapHasARegion) {
  expectMapProblems("",
                    "map:1:1: error: the map ends without a region; write "
                    "<name> <range> on a line\n\n^\n");
  expectMapProblems("# none\n\n# at all\r\n",
                    "map:3:9: error: the map ends without a region; write "
                    "<name> <range> on a line\n"
                    "# at all\n"
                    "        ^\n");
  expectMapProblems("# none",
                    "map:1:7: error: the map ends without a region; write "
                    "<name> <range> on a line\n"
                    "# none\n"
                    "      ^\n");
}

TEST_F(QorhexMap, ALineWithoutEndIsRefusedWithoutReadingOn) {
  expectRun({"--map=/dev/zero", "fw.hex"}, 3, {},
            "/dev/zero:1:131073: error: longer than the 131072 characters that "
            "a line may have; a map has a region on each\n" +
                std::string(80, '.') + '\n' + std::string(80, ' ') + "^\n");
}

TEST_F(QorhexMap, HostileMapsAreShownWithoutHarm) {
  folder.write("\x1b[2J", "\x1b[31m 0-1\n");
  expectRun({"--map=\x1b[2J", "fw.hex"}, 3, {},
            "\\x1b[2J:1:1: error: a name has letters, digits, '_', '-' and '.' "
            "alone; comments begin with #\n"
            ".[31m 0-1\n"
            "^\n");
}

TEST_F(QorhexMap, AMapThatCannotBeReadIsStatusFour) {
  expectRun({"--map=nix", "fw.hex"}, 4, {},
            "qorhex: nix: No such file or directory\n");
  expectRun({"--map=.", "fw.hex"}, 4, {}, "qorhex: .: Is a directory\n");
  expectRun({"--map=-", "fw.hex"}, 4, {},
            "qorhex: <stdin>: Bad file descriptor\n", [] { ::close(0); });
}

TEST_F(QorhexMap, StandardInputCanBeTheMap) {
  folder.write("map", "boot 0x100-0x1ff\nboot 0-1\n");
  expectRun({"--map=-", "fw.hex"}, 3, {},
            "<stdin>:2:1: error: the name is that of line 1 already; choose "
            "another\n"
            "boot 0-1\n"
            "^\n",
            [this] {
              ::close(0);
              static_cast<void>(::open(folder.path("map").c_str(), O_RDONLY));
            });
}

TEST_F(QorhexMap, AnOutputThatIsTheMapIsRefused) {
  folder.write("map", "all 0+1K\n");
  ASSERT_EQ(::link(folder.path("map").c_str(), folder.path("same").c_str()), 0);
  for (const char* output : {"map", "same"}) {
    expectRun(
        {"--map=map", "-b", output, "fw.hex"}, 2, {},
        std::string("qorhex: ") + output + ": the output is the input map\n");
    EXPECT_EQ(folder.read("map"), "all 0+1K\n");
  }
}

TEST_F(QorhexMap, DataOutsideIsRefusedWithItsPlaceAndTheNearestRegion) {
  folder.write("map", "boot 0x104-0x1ff\nlow 0-0xff\n");
  expectRun({"--map=map", "-b", "fw.bin", "fw.hex"}, 3, {},
            "fw.hex:1:10: error: data at 0x00000100 is outside of all regions, "
            "4 bytes in all; move it or extend the map, whose nearest region "
            "is low, 0x00000000-0x000000ff\n"
            ":080100006162636465666768D3\n"
            "         ^\n");
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex", "map"));
}

TEST_F(QorhexMap, TheNearestRegionIsTheLowerOneOfTwo) {
  const auto expectNearest = [this](const std::string& map,
                                    const std::string& region) {
    folder.write("map", map);
    expectRun({"--map=map", "--range=0x200-0x200", "fw.hex"}, 3, {},
              "fw.hex:2:10: error: data at 0x00000200 is outside of all "
              "regions, 1 byte in all; move it or extend the map, whose "
              "nearest region is " +
                  region +
                  "\n:08020000696A6B6C6D6E6F7092\n"
                  "         ^\n");
  };
  expectNearest("a 0-0x1f0\nb 0x210+1\n", "a, 0x00000000-0x000001f0");
  expectNearest("a 0-0x1ef\nb 0x210+1\n", "b, 0x00000210-0x00000210");
  expectNearest("b 0x210+1\n", "b, 0x00000210-0x00000210");
  expectNearest("a 0+1\n", "a, 0x00000000-0x00000000");
  expectNearest("a 0+1\nb 2+1\nc 0xffffffff+1\n", "b, 0x00000002-0x00000002");
}

TEST_F(QorhexMap, WhatRangesLeaveOutMayLieAnywhere) {
  folder.write("map", "app 0x200-0x2ff\n");
  expectRun({"--map=map", "--range=0x180+1K", "fw.hex"}, 0,
            "   no  first       last        size\n"
            "    0  0x00000200  0x00000207  8  8B\n"
            "total                          8  8B\n");
}

TEST_F(QorhexMap, OneProblemForARunOnConsecutiveDataRecords) {
  folder.write("map", "all 0x1000+0x100\n");
  folder.write("runs.hex",
               dataLine(0x1ffe, "ab") +        // a run
                   upperLine(0) +              //
                   dataLine(0x2000, "cd") +    //
                   dataLine(0x2010, "ef") +    // beyond a gap
                   dataLine(0x1000, "gh") +    // inside
                   dataLine(0x2020, "ij") +    // another
                   dataLine(0x10fe, "klmn") +  // one from its middle
                   dataLine(0x0ffe, "opgh") +  // and the first half
                   endLine);
  const std::string nearest =
      " in all; move it or extend the map, whose nearest region is all, "
      "0x00001000-0x000010ff\n";
  expectRun({"-c", "--map=map", "runs.hex"}, 3,
            "runs.hex:8:10: error: data at 0x00000ffe is outside of all "
            "regions, 2 bytes" +
                nearest +
                ":040FFE006F70676841\n"
                "         ^\n"
                "runs.hex:7:14: error: data at 0x00001100 is outside of all "
                "regions, 2 bytes" +
                nearest +
                ":0410FE006B6C6D6E3C\n"
                "             ^\n"
                "runs.hex:1:10: error: data at 0x00001ffe is outside of all "
                "regions, 6 bytes" +
                nearest +
                ":021FFE0061621E\n"
                "         ^\n"
                "runs.hex:6:10: error: data at 0x00002020 is outside of all "
                "regions, 2 bytes" +
                nearest +
                ":02202000696AEB\n"
                "         ^\n"
                "runs.hex: 4 errors, 0 warnings\n");
}

TEST_F(QorhexMap, ConflictsAndDataOutsideComeByAddressBehindDamage) {
  folder.write("map", "all 0x1000+0x100\n");
  folder.write("bad.hex", dataLine(0x300, "a") + dataLine(0x1000, "b") +
                              dataLine(0x200, "c") + dataLine(0x1000, "d") +
                              dataLine(0x1200, "e") + "x\n" + endLine);
  expectRun({"--map=map", "bad.hex"}, 3, {},
            "bad.hex:6:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\nx\n^\n");
  const std::string nearest =
      " is outside of all regions, 1 byte in all; move it or extend the map, "
      "whose nearest region is all, 0x00001000-0x000010ff\n";
  const std::string first = "bad.hex:3:10: error: data at 0x00000200" +
                            nearest +
                            ":0102000063"
                            "9A\n"
                            "         ^\n";
  expectRun({"-c", "--map=map", "bad.hex"}, 3,
            "bad.hex:6:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\nx\n^\n" +
                first + "bad.hex:1:10: error: data at 0x00000300" + nearest +
                ":01030000619B\n"
                "         ^\n"
                "bad.hex:4:10: error: byte 0x64 at 0x00001000 conflicts with "
                "0x62 of bad.hex:2, 1 byte in all; --force accepts that\n"
                "bad.hex:5:10: error: data at 0x00001200" +
                nearest +
                ":011200006588\n"
                "         ^\n"
                "bad.hex: 5 errors, 0 warnings\n");
  folder.write("bad.hex", dataLine(0x300, "a") + dataLine(0x1000, "b") +
                              dataLine(0x200, "c") + dataLine(0x1000, "d") +
                              endLine);
  expectRun({"--map=map", "bad.hex"}, 3, {}, first);
}

TEST_F(QorhexMap, TheHighestAddressesAreHeldAgainstTheMapToo) {
  folder.write("top.hex", upperLine(0xffff) + dataLine(0xfffe, "ab") + endLine);
  folder.write("map", "top 0xffffffff+1\n");
  expectRun({"--map=map", "top.hex"}, 3, {},
            "top.hex:2:10: error: data at 0xfffffffe is outside of all "
            "regions, 1 byte in all; move it or extend the map, whose nearest "
            "region is top, 0xffffffff-0xffffffff\n"
            ":02FFFE0061623E\n"
            "         ^\n");
  folder.write("map", "top 0xfffffffe+1\n");
  expectRun({"--map=map", "top.hex"}, 3, {},
            "top.hex:2:12: error: data at 0xffffffff is outside of all "
            "regions, 1 byte in all; move it or extend the map, whose nearest "
            "region is top, 0xfffffffe-0xfffffffe\n"
            ":02FFFE0061623E\n"
            "           ^\n");
}

TEST_F(QorhexMap, EveryFileIsHeldAgainstTheMap) {
  folder.write("map", "boot 0x100-0x1ff\n");
  folder.write("ok.hex", dataLine(0x100, "abcdefgh") + endLine);
  const std::string refusal =
      "fw.hex:2:10: error: data at 0x00000200 is outside of all regions, 8 "
      "bytes in all; move it or extend the map, whose nearest region is boot, "
      "0x00000100-0x000001ff\n"
      ":08020000696A6B6C6D6E6F7092\n"
      "         ^\n";
  expectRun({"--map=map", "fw.hex", "ok.hex"}, 3,
            "ok.hex:\n"
            "   no  first       last        size\n"
            "    0  0x00000100  0x00000107  8  8B\n"
            "total                          8  8B\n",
            refusal);
  expectRun({"--map=map", "-m", "ok.hex", "fw.hex"}, 3, {}, refusal);
}

}  // namespace
