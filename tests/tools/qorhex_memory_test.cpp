// SPDX-License-Identifier: MIT
//
// What becomes of the whole program when memory runs out: allocations of each
// job fail, alone and with all that follow. Every one of them does so where
// QORUTIL_TEST_ALL_FAULTS is set, which scripts/check-faults.sh does.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/files.h"
#include "support/hexrecord.h"
#include "support/sanitizers.h"

// The main() of the program.
int qorhexMain(int argc, char** argv);

// The disk is spared.
extern "C" int fsync(int descriptor) {
  static_cast<void>(descriptor);
  return 0;
}

namespace {

using Files = std::map<std::string, std::string>;

struct job_t {
  const char* name;
  std::vector<std::string> arguments;
  int status;
};

// One allocation in so many is enough for a sample; with a sanitizer each takes
// longer.
#ifdef QORUTIL_ADDRESS_SANITIZER
constexpr long sampleStep = 101;
#else
constexpr long sampleStep = 17;
#endif

const job_t jobs[] = {
    {"Listing", {"fw.hex"}, 0},
    {"LongTable", {"-l", "fw.hex"}, 0},
    {"Dump", {"-x", "fw.hex"}, 0},
    {"Binary", {"-b", "old.bin", "fw.hex"}, 0},
    {"Reversed", {"-r", "-b", "old.bin", "fw.hex"}, 0},
    {"Segments", {"-o", ".", "fw.hex"}, 0},
    {"HexText", {"--ihex=old.hex", "fw.hex"}, 0},
    {"Picture", {"--svg=old.svg", "fw.hex"}, 0},
    {"AllOutputs",
     {"-o", ".", "-b", "old.bin", "--ihex=old.hex", "--svg=new.svg", "fw.hex"},
     0},
    {"StandardOutput", {"-b", "-", "fw.hex"}, 0},
    {"Merge", {"-m", "-b", "new.bin", "fw.hex", "other.hex"}, 0},
    {"Conflict", {"-m", "fw.hex", "conflict.hex"}, 3},
    {"Difference", {"--diff", "fw.hex", "other.hex"}, 1},
    {"Check", {"--check", "damaged.hex"}, 3},
    {"Damage", {"-b", "old.bin", "damaged.hex"}, 3},
    {"Map", {"--map=board.map", "-b", "old.bin", "fw.hex"}, 0},
    {"Outside", {"--map=board.map", "other.hex"}, 3},
    {"Json", {"--format=json", "-l", "--map=board.map", "fw.hex"}, 0},
    {"Ranges", {"--range=0x10-0x1f", "--fill=0", "-b", "old.bin", "fw.hex"}, 0},
    {"Strict", {"--strict", "-b", "old.bin", "plain.hex"}, 0},
    {"StrictDamage", {"--strict", "damaged.hex"}, 3},
    {"Progress", {"-p", "-v", "-b", "old.bin", "fw.hex"}, 0},
    {"NoFile", {"-b", "old.bin", "none.hex"}, 4},
    {"NoFolder", {"-o", "none", "fw.hex"}, 4},
    {"Help", {"--help"}, 0},
    {"WrongUsage", {"--fill=0", "fw.hex"}, 2},
};

std::string record(unsigned type, unsigned address, const std::string& data) {
  return hexRecord(type, address, {data.begin(), data.end()}) + '\n';
}

const std::string endRecord = ":00000001FF\n";

Files inputs() {
  const std::string upper = record(4, 0, {0, 1});
  const std::string text =
      record(0, 0x10, "sixteen bytes ab") + record(0, 0x40, "more");
  return {
      {"fw.hex", text + upper + record(0, 0x10, "bytes far away") +
                     record(5, 0, {0, 1, 0, 0x10}) + endRecord},
      {"plain.hex", text + endRecord},
      {"other.hex", upper + record(0, 0x80, "other bytes") + endRecord},
      {"conflict.hex", record(0, 0x10, "S") + endRecord},
      {"damaged.hex", text + ":0400\nrubbish\n" + endRecord},
      {"board.map", "flash 0-0xffff\nram 0x10000+0x40\n"},
  };
}

// What the program left and said.
struct outcome_t {
  int status;
  bool happened;
  std::string out;
  std::string err;
  Files files;
};

class QorhexMemory : public testing::TestWithParam<job_t> {
 protected:
  QorhexMemory() {
    for (const auto& [name, text] : inputs()) {
      before.emplace(name, text);
    }
    for (const char* old :
         {"old.bin", "old.hex", "old.svg", "fw-00000040.bin"}) {
      before.emplace(old, "old");
    }
    prepare({});
  }

  static void TearDownTestSuite() {
    std::cout << all << " failed allocations\n";
  }

  // Makes the folder, which holds `present`, what it was before.
  void prepare(const Files& present) const {
    for (const auto& file : present) {
      std::filesystem::remove(folder.path(file.first));
    }
    for (const auto& [name, text] : before) {
      folder.write(name, text);
    }
  }

  // Runs the job with the allocation behind `successes` failing, and all that
  // follow it if that is `forEver`.
  outcome_t run(long successes, bool forEver) const {
    std::cout.flush();
    auto* const happened =
        static_cast<bool*>(mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t child = fork();
    if (child == 0) {
      runHere(successes, forEver, *happened);
    }
    int state = 0;
    waitpid(child, &state, 0);
    outcome_t outcome{};
    outcome.status =
        WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state);
    outcome.happened = *happened;
    munmap(happened, sizeof(bool));
    outcome.out = said.read("out");
    outcome.err = said.read("err");
    for (const std::string& name : folder.names()) {
      outcome.files[name] = folder.read(name);
    }
    if (outcome.files != before) {
      prepare(outcome.files);
    }
    return outcome;
  }

  // As the program in a process of its own.
  [[noreturn]] void runHere(long successes, bool forEver,
                            bool& happened) const noexcept {
    std::vector<std::string> words = GetParam().arguments;
    words.insert(words.begin(), "qorhex");
    std::vector<char*> argv;
    for (std::string& word : words) {
      argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const int out = creat(said.path("out").c_str(), 0600);
    const int err = creat(said.path("err").c_str(), 0600);
    const int in = open("/dev/null", O_RDONLY);
    if (chdir(folder.path().c_str()) != 0 || dup2(in, STDIN_FILENO) == -1 ||
        dup2(out, STDOUT_FILENO) == -1 || dup2(err, STDERR_FILENO) == -1) {
      _exit(99);
    }
    const FailingAllocation failing(successes, forEver, &happened);
    const int status = qorhexMain(static_cast<int>(words.size()), argv.data());
    std::cout.flush();
    std::fflush(nullptr);
    _exit(status);
  }

  // Expects what an allocation that fails may leave.
  void expectOutOfMemory(const outcome_t& sound, const outcome_t& failed) {
    EXPECT_TRUE(failed.files == before || failed.files == sound.files)
        << testing::PrintToString(failed.files);
    if (failed.status == sound.status && failed.err == sound.err) {
      EXPECT_EQ(failed.out, sound.out);
      return;
    }
    EXPECT_EQ(failed.status, 4);
    if (GetParam().name != std::string("Json")) {
      EXPECT_EQ(failed.out, sound.out.substr(0, failed.out.size()));
    }
    // Behind what was told before.
    const std::size_t common = static_cast<std::size_t>(
        std::mismatch(sound.err.begin(), sound.err.end(), failed.err.begin(),
                      failed.err.end())
            .second -
        failed.err.begin());
    const std::size_t line = failed.err.rfind('\n', common) + 1;
    EXPECT_THAT(
        failed.err.substr(line),
        testing::MatchesRegex("qorhex: ([a-z]+\\.hex(, [a-z]+\\.hex)?: )?"
                              "out of memory\n"))
        << failed.err;
  }

  const TemporaryFolder folder;
  const TemporaryFolder said;
  Files before;
  static long all;
};

long QorhexMemory::all = 0;

TEST_P(QorhexMemory, RunsOutWithAMessageAndLeavesTheTargetsWhole) {
  const outcome_t sound = run(-1, false);
  EXPECT_FALSE(sound.happened);
  EXPECT_EQ(sound.status, GetParam().status) << sound.err;
  const long step =
      std::getenv("QORUTIL_TEST_ALL_FAULTS") != nullptr ? 1 : sampleStep;
  long failures = 0;
  for (const bool forEver : {false, true}) {
    for (long successes = 0; !HasFailure(); successes += step) {
      SCOPED_TRACE((forEver ? "all behind " : "the one behind ") +
                   std::to_string(successes));
      const outcome_t failed = run(successes, forEver);
      if (!failed.happened) {
        break;
      }
      ++failures;
      expectOutOfMemory(sound, failed);
    }
  }
  EXPECT_GT(failures, 0);
  RecordProperty("failedAllocations", std::to_string(failures));
  all += failures;
}

INSTANTIATE_TEST_SUITE_P(Jobs, QorhexMemory, testing::ValuesIn(jobs),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
