// SPDX-License-Identifier: MIT
//
// What the program qorhex does to the files of its user when it writes.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "reading/failure.h"
#include "support/files.h"
#include "support/hexrecord.h"
#include "support/process.h"
#include "writing/target.h"
#include "writing/temporary.h"

namespace {

using testing::AnyOf;
using testing::ElementsAre;

constexpr uid_t ordinaryUser = 65534;

std::string dataRecord(unsigned offset, const std::string& data) {
  return hexRecord(0, offset,
                   std::vector<unsigned char>(data.begin(), data.end())) +
         '\n';
}

// Two segments, "abcd" and "efgh".
std::string twoSegmentText() {
  return dataRecord(0, "abcd") + dataRecord(0x10, "efgh") + ":00000001FF\n";
}

class QorhexWriting : public testing::Test {
 protected:
  QorhexWriting() { folder.write("fw.hex", twoSegmentText()); }

  processResult_t run(std::vector<std::string> arguments,
                      const std::function<void()>& inChild = {}) const {
    arguments.insert(arguments.begin(), QORHEX_PROGRAM);
    return runProcess(arguments, folder.path(), inChild);
  }

  // Expects that `arguments` are refused with `message`, and that no file of
  // the folder is touched.
  void expectRefused(const std::vector<std::string>& arguments,
                     const std::string& message, int status = WRONG_USAGE,
                     const std::function<void()>& inChild = {}) const {
    const std::vector<std::string> names = folder.names();
    std::vector<std::string> contents;
    for (const std::string& name : names) {
      contents.push_back(folder.read(name));
    }
    const processResult_t result = run(arguments, inChild);
    EXPECT_EQ(result.err, message);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(folder.names(), names);
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(folder.read(names[i]), contents[i]) << names[i];
    }
  }

  struct stat statusOf(const std::string& name) const {
    struct stat status {};

    EXPECT_EQ(stat(folder.path(name).c_str(), &status), 0) << name;
    return status;
  }

  void makeMode(const std::string& name, mode_t mode) const {
    ASSERT_EQ(chmod(folder.path(name).c_str(), mode), 0);
  }

  const TemporaryFolder folder;
};

// In the new process: somebody without rights.
void becomeOrdinary() {
  if (geteuid() == 0 &&
      (setgroups(0, nullptr) != 0 || setgid(ordinaryUser) != 0 ||
       setuid(ordinaryUser) != 0)) {
    _exit(125);
  }
}

// ----------------------------------------------------------- Names and links

TEST_F(QorhexWriting, APlantedLinkUnderTheTemporaryNameIsNotFollowed) {
  folder.write("victim", "precious");
  const processResult_t result = run({"-b", "fw.bin", "fw.hex"}, [] {
    const std::string name = ".qorhex-" + std::to_string(getpid()) + "-0";
    if (symlink("victim", name.c_str()) != 0) {
      _exit(99);
    }
  });
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("victim"), "precious");
  EXPECT_EQ(folder.read("fw.bin").substr(0, 4), "abcd");
  EXPECT_FALSE(std::filesystem::is_symlink(folder.path("fw.bin")));
}

TEST_F(QorhexWriting, ADashIsStandardOutput) {
  const processResult_t result = run({"-b", "-", "fw.hex"});
  EXPECT_EQ(result.out, "abcd" + std::string(12, '\xff') + "efgh");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(QorhexWriting, ADashGoesTogetherWithSegments) {
  const processResult_t result = run({"-v", "-o", ".", "-b", "-", "fw.hex"});
  EXPECT_EQ(result.out, "abcd" + std::string(12, '\xff') + "efgh");
  EXPECT_EQ(result.err,
            "qorhex: ./fw-00000000.bin: written\n"
            "qorhex: ./fw-00000010.bin: written\n"
            "qorhex: standard output: written\n");
  EXPECT_EQ(folder.read("fw-00000010.bin"), "efgh");
}

TEST_F(QorhexWriting, AClosedStandardOutputIsAnError) {
  expectRefused({"-o", ".", "-b", "-", "fw.hex"},
                "qorhex: standard output: Bad file descriptor\n", SYSTEM_FAILED,
                [] { close(STDOUT_FILENO); });
}

TEST_F(QorhexWriting, WhenADeviceFailsNothingIsRenamed) {
  folder.write("fw-00000000.bin", "old");
  expectRefused({"-o", ".", "-b", "/dev/full", "fw.hex"},
                "qorhex: /dev/full: No space left on device\n", SYSTEM_FAILED);
}

// ------------------------------------------------------------ One file twice

TEST_F(QorhexWriting, TheBinaryMustBeNoSegment) {
  const std::string segment =
      ": the output is the same file as the output ./fw-00000010.bin\n";
  expectRefused({"-o", ".", "-b", "fw-00000010.bin", "fw.hex"},
                "qorhex: fw-00000010.bin" + segment);
  expectRefused({"-o", ".", "-b", folder.path("fw-00000010.bin"), "fw.hex"},
                "qorhex: " + folder.path("fw-00000010.bin") + segment);
  std::filesystem::create_symlink("fw-00000010.bin", folder.path("link"));
  expectRefused({"-o", ".", "-b", "link", "fw.hex"}, "qorhex: link" + segment);
  folder.write("fw-00000010.bin", "old");
  expectRefused({"-o", ".", "-b", "link", "fw.hex"}, "qorhex: link" + segment);
  std::filesystem::create_hard_link(folder.path("fw-00000010.bin"),
                                    folder.path("hard"));
  expectRefused({"-o", ".", "-b", "hard", "fw.hex"}, "qorhex: hard" + segment);
}

TEST_F(QorhexWriting, SegmentsMustNotBeOneFile) {
  std::filesystem::create_symlink("fw-00000000.bin",
                                  folder.path("fw-00000010.bin"));
  const std::string message =
      "qorhex: ./fw-00000010.bin: the output is the same file as the output "
      "./fw-00000000.bin\n";
  expectRefused({"-o", ".", "fw.hex"}, message);
  folder.write("fw-00000000.bin", "old");
  expectRefused({"-o", ".", "fw.hex"}, message);
}

TEST_F(QorhexWriting, TwoFolderNamesLeadToOneFile) {
  std::filesystem::create_directory(folder.path("out"));
  std::filesystem::create_directory_symlink("out", folder.path("same"));
  const processResult_t result =
      run({"-o", "out", "-b", "same/fw-00000000.bin", "fw.hex"});
  EXPECT_EQ(result.err,
            "qorhex: same/fw-00000000.bin: the output is the same file as the "
            "output out/fw-00000000.bin\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path("out")));
}

TEST_F(QorhexWriting, AnOutputMustBeNoInput) {
  const std::string input = ": the output is the input fw.hex\n";
  expectRefused({"-b", "fw.hex", "fw.hex"}, "qorhex: fw.hex" + input);
  std::filesystem::create_symlink("fw.hex", folder.path("link"));
  expectRefused({"-b", "link", "fw.hex"}, "qorhex: link" + input);
  std::filesystem::create_hard_link(folder.path("fw.hex"),
                                    folder.path("fw-00000010.bin"));
  expectRefused({"-o", ".", "fw.hex"}, "qorhex: ./fw-00000010.bin" + input);
}

TEST_F(QorhexWriting, AnOutputMustBeNoLaterInput) {
  std::filesystem::copy_file(folder.path("fw.hex"),
                             folder.path("fw-00000000.bin"));
  const processResult_t result = run({"-o", ".", "fw.hex", "fw-00000000.bin"});
  EXPECT_THAT(result.err,
              testing::StartsWith("qorhex: ./fw-00000000.bin: the output is "
                                  "the input fw-00000000.bin\n"));
  EXPECT_EQ(folder.read("fw-00000000.bin"), twoSegmentText());
}

TEST_F(QorhexWriting, AnOutputMustBeNoEarlierOutput) {
  folder.write("b.hex", twoSegmentText());
  std::filesystem::create_symlink("fw-00000000.bin",
                                  folder.path("b-00000000.bin"));
  const processResult_t result = run({"-o", ".", "fw.hex", "b.hex"});
  EXPECT_EQ(result.err,
            "qorhex: ./b-00000000.bin: the output is the same file as the "
            "output ./fw-00000000.bin\n");
  EXPECT_THAT(folder.names(),
              ElementsAre("b-00000000.bin", "b.hex", "fw-00000000.bin",
                          "fw-00000010.bin", "fw.hex"));
}

TEST_F(QorhexWriting, StandardOutputIsAnOutputLikeOthers) {
  folder.write("fw-00000010.bin", "old");
  expectRefused({"-o", ".", "-b", "-", "fw.hex"},
                "qorhex: standard output: the output is the same file as the "
                "output ./fw-00000010.bin\n",
                WRONG_USAGE, [] {
                  dup2(open("fw-00000010.bin", O_WRONLY | O_APPEND),
                       STDOUT_FILENO);
                });
  expectRefused(
      {"-b", "-", "fw.hex"},
      "qorhex: standard output: the output is the input fw.hex\n", WRONG_USAGE,
      [] { dup2(open("fw.hex", O_WRONLY | O_APPEND), STDOUT_FILENO); });
}

TEST_F(QorhexWriting, WhatIsShownGoesToNoOutput) {
  const auto appended = [] {
    dup2(open("shown", O_WRONLY | O_APPEND), STDOUT_FILENO);
  };
  const std::string reason =
      ": the output is the same file as the output standard output\n";
  folder.write("shown", "old");
  std::filesystem::create_symlink("shown", folder.path("link"));
  expectRefused({"-x", "-b", "shown", "fw.hex"}, "qorhex: shown" + reason,
                WRONG_USAGE, appended);
  expectRefused({"-l", "--ihex=link", "fw.hex"}, "qorhex: link" + reason,
                WRONG_USAGE, appended);
  expectRefused({"--format=text", "--svg=/dev/stdout", "fw.hex"},
                "qorhex: /dev/stdout" + reason, WRONG_USAGE, appended);
  std::filesystem::create_hard_link(folder.path("shown"),
                                    folder.path("fw-00000010.bin"));
  expectRefused({"-l", "-o", ".", "fw.hex"},
                "qorhex: ./fw-00000010.bin" + reason, WRONG_USAGE, appended);
}

TEST_F(QorhexWriting, ADocumentTellsThatAnOutputIsItsFile) {
  folder.write("shown", "old ");
  const processResult_t result =
      run({"--format=json", "-b", "shown", "fw.hex"},
          [] { dup2(open("shown", O_WRONLY | O_APPEND), STDOUT_FILENO); });
  EXPECT_EQ(result.status, WRONG_USAGE);
  EXPECT_THAT(folder.read("shown"),
              testing::StartsWith("old {\"version\":1,\"files\":["
                                  "{\"name\":\"fw.hex\",\"status\":2,"));
}

TEST_F(QorhexWriting, WhatIsShownMayGoToAnotherFile) {
  folder.write("shown", "old ");
  const auto appended = [] {
    dup2(open("shown", O_WRONLY | O_APPEND), STDOUT_FILENO);
  };
  EXPECT_EQ(run({"-x4", "-b", "fw.bin", "fw.hex"}, appended).status, ALL_WELL);
  EXPECT_EQ(folder.read("shown"),
            "old 0x00000000: 61 62 63 64  |abcd|\n\n"
            "0x00000010: 65 66 67 68  |efgh|\n");
  // Nothing is shown, so nothing is lost.
  EXPECT_EQ(run({"-o", ".", "-b", "shown", "fw.hex"}, appended).status,
            ALL_WELL);
  EXPECT_EQ(folder.read("shown"), "abcd" + std::string(12, '\xFF') + "efgh");
}

TEST_F(QorhexWriting, TwoDevicesMayBeOne) {
  std::filesystem::create_symlink("/dev/null", folder.path("fw-00000000.bin"));
  const processResult_t result = run({"-o", ".", "-b", "/dev/null", "fw.hex"});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("fw-00000010.bin"), "efgh");
}

// A null device or a terminal is read and written at once without harm.
TEST(QorhexFilesInUse, ADeviceThatKeepsNothingIsNoInput) {
  const FilesInUse files({"/dev/null"});
  EXPECT_NO_THROW(files.refuse(findTarget("/dev/null")));
}

// ------------------------------------------------------- Rights and owners

TEST_F(QorhexWriting, AReadOnlyTargetIsRefused) {
  folder.write("fw.bin", "old");
  makeMode("", 0777);
  makeMode("fw.bin", 0444);
  expectRefused({"-b", "fw.bin", "fw.hex"},
                "qorhex: fw.bin: Permission denied\n", SYSTEM_FAILED,
                becomeOrdinary);
}

TEST_F(QorhexWriting, RootKeepsTheOwnerAndTheSetIdBits) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give files away";
  }
  folder.write("fw.bin", "old");
  ASSERT_EQ(chown(folder.path("fw.bin").c_str(), 12345, 23456), 0);
  makeMode("fw.bin", 06751);
  EXPECT_EQ(run({"-b", "fw.bin", "fw.hex"}).status, 0);
  EXPECT_EQ(statusOf("fw.bin").st_uid, 12345U);
  EXPECT_EQ(statusOf("fw.bin").st_gid, 23456U);
  EXPECT_EQ(statusOf("fw.bin").st_mode & 07777U, 06751U);
  EXPECT_EQ(folder.read("fw.bin").substr(0, 4), "abcd");
}

TEST_F(QorhexWriting, AnotherOwnersFileLosesItsSetIdBits) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can make a file of somebody else";
  }
  folder.write("fw.bin", "old");
  makeMode("", 0777);
  makeMode("fw.bin", 06757);
  EXPECT_EQ(run({"-b", "fw.bin", "fw.hex"}, becomeOrdinary).status, 0);
  EXPECT_EQ(statusOf("fw.bin").st_uid, ordinaryUser);
  EXPECT_EQ(statusOf("fw.bin").st_mode & 07777U, 0757U);
}

// ---------------------------------------------------------- Taking files back

TEST_F(QorhexWriting, ARefusedRenameTakesTheOthersBack) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can make a file of somebody else";
  }
  // Nobody but its owner may replace a file in a sticky folder.
  folder.write("fw-00000010.bin", "old");
  std::filesystem::create_directory(folder.path("sticky"));
  folder.write("sticky/fw.bin", "theirs");
  makeMode("", 0777);
  makeMode("sticky", 01777);
  makeMode("sticky/fw.bin", 0666);
  ASSERT_EQ(
      chown(folder.path("fw-00000010.bin").c_str(), ordinaryUser, ordinaryUser),
      0);
  const processResult_t result =
      run({"-o", ".", "-b", "sticky/fw.bin", "fw.hex"}, becomeOrdinary);
  EXPECT_EQ(result.err, "qorhex: sticky/fw.bin: Operation not permitted\n");
  EXPECT_EQ(result.status, SYSTEM_FAILED);
  EXPECT_THAT(folder.names(),
              ElementsAre("fw-00000010.bin", "fw.hex", "sticky"));
  EXPECT_EQ(folder.read("fw-00000010.bin"), "old");
  EXPECT_EQ(folder.read("sticky/fw.bin"), "theirs");
  EXPECT_EQ(
      std::distance(std::filesystem::directory_iterator(folder.path("sticky")),
                    std::filesystem::directory_iterator()),
      1);
}

TEST_F(QorhexWriting, AFileThatIsMountedIsNotReplaced) {
  folder.write("fw-00000000.bin", "old");
  folder.write("fw-00000010.bin", "mounted");
  constexpr int cannotMount = 77;
  const processResult_t result = run({"-o", ".", "fw.hex"}, [] {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("fw-00000010.bin", "fw-00000010.bin", nullptr, MS_BIND,
              nullptr) != 0) {
      _exit(cannotMount);
    }
  });
  if (result.status == cannotMount) {
    GTEST_SKIP() << "mounting needs rights";
  }
  EXPECT_EQ(result.err, "qorhex: ./fw-00000010.bin: Device or resource busy\n");
  EXPECT_EQ(result.status, SYSTEM_FAILED);
  EXPECT_EQ(folder.read("fw-00000000.bin"), "old");
  EXPECT_EQ(folder.read("fw-00000010.bin"), "mounted");
  EXPECT_THAT(folder.names(),
              ElementsAre("fw-00000000.bin", "fw-00000010.bin", "fw.hex"));
}

// ------------------------------------------------------------------- Signals

// In the new process: signals do what they do in a plain program, and leave no
// core.
void restoreSignals() {
  for (int number = 1; number <= SIGRTMAX; ++number) {
    std::signal(number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  // A sanitizer would see to some of them itself.
  setenv("ASAN_OPTIONS",
         "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:"
         "handle_abort=0:handle_sigtrap=0",
         1);
}

// Sends the signal `number` to the program as soon as it has a temporary file.
// It waits for a reader of the FIFO then, which never comes.
void endWhenTemporaryExists(int number) {
  const pid_t program = getpid();
  if (fork() != 0) {
    return;
  }
  const auto isTemporary = [](const std::filesystem::directory_entry& entry) {
    return entry.path().filename().string().rfind(".qorhex-", 0) == 0;
  };
  int attempts = 20000;
  for (const std::filesystem::directory_iterator end;
       attempts > 0 && std::find_if(std::filesystem::directory_iterator("."),
                                    end, isTemporary) == end;
       --attempts) {
    usleep(1000);
  }
  kill(program, attempts > 0 ? number : SIGKILL);
  _exit(0);
}

class QorhexEnding : public QorhexWriting,
                     public testing::WithParamInterface<int> {};

std::vector<int> endingSignals() {
  std::vector<int> numbers{
      SIGHUP,    SIGINT,  SIGQUIT,   SIGILL,  SIGTRAP, SIGABRT, SIGBUS,
      SIGFPE,    SIGUSR1, SIGSEGV,   SIGUSR2, SIGPIPE, SIGALRM, SIGTERM,
      SIGSTKFLT, SIGXCPU, SIGVTALRM, SIGPROF, SIGIO,   SIGPWR,  SIGSYS};
  const int last = SIGRTMAX - (programsAreEmulated() ? 2 : 0);
  for (int number = SIGRTMIN; number <= last; ++number) {
    numbers.push_back(number);
  }
  return numbers;
}

TEST_P(QorhexEnding, LeavesNoTemporaryFileAndTheOldOnes) {
  folder.write("fw-00000010.bin", "old");
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  const processResult_t result = run({"-o", ".", "-b", "fifo", "fw.hex"}, [] {
    restoreSignals();
    endWhenTemporaryExists(GetParam());
  });
  EXPECT_EQ(result.status, 1000 + GetParam());
  EXPECT_THAT(folder.names(), ElementsAre("fifo", "fw-00000010.bin", "fw.hex"));
  EXPECT_EQ(folder.read("fw-00000010.bin"), "old");
}

INSTANTIATE_TEST_SUITE_P(Signals, QorhexEnding,
                         testing::ValuesIn(endingSignals()),
                         [](const auto& tested) {
                           return "Signal" + std::to_string(tested.param);
                         });

// The second name of an old file is one of the temporary files.
TEST(QorhexTemporaryFiles, AreAllRemovedByASignalLinksIncluded) {
  const TemporaryFolder folder;
  folder.write("fw.bin", "old");
  const pid_t child = fork();
  if (child == 0) {
    restoreSignals();
    removeOnSignals();
    TemporaryFile link;
    TemporaryFile file;
    if (link.createLink(folder.path("fw.bin")) &&
        file.create(folder.path("") + '/', 0600).isOpen()) {
      raise(SIGTERM);
    }
    _exit(1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
  EXPECT_THAT(folder.names(), ElementsAre("fw.bin"));
}

// At whatever moment a signal comes: all files are old or all are new.
TEST_F(QorhexWriting, ASignalAtAnyMomentLeavesAllOldOrAllNew) {
  constexpr unsigned segments = 24;
  std::string text;
  std::vector<std::string> names;
  for (unsigned i = 0; i < segments; ++i) {
    text += dataRecord(i * 0x10, "new");
    char name[32];
    std::snprintf(name, sizeof name, "fw-%08x.bin", i * 0x10);
    names.emplace_back(name);
  }
  folder.write("fw.hex", text + ":00000001FF\n");
  std::vector<std::string> allNames = names;
  allNames.emplace_back("fw.hex");
  const std::vector<int> numbers = endingSignals();
  std::mt19937 random(20);  // NOLINT(cert-msc51-cpp): the same every time
  int ended = 0;
  int allOld = 0;
  for (int round = 0; round < 100; ++round) {
    // Every other time half of them are new to the folder.
    for (unsigned i = 0; i < segments; ++i) {
      std::filesystem::remove(folder.path(names[i]));
      if (i % 2 == 0 || round % 2 == 0) {
        folder.write(names[i], "old");
      }
    }
    const std::vector<std::string> before = folder.names();
    const int number = numbers[random() % numbers.size()];
    const auto delay = static_cast<useconds_t>(random() % 12000);
    const processResult_t result = run({"-o", ".", "fw.hex"}, [=] {
      restoreSignals();
      const pid_t program = getpid();
      if (fork() == 0) {
        usleep(delay);
        kill(program, number);
        _exit(0);
      }
    });
    ASSERT_THAT(result.status, AnyOf(0, 1000 + number));
    ended += result.status != 0 ? 1 : 0;
    if (folder.read(names[0]) == "new") {
      ASSERT_EQ(folder.names(), allNames);
      for (const std::string& name : names) {
        ASSERT_EQ(folder.read(name), "new");
      }
    } else {
      ++allOld;
      ASSERT_NE(result.status, 0);
      ASSERT_EQ(folder.names(), before);
      for (const std::string& name : names) {
        ASSERT_THAT(folder.read(name), AnyOf("old", testing::HasSubstr("<no")));
      }
    }
  }
  std::cout << ended << " of 100 ended by a signal, " << allOld
            << " with the old files\n";
}

}  // namespace
