// SPDX-License-Identifier: MIT
//
// load(), from the file to the blocks.

#include "qorutil/intelhex.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ihex/expected.h"
#include "ihex/read_limit.h"
#include "support/allocation.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/hexrecord.h"

namespace {

Bytes concatenated(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

class Loading : public testing::Test {
 protected:
  std::string path() const { return folder.path("test.hex"); }

  // Loads a file of `text` into `image`, which is what the call is about, and
  // sees to it that no descriptor stays open.
  bool load(const std::string& text, bool singleBlock) {
    writeFile(path(), text);
    return loadPath(path().c_str(), singleBlock);
  }

  bool loadPath(const char* name, bool singleBlock) {
    const std::size_t before = openDescriptors();
    const Capture capture;
    const bool result = image.load(name, singleBlock);
    transcript = capture.transcript();
    EXPECT_EQ(openDescriptors(), before);
    return result;
  }

  // Loads a file of `text` in both modes, which shall fail with `messages` and
  // leave an image with a block as it was.
  void expectFailure(const std::string& text, const std::string& messages) {
    writeFile(path(), text);
    expectPathFailure(path().c_str(), messages);
  }

  void expectPathFailure(const char* name, const std::string& messages) {
    for (const bool singleBlock : {false, true}) {
      const unsigned char byte = 7;
      image = IntelHexFile(1, 2, 1, &byte);
      IntelHexFileBlock* const block = image[0];
      EXPECT_FALSE(loadPath(name, singleBlock)) << singleBlock;
      EXPECT_EQ(transcript, messages) << singleBlock;
      expectBlocks(image, {{1, 2, {7}}});
      EXPECT_EQ(image[0], block);
    }
  }

  // Loads a file of `text` into one block, for which its records do not fit.
  void expectRefused(const std::string& text) {
    const unsigned char byte = 7;
    image = IntelHexFile(1, 2, 1, &byte);
    EXPECT_FALSE(load(text, true));
    EXPECT_EQ(transcript, noFit);
    expectBlocks(image, {{1, 2, {7}}});
  }

  // Loads a file of `text`, which shall give `expected` without a word.
  void expectLoaded(const std::string& text, bool singleBlock,
                    const std::vector<ExpectedBlock>& expected) {
    image.clear();
    EXPECT_TRUE(load(text, singleBlock));
    EXPECT_EQ(transcript, "");
    expectBlocks(image, expected);
  }

  void expectLoadedInBothModes(const std::string& text,
                               const std::vector<ExpectedBlock>& expected) {
    expectLoaded(text, false, expected);
    expectLoaded(text, true, expected);
  }

  // Loads the file, which gives `blocks` together with one that is there, with
  // each allocation failing once.
  void expectNothingLostWhereverMemoryRunsOut(std::size_t blockCount) {
    const unsigned char byte = 7;
    const std::size_t before = openDescriptors();
    const std::string name = path();
    const Capture capture;
    image = IntelHexFile(1, 2, 1, &byte);
    bool loaded = false;
    const long failures =
        failEveryAllocation([&] { loaded = image.load(name.c_str(), false); },
                            [&](long leaked) {
                              EXPECT_EQ(leaked, 0);
                              expectBlocks(image, {{1, 2, {7}}});
                              EXPECT_EQ(openDescriptors(), before);
                            });
    EXPECT_GT(failures, 10);
    EXPECT_TRUE(loaded);
    EXPECT_EQ(image.getBlockCount(), blockCount);
    EXPECT_EQ(image[0]->data, Bytes{7});
    EXPECT_EQ(capture.transcript(), "");
  }

  // Records without a gap from address 0 on, those under one upper address
  // after the other in the given order.
  static std::string tenThousandLines(const std::vector<unsigned>& uppers) {
    std::string text;
    for (const unsigned upper : uppers) {
      text += upperLine(upper);
      for (unsigned i = upper * 4096; i < std::min((upper + 1) * 4096, 10000U);
           ++i) {
        text += dataLine(16 * i % 65536, 16, static_cast<unsigned char>(i));
      }
    }
    return text + end;
  }

  // How often a load of `text`, which is of 10,000 records and gives three
  // blocks, allocates.
  long allocationsOfLoading(const std::string& text) {
    writeFile(path(), text);
    const std::string name = path();
    const AllocationCount count;
    EXPECT_TRUE(image.load(name.c_str(), false));
    const long made = count.made();
    EXPECT_EQ(image.getBlockCount(), 3U);
    return made;
  }

  TemporaryFolder folder;
  IntelHexFile image;
  std::string transcript;
};

const std::string first = dataLine(0, 16, 0xA1);
const std::string second = dataLine(0x10, 16, 0xB2);
const std::string third = dataLine(0x30, 16, 0xC3);
const Bytes firstTwo = concatenated({Bytes(16, 0xA1), Bytes(16, 0xB2)});

TEST_F(Loading, GapCutsARun) {
  expectLoaded(first + second + third + end, false,
               {{0, 0, firstTwo}, {0, 0x30, Bytes(16, 0xC3)}});
}

TEST_F(Loading, SingleBlockFillsTheGapWithFF) {
  expectLoaded(
      first + second + third + end, true,
      {{0, 0, concatenated({firstTwo, Bytes(16, 0xFF), Bytes(16, 0xC3)})}});
}

TEST_F(Loading, OrderInTheFileDoesNotMatter) {
  expectLoaded(third + first + second + end, false,
               {{0, 0, firstTwo}, {0, 0x30, Bytes(16, 0xC3)}});
  expectLoaded(
      third + first + second + end, true,
      {{0, 0, concatenated({firstTwo, Bytes(16, 0xFF), Bytes(16, 0xC3)})}});
}

TEST_F(Loading, UpperAddressGoesIntoTheBlock) {
  expectLoadedInBothModes(upperLine(1) + dataLine(0x8000, {1, 2}) + end,
                          {{1, 0x8000, {1, 2}}});
}

TEST_F(Loading, UpperAddressTakesTheMostSignificantByteFirst) {
  expectLoadedInBothModes(upperLine(0x1234) + dataLine(0, {1}) + end,
                          {{0x1234, 0, {1}}});
}

TEST_F(Loading, UpperAddressHoldsUntilTheNext) {
  expectLoaded(
      upperLine(2) + dataLine(0, {1}) + dataLine(8, {2}) + upperLine(1) +
          dataLine(4, {3}) + upperLine(0) + dataLine(0xFFFF, {4}) + end,
      false, {{0, 0xFFFF, {4}}, {1, 4, {3}}, {2, 0, {1}}, {2, 8, {2}}});
}

TEST_F(Loading, UpperAddressStartsAtZeroInEachLoad) {
  ASSERT_TRUE(load(upperLine(5) + dataLine(0, {1}) + end, false));
  ASSERT_TRUE(load(dataLine(0, {2}) + end, false));
  expectBlocks(image, {{5, 0, {1}}, {0, 0, {2}}});
}

TEST_F(Loading, UpperAddressRecordMayHaveAnAddressAndMoreBytes) {
  expectLoadedInBothModes(
      hexRecord(4, 0x5555, {0, 3, 9, 9}) + "\n" + dataLine(1, {1}) + end,
      {{3, 1, {1}}});
}

TEST_F(Loading, UpperAddressAloneMakesNoBlock) {
  expectLoadedInBothModes(upperLine(1) + end, {});
}

TEST_F(Loading, EdgeOf64KiBCutsARun) {
  expectLoaded(
      dataLine(0xFFF0, 16, 1) + upperLine(1) + dataLine(0, 16, 2) + end, false,
      {{0, 0xFFF0, Bytes(16, 1)}, {1, 0, Bytes(16, 2)}});
}

TEST_F(Loading, SingleBlockRefusesTwoUpperAddresses) {
  expectRefused(dataLine(0xFFF0, 16, 1) + upperLine(1) + dataLine(0, 16, 2) +
                end);
  expectRefused(dataLine(0, 1, 1) + upperLine(1) + dataLine(0, 1, 2) + end);
}

TEST_F(Loading, RecordAcrossTheEdgeOf64KiBStaysInOneBlock) {
  expectLoadedInBothModes(dataLine(0xFFFF, {1, 2, 3}) + end,
                          {{0, 0xFFFF, {1, 2, 3}}});
}

TEST_F(Loading, RunDoesNotWrapAtTheEdgeOf64KiB) {
  const std::string text =
      dataLine(0xFFFF, {1, 2}) + dataLine(1, {3}) + dataLine(0, {4}) + end;
  expectLoaded(text, false, {{0, 0, {4, 3}}, {0, 0xFFFF, {1, 2}}});
  Bytes whole(0x10001, 0xFF);
  whole[0] = 4;
  whole[1] = 3;
  whole[0xFFFF] = 1;
  whole[0x10000] = 2;
  expectLoaded(text, true, {{0, 0, whole}});
}

TEST_F(Loading, LargestBlockEnds254BytesBeyondTheEdge) {
  Bytes whole(0xFFFF + 255, 0xFF);
  whole[0] = 1;
  std::fill(whole.begin() + 0xFFFF, whole.end(), std::uint8_t{2});
  expectLoaded(dataLine(0, {1}) + dataLine(0xFFFF, 255, 2) + end, true,
               {{0, 0, whole}});
}

TEST_F(Loading, OverlapCutsARun) {
  expectLoaded(dataLine(0, {1, 1, 1, 1}) + dataLine(2, {2, 2, 2, 2}) + end,
               false, {{0, 0, {1, 1, 1, 1}}, {0, 2, {2, 2, 2, 2}}});
}

TEST_F(Loading, SingleBlockLaysTheHigherRecordOnTop) {
  expectLoaded(dataLine(2, {2, 2, 2, 2}) + dataLine(0, {1, 1, 1, 1}) + end,
               true, {{0, 0, {1, 1, 2, 2, 2, 2}}});
}

TEST_F(Loading, SingleBlockTakesARecordThatEndsWithTheLast) {
  expectLoaded(dataLine(0, {1, 1, 1, 1}) + dataLine(2, {2, 2}) + end, true,
               {{0, 0, {1, 1, 2, 2}}});
}

TEST_F(Loading, SingleBlockRefusesARecordThatEndsBeyondTheLast) {
  expectRefused(dataLine(0, {1, 1, 1, 1}) + dataLine(2, {2}) + end);
  expectRefused(dataLine(0, {1, 1, 1, 1, 1}) + dataLine(1, {2}) +
                dataLine(2, {2, 2}) + end);
}

TEST_F(Loading, FirstOfTwoRecordsWithOneAddressWins) {
  expectLoadedInBothModes(
      dataLine(0, {1, 2}) + dataLine(0, {3, 4, 5, 6}) + dataLine(2, {7}) + end,
      {{0, 0, {1, 2, 7}}});
}

TEST_F(Loading, OneAddressUnderTwoUpperAddressesIsNoRepeat) {
  expectLoaded(dataLine(0, {1}) + upperLine(1) + dataLine(0, {2}) + end, false,
               {{0, 0, {1}}, {1, 0, {2}}});
}

TEST_F(Loading, RecordWithoutDataIsABlockWithoutBytes) {
  for (const bool singleBlock : {false, true}) {
    image.clear();
    EXPECT_TRUE(load(dataLine(0x10, {}) + end, singleBlock));
    EXPECT_EQ(transcript, zeroWarning);
    expectBlocks(image, {{0, 0x10, {}}});
  }
}

TEST_F(Loading, RecordWithoutDataJoinsTheRunBeforeItAlone) {
  EXPECT_TRUE(load(
      dataLine(0, {1, 2}) + dataLine(2, {}) + dataLine(3, {3}) + end, false));
  EXPECT_EQ(transcript, zeroWarning);
  expectBlocks(image, {{0, 0, {1, 2}}, {0, 3, {3}}});
}

TEST_F(Loading, EndRecordAloneIsNoBlockAndNoFailure) {
  expectLoadedInBothModes(end, {});
}

TEST_F(Loading, EndRecordNeedsNoNewline) {
  expectLoadedInBothModes(dataLine(0, {1}) + ":00000001FF", {{0, 0, {1}}});
}

TEST_F(Loading, TextBehindTheEndRecordInItsLineIsIgnored) {
  for (const std::string tail : {"\r\n", "  \n", "00", "x\n", ":0100"}) {
    expectLoadedInBothModes(dataLine(0, {1}) + ":00000001FF" + tail,
                            {{0, 0, {1}}});
  }
}

TEST_F(Loading, LinesBehindTheEndRecordAreNotRead) {
  expectLoadedInBothModes(
      dataLine(0, {1}) + end + "garbage\n" + dataLine(1, {2}) + end,
      {{0, 0, {1}}});
}

TEST_F(Loading, CarriageReturnsAndBlanksAreTakenAway) {
  expectLoadedInBothModes("  :0100000055AA\r\n:0100010066\r98\r\n" + end,
                          {{0, 0, {0x55, 0x66}}});
}

TEST_F(Loading, LowerCaseDigitsAreTaken) {
  expectLoadedInBothModes(":03abcd00defabcf1\n" + end,
                          {{0, 0xABCD, {0xDE, 0xFA, 0xBC}}});
}

TEST_F(Loading, AppendsToWhatIsThere) {
  const std::string text = first + second + third + end;
  ASSERT_TRUE(load(text, false));
  IntelHexFileBlock* const block = image[0];
  ASSERT_TRUE(load(text, false));
  expectBlocks(image, {{0, 0, firstTwo},
                       {0, 0x30, Bytes(16, 0xC3)},
                       {0, 0, firstTwo},
                       {0, 0x30, Bytes(16, 0xC3)}});
  EXPECT_EQ(image[0], block);
}

TEST_F(Loading, MissingFileIsNamed) {
  const std::string missing = folder.path("missing.hex");
  expectPathFailure(missing.c_str(),
                    "<err>#ERROR: failed to open \"" + missing + "\"\n<flush>");
}

TEST_F(Loading, EmptyPathIsAMissingFile) {
  expectPathFailure("", "<err>#ERROR: failed to open \"\"\n<flush>");
}

// Nothing is promised for a null path; this is what libc makes of it. The
// address sanitizer's own fopen64 does not take it.
TEST_F(Loading, NullPathLeavesStandardErrorBad) {
  const Capture capture;
  EXPECT_FALSE(image.load(nullptr, false));
  EXPECT_EQ(capture.out(), "");
  EXPECT_EQ(capture.err(), "#ERROR: failed to open \"");
  EXPECT_TRUE(std::cerr.bad());
  EXPECT_FALSE(image.hasData());
}

TEST_F(Loading, DirectoryIsAReadErrorAndEnds) {
  expectPathFailure(folder.path("").c_str(), tooShort + corrupt(""));
}

TEST_F(Loading, ReadErrorIsAnEmptyLine) {
  const std::string text = dataLine(0, {1}) + dataLine(1, {2}) + end;
  // In front of all, between two lines, within a line, within the end record.
  const std::size_t lineLength = dataLine(0, {1}).size();
  for (const std::size_t position :
       {std::size_t{0}, lineLength, lineLength + 5, 2 * lineLength + 3}) {
    writeFile(path(), text);
    const Capture capture;
    const ReadLimit limit(position);
    EXPECT_FALSE(image.load(path().c_str(), false));
    EXPECT_EQ(capture.transcript(), tooShort + corrupt("")) << position;
    EXPECT_FALSE(image.hasData());
  }
}

TEST_F(Loading, ReadErrorComesAfterTheMessagesOfTheLinesBefore) {
  writeFile(path(), dataLine(8, {}) + dataLine(0, {1}) + end);
  const Capture capture;
  const ReadLimit limit(15);
  EXPECT_FALSE(image.load(path().c_str(), false));
  EXPECT_EQ(capture.transcript(), zeroWarning + tooShort + corrupt(""));
}

TEST_F(Loading, PipeIsReadAsItArrivesAndNotBeyondTheEndRecord) {
  ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
  int fd = -1;
  std::thread writer([&] {
    fd = open(path().c_str(), O_WRONLY | O_CLOEXEC);
    for (const std::string& piece :
         {first.substr(0, 20), first.substr(20) + second, end}) {
      EXPECT_EQ(write(fd, piece.data(), piece.size()),
                static_cast<ssize_t>(piece.size()));
      std::this_thread::yield();
    }
  });
  // The writer has not closed its end when the load returns.
  EXPECT_TRUE(image.load(path().c_str(), false));
  writer.join();
  close(fd);
  expectBlocks(image, {{0, 0, firstTwo}});
}

TEST_F(Loading, DescriptorIsClosedOnExec) {
  writeFile(path(), first + end);
  int flags = 0;
  ReadLimit limit(1000);
  limit.observer = [&](int fd) { flags = fcntl(fd, F_GETFD); };
  EXPECT_TRUE(image.load(path().c_str(), false));
  EXPECT_EQ(flags, FD_CLOEXEC);
}

TEST_F(Loading, EmptyFileIsACorruptLine) {
  expectFailure("", tooShort + corrupt(""));
}

TEST_F(Loading, MissingEndRecordBehindANewlineIsACorruptLine) {
  expectFailure(first, tooShort + corrupt(""));
}

TEST_F(Loading, MissingEndRecordBehindALineWithoutNewlineIsNamed) {
  expectFailure(hexRecord(0, 0, {1}), noEnd);
  expectFailure(first + hexRecord(0, 0x10, {1}), noEnd);
  expectFailure(upperLine(1) + hexRecord(4, 0, {0, 2}), noEnd);
}

TEST_F(Loading, BlankLinesAreCorrupt) {
  for (const std::string line : {"\n", "\r\n", "   \n", "\r \r\n"}) {
    const std::string left = line == "\r \r\n" ? " " : "";
    expectFailure(first + line + second + end, tooShort + corrupt(left));
    expectFailure(line + first + end, tooShort + corrupt(left));
  }
}

TEST_F(Loading, CorruptLineIsShownCleanedUp) {
  expectFailure("  :0400000001020304F3\r\n" + end,
                "<err>#ERROR: checksum error.\n<flush>" +
                    unmarked(corrupt(":0400000001020304F3")));
}

TEST_F(Loading, SilentlyRejectedLineIsCorrupt) {
  for (const std::string line :
       {":0000000000", ":04000000AABBCC", ":-F00000000"}) {
    expectFailure(first + line + "\n" + end, corrupt(line));
  }
}

TEST_F(Loading, WrongLengthIsCorrupt) {
  expectFailure(":0400000001020304F2  \r\n" + end,
                "<out>void IntelHexFile::parseLine(std::__cxx11::string&, "
                "IntelHexFile::hexfileline_t&): second unexpected end of "
                "line\n<flush>19, 21\n<flush>" +
                    corrupt(":0400000001020304F2  "));
}

TEST_F(Loading, NulBytesAreShown) {
  const std::string line("text\0text", 9);
  expectFailure(line + "\n" + end, tooShort + corrupt(line));
}

TEST_F(Loading, FirstBadLineEndsTheLoad) {
  expectFailure("first\nsecond\n", tooShort + corrupt("first"));
}

TEST_F(Loading, EveryOtherTypeIsUnsupported) {
  for (unsigned type = 1; type < 255; ++type) {
    if (type != 4) {
      const std::string line = hexRecord(type, 0, {1});
      expectFailure(first + " " + line + "\r \n" + end,
                    unsupported(line, std::to_string(type)));
    }
  }
}

TEST_F(Loading, Type0xFFIsCorrupt) {
  expectFailure(hexRecord(0xFF, 0, {1}) + "\n" + end,
                corrupt(hexRecord(0xFF, 0, {1})));
}

TEST_F(Loading, LowerCaseEndRecordIsUnsupported) {
  expectFailure(first + ":00000001ff\n",
                zeroWarning + unsupported(":00000001ff", "1"));
}

TEST_F(Loading, EndRecordBehindABlankIsUnsupported) {
  expectFailure(first + " :00000001FF\n",
                zeroWarning + unsupported(":00000001FF", "1"));
}

TEST_F(Loading, EndRecordBehindACarriageReturnIsUnsupported) {
  expectFailure(first + "\r:00000001FF\n",
                zeroWarning + unsupported(":00000001FF", "1"));
}

TEST_F(Loading, TypeIsShownInDecimalOnAStreamSetToHex) {
  writeFile(path(), ":010000100AE5\n");
  const Capture capture;
  std::cerr << std::hex << std::showbase;
  EXPECT_FALSE(image.load(path().c_str(), false));
  EXPECT_EQ(capture.transcript(), unsupported(":010000100AE5", "16"));
}

TEST_F(Loading, UpperAddressRecordWithFewerThanTwoBytesIsCorrupt) {
  expectFailure(hexRecord(4, 0, {1}) + "\n" + end,
                corrupt(hexRecord(4, 0, {1})));
  expectFailure(hexRecord(4, 0, {}) + "\n" + end,
                zeroWarning + unmarked(corrupt(hexRecord(4, 0, {}))));
}

TEST_F(Loading, LineThatEndsInsideItsDataThrows) {
  const unsigned char byte = 7;
  image = IntelHexFile(1, 2, 1, &byte);
  writeFile(path(), first + ":04000000AABBC\n" + end);
  const std::size_t before = openDescriptors();
  for (const bool singleBlock : {false, true}) {
    const Capture capture;
    EXPECT_THROW(image.load(path().c_str(), singleBlock), std::out_of_range);
    EXPECT_THROW(IntelHexFile(path().c_str(), singleBlock), std::out_of_range);
    EXPECT_EQ(capture.transcript(), "");
  }
  EXPECT_EQ(openDescriptors(), before);
  expectBlocks(image, {{1, 2, {7}}});
}

TEST_F(Loading, LeavesTheImageAloneWhereverMemoryRunsOut) {
  writeFile(path(), first + upperLine(1) + first + third + end);
  expectNothingLostWhereverMemoryRunsOut(4);
}

// More than four chunks of kept records, so that the list of chunks grows too.
TEST_F(Loading, LosesNothingWhereverMemoryRunsOutAmongKeptRecords) {
  std::string text;
  for (unsigned upper = 18; upper-- > 0;) {
    text += upperLine(upper);
    for (unsigned address = 0; address < 0xFF00; address += 255) {
      text += dataLine(address, 255, static_cast<unsigned char>(upper));
    }
  }
  writeFile(path(), text + end);
  expectNothingLostWhereverMemoryRunsOut(19);
}

// The fast way: no string, no record and no set node for a sound line.
TEST_F(Loading, OfSoundLinesInOrderAllocatesForTheBlocksAlone) {
  EXPECT_LT(allocationsOfLoading(tenThousandLines({0, 1, 2})), 60);
}

// Kept records take a few large pieces of memory, not one each.
TEST_F(Loading, OfSoundLinesInAnyOrderAllocatesInLargePieces) {
  EXPECT_LT(allocationsOfLoading(tenThousandLines({2, 0, 1})), 80);
}

// The plain way, without which the two above would say nothing.
TEST_F(Loading, OfOtherLinesAllocatesForEach) {
  std::string text = tenThousandLines({0, 1, 2});
  for (std::size_t feed = text.find('\n'); feed != std::string::npos;
       feed = text.find('\n', feed + 2)) {
    text.insert(feed, 1, ' ');
  }
  EXPECT_GT(allocationsOfLoading(text), 10000);
}

TEST_F(Loading, ConstructorLoads) {
  writeFile(path(), first + second + third + end);
  expectBlocks(IntelHexFile(path().c_str(), false),
               {{0, 0, firstTwo}, {0, 0x30, Bytes(16, 0xC3)}});
  EXPECT_EQ(IntelHexFile(path().c_str(), true).getBlockCount(), 1U);
}

TEST_F(Loading, FailureInTheConstructorLeavesAnEmptyImage) {
  const Capture capture;
  const IntelHexFile failed("/missing/file", false);
  EXPECT_FALSE(failed.hasData());
  EXPECT_EQ(capture.transcript(),
            "<err>#ERROR: failed to open \"/missing/file\"\n<flush>");
}

}  // namespace
