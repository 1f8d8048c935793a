// SPDX-License-Identifier: MIT

#include "ihex/text_reader.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <random>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ihex/read_limit.h"
#include "support/files.h"

namespace {

using qorutil_internal::TextReader;

constexpr std::size_t lookAhead = TextReader::lookAhead;

class Reading : public testing::Test {
 protected:
  const char* fileOf(const std::string& text) {
    path = writeFile(folder.path("text"), text);
    return path.c_str();
  }

  TemporaryFolder folder;
  std::string path;
};

TEST_F(Reading, TellsWhetherTheFileIsOpen) {
  EXPECT_TRUE(TextReader(fileOf("text")).isOpen());
  EXPECT_FALSE(TextReader(folder.path("missing").c_str()).isOpen());
}

TEST_F(Reading, ClosesItsDescriptorHereAndOnExec) {
  const char* const name = fileOf("text\n");
  const std::size_t before = openDescriptors();
  int flags = 0;
  {
    ReadLimit limit(100);
    limit.observer = [&](int fd) { flags = fcntl(fd, F_GETFD); };
    TextReader reader(name);
    EXPECT_STREQ(reader.text(), "text\n");
  }
  EXPECT_EQ(flags, FD_CLOEXEC);
  EXPECT_EQ(openDescriptors(), before);
}

// Lines of every length around the sizes of the buffer, read as they are by
// std::getline, in pieces of several sizes.
TEST_F(Reading, GetsLinesAsAStreamDoes) {
  std::string text = "\n\nfirst\r\n" + std::string("with\0NUL\n", 9);
  for (const std::size_t length :
       {lookAhead - 1, lookAhead, lookAhead + 1, std::size_t{1} << 17,
        std::size_t{300000}, std::size_t{1}}) {
    text += std::string(length, 'x') + '\n';
  }
  for (const std::string last : {"", "last", "\n"}) {
    const char* const name = fileOf(text + last);
    for (const std::size_t pieceSize :
         {std::size_t{1}, std::size_t{100}, std::size_t{5000},
          std::size_t{1000000}}) {
      if (pieceSize == 1 && last != "last") {
        continue;  // slow enough once
      }
      ReadLimit limit(10000000);
      limit.pieceSize = pieceSize;
      limit.interruptions = 3;
      TextReader reader(name);
      std::ifstream expected(name);
      std::string line;
      std::string expectedLine;
      while (!expected.eof()) {
        std::getline(expected, expectedLine);
        reader.getLine(line);
        ASSERT_EQ(line, expectedLine) << pieceSize;
        ASSERT_EQ(reader.eof(), expected.eof()) << pieceSize;
        ASSERT_FALSE(reader.bad());
      }
    }
  }
}

TEST_F(Reading, TellsAReadErrorFromTheEnd) {
  const char* const name = fileOf("first\nsecond\n");
  const ReadLimit limit(8);
  TextReader reader(name);
  std::string line;
  reader.getLine(line);
  EXPECT_EQ(line, "first");
  EXPECT_FALSE(reader.bad());
  reader.getLine(line);
  EXPECT_TRUE(reader.bad());
  EXPECT_FALSE(reader.eof());
}

// What a decoder needs: a whole line, or all that is left, or enough of it.
TEST_F(Reading, ShowsTheTextWithNulsBehindIt) {
  std::string text;
  std::mt19937 random(1);
  while (text.size() < 400000) {
    text += std::string(random() % 700, 'x') + '\n';
  }
  const char* const name = fileOf(text);
  for (const std::size_t pieceSize : {std::size_t{1000}, std::size_t{200000}}) {
    ReadLimit limit(1000000);
    limit.pieceSize = pieceSize;
    TextReader reader(name);
    std::size_t at = 0;
    while (at < text.size()) {
      const std::size_t length = text.find('\n', at) + 1 - at;
      const std::size_t shown = std::min(length, lookAhead);
      ASSERT_EQ(std::string(reader.text(), shown), text.substr(at, shown))
          << at;
      reader.skip(shown);
      at += shown;
    }
    ASSERT_EQ(std::string(reader.text(), lookAhead),
              std::string(lookAhead, '\0'));
  }
}

// A writer may wait for an answer to its line before it goes on.
TEST_F(Reading, AsksForNoMoreWhileThereIsAWholeLine) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  ASSERT_EQ(write(ends[1], "first\nsecond\nhalf", 17), 17);
  const std::string name = "/proc/self/fd/" + std::to_string(ends[0]);
  {
    int calls = 0;
    ReadLimit limit(1000);
    limit.observer = [&](int) { ++calls; };
    TextReader reader(name.c_str());
    EXPECT_EQ(std::string(reader.text(), 6), "first\n");
    reader.skip(6);
    EXPECT_EQ(std::string(reader.text(), 7), "second\n");
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(write(ends[1], " way\n", 5), 5);
    reader.skip(7);
    EXPECT_EQ(std::string(reader.text(), 9), "half way\n");
    EXPECT_EQ(calls, 2);
  }
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
