// SPDX-License-Identifier: MIT

#include "ihex/file_rules.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "ihex/expected.h"
#include "support/capture.h"

namespace {

using qorutil_internal::isEndRecord;
using qorutil_internal::isSupported;
using Record = IntelHexFile::hexfileline_t;

TEST(EndRecord, IsTheBeginningOfALine) {
  for (const std::string line :
       {":00000001FF", ":00000001FF\r", ":00000001FF00", ":00000001FF :"}) {
    EXPECT_TRUE(isEndRecord(line)) << line;
  }
  for (const std::string line :
       {"", ":", ":00000001F", ":00000001ff", " :00000001FF", ":00000000FF",
        "00000001FF:"}) {
    EXPECT_FALSE(isEndRecord(line)) << line;
  }
}

Record recordOf(unsigned type, const Bytes& data) {
  Record record;
  record.type = static_cast<std::uint8_t>(type);
  record.count = data.size();
  record.data = data;
  return record;
}

void expectSupported(const Record& record, const std::string& messages) {
  const Capture capture;
  EXPECT_EQ(isSupported("the line", record), messages.empty());
  EXPECT_EQ(capture.transcript(), messages);
}

TEST(Records, OfTwoTypesAreSupported) {
  expectSupported(recordOf(0, {}), "");
  expectSupported(recordOf(0, {1}), "");
  expectSupported(recordOf(4, {1, 2}), "");
  expectSupported(recordOf(4, {1, 2, 3}), "");
}

TEST(Records, OfAnotherTypeAreShown) {
  for (unsigned type = 1; type < 255; ++type) {
    if (type != 4) {
      expectSupported(recordOf(type, {1, 2}),
                      unsupported("the line", std::to_string(type)));
    }
  }
}

TEST(Records, ThatAreNotSoundAreCorrupt) {
  expectSupported(recordOf(0xFF, {1, 2}), corrupt("the line"));
}

TEST(Records, OfHalfAnUpperAddressAreCorrupt) {
  expectSupported(recordOf(4, {}), corrupt("the line"));
  expectSupported(recordOf(4, {1}), corrupt("the line"));
}

TEST(UpperAddress, HasItsMostSignificantByteFirst) {
  const unsigned char data[] = {0xFE, 0xDC};
  EXPECT_EQ(qorutil_internal::upperAddressOf(data), 0xFEDC);
}

TEST(Messages, AreWholeLines) {
  const Capture capture;
  qorutil_internal::reportNotOpened("a/b.hex");
  qorutil_internal::reportMissingEnd();
  qorutil_internal::reportNoSingleBlock();
  EXPECT_EQ(capture.transcript(),
            "<err>#ERROR: failed to open \"a/b.hex\"\n<flush>" +
                unmarked(noEnd) + unmarked(noFit));
}

}  // namespace
