// SPDX-License-Identifier: MIT
//
// One hundred faults of all kinds in real files, all told by one run of
// --check, each at its line and column, and nothing else.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <list>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tools/qorhex_faulty_file.h"
#include "tools/qorhex_program.h"

namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

constexpr const char* realFiles[] = {
    "arduino-caterina-lilypadusb.hex",
    "arduino-uno-dfu-usbserial-combined.hex",
    "chipkit-helvekit32robot.hex",
    "daplink-kl26z-bl.hex",
    "glasgow-firmware-fx2.ihex",
    "hexrec-bootloader.hex",
    "pic32boot-flipnclick-mz.hex",
    "spsdk-iled-blinky-1060.hex",
    "spsdk-keil.hex",
    "u2fzero-setup.hex",
};

constexpr std::size_t faultsPerFile = 10;

// What the program has told about one FILE.
struct foundProblem_t {
  std::string place;
  std::string text;
  std::string excerpt;
};

struct foundFile_t {
  std::vector<foundProblem_t> problems;
  std::string summary;
};

// Takes the output of --check apart: problems with the lines below them, and a
// last line for each FILE.
std::vector<foundFile_t> takeApart(const std::string& out) {
  static const std::regex problem("([^:]+:\\d+:\\d+: (?:error|warning): )(.*)");
  static const std::regex summary("[^:]+: \\d+ errors?, \\d+ warnings?");
  std::vector<foundFile_t> files(1);
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (std::regex_match(line, summary)) {
      files.back().summary = line;
      files.emplace_back();
    } else if (std::regex_match(line, match, problem)) {
      files.back().problems.push_back({match[1], match[2], {}});
    } else if (!files.back().problems.empty()) {
      files.back().problems.back().excerpt += line + '\n';
    } else {
      ADD_FAILURE() << line;
    }
  }
  files.pop_back();
  return files;
}

// The address that a message names.
std::string addressIn(const std::string& text) {
  static const std::regex address("0x[0-9a-f]{8}");
  std::smatch match;
  return std::regex_search(text, match, address) ? match.str() : "none";
}

std::string countOf(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

// The problems of one text by the way they were made, and all of them told.
void expectAll(const FaultyFile& file, const foundFile_t& found) {
  const std::vector<expectedProblem_t> atOnce = file.problems();
  std::vector<expectedProblem_t> late = file.lateProblems();
  ASSERT_GE(found.problems.size(), atOnce.size()) << file.name();
  for (std::size_t i = 0; i < atOnce.size(); ++i) {
    EXPECT_EQ(found.problems[i].place, atOnce[i].place);
    EXPECT_THAT(found.problems[i].text, HasSubstr(atOnce[i].text))
        << atOnce[i].place;
    EXPECT_EQ(found.problems[i].excerpt, atOnce[i].excerpt) << atOnce[i].place;
  }
  // Those that are found when all is read come behind, by their addresses.
  std::vector<std::string> expectedPlaces;
  std::vector<std::string> places;
  std::string address;
  for (std::size_t i = atOnce.size(); i < found.problems.size(); ++i) {
    const foundProblem_t& problem = found.problems[i];
    places.push_back(problem.place);
    EXPECT_LE(address, addressIn(problem.text)) << problem.place;
    address = addressIn(problem.text);
    const auto expected = std::find_if(
        late.begin(), late.end(), [&problem](const expectedProblem_t& one) {
          return one.place == problem.place;
        });
    if (expected != late.end()) {
      EXPECT_THAT(problem.text, HasSubstr(expected->text)) << problem.place;
      EXPECT_EQ(problem.excerpt, expected->excerpt) << problem.place;
    }
  }
  for (const expectedProblem_t& problem : late) {
    expectedPlaces.push_back(problem.place);
  }
  EXPECT_THAT(places, UnorderedElementsAreArray(expectedPlaces));
  late.insert(late.end(), atOnce.begin(), atOnce.end());
  const auto errors = static_cast<std::size_t>(std::count_if(
      late.begin(), late.end(),
      [](const expectedProblem_t& one) { return one.isError(); }));
  EXPECT_EQ(found.summary, file.name() + ": " + countOf(errors, "error") +
                               ", " + countOf(late.size() - errors, "warning"));
}

using fault_t = void (FaultyFile::*)();

constexpr fault_t plainFaults[] = {
    &FaultyFile::loseStartCode, &FaultyFile::misspellDigit,
    &FaultyFile::cutShort,      &FaultyFile::lengthen,
    &FaultyFile::spoilChecksum, &FaultyFile::useUnknownType,
    &FaultyFile::miscountData,  &FaultyFile::contradictStart,
    &FaultyFile::passTheEnd,    &FaultyFile::contradictData,
    &FaultyFile::damageAddress,
};

class QorhexGate : public QorhexProgram {
 protected:
  // The real files, without a fault yet.
  void readFiles(std::mt19937& random) {
    std::set<std::uint32_t> known;
    for (const char* name : realFiles) {
      files.emplace_back(
          name, readFile(std::string(QORUTIL_TEST_DATA "/hex/") + name),
          random);
      known.merge(files.back().upperHalves());
    }
    writeMap(known);
  }

  // Has a region for all that has data, and none where the faults have it.
  void writeMap(const std::set<std::uint32_t>& upperHalves) const {
    std::string map;
    for (const std::uint32_t upper : upperHalves) {
      ASSERT_TRUE(upper < firstStray || upper >= endOfStrays) << upper;
      char line[40];
      std::snprintf(line, sizeof line, "r%04x 0x%04x0000+64K\n", upper, upper);
      map += line;
    }
    folder.write("all.map", map);
  }

  // Puts the faults in and returns how many. The kinds take turns, and so do
  // the two that a file can end with.
  std::size_t spoilFiles(std::mt19937& random) {
    std::size_t count = 0;
    std::vector<fault_t> waiting;
    for (FaultyFile& file : files) {
      for (std::size_t i = 0; i < faultsPerFile - 2; ++i) {
        if (waiting.empty()) {
          waiting.assign(std::begin(plainFaults), std::end(plainFaults));
          std::shuffle(waiting.begin(), waiting.end(), random);
        }
        (file.*waiting.back())();
        waiting.pop_back();
      }
      file.stray(firstStray + static_cast<std::uint32_t>(
                                  random() % (endOfStrays - firstStray)));
      (file.*(count / faultsPerFile % 2 == 0 ? &FaultyFile::loseEnd
                                             : &FaultyFile::goOnBehindEnd))();
      count += faultsPerFile;
    }
    return count;
  }

  static constexpr std::uint32_t firstStray = 0xC000;
  static constexpr std::uint32_t endOfStrays = 0xD000;
  std::list<FaultyFile> files;
};

TEST_F(QorhexGate, AHundredFaultsAreToldInOneRunAndNothingElse) {
  for (const unsigned seed : {1U, 2U, 3U, 4U, 5U}) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    files.clear();
    readFiles(random);
    EXPECT_EQ(spoilFiles(random), 100U);
    std::vector<std::string> arguments{"--check", "--map=all.map"};
    for (const FaultyFile& file : files) {
      folder.write(file.name(), file.text());
      arguments.push_back(file.name());
    }
    const processResult_t result = run(arguments);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 3);
    const std::vector<foundFile_t> found = takeApart(result.out);
    ASSERT_EQ(found.size(), files.size()) << result.out;
    auto each = found.begin();
    for (const FaultyFile& file : files) {
      expectAll(file, *each++);
    }
  }
}

TEST_F(QorhexGate, TheRealFilesHaveNone) {
  std::mt19937 random(1);
  readFiles(random);
  std::vector<std::string> arguments{"--check", "--map=all.map"};
  std::string expected;
  for (const FaultyFile& file : files) {
    folder.write(file.name(), file.text());
    arguments.push_back(file.name());
    expected += file.name() + ": 0 errors, 0 warnings\n";
  }
  expectRun(arguments, 0, expected);
}

}  // namespace
