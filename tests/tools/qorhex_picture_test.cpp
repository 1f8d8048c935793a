// SPDX-License-Identifier: MIT
//
// The program qorhex with --svg.

#include <cstddef>
#include <string>

#include <gmock/gmock.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

class QorhexPicture : public QorhexProgram {
 protected:
  QorhexPicture() {
    folder.write("fw.hex", dataLine(0x100, "abcdef") + dataLine(0x108, "gh") +
                               upperLine(0x0800) + dataLine(0, "z") +
                               recordLine(5, 0, std::string("\0\0\1\1", 4)) +
                               endLine);
  }
};

// Three segments: a short gap to scale, a long one as a break, one byte.
const std::string picture =
    R"(<svg xmlns="http://www.w3.org/2000/svg" width="460" height="535" viewBox="0 0 460 535" role="img" font-family="sans-serif" font-size="11" fill="#1b1f24">
<title>fw.hex</title>
<rect width="460" height="535" fill="#fff"/>
<text x="20" y="34" font-size="16" font-weight="bold">fw.hex</text>
<text x="20" y="52" fill="#5f6872">9 bytes in 3 segments, 0x00000100–0x08000000</text>
<text x="20" y="70" fill="#5f6872">start address 0x00000101</text>
<g text-anchor="middle" fill="#5f6872" font-size="10">
<rect x="262" y="284.9" width="160" height="63.6" fill="#eceff2"/>
<text x="342" y="320.5">2B</text>
<path d="M262 423.1q5 -5 10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0V412.1H262Z" fill="#eceff2"/>
<path d="M262 423.1q5 -5 10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0" fill="none" stroke="#8d96a0"/>
<path d="M262 445.1q5 -5 10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0V456.1H262Z" fill="#eceff2"/>
<path d="M262 445.1q5 -5 10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0t10 0" fill="none" stroke="#8d96a0"/>
<text x="342" y="437.9">128MiB</text>
<g>
<title>0x00000100–0x00000105, 6 bytes, CRC-32 0x4b8e39ef</title>
<rect x="262" y="94" width="160" height="190.9" fill="#2f639c"/>
<text x="342" y="193.2" fill="#fff">6B</text>
</g>
<g>
<title>0x00000108–0x00000109, 2 bytes, CRC-32 0x280c06f5</title>
<rect x="262" y="348.5" width="160" height="63.6" fill="#2f639c"/>
<text x="342" y="384.1" fill="#fff">2B</text>
</g>
<g>
<title>0x08000000, 1 byte, CRC-32 0x62d277af</title>
<rect x="262" y="456.1" width="160" height="31.8" fill="#2f639c"/>
<text x="342" y="475.8" fill="#fff">1B</text>
</g>
</g>
<g text-anchor="end" font-family="monospace">
<text x="238" y="97.8">0x00000100</text>
<path d="M242 94L262 94" stroke="#8d96a0"/>
<text x="238" y="288.7">0x00000105</text>
<path d="M242 284.9L262 284.9" stroke="#8d96a0"/>
<text x="238" y="352.3">0x00000108</text>
<path d="M242 348.5L262 348.5" stroke="#8d96a0"/>
<text x="238" y="415.9">0x00000109</text>
<path d="M242 412.1L262 412.1" stroke="#8d96a0"/>
<text x="238" y="475.8">0x08000000</text>
<path d="M242 472L262 472" stroke="#8d96a0"/>
</g>
<g fill="#5f6872" font-size="10">
<text x="20" y="515.7">Drawn to scale, with breaks in long gaps.</text>
</g>
</svg>
)";

TEST_F(QorhexPicture, ShowsSegmentsGapsAndAddresses) {
  expectRun({"--svg=map.svg", "fw.hex"}, 0, {});
  EXPECT_EQ(folder.read("map.svg"), picture);
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex", "map.svg"));
}

TEST_F(QorhexPicture, StandardOutputTakesThePictureAlone) {
  expectRun({"--svg=-", "-b", "fw.bin", "--range=0x100-0x10f", "-v", "fw.hex"},
            0, run({"--svg=-", "--range=0x100-0x10f", "fw.hex"}).out,
            "qorhex: fw.hex: start address 0x00000101\n"
            "qorhex: fw.hex: 1 byte outside of the ranges left out\n"
            "qorhex: fw.bin: written\n"
            "qorhex: standard output: written\n");
  EXPECT_EQ(folder.read("fw.bin"), "abcdef\xff\xffgh");
}

TEST_F(QorhexPicture, BytesAreThoseBeforeTheyAreReversed) {
  expectRun({"-r", "--svg=-", "fw.hex"}, 0, picture);
}

TEST_F(QorhexPicture, TheLibrarysImageIsDrawnToo) {
  folder.write("fw.hex",
               dataLine(0x100, "abcdef") + dataLine(0x110, "gh") + endLine);
  const processResult_t plain = run({"--svg=-", "fw.hex"});
  EXPECT_EQ(plain.status, 0);
  expectRun({"--strict", "--svg=-", "fw.hex"}, 0, plain.out);
}

TEST_F(QorhexPicture, WithoutDataThereIsATitle) {
  folder.write("a & b.hex", endLine);
  expectRun(
      {"--svg=-", "a & b.hex"}, 0,
      R"(<svg xmlns="http://www.w3.org/2000/svg" width="460" height="108" viewBox="0 0 460 108" role="img" font-family="sans-serif" font-size="11" fill="#1b1f24">
<title>a &amp; b.hex</title>
<rect width="460" height="108" fill="#fff"/>
<text x="20" y="34" font-size="16" font-weight="bold">a &amp; b.hex</text>
<text x="20" y="52" fill="#5f6872">no data</text>
<g text-anchor="middle" fill="#5f6872" font-size="10">
</g>
<g text-anchor="end" font-family="monospace">
</g>
<g fill="#5f6872" font-size="10">
</g>
</svg>
)");
}

// The gaps that are not drawn can be as long as those that are.
TEST_F(QorhexPicture, OfTooManySegmentsTheNoteSaysWhatIsNotDrawn) {
  std::string text;
  for (unsigned i = 0; i < 60; ++i) {
    text += dataLine(i * 1000, std::string(100, 'x'));
  }
  folder.write("fw.hex", text + endLine);
  const processResult_t result = run({"--svg=-", "fw.hex"});
  EXPECT_THAT(result.out,
              testing::HasSubstr(">21 segments, 2.05078KiB</text>"));
  EXPECT_THAT(result.out,
              testing::HasSubstr(">Pale: several segments, the gaps between "
                                 "them not drawn.</text>"));
}

TEST_F(QorhexPicture, OfTooManyRegionsTheLastLineCountsTheOthers) {
  std::string map = "all 0x100+0x10\nother 0x8000000+1\n";
  for (unsigned i = 0; i < 40; ++i) {
    map += 'r' + std::to_string(i) + ' ' + std::to_string(0x1000 + i) + "+1\n";
  }
  folder.write("map", map);
  const processResult_t result = run({"--svg=-", "--map=map", "fw.hex"});
  EXPECT_THAT(result.out, testing::HasSubstr(">r38</text>"));
  EXPECT_THAT(result.out, testing::Not(testing::HasSubstr(">r39</text>")));
  EXPECT_THAT(result.out, testing::HasSubstr(">and 2 more regions</text>"));
}

TEST_F(QorhexPicture, TheBarOfARegionWithoutDataIsEmpty) {
  folder.write("map", "all 0x100+0x10\nempty 0x200+0x10\nother 0x8000000+1\n");
  const processResult_t result = run({"--svg=-", "--map=map", "fw.hex"});
  EXPECT_THAT(result.out,
              testing::ContainsRegex(
                  "<rect x=\"467\" y=\"[0-9.]+\" width=\"0\" height=\"6\" "
                  "fill=\"#2b8a66\"/>\n"
                  "<text x=\"467\" y=\"[0-9.]+\">0 of 16 bytes</text>"));
}

TEST_F(QorhexPicture, AMergedImageHasTheNamesOfItsFiles) {
  folder.write("boot.hex", dataLine(0x200, "i") + endLine);
  const processResult_t result = run({"-m", "--svg=-", "fw.hex", "boot.hex"});
  EXPECT_THAT(result.out,
              testing::HasSubstr("<title>fw.hex + boot.hex</title>"));
}

TEST_F(QorhexPicture, ARefusedFileLeavesTheOldPicture) {
  folder.write("map.svg", "old");
  folder.write("bad.hex", "rubbish\n");
  expectRun({"--svg=map.svg", "bad.hex"}, 3, {},
            "bad.hex:1:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "rubbish\n^\n");
  EXPECT_EQ(folder.read("map.svg"), "old");
  expectRun({"--svg=none/map.svg", "fw.hex"}, 4, {},
            "qorhex: none/map.svg: No such file or directory\n");
  expectRun({"--svg=fw.hex", "fw.hex"}, 2, {},
            "qorhex: fw.hex: the output is the input fw.hex\n");
}

TEST_F(QorhexPicture, AHostileNameIsEscaped) {
  const std::string name = "<\x1b[2J\xff>.hex";
  folder.write("fw.hex", endLine);
  folder.write(name, endLine);
  std::string expected = run({"--svg=-", "fw.hex"}).out;
  for (std::size_t at = 0;
       (at = expected.find("fw.hex", at)) != std::string::npos;) {
    expected.replace(at, 6, "&lt;\\x1b[2J\\xff&gt;.hex");
  }
  expectRun({"--svg=-", name}, 0, expected);
}

}  // namespace
