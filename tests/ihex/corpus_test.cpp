// SPDX-License-Identifier: MIT
//
// Loads the files of tests/data/hex and holds blocks and messages against the
// tables that lie there.

#include "qorutil/intelhex.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/files.h"

namespace {

const std::string folder = QORUTIL_TEST_DATA "/hex/";

using Row = std::vector<std::string>;

// The rows of a tab-separated table behind its heading.
std::vector<Row> readTable(const std::string& name) {
  std::istringstream table(readFile(folder + name));
  std::vector<Row> rows;
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    rows.emplace_back();
    for (std::string field; std::getline(fields, field, '\t');) {
      rows.back().push_back(field);
    }
  }
  return rows;
}

struct CorpusFile {
  std::string name;
  std::string sha256;
  bool loads;
  std::string reason;
};

std::vector<CorpusFile> corpusFiles() {
  std::vector<CorpusFile> files;
  for (const Row& row : readTable("MANIFEST.tsv")) {
    files.push_back({row.at(0), row.at(6), row.at(11) == "load", row.at(12)});
  }
  return files;
}

// The SHA-256 sums of files, as the system's tool prints them.
std::vector<std::string> sha256(const std::vector<std::string>& paths) {
  std::vector<std::string> sums;
  if (paths.empty()) {
    return sums;
  }
  std::string command = "sha256sum";
  for (const std::string& path : paths) {
    command += " '" + path + "'";
  }
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(
      popen(command.c_str(), "r"), pclose);
  char sum[65];
  while (std::fscanf(pipe.get(), "%64s %*s", sum) == 1) {
    sums.emplace_back(sum);
  }
  return sums;
}

// What the tables say about a block, in one line.
std::string describe(std::uint32_t address, std::uint64_t length,
                     const std::string& sum) {
  char text[120];
  std::snprintf(text, sizeof text, "0x%08X %llu %s", address,
                static_cast<unsigned long long>(length), sum.c_str());
  return text;
}

std::vector<std::string> expectedBlocks(const std::string& name) {
  std::vector<std::string> blocks;
  for (const Row& row : readTable("BLOCKS.tsv")) {
    if (row.at(0) == name) {
      blocks.push_back(row.at(2) + ' ' + row.at(3) + ' ' + row.at(4));
    }
  }
  return blocks;
}

std::vector<std::string> actualBlocks(const IntelHexFile& image) {
  const TemporaryFolder written;
  std::vector<std::string> paths;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    paths.push_back(written.path(std::to_string(i)));
    EXPECT_TRUE(image[i]->writeBinaryTo(paths.back().c_str()));
  }
  const std::vector<std::string> sums = sha256(paths);
  std::vector<std::string> blocks;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    const IntelHexFileBlock& block = *image[i];
    blocks.push_back(
        describe(std::uint32_t{block.extAddress} << 16 | block.address,
                 block.size, sums.at(i)));
  }
  return blocks;
}

struct Messages {
  std::string out;
  std::string err;
};

// What the loader has to say about the first bad line of a file, and about
// records without data up to there.
Messages expectedMessages(const CorpusFile& file) {
  long number = 0;
  int begin = 0;
  if (std::sscanf(file.reason.c_str(), "line %ld: %n", &number, &begin) != 1 ||
      begin == 0) {
    throw std::runtime_error("unknown reason: " + file.reason);
  }
  const std::string reason =
      file.reason.substr(static_cast<std::size_t>(begin));
  const bool isRecord = reason != "line too short or no start code";

  Messages messages;
  std::ifstream text(folder + file.name);
  std::string line;
  for (long i = 1; i <= number; ++i) {
    std::getline(text, line);
    line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
    if (line.compare(0, 3, ":00") == 0 && (i < number || isRecord)) {
      messages.err += "#ERROR: line.data.size() is zero\n";
    }
  }

  unsigned type = 0;
  if (std::sscanf(reason.c_str(), "unsupported record type %x", &type) == 1) {
    messages.out = line + "\n";
    messages.err += "#ERROR: unsupported record type found (" +
                    std::to_string(type) + ")\n";
    return messages;
  }
  if (reason == "checksum error") {
    messages.err += "#ERROR: checksum error.\n";
  } else if (!isRecord) {
    messages.out =
        "void IntelHexFile::parseLine(std::__cxx11::string&, "
        "IntelHexFile::hexfileline_t&): hexline to short\n";
  } else {
    throw std::runtime_error("unknown reason: " + file.reason);
  }
  messages.err += "#ERROR: corrupt line data in line \"" + line + "\"\n";
  return messages;
}

class Corpus : public testing::TestWithParam<CorpusFile> {};

TEST_P(Corpus, LoadsOrFailsAsTheTablesSay) {
  const CorpusFile& file = GetParam();
  const Messages expected = file.loads ? Messages{} : expectedMessages(file);
  IntelHexFile image;
  {
    const Capture capture;
    EXPECT_EQ(image.load((folder + file.name).c_str(), false), file.loads);
    EXPECT_EQ(capture.out(), expected.out);
    EXPECT_EQ(capture.err(), expected.err);
  }
  EXPECT_EQ(actualBlocks(image), expectedBlocks(file.name));
  if (file.loads) {
    const std::size_t count = image.getBlockCount();
    EXPECT_EQ(file.reason,
              std::to_string(count) + (count == 1 ? " block" : " blocks"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Files, Corpus, testing::ValuesIn(corpusFiles()), [](const auto& tested) {
      std::string name = tested.param.name;
      for (char& character : name) {
        if (std::isalnum(static_cast<unsigned char>(character)) == 0) {
          character = '_';
        }
      }
      return name;
    });

TEST(CorpusFiles, AreUnchanged) {
  std::vector<std::string> paths;
  std::vector<std::string> expected;
  for (const CorpusFile& file : corpusFiles()) {
    paths.push_back(folder + file.name);
    expected.push_back(file.sha256);
  }
  EXPECT_GT(paths.size(), 50U);
  EXPECT_EQ(sha256(paths), expected);
}

}  // namespace
