// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/capture.h"
#include "support/files.h"

namespace {

using Block = IntelHexFileBlock;
using Bytes = std::vector<unsigned char>;
using testing::ElementsAre;
using testing::IsEmpty;

// What the calls of `write` to one descriptor shall give, in their order; -1
// sets errno to `error`. Once the script has run out, or for a result beyond
// what the call was given, the call writes all it was given.
struct WriteScript {
  int fd{-1};
  int error{EIO};
  std::vector<ssize_t> results;
  std::vector<std::size_t> lengths;
  int flags{0};  // of the descriptor of the last call
};

WriteScript* script = nullptr;

// Whether fopen() has been given a null path.
bool nullPathReachedLibc = false;

}  // namespace

// Wins over that of libc; it passes everything through but the calls to the
// descriptor of a script.
extern "C" ssize_t write(int fd, const void* buffer, std::size_t length) {
  if (script != nullptr && (script->fd == fd || script->fd == -1)) {
    const std::size_t call = script->lengths.size();
    script->lengths.push_back(length);
    script->flags = fcntl(fd, F_GETFD);
    if (call < script->results.size()) {
      if (script->results[call] == -1) {
        errno = script->error;
        return -1;
      }
      length =
          std::min(length, static_cast<std::size_t>(script->results[call]));
    }
  }
  return syscall(SYS_write, fd, buffer, length);
}

extern "C" std::FILE* fopen(const char* path, const char* mode) {
  static const auto real =
      reinterpret_cast<std::FILE* (*)(const char*, const char*)>(
          dlsym(RTLD_NEXT, "fopen"));
  if (path == nullptr) {
    nullPathReachedLibc = true;
  }
  return real(path, mode);
}

namespace {

static_assert(std::is_same_v<decltype(Block::data), Bytes>);
static_assert(std::is_same_v<decltype(Block::extAddress), std::uint16_t>);
static_assert(std::is_same_v<decltype(Block::address), std::uint16_t>);
static_assert(std::is_same_v<decltype(Block::size), std::uint64_t>);
static_assert(std::is_default_constructible_v<Block>);
static_assert(std::is_constructible_v<Block, Block&>);
static_assert(!std::is_constructible_v<Block, const Block&>);
static_assert(!std::is_constructible_v<Block, Block&&>);
static_assert(!std::is_assignable_v<Block&, Block&>);
static_assert(!std::is_assignable_v<Block&, const Block&>);
static_assert(!std::is_assignable_v<Block&, Block&&>);
static_assert(!std::is_polymorphic_v<Block>);
static_assert(std::is_same_v<decltype(&Block::clone), Block* (Block::*)()>);
// Both writers work on a const block.
static_assert(std::is_same_v<
              bool, decltype(std::declval<const Block&>().writeBinaryTo(1))>);
static_assert(std::is_same_v<
              bool, decltype(std::declval<const Block&>().writeBinaryTo(""))>);

constexpr char writeError[] = "<err>#ERROR: write() returns an error.\n<flush>";

// A script in force for as long as it lives.
class ScriptedWrite : public WriteScript {
 public:
  explicit ScriptedWrite(int descriptor, std::vector<ssize_t> given = {}) {
    fd = descriptor;
    results = std::move(given);
    script = this;
  }

  ScriptedWrite(const ScriptedWrite&) = delete;
  ScriptedWrite& operator=(const ScriptedWrite&) = delete;

  ~ScriptedWrite() { script = nullptr; }
};

// A descriptor that is closed again.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : fd(descriptor) {}

  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  ~Descriptor() { close(fd); }

  operator int() const { return fd; }

 private:
  int fd;
};

class Writing : public testing::Test {
 protected:
  Writing() {
    block.extAddress = 0x1234;
    block.address = 0x5678;
  }

  // Gives the block `size` bytes without a short period.
  void fill(std::size_t size) {
    block.data.resize(size);
    for (std::size_t i = 0; i < size; ++i) {
      block.data[i] = static_cast<unsigned char>(i % 251);
    }
    block.size = size;
  }

  std::string contents() const {
    return {block.data.begin(), block.data.end()};
  }

  std::string path() const { return folder.path("out.bin"); }

  int openTarget() const {
    return open(path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  }

  TemporaryFolder folder;
  Block block;
};

TEST(Block, StartsEmptyAtAddressZero) {
  const Block block;
  EXPECT_THAT(block.data, IsEmpty());
  EXPECT_EQ(block.extAddress, 0);
  EXPECT_EQ(block.address, 0);
  EXPECT_EQ(block.size, 0U);
}

void setUp(Block& block, const Bytes& data) {
  block.data = data;
  block.extAddress = 0x1234;
  block.address = 0x5678;
  block.size = data.size();
}

TEST(Block, CopyHoldsTheSameAndIsIndependent) {
  Block source;
  setUp(source, {1, 2, 3});
  Block copy(source);
  EXPECT_THAT(copy.data, ElementsAre(1, 2, 3));
  EXPECT_EQ(copy.extAddress, 0x1234);
  EXPECT_EQ(copy.address, 0x5678);
  EXPECT_EQ(copy.size, 3U);
  copy.data[0] = 9;
  EXPECT_THAT(source.data, ElementsAre(1, 2, 3));
}

TEST(Block, CopyTakesTheStoredSize) {
  Block source;
  setUp(source, {1, 2, 3});
  source.size = 0x123456789ABC;
  const Block copy(source);
  EXPECT_EQ(copy.size, 0x123456789ABCU);
}

TEST(Block, CloneHoldsTheSameAndIsIndependent) {
  Block source;
  setUp(source, {1, 2, 3});
  const std::unique_ptr<Block> copy(source.clone());
  EXPECT_THAT(copy->data, ElementsAre(1, 2, 3));
  EXPECT_EQ(copy->extAddress, 0x1234);
  EXPECT_EQ(copy->address, 0x5678);
  EXPECT_EQ(copy->size, 3U);
  copy->data[0] = 9;
  EXPECT_THAT(source.data, ElementsAre(1, 2, 3));
}

TEST(Block, CloneLeavesTheSourceAloneWhenMemoryRunsOut) {
  Block source;
  setUp(source, {1, 2, 3});
  for (long successes = 0; successes < 2; ++successes) {
    const FailingAllocation failing(successes);
    EXPECT_THROW(static_cast<void>(source.clone()), std::bad_alloc);
  }
  EXPECT_THAT(source.data, ElementsAre(1, 2, 3));
}

TEST(Block, ClearResetsEverythingAndKeepsTheStorage) {
  Block block;
  setUp(block, Bytes(1000, 7));
  const std::size_t capacity = block.data.capacity();
  block.clear();
  EXPECT_THAT(block.data, IsEmpty());
  EXPECT_EQ(block.data.capacity(), capacity);
  EXPECT_EQ(block.extAddress, 0);
  EXPECT_EQ(block.address, 0);
  EXPECT_EQ(block.size, 0U);
}

TEST(Block, ReversesAnOddNumberOfBytesAndBack) {
  Block block;
  setUp(block, {1, 2, 3, 4, 5});
  block.reverseBuffer();
  EXPECT_THAT(block.data, ElementsAre(5, 4, 3, 2, 1));
  EXPECT_EQ(block.extAddress, 0x1234);
  EXPECT_EQ(block.address, 0x5678);
  EXPECT_EQ(block.size, 5U);
  block.reverseBuffer();
  EXPECT_THAT(block.data, ElementsAre(1, 2, 3, 4, 5));
}

TEST(Block, ReversesEveryLength) {
  for (std::size_t size = 0; size < 300; ++size) {
    Block block;
    setUp(block, Bytes(size));
    std::iota(block.data.begin(), block.data.end(), std::uint8_t{0});
    const Bytes expected(block.data.rbegin(), block.data.rend());
    block.reverseBuffer();
    ASSERT_EQ(block.data, expected) << size;
  }
}

TEST_F(Writing, EmptyBlockDoesNotCallWrite) {
  const ScriptedWrite calls(-1);
  const Capture capture;
  EXPECT_TRUE(block.writeBinaryTo(-1));
  EXPECT_THAT(calls.lengths, IsEmpty());
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(Writing, EmptyBlockMakesAnEmptyFile) {
  const Capture capture;
  EXPECT_TRUE(block.writeBinaryTo(path().c_str()));
  EXPECT_EQ(readFile(path()), "");
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(Writing, EmptyBlockTruncatesAFile) {
  writeFile(path(), "old");
  EXPECT_TRUE(block.writeBinaryTo(path().c_str()));
  EXPECT_EQ(readFile(path()), "");
}

TEST_F(Writing, ClearedBlockWritesNothing) {
  fill(700);
  block.clear();
  const ScriptedWrite calls(-1);
  EXPECT_TRUE(block.writeBinaryTo(-1));
  EXPECT_THAT(calls.lengths, IsEmpty());
}

TEST_F(Writing, GoesInCallsOf512Bytes) {
  fill(1300);
  const Descriptor target(openTarget());
  const ScriptedWrite calls(target);
  const Capture capture;
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(512, 512, 276));
  EXPECT_EQ(readFile(path()), contents());
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(Writing, MultipleOf512BytesNeedsNoFurtherCall) {
  fill(1024);
  const Descriptor target(openTarget());
  const ScriptedWrite calls(target);
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(512, 512));
  EXPECT_EQ(readFile(path()), contents());
}

TEST_F(Writing, SingleByteIsOneCall) {
  fill(1);
  const Descriptor target(openTarget());
  const ScriptedWrite calls(target);
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(1));
}

TEST_F(Writing, ShortWritesGoOnWithTheRest) {
  fill(1300);
  const Descriptor target(openTarget());
  const ScriptedWrite calls(target, {100, 512, 1, 500});
  const Capture capture;
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(512, 512, 512, 512, 187));
  EXPECT_EQ(readFile(path()), contents());
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(Writing, ShortTailIsWrittenPieceByPiece) {
  fill(515);
  const Descriptor target(openTarget());
  const ScriptedWrite calls(target, {512, 1, 1, 1});
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(512, 3, 2, 1));
  EXPECT_EQ(readFile(path()), contents());
}

TEST_F(Writing, ResultOfZeroIsTriedAgain) {
  fill(600);
  const Descriptor target(openTarget());
  const ScriptedWrite calls(target, {0, 0, 512, 0});
  const Capture capture;
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(512, 512, 512, 88, 88));
  EXPECT_EQ(readFile(path()), contents());
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(Writing, FailureKeepsWhatWasWritten) {
  fill(1300);
  const Descriptor target(openTarget());
  const ScriptedWrite calls(target, {512, 10, -1});
  const Capture capture;
  EXPECT_FALSE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(512, 512, 512));
  EXPECT_EQ(readFile(path()), contents().substr(0, 522));
  EXPECT_EQ(capture.transcript(), writeError);
}

TEST_F(Writing, InterruptionIsAFailureLikeAnyOther) {
  fill(10);
  const Descriptor target(openTarget());
  ScriptedWrite calls(target, {-1});
  calls.error = EINTR;
  const Capture capture;
  EXPECT_FALSE(block.writeBinaryTo(target));
  EXPECT_THAT(calls.lengths, ElementsAre(10));
  EXPECT_EQ(readFile(path()), "");
  EXPECT_EQ(capture.transcript(), writeError);
}

TEST_F(Writing, BadDescriptorIsAFailure) {
  fill(10);
  const Capture capture;
  EXPECT_FALSE(block.writeBinaryTo(-1));
  EXPECT_EQ(capture.transcript(), writeError);
}

TEST_F(Writing, DescriptorStaysOpenAndIsWrittenFromItsPosition) {
  fill(3);
  const Descriptor target(openTarget());
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_EQ(readFile(path()), contents() + contents());
}

TEST_F(Writing, TheBytesCountAndNotTheStoredSize) {
  fill(10);
  block.size = 5;
  EXPECT_TRUE(block.writeBinaryTo(path().c_str()));
  EXPECT_EQ(readFile(path()), contents());
}

TEST_F(Writing, PathMakesAFileOfTheBytes) {
  fill(70000);
  const std::size_t before = openDescriptors();
  const Capture capture;
  EXPECT_TRUE(block.writeBinaryTo(path().c_str()));
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(readFile(path()), contents());
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(Writing, PathReplacesALongerFile) {
  fill(10);
  writeFile(path(), std::string(1000, 'x'));
  EXPECT_TRUE(block.writeBinaryTo(path().c_str()));
  EXPECT_EQ(readFile(path()), contents());
}

TEST_F(Writing, PathGoesInCallsOf512Bytes) {
  fill(1300);
  const ScriptedWrite calls(-1);
  EXPECT_TRUE(block.writeBinaryTo(path().c_str()));
  EXPECT_THAT(calls.lengths, ElementsAre(512, 512, 276));
}

TEST_F(Writing, DescriptorOfAPathIsClosedOnExec) {
  fill(1);
  const ScriptedWrite calls(-1);
  EXPECT_TRUE(block.writeBinaryTo(path().c_str()));
  EXPECT_EQ(calls.flags, FD_CLOEXEC);
}

TEST_F(Writing, DescriptorOfTheCallerKeepsItsFlags) {
  fill(1);
  const Descriptor target(open(path().c_str(), O_WRONLY | O_CREAT, 0600));
  const ScriptedWrite calls(target);
  EXPECT_TRUE(block.writeBinaryTo(target));
  EXPECT_EQ(calls.flags, 0);
}

TEST_F(Writing, FailureBehindAPathKeepsTheFileAndClosesIt) {
  fill(1300);
  const std::size_t before = openDescriptors();
  const Capture capture;
  {
    const ScriptedWrite calls(-1, {512, -1});
    EXPECT_FALSE(block.writeBinaryTo(path().c_str()));
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(readFile(path()), contents().substr(0, 512));
  EXPECT_EQ(capture.transcript(), writeError);
}

TEST_F(Writing, FullDeviceIsAFailure) {
  fill(10);
  const Capture capture;
  EXPECT_FALSE(block.writeBinaryTo("/dev/full"));
  EXPECT_EQ(capture.transcript(), writeError);
}

TEST_F(Writing, FileThatCannotBeCreatedIsNamed) {
  fill(10);
  const std::string missing = folder.path("missing/out.bin");
  for (const std::string& target : {missing, folder.path(""), std::string()}) {
    const std::size_t before = openDescriptors();
    const Capture capture;
    EXPECT_FALSE(block.writeBinaryTo(target.c_str()));
    EXPECT_EQ(capture.transcript(),
              "<err>#ERROR: failed to create file \"" + target + "\"\n<flush>");
    EXPECT_EQ(openDescriptors(), before);
  }
}

TEST_F(Writing, NullPathLeavesStandardErrorBad) {
  fill(10);
  const char* const path = nullptr;
  const Capture capture;
  EXPECT_FALSE(block.writeBinaryTo(path));
  EXPECT_EQ(capture.out(), "");
  EXPECT_EQ(capture.err(), "#ERROR: failed to create file \"");
  EXPECT_TRUE(std::cerr.bad());
  EXPECT_FALSE(nullPathReachedLibc);
  EXPECT_FALSE(block.writeBinaryTo(""));
  EXPECT_EQ(capture.err(), "#ERROR: failed to create file \"");
}

TEST_F(Writing, FileIsClosedWhenStandardErrorThrows) {
  fill(10);
  const std::size_t before = openDescriptors();
  const Capture capture;
  std::cerr.setstate(std::ios_base::badbit);
  try {
    std::cerr.exceptions(std::ios_base::badbit);
  } catch (const std::ios_base::failure&) {  // raised by the old state at once
  }
  EXPECT_THROW(block.writeBinaryTo("/dev/full"), std::ios_base::failure);
  std::cerr.exceptions(std::ios_base::goodbit);
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
