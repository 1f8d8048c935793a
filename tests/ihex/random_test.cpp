// SPDX-License-Identifier: MIT
//
// Holds the library against the plain reference on random text. The
// environment variables QORUTIL_ROUNDS and QORUTIL_SEED set how many files and
// which; a failure names the seed that gives the failing file in round one.

#include "qorutil/intelhex.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <istream>
#include <map>
#include <numeric>
#include <set>
#include <streambuf>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ihex/generator.h"
#include "ihex/outcome.h"
#include "ihex/plain_load.h"
#include "ihex/reference.h"
#include "support/hexrecord.h"

namespace {

using Record = IntelHexFile::hexfileline_t;

// What `read` does to the library while it is armed: it gives pieces of random
// sizes, is interrupted now and then, and fails for good where the file shall
// be broken.
struct ReadScript {
  bool pieces{false};
  bool breaks{false};
  std::size_t remaining{0};
  HexTextGenerator random;
};

ReadScript* script = nullptr;

}  // namespace

// Wins over that of libc; it passes everything through unless a script is set.
extern "C" ssize_t read(int fd, void* buffer, std::size_t length) {
  if (script == nullptr) {
    return syscall(SYS_read, fd, buffer, length);
  }
  if (script->breaks) {
    if (script->remaining == 0) {
      errno = EIO;
      return -1;
    }
    length = std::min(length, script->remaining);
  }
  if (script->pieces) {
    if (script->random.below(10) == 0) {
      errno = EINTR;
      return -1;
    }
    // Small pieces for small files, large ones for large files.
    const std::size_t limit = script->random.below(2) == 0 ? 20 : 20000;
    length = std::min(length, 1 + script->random.below(limit));
  }
  const ssize_t result = syscall(SYS_read, fd, buffer, length);
  if (result > 0) {
    script->remaining -=
        std::min(script->remaining, static_cast<std::size_t>(result));
  }
  return result;
}

namespace {

std::uint64_t setting(const char* name, std::uint64_t standard) {
  const char* const text = std::getenv(name);
  return text == nullptr ? standard : std::strtoull(text, nullptr, 10);
}

const std::uint64_t rounds = setting("QORUTIL_ROUNDS", 2000);
const std::uint64_t firstSeed = setting("QORUTIL_SEED", 1);

// One of `share` rounds, and at least one.
std::uint64_t roundsOf(std::uint64_t share) {
  return std::max<std::uint64_t>(rounds / share, 1);
}

// A text as a stream; reading beyond its end is a read error if it `breaks`.
class TextBuffer : public std::streambuf {
 public:
  TextBuffer(std::string contents, bool broken)
      : text(std::move(contents)), breaks(broken) {
    setg(text.data(), text.data(), text.data() + text.size());
  }

 protected:
  int_type underflow() override {
    if (breaks) {
      throw std::ios_base::failure("read error");
    }
    return traits_type::eof();
  }

 private:
  std::string text;
  bool breaks;
};

// A way of loading that shall be no different from the others. Another code
// path of the library becomes another row.
struct Variant {
  const char* name;
  bool pieces;
  bool breaks;
  bool (*load)(IntelHexFile& image, const char* path, bool singleBlock);
};

bool loadByPath(IntelHexFile& image, const char* path, bool singleBlock) {
  return image.load(path, singleBlock);
}

// The plain way and the fast one, each against the tests' own reading.
constexpr Variant variants[] = {
    {"ThePlainWay", false, false, qorutil_internal::loadPlainly},
    {"ThePlainWayWithReadErrors", true, true, qorutil_internal::loadPlainly},
    {"WholeReads", false, false, loadByPath},
    {"ReadsInPieces", true, false, loadByPath},
    {"ReadErrors", true, true, loadByPath},
};

// A file in memory; the tests make thousands.
class MemoryFile {
 public:
  MemoryFile() : fd(memfd_create("random.hex", MFD_CLOEXEC)) {}

  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  ~MemoryFile() { close(fd); }

  std::string path() const { return "/proc/self/fd/" + std::to_string(fd); }

  void fill(const std::string& text) const {
    ASSERT_EQ(ftruncate(fd, 0), 0);
    ASSERT_EQ(pwrite(fd, text.data(), text.size(), 0),
              static_cast<ssize_t>(text.size()));
  }

 private:
  int fd;
};

// Records of `count` bytes, cut and continued by up to three bytes, digit by
// digit. What is added leaves the sum of all bytes alone.
std::vector<std::string> linesAround(unsigned count) {
  std::vector<unsigned char> data(count);
  std::iota(data.begin(), data.end(), static_cast<unsigned char>(count));
  const std::string record = hexRecord(0, 0x1200 + count, data);
  std::vector<std::string> lines;
  for (std::size_t length = record.size() - 6; length <= record.size() + 6;
       ++length) {
    lines.push_back(record);
    lines.back().resize(length, '0');
  }
  return lines;
}

std::string describe(std::uint64_t seed) {
  return "again: QORUTIL_SEED=" + std::to_string(seed) + " QORUTIL_ROUNDS=1";
}

class RandomFiles : public testing::TestWithParam<Variant> {
 protected:
  // Loads `text` behind a block that is there already, in both modes.
  void compareLoads(const std::string& text, std::uint64_t seed) {
    file.fill(text);
    for (const bool singleBlock : {false, true}) {
      SCOPED_TRACE(singleBlock ? "single block" : "runs");
      const std::size_t readable =
          GetParam().breaks ? HexTextGenerator(seed).below(text.size() + 1)
                            : text.size();
      expectSame(actualLoad(singleBlock, readable, seed),
                 expectedLoad(text.substr(0, readable), singleBlock));
    }
  }

  Outcome expectedLoad(const std::string& text, bool singleBlock) const {
    TextBuffer buffer(text, GetParam().breaks);
    std::istream stream(&buffer);
    ReferenceReader reference(std::cout, std::cerr);
    ReferenceReader::Blocks blocks{{{1, 2, 3}, 0x1234, 0x5678, 3}};
    Outcome outcome =
        observe([&] { return reference.load(stream, singleBlock, blocks); });
    outcome.blocks = blocks;
    return outcome;
  }

  Outcome actualLoad(bool singleBlock, std::size_t readable,
                     std::uint64_t seed) const {
    const std::string path = file.path();
    const unsigned char data[] = {1, 2, 3};
    IntelHexFile image(0x1234, 0x5678, 3, data);
    ReadScript reads{GetParam().pieces, GetParam().breaks, readable,
                     HexTextGenerator(seed)};
    script = &reads;
    Outcome outcome = observe(
        [&] { return GetParam().load(image, path.c_str(), singleBlock); });
    script = nullptr;
    outcome.blocks = blocksOf(image);
    return outcome;
  }

  MemoryFile file;
};

TEST_P(RandomFiles, SmallOnesLoadAsByTheReference) {
  for (std::uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
    const std::uint64_t seed = firstSeed + round;
    SCOPED_TRACE(describe(seed));
    compareLoads(HexTextGenerator(seed).smallFile(), seed);
  }
}

TEST_P(RandomFiles, LargeOnesLoadAsByTheReference) {
  for (std::uint64_t round = 0; round < roundsOf(200) && !HasFailure();
       ++round) {
    const std::uint64_t seed = firstSeed + round;
    SCOPED_TRACE(describe(seed));
    compareLoads(HexTextGenerator(seed).largeFile(), seed);
  }
}

TEST_P(RandomFiles, WithEveryByteCountAndLengthLoadAsByTheReference) {
  for (unsigned count = 0; count < 256 && !HasFailure(); ++count) {
    SCOPED_TRACE(count);
    for (std::string& line : linesAround(count)) {
      if (line.size() % 2 == 0) {
        continue;  // the digits that are left over say nothing new
      }
      repairChecksum(line);
      compareLoads(line + "\n:00000001FF\n", count);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Variants, RandomFiles, testing::ValuesIn(variants),
                         [](const auto& tested) { return tested.param.name; });

std::vector<ReferenceRecord> recordsOf(const std::set<Record>& records) {
  std::vector<ReferenceRecord> plain;
  for (const Record& record : records) {
    plain.push_back({record.type, record.extAddress, record.address,
                     record.count, record.data});
  }
  return plain;
}

auto fieldsOf(const ReferenceRecord& record) {
  return std::tie(record.type, record.extAddress, record.address, record.count,
                  record.data);
}

// The records that are read, and how the stream is left: its state and the
// line behind the last one read.
TEST(RandomRecords, AreReadFromAStreamAsByTheReference) {
  const MemoryFile memory;
  for (std::uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
    const std::uint64_t seed = firstSeed + round;
    SCOPED_TRACE(describe(seed));
    const std::string text = HexTextGenerator(seed).smallFile();

    TextBuffer buffer(text, false);
    std::istream stream(&buffer);
    ReferenceReader::Records records;
    ReferenceReader reference(std::cout, std::cerr);
    const Outcome expected =
        observe([&] { return reference.parseHexFile(stream, records); });

    memory.fill(text);
    std::ifstream file(memory.path());
    std::set<Record> actualRecords;
    IntelHexFile image;
    expectSame(observe([&] { return image.parseHexFile(file, actualRecords); }),
               expected);
    const std::vector<ReferenceRecord> actual = recordsOf(actualRecords);
    EXPECT_TRUE(std::equal(actual.begin(), actual.end(), records.begin(),
                           records.end(),
                           [](const auto& left, const auto& right) {
                             return fieldsOf(left) == fieldsOf(right);
                           }));
    EXPECT_EQ(file.rdstate(), stream.rdstate());
    std::string next;
    std::string expectedNext;
    std::getline(file, next);
    std::getline(stream, expectedNext);
    EXPECT_EQ(next, expectedNext);
  }
}

// Parses one line by both. Of a rejected line the type and the text count, of
// a sound one all fields.
void compareLines(const std::string& text) {
  ReferenceRecord expectedRecord;
  expectedRecord.extAddress = 0xABCD;
  std::string expectedText = text;
  ReferenceReader reference(std::cout, std::cerr);
  const Outcome expected = observe([&] {
    reference.parseLine(expectedText, expectedRecord);
    return true;
  });

  Record record;
  record.extAddress = 0xABCD;
  std::string actualText = text;
  IntelHexFile image;
  expectSame(observe([&] {
               image.parseLine(actualText, record);
               return true;
             }),
             expected);
  EXPECT_EQ(actualText, expectedText);
  EXPECT_EQ(record.type, expectedRecord.type);
  EXPECT_EQ(record.extAddress, expectedRecord.extAddress);
  if (expectedRecord.type != 0xFF) {
    EXPECT_EQ(record.address, expectedRecord.address);
    EXPECT_EQ(record.count, expectedRecord.count);
    EXPECT_EQ(record.data, expectedRecord.data);
  }
}

TEST(RandomLines, AreParsedAsByTheReference) {
  for (std::uint64_t round = 0; round < 5 * rounds && !HasFailure(); ++round) {
    const std::uint64_t seed = firstSeed + round;
    SCOPED_TRACE(describe(seed));
    compareLines(HexTextGenerator(seed).line());
  }
}

// Every pair of bytes at every place of a short record, once with a checksum
// that fits.
TEST(EveryPair, IsParsedAsByTheReference) {
  const std::string record = ":01010000FFFF";
  for (std::size_t position = 1; position + 1 < record.size(); position += 2) {
    for (unsigned pair = 0; pair < 0x10000 && !testing::Test::HasFailure();
         ++pair) {
      std::string line = record;
      line[position] = static_cast<char>(static_cast<unsigned char>(pair >> 8));
      line[position + 1] =
          static_cast<char>(static_cast<unsigned char>(pair & 0xFF));
      if (position + 2 < line.size()) {
        repairChecksum(line);
      }
      compareLines(line);
      if (testing::Test::HasFailure()) {
        ADD_FAILURE() << "of " << testing::PrintToString(line);
      }
    }
  }
}

// Every byte count with every length around the one that it asks for, with a
// checksum that fits and with one that does not.
TEST(EveryLength, IsParsedAsByTheReference) {
  for (unsigned count = 0; count < 256 && !testing::Test::HasFailure();
       ++count) {
    for (const std::string& line : linesAround(count)) {
      compareLines(line);
      std::string repaired = line;
      repairChecksum(repaired);
      compareLines(repaired);
      if (testing::Test::HasFailure()) {
        ADD_FAILURE() << "of " << line;
        return;
      }
    }
  }
}

// The comparisons are worth something only if the input gets everywhere.
TEST(Generator, ReachesEveryOutcome) {
  std::map<std::string, int> seen;
  for (std::uint64_t seed = 1; seed <= 2000; ++seed) {
    TextBuffer buffer(HexTextGenerator(seed).smallFile(), false);
    std::istream stream(&buffer);
    ReferenceReader reference(std::cout, std::cerr);
    ReferenceReader::Blocks blocks;
    const Outcome outcome =
        observe([&] { return reference.load(stream, seed % 2 == 0, blocks); });
    for (const char* const text :
         {"hexline to short", "second unexpected end of line",
          "data.size() is zero", "checksum error.", "corrupt line data",
          "end of file reached", "unsupported record type found (1)",
          "unsupported record type found (", "do not fit"}) {
      seen[text] += outcome.transcript.find(text) != std::string::npos ? 1 : 0;
    }
    seen["silent"] += outcome.transcript.find("<err>#ERROR: corrupt") == 0 &&
                              outcome.out.empty()
                          ? 1
                          : 0;
    seen["exception"] += outcome.result.size() > 5 ? 1 : 0;
    seen["one block"] += blocks.size() == 1 ? 1 : 0;
    seen["many blocks"] += blocks.size() > 3 ? 1 : 0;
    seen["no block"] += outcome.result == "true" && blocks.empty() ? 1 : 0;
  }
  for (const auto& [what, count] : seen) {
    EXPECT_GT(count, 0) << what;
  }
  EXPECT_GT(seen["one block"] + seen["many blocks"], 500);
}

}  // namespace
