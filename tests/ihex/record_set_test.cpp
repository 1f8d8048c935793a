// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ihex/expected.h"
#include "ihex/read_limit.h"
#include "support/allocation.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/hexrecord.h"

namespace {

using Record = IntelHexFile::hexfileline_t;
using Records = std::set<Record>;
using testing::ElementsAre;

class NewBlock : public testing::Test {
 protected:
  void add(std::uint16_t extAddress, std::uint16_t address, const Bytes& data) {
    Record record;
    record.extAddress = extAddress;
    record.address = address;
    record.count = data.size();
    record.data = data;
    records.insert(record);
  }

  // Builds a block of the records from number `from` up to `to`.
  void build(int from, int to) {
    const Capture capture;
    image.createNewBlock(std::next(records.cbegin(), from),
                         std::next(records.cbegin(), to));
    transcript = capture.transcript();
  }

  void expectRefused(int from, int to) {
    build(from, to);
    EXPECT_EQ(transcript, noFit);
    expectBlocks(image, {});
  }

  Records records;
  IntelHexFile image;
  std::string transcript;
};

TEST_F(NewBlock, OfAnEmptyRangeIsNone) {
  build(0, 0);
  add(0, 0, {1});
  build(0, 0);
  build(1, 1);
  EXPECT_EQ(transcript, "");
  expectBlocks(image, {});
}

TEST_F(NewBlock, OfAPartOfTheRecordsHoldsThatPart) {
  add(0, 0, {1, 2});
  add(0, 4, {3, 4});
  add(0, 8, {5});
  add(1, 0, {6});
  build(1, 3);
  EXPECT_EQ(transcript, "");
  build(3, 4);
  EXPECT_EQ(transcript, "");
  expectBlocks(image, {{0, 4, {3, 4, 0xFF, 0xFF, 5}}, {1, 0, {6}}});
}

TEST_F(NewBlock, LaysLaterRecordsOnTop) {
  add(0, 0, {1, 1, 1});
  add(0, 1, {2, 2, 2});
  add(0, 2, {3, 3, 3});
  build(0, 3);
  EXPECT_EQ(transcript, "");
  expectBlocks(image, {{0, 0, {1, 2, 3, 3, 3}}});
}

TEST_F(NewBlock, OfRecordsWithoutDataSpansTheirAddresses) {
  add(0, 4, {});
  add(0, 6, {});
  build(0, 2);
  EXPECT_EQ(transcript, "");
  expectBlocks(image, {{0, 4, {0xFF, 0xFF}}});
}

TEST_F(NewBlock, RefusesTwoUpperAddresses) {
  add(0, 0x10, {1});
  add(1, 0x10, {2});
  add(2, 0, {3});
  expectRefused(0, 2);
  expectRefused(1, 3);
  expectRefused(0, 3);
}

TEST_F(NewBlock, RefusesARecordThatEndsBeyondTheLast) {
  add(0, 0, {1, 1});
  add(0, 1, {});
  expectRefused(0, 2);
  add(0, 2, {2});
  build(0, 3);
  EXPECT_EQ(transcript, "");
  expectBlocks(image, {{0, 0, {1, 1, 2}}});
}

TEST_F(NewBlock, HoldsWhereverMemoryRunsOut) {
  add(0, 0, {1});
  const long failures = failEveryAllocation(
      [&] { image.createNewBlock(records.begin(), records.end()); },
      [&](long leaked) {
        EXPECT_EQ(leaked, 0);
        expectBlocks(image, {});
      });
  EXPECT_EQ(failures, 3);
  expectBlocks(image, {{0, 0, {1}}});
}

class ParsingAFile : public testing::Test {
 protected:
  void openText(const std::string& text) {
    file.open(writeFile(folder.path("test.hex"), text));
  }

  bool parse() {
    const Capture capture;
    const bool result = image.parseHexFile(file, records);
    transcript = capture.transcript();
    EXPECT_FALSE(image.hasData());
    return result;
  }

  TemporaryFolder folder;
  std::ifstream file;
  Records records;
  IntelHexFile image;
  std::string transcript;
};

TEST_F(ParsingAFile, FillsTheSetWithWholeRecords) {
  openText(upperLine(0x12) + dataLine(0x34, {5, 6}) + end);
  EXPECT_TRUE(parse());
  EXPECT_EQ(transcript, "");
  ASSERT_EQ(records.size(), 1U);
  const Record& record = *records.begin();
  EXPECT_EQ(record.type, 0);
  EXPECT_EQ(record.extAddress, 0x12);
  EXPECT_EQ(record.address, 0x34);
  EXPECT_EQ(record.count, 2U);
  EXPECT_THAT(record.data, ElementsAre(5, 6));
}

TEST_F(ParsingAFile, KeepsARecordThatIsThereAlready) {
  Record record;
  record.data = {1};
  records.insert(record);
  openText(dataLine(0, {2}) + dataLine(1, {3}) + end);
  EXPECT_TRUE(parse());
  ASSERT_EQ(records.size(), 2U);
  EXPECT_THAT(records.begin()->data, ElementsAre(1));
}

TEST_F(ParsingAFile, FailureKeepsTheRecordsReadSoFar) {
  openText(dataLine(0, {2}) + dataLine(1, {3}) + "bad\n" + dataLine(2, {4}));
  EXPECT_FALSE(parse());
  EXPECT_EQ(transcript, tooShort + corrupt("bad"));
  EXPECT_EQ(records.size(), 2U);
}

TEST_F(ParsingAFile, StopsBehindTheEndRecord) {
  openText(dataLine(0, {1}) + end + dataLine(1, {2}) + end + "rest");
  EXPECT_TRUE(parse());
  EXPECT_EQ(records.size(), 1U);
  EXPECT_TRUE(parse());
  EXPECT_EQ(records.size(), 2U);
  std::string rest;
  EXPECT_TRUE(std::getline(file, rest));
  EXPECT_EQ(rest, "rest");
}

TEST_F(ParsingAFile, StreamAtItsEndHasNoEndRecord) {
  openText("");
  file.get();
  EXPECT_FALSE(parse());
  EXPECT_EQ(transcript, noEnd);
}

// What was read of the line before the error does not count, be it all of it.
TEST_F(ParsingAFile, ReadErrorIsAnEmptyLine) {
  const std::string text = dataLine(0, {1}) + dataLine(1, {2}) + end;
  const std::size_t lineLength = dataLine(0, {1}).size();
  for (const std::size_t position :
       {2 * lineLength + 11, 2 * lineLength + 3, std::size_t{0}, lineLength,
        lineLength + 5, 2 * lineLength - 1}) {
    records.clear();
    file = std::ifstream();
    const ReadLimit limit(position);
    openText(text);
    ASSERT_FALSE(parse()) << position;
    ASSERT_EQ(transcript, tooShort + corrupt("")) << position;
    EXPECT_EQ(records.size(), position / lineLength) << position;
    EXPECT_TRUE(file.bad());
  }
}

TEST_F(ParsingAFile, StreamThatIsBadAlreadyGivesAnEmptyLine) {
  openText(dataLine(0, {1}) + end);
  file.setstate(std::ios_base::badbit);
  EXPECT_FALSE(parse());
  EXPECT_EQ(transcript, tooShort + corrupt(""));
  EXPECT_TRUE(records.empty());
}

TEST_F(ParsingAFile, StreamThatIsNotOpenGivesAnEmptyLine) {
  EXPECT_FALSE(parse());
  EXPECT_EQ(transcript, tooShort + corrupt(""));
}

}  // namespace
