// SPDX-License-Identifier: MIT
//
// What becomes of the targets when a system call fails: every call that an
// output makes, once and for ever, with each error that it can have.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "reading/failure.h"
#include "reading/text_input.h"
#include "support/files.h"
#include "writing/output_set.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A failure of the call number `index`; `forEver` of those with its name that
// follow, too.
struct fault_t {
  std::size_t index;
  int error;
  bool forEver;
};

// What stands in for the system while `active`.
struct Simulation {
  bool active = false;
  std::optional<fault_t> fault;
  std::optional<fault_t> other;
  // Calls that always fail, on a system that does not have them.
  std::map<std::string, int> missing;
  // Files of this name seem to belong to somebody else, or to another group.
  std::string foreign;
  std::string foreignGroup;
  // Who runs the program, where it is not who runs the test.
  std::optional<uid_t> user;
  std::size_t largestWrite = 1U << 30U;
  std::vector<std::string> names;
  std::vector<std::string> calls;
  std::map<std::string, std::size_t> temporaries;
};

Simulation simulation;

template <class Function>
Function* realOne(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The name behind that of a call with large files and times on 32 bits.
template <class Function>
Function* realOne(const char* name, const char* large, const char* lateTimes) {
  const bool narrow = sizeof(long) == 4;
  return realOne<Function>(!narrow               ? name
                           : sizeof(time_t) == 4 ? large
                                                 : lateTimes);
}

// The last part of `path`; T0, T1, ... for temporary files.
std::string shortName(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  if (name.rfind(".qorhex-", 0) != 0) {
    return name;
  }
  auto& known = simulation.temporaries;
  return "T" + std::to_string(known.emplace(name, known.size()).first->second);
}

// Notes the call and returns whether it fails, with `errno` set.
bool fails(const std::string& name, const std::string& rest = {}) {
  const std::size_t index = simulation.names.size();
  simulation.names.push_back(name);
  simulation.calls.push_back(rest.empty() ? name : name + ' ' + rest);
  const auto missing = simulation.missing.find(name);
  if (missing != simulation.missing.end()) {
    errno = missing->second;
    return true;
  }
  for (const auto& fault : {simulation.fault, simulation.other}) {
    if (fault &&
        (index == fault->index || (fault->forEver && index > fault->index &&
                                   simulation.names[fault->index] == name))) {
      errno = fault->error;
      return true;
    }
  }
  return false;
}

// The signals that can be held: an emulator keeps some for itself.
sigset_t holdableSignals() {
  sigset_t all;
  sigset_t before;
  sigset_t held;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pthread_sigmask(SIG_SETMASK, &before, &held);
  return held;
}

// Says so when a signal could end the program now.
std::string heldText() {
  static const sigset_t holdable = holdableSignals();
  sigset_t held;
  pthread_sigmask(SIG_BLOCK, nullptr, &held);
  for (int number = 1; number <= SIGRTMAX; ++number) {
    const bool ends = number != SIGKILL && number != SIGSTOP &&
                      number != SIGTSTP && number != SIGTTIN &&
                      number != SIGTTOU && number != SIGCONT &&
                      number != SIGCHLD && number != SIGURG &&
                      number != SIGWINCH && (number < 32 || number >= SIGRTMIN);
    if (sigismember(&holdable, number) == 1 &&
        ends != (sigismember(&held, number) == 1)) {
      return " signals";
    }
  }
  return {};
}

std::string octal(mode_t mode) {
  char text[16];
  std::snprintf(text, sizeof text, "%o", static_cast<unsigned>(mode));
  return text;
}

}  // namespace

// These stand before libc's own.
extern "C" int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = (flags & O_CREAT) != 0
                        ? static_cast<mode_t>(va_arg(arguments, unsigned))
                        : mode_t{};
  va_end(arguments);
  if (simulation.active &&
      fails("open",
            shortName(path) +
                ((flags & O_CREAT) != 0 ? ' ' + octal(mode) + heldText() : "") +
                ((flags & O_EXCL) != 0 ? " new" : "") +
                ((flags & O_TRUNC) != 0 ? " emptied" : "") +
                ((flags & O_NOCTTY) != 0 ? " noctty" : "") +
                ((flags & O_CLOEXEC) != 0 ? "" : " inherited"))) {
    return -1;
  }
  return realOne<int(const char*, int, ...)>("open", "open64", "open64")(
      path, flags, mode);
}

extern "C" ssize_t write(int descriptor, const void* data, size_t size) {
  if (simulation.active) {
    if (fails("write", std::to_string(size))) {
      return -1;
    }
    size = std::min(size, simulation.largestWrite);
  }
  return realOne<ssize_t(int, const void*, size_t)>("write")(descriptor, data,
                                                             size);
}

// The disk is spared.
extern "C" int fsync(int descriptor) {
  static_cast<void>(descriptor);
  return fails("fsync") ? -1 : 0;
}

extern "C" int syncfs(int descriptor) noexcept {
  static_cast<void>(descriptor);
  return fails("syncfs") ? -1 : 0;
}

extern "C" int sync_file_range(int descriptor, off64_t, off64_t, unsigned) {
  static_cast<void>(descriptor);
  return fails("sync_file_range") ? -1 : 0;
}

// The descriptor is gone in any case.
extern "C" int close(int descriptor) {
  const bool failed = simulation.active && fails("close");
  const int error = errno;
  const int result = realOne<int(int)>("close")(descriptor);
  if (failed) {
    errno = error;
  }
  return failed ? -1 : result;
}

extern "C" int fchmod(int descriptor, mode_t mode) noexcept {
  return simulation.active && fails("fchmod", octal(mode))
             ? -1
             : realOne<int(int, mode_t)>("fchmod")(descriptor, mode);
}

extern "C" int fchown(int, uid_t owner, gid_t group) noexcept {
  const bool sameOwner = owner == static_cast<uid_t>(-1);
  const bool sameGroup = group == getegid();
  return fails("fchown", std::string(sameOwner ? "-" : "owner") +
                             (sameGroup ? " own" : " group"))
             ? -1
             : 0;
}

extern "C" int rename(const char* from, const char* to) noexcept {
  return simulation.active && fails("rename", shortName(from) + ' ' +
                                                  shortName(to) + heldText())
             ? -1
             : realOne<int(const char*, const char*)>("rename")(from, to);
}

extern "C" int renameat2(int fromFolder, const char* from, int toFolder,
                         const char* to, unsigned flags) noexcept {
  return simulation.active &&
                 fails("renameat2",
                       shortName(from) + ' ' + shortName(to) +
                           (flags == RENAME_EXCHANGE ? " exchange" : " new") +
                           heldText())
             ? -1
             : realOne<int(int, const char*, int, const char*, unsigned)>(
                   "renameat2")(fromFolder, from, toFolder, to, flags);
}

extern "C" int link(const char* from, const char* to) noexcept {
  return simulation.active && fails("link", shortName(from) + ' ' +
                                                shortName(to) + heldText())
             ? -1
             : realOne<int(const char*, const char*)>("link")(from, to);
}

extern "C" int unlink(const char* path) noexcept {
  return simulation.active && fails("unlink", shortName(path) + heldText())
             ? -1
             : realOne<int(const char*)>("unlink")(path);
}

extern "C" int stat(const char* path, struct stat* status) noexcept {
  if (simulation.active && fails("stat", shortName(path))) {
    return -1;
  }
  const int result = realOne<int(const char*, struct stat*)>(
      "stat", "stat64", "__stat64_time64")(path, status);
  if (simulation.active && result == 0 &&
      shortName(path) == simulation.foreign) {
    ++status->st_uid;
  }
  if (simulation.active && result == 0 &&
      shortName(path) == simulation.foreignGroup) {
    ++status->st_gid;
  }
  return result;
}

extern "C" int fstat(int descriptor, struct stat* status) noexcept {
  return simulation.active && fails("fstat")
             ? -1
             : realOne<int(int, struct stat*)>(
                   "fstat", "fstat64", "__fstat64_time64")(descriptor, status);
}

extern "C" ssize_t readlink(const char* path, char* link,
                            size_t size) noexcept {
  return simulation.active && fails("readlink", shortName(path))
             ? -1
             : realOne<ssize_t(const char*, char*, size_t)>("readlink")(
                   path, link, size);
}

extern "C" int faccessat(int folder, const char* path, int mode,
                         int flags) noexcept {
  return simulation.active && fails("faccessat", shortName(path))
             ? -1
             : realOne<int(int, const char*, int, int)>("faccessat")(
                   folder, path, mode, flags);
}

extern "C" uid_t geteuid() noexcept {
  return simulation.active && simulation.user ? *simulation.user
                                              : realOne<uid_t()>("geteuid")();
}

extern "C" int sigprocmask(int how, const sigset_t* set,
                           sigset_t* before) noexcept {
  if (simulation.active && simulation.missing.count("sigprocmask") != 0) {
    errno = EINVAL;
    return -1;
  }
  return pthread_sigmask(how, set, before);
}

namespace {

// The errors that each call can have, and that it says so about a file that is
// there: the wrong kind of file is none of them.
const std::map<std::string, std::vector<int>> errorsOfCalls = {
    {"open",
     {EACCES, EDQUOT, EEXIST, EINTR, EIO, ELOOP, EMFILE, ENAMETOOLONG, ENFILE,
      ENODEV, ENOENT, ENOMEM, ENOSPC, ENOTDIR, ENXIO, EOPNOTSUPP, EPERM,
      EROFS}},
    {"write", {EAGAIN, EDQUOT, EFBIG, EINTR, EINVAL, EIO, ENOSPC, EPERM}},
    {"fsync", {EDQUOT, EINTR, EINVAL, EIO, ENOSPC, EROFS}},
    {"syncfs", {EDQUOT, EIO, ENOSPC, ENOSYS}},
    {"sync_file_range", {EINVAL, EIO, ENOMEM, ENOSPC, ENOSYS, ESPIPE}},
    {"close", {EDQUOT, EINTR, EIO, ENOSPC}},
    {"fchmod", {EINTR, EIO, ENOTSUP, EPERM, EROFS}},
    {"fchown", {EINTR, EINVAL, EIO, EPERM, EROFS}},
    {"rename",
     {EACCES, EBUSY, EDQUOT, EIO, EISDIR, EMLINK, ENAMETOOLONG, ENOENT, ENOMEM,
      ENOSPC, EPERM, EROFS, EXDEV}},
    {"renameat2",
     {EACCES, EBUSY, EDQUOT, EEXIST, EINVAL, EIO, EMLINK, ENAMETOOLONG, ENOENT,
      ENOMEM, ENOSPC, ENOSYS, EPERM, EROFS, EXDEV}},
    {"link",
     {EACCES, EDQUOT, EEXIST, EINTR, EIO, EMLINK, ENOENT, ENOMEM, ENOSPC,
      EOPNOTSUPP, EPERM, EROFS, EXDEV}},
    {"unlink", {EACCES, EBUSY, EIO, ENOMEM, EPERM, EROFS}},
    {"stat",
     {EACCES, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EOVERFLOW}},
    {"fstat", {EIO, ENOMEM, EOVERFLOW}},
    {"readlink", {EACCES, EIO, ELOOP, ENAMETOOLONG, ENOMEM, ENOTDIR}},
    {"faccessat", {EACCES, EIO, EPERM, EROFS, ETXTBSY}},
};

// Outputs in a folder, and a system that lacks some calls.
struct scenario_t {
  const char* name;
  // What the names hold before; nothing for those that do not exist.
  std::map<std::string, std::optional<std::string>> targets;
  std::map<std::string, int> missing;
  std::string foreign;
  // Whether /dev/null is an output as well.
  bool direct{false};
};

std::string newBytes(const std::string& name) {
  return "the new bytes of " + name;
}

class QorhexFaults : public testing::Test {
 protected:
  ~QorhexFaults() override { simulation = Simulation(); }

  // Makes the folder of the scenario anew.
  void prepare(const scenario_t& scenario) {
    for (const std::string& name : folder.names()) {
      std::filesystem::remove_all(folder.path(name));
    }
    for (const auto& [name, old] : scenario.targets) {
      if (old) {
        folder.write(name, *old);
        chmod(folder.path(name).c_str(), 0640);
      }
    }
    simulation = Simulation();
    simulation.missing = scenario.missing;
    simulation.foreign = scenario.foreign;
  }

  // Writes the outputs of the scenario, and returns the failure's text.
  std::string write(const scenario_t& scenario) const {
    std::string text;
    {
      FilesInUse inUse({});
      OutputSet outputs;
      simulation.active = true;
      try {
        for (const auto& target : scenario.targets) {
          outputs.add(folder.path(target.first),
                      [bytes = newBytes(target.first)](OutputFile& file) {
                        append(file, bytes);
                      });
        }
        if (scenario.direct) {
          outputs.add("/dev/null",
                      [](OutputFile& file) { append(file, "direct"); });
        }
        outputs.write(inUse);
      } catch (const Failure& failure) {
        text = failure.what();
        EXPECT_EQ(failure.status, SYSTEM_FAILED) << text;
      }
    }
    simulation.active = false;
    return text;
  }

  static void append(OutputFile& file, const std::string& bytes) {
    file.append(reinterpret_cast<const unsigned char*>(bytes.data()),
                bytes.size());
  }

  // Expects each target to be whole: new without a failure; with one what it
  // was, unless the text says otherwise. Nothing else is there but what could
  // not be removed.
  void expectWhole(const scenario_t& scenario, const std::string& text) const {
    const std::size_t failedRemovals = failedCalls("unlink");
    const bool oldStays = text.rfind(folder.path() + "/.qorhex-", 0) == 0;
    std::size_t allowed = failedRemovals;
    for (const auto& [name, old] : scenario.targets) {
      const std::string newAlready =
          "; " + folder.path(name) + " is new already";
      const std::size_t told = text.find(newAlready);
      if (text.empty() || oldStays || told != std::string::npos) {
        EXPECT_EQ(folder.read(name), newBytes(name));
      } else if (old) {
        EXPECT_EQ(folder.read(name), *old);
        EXPECT_EQ(modeOf(name), 0640U);
      } else {
        EXPECT_EQ(folder.read(name), "<no file " + name + ">");
      }
      const std::string was = ", and was " + folder.path() + '/';
      if (told != std::string::npos &&
          text.compare(told + newAlready.size(), was.size(), was) == 0) {
        const std::size_t from = told + newAlready.size() + was.size();
        EXPECT_EQ(folder.read(text.substr(from, text.find(';', from) - from)),
                  *old);
        ++allowed;
      }
    }
    std::size_t others = 0;
    for (const std::string& name : folder.names()) {
      others += scenario.targets.count(name) == 0 ? 1U : 0U;
    }
    EXPECT_LE(others, allowed);
    EXPECT_TRUE(!oldStays || failedRemovals != 0);
  }

  static std::size_t failedCalls(const std::string& name) {
    const auto& fault = simulation.fault;
    if (!fault || fault->index >= simulation.names.size() ||
        simulation.names[fault->index] != name) {
      return 0;
    }
    return fault->forEver ? static_cast<std::size_t>(std::count(
                                simulation.names.begin() +
                                    static_cast<std::ptrdiff_t>(fault->index),
                                simulation.names.end(), name))
                          : 1;
  }

  mode_t modeOf(const std::string& name) const {
    struct stat status {};

    return stat(folder.path(name).c_str(), &status) == 0
               ? status.st_mode & 07777U
               : 0;
  }

  const TemporaryFolder folder;
};

// -------------------------------------------------------------- Without faults

TEST_F(QorhexFaults, AReplacementIsSyncedAndClosedBeforeItIsRenamed) {
  const scenario_t scenario{"", {{"fw.bin", "old"}}, {}, {}};
  prepare(scenario);
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(simulation.calls,
              ElementsAre("readlink fw.bin", "stat fw.bin", "faccessat fw.bin",
                          "open T0 600 new", "write 23", "fstat", "fchmod 640",
                          "fsync", "close", "rename T0 fw.bin"));
  EXPECT_EQ(folder.read("fw.bin"), "the new bytes of fw.bin");
}

TEST_F(QorhexFaults, ANewFileIsSyncedAndClosedBeforeItIsRenamed) {
  const scenario_t scenario{"", {{"fw.bin", {}}}, {}, {}};
  prepare(scenario);
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(
      simulation.calls,
      ElementsAre("readlink fw.bin", "stat fw.bin", "stat", "open T0 666 new",
                  "write 23", "fstat", "fsync", "close", "rename T0 fw.bin"));
}

TEST_F(QorhexFaults, AllAreSyncedBeforeTheFirstIsRenamed) {
  const scenario_t scenario{"", {{"a", {}}, {"b", "old"}}, {}, {}, true};
  prepare(scenario);
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(
      simulation.calls,
      ElementsAre("readlink a", "stat a", "stat", "readlink b", "stat b",
                  "faccessat b", "readlink null", "stat null",
                  "open T0 666 new", "write 18", "fstat", "open T1 600 new",
                  "write 18", "fstat", "fchmod 640", "fsync", "close", "fsync",
                  "close", "open null noctty", "write 6", "fstat", "fsync",
                  "close", "renameat2 T0 a new", "renameat2 T1 b exchange",
                  "unlink T1"));
}

TEST_F(QorhexFaults, OldFilesAreLinkedWhereTheyCannotBeExchanged) {
  const scenario_t scenario{
      "", {{"a", "old"}, {"b", "old"}}, {{"renameat2", EINVAL}}, {}};
  prepare(scenario);
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(std::vector<std::string>(simulation.calls.end() - 8,
                                       simulation.calls.end()),
              ElementsAre("renameat2 T0 a exchange", "link a T2", "rename T0 a",
                          "renameat2 T1 b exchange", "link b T3", "rename T1 b",
                          "unlink T2", "unlink T3"));
}

TEST_F(QorhexFaults, WhatCannotBeKeptIsRenamedLast) {
  const scenario_t scenario{"",
                            {{"a", "old"}, {"b", {}}},
                            {{"renameat2", ENOSYS}, {"link", EPERM}},
                            {}};
  prepare(scenario);
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(std::vector<std::string>(simulation.calls.end() - 5,
                                       simulation.calls.end()),
              ElementsAre("renameat2 T0 a exchange", "link a T2",
                          "renameat2 T1 b new", "rename T1 b", "rename T0 a"));
}

TEST_F(QorhexFaults, ManyFilesAreFlushedAtOnceAndAskedOneByOne) {
  scenario_t scenario{"", {}, {}, {}};
  for (char name = 'a'; name < 'a' + 20; ++name) {
    scenario.targets[std::string(1, name)] = "old";
  }
  prepare(scenario);
  EXPECT_EQ(write(scenario), "");
  std::vector<std::string> syncing;
  std::copy_if(simulation.names.begin(), simulation.names.end(),
               std::back_inserter(syncing), [](const std::string& name) {
                 return name.find("sync") != std::string::npos ||
                        name == "renameat2";
               });
  std::vector<std::string> expected{"syncfs"};
  expected.resize(21, "sync_file_range");
  expected.resize(41, "renameat2");
  EXPECT_EQ(syncing, expected);
}

TEST_F(QorhexFaults, FilesAreSyncedOneByOneWhereTheyCannotBeFlushedAtOnce) {
  for (const char* call : {"syncfs", "sync_file_range"}) {
    scenario_t scenario{"", {}, {{call, ENOSYS}}, {}};
    for (char name = 'a'; name < 'a' + 20; ++name) {
      scenario.targets[std::string(1, name)] = "old";
    }
    prepare(scenario);
    EXPECT_EQ(write(scenario), "");
    EXPECT_EQ(
        std::count(simulation.names.begin(), simulation.names.end(), "fsync"),
        20);
  }
}

TEST_F(QorhexFaults, AWriteIsContinued) {
  const scenario_t scenario{"", {{"fw.bin", {}}}, {}, {}};
  prepare(scenario);
  simulation.largestWrite = 10;
  EXPECT_EQ(write(scenario), "");
  EXPECT_EQ(folder.read("fw.bin"), "the new bytes of fw.bin");
  EXPECT_THAT(simulation.calls,
              testing::IsSupersetOf({"write 23", "write 13", "write 3"}));
}

// ------------------------------------------------------------------ Owners

TEST_F(QorhexFaults, TheOwnerIsKeptWithTheSetIdBits) {
  const scenario_t scenario{"", {{"fw.bin", "old"}}, {}, "fw.bin"};
  prepare(scenario);
  chmod(folder.path("fw.bin").c_str(), 06755);
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(simulation.calls,
              testing::IsSupersetOf({"fchown owner own", "fchmod 6755"}));
}

TEST_F(QorhexFaults, WithoutTheOwnerTheSetIdBitsAreLost) {
  const scenario_t scenario{
      "", {{"fw.bin", "old"}}, {{"fchown", EPERM}}, "fw.bin"};
  prepare(scenario);
  chmod(folder.path("fw.bin").c_str(), 06755);
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(simulation.calls,
              testing::IsSupersetOf(
                  {"fchown owner own", "fchown - own", "fchmod 755"}));
  EXPECT_EQ(modeOf("fw.bin"), 0755U);
}

TEST_F(QorhexFaults, TheGroupIsKept) {
  const scenario_t scenario{"", {{"fw.bin", "old"}}, {}, {}};
  prepare(scenario);
  simulation.foreignGroup = "fw.bin";
  EXPECT_EQ(write(scenario), "");
  EXPECT_THAT(simulation.calls,
              testing::IsSupersetOf({"fchown owner group", "fchmod 640"}));
}

// In a sticky folder nobody else could remove the second name again.
TEST_F(QorhexFaults, RootAndTheOwnerLinkAFileThatCannotBeExchanged) {
  const uid_t owner = getuid() + 1;
  for (const uid_t user : {uid_t{0}, owner, owner + 1}) {
    const scenario_t scenario{
        "", {{"a", "old"}, {"b", {}}}, {{"renameat2", EINVAL}}, "a"};
    prepare(scenario);
    simulation.user = user;
    EXPECT_EQ(write(scenario), "");
    EXPECT_EQ(
        std::count(simulation.names.begin(), simulation.names.end(), "link"),
        user == owner + 1 ? 0 : 1)
        << user;
  }
}

// ------------------------------------------------------------------ Faults

TEST_F(QorhexFaults, AStandardOutputThatCannotBeAskedForIsNoOutput) {
  FilesInUse inUse({});
  simulation.missing = {{"fstat", EIO}};
  simulation.active = true;
  EXPECT_NO_THROW(inUse.addStandardOutput());
  simulation.active = false;
}

// The second target cannot be placed, and the first only in one way or in none.
TEST_F(QorhexFaults, WhatCannotBeExchangedBackIsRenamedBack) {
  const scenario_t scenario{
      "", {{"a", "old a"}, {"b", "old b"}}, {{"link", EPERM}}, {}};
  prepare(scenario);
  EXPECT_EQ(write(scenario), "");
  const auto placing =
      std::find(simulation.names.begin(), simulation.names.end(), "renameat2");
  const auto second =
      static_cast<std::size_t>(placing - simulation.names.begin()) + 1;
  for (const bool renamed : {true, false}) {
    prepare(scenario);
    simulation.fault = {second, EIO, true};
    simulation.other = {second + 2, EACCES, !renamed};
    const std::string text = write(scenario);
    ASSERT_EQ(simulation.names[second], "renameat2");
    ASSERT_EQ(simulation.names[second + 2], "rename");
    const std::string refusal = folder.path("b") + ": Permission denied";
    EXPECT_EQ(folder.read("b"), "old b");
    if (renamed) {
      EXPECT_EQ(text, refusal);
      EXPECT_EQ(folder.read("a"), "old a");
      EXPECT_THAT(folder.names(), ElementsAre("a", "b"));
    } else {
      EXPECT_EQ(text.rfind(refusal + "; " + folder.path("a") +
                               " is new already, and was " + folder.path() +
                               "/.qorhex-",
                           0),
                0U)
          << text;
      expectWhole(scenario, text);
    }
  }
}

TEST_F(QorhexFaults, AnInputThatDoesNotTellItsSizeIsAFailure) {
  folder.write("fw.hex", "");
  simulation.missing = {{"fstat", EIO}};
  const std::size_t descriptors = openDescriptors();
  std::string text;
  simulation.active = true;
  try {
    const TextInput input(folder.path("fw.hex"));
  } catch (const Failure& failure) {
    text = failure.what();
  }
  simulation.active = false;
  EXPECT_EQ(text, folder.path("fw.hex") + ": Input/output error");
  EXPECT_EQ(openDescriptors(), descriptors);
}

const scenario_t scenarios[] = {
    {"ANewFile", {{"a", {}}}, {}, {}},
    {"AReplacedFile", {{"a", "old a"}}, {}, {}},
    {"SomebodyElsesFile", {{"a", "old a"}}, {}, "a"},
    {"NewAndReplaced", {{"a", "old a"}, {"b", {}}, {"c", "old c"}}, {}, {}},
    {"WithADevice", {{"a", {}}, {"b", "old b"}}, {}, {}, true},
    {"WithoutExchange",
     {{"a", "old a"}, {"b", {}}, {"c", "old c"}},
     {{"renameat2", EINVAL}},
     {}},
    {"WithoutExchangeAndLinks",
     {{"a", "old a"}, {"b", {}}, {"c", {}}},
     {{"renameat2", ENOSYS}, {"link", EPERM}},
     {}},
    {"SeveralWithoutExchangeAndLinks",
     {{"a", "old a"}, {"b", {}}, {"c", "old c"}},
     {{"renameat2", ENOSYS}, {"link", EPERM}},
     {}},
    {"WithoutSignalMasks",
     {{"a", "old a"}, {"b", {}}},
     {{"sigprocmask", EINVAL}},
     {}},
    {"ManyFiles",
     {{"a", "old"},
      {"b", "old"},
      {"c", "old"},
      {"d", "old"},
      {"e", "old"},
      {"f", "old"},
      {"g", "old"},
      {"h", "old"},
      {"i", "old"},
      {"j", {}},
      {"k", {}},
      {"l", {}},
      {"m", {}},
      {"n", {}},
      {"o", {}},
      {"p", {}},
      {"q", {}},
      {"r", {}}},
     {},
     {}},
};

class QorhexFault : public QorhexFaults,
                    public testing::WithParamInterface<scenario_t> {
 protected:
  // Errors that end nothing: the call is made again, is done all the same, or
  // can be done without.
  static bool isForgiven(const std::string& call, int error) {
    return error == EINTR || call == "fchown" || call == "syncfs" ||
           (call == "sync_file_range" &&
            (error == EINVAL || error == ENOSYS || error == ESPIPE));
  }

  void inject(const fault_t& fault) {
    prepare(GetParam());
    simulation.fault = fault;
    const std::size_t descriptors = openDescriptors();
    const std::string text = write(GetParam());
    ASSERT_LT(fault.index, simulation.names.size());
    const std::string call = simulation.calls[fault.index];
    const std::string name = simulation.names[fault.index];
    SCOPED_TRACE(call + ": " + std::strerror(fault.error) +
                 (fault.forEver ? ", for ever" : "") + ", text: " + text);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(heldText(), " signals");
    expectWhole(GetParam(), text);
    if (isForgiven(name, fault.error)) {
      EXPECT_EQ(text, "");
    } else if (isFatal(name, fault.error)) {
      EXPECT_THAT(text, testing::HasSubstr(std::strerror(fault.error)));
    }
    EXPECT_TRUE(
        std::none_of(simulation.calls.begin(), simulation.calls.end(),
                     [](const std::string& made) {
                       return made.find(" signals") != std::string::npos &&
                              simulation.missing.count("sigprocmask") == 0;
                     }));
  }

  // Errors that have to be told: those before the files are put in place.
  static bool isFatal(const std::string& name, int error) {
    if (name == "fsync") {
      // A device has nothing to sync.
      return error != EINVAL && error != EROFS;
    }
    if (name == "stat") {
      return error != ENOENT;
    }
    if (name == "open") {
      return error != EEXIST;
    }
    static const char* const told[] = {
        "write",    "close",     "fchmod",         "fstat",
        "readlink", "faccessat", "sync_file_range"};
    return std::find(std::begin(told), std::end(told), name) != std::end(told);
  }
};

TEST_P(QorhexFault, LeavesEveryTargetWhole) {
  prepare(GetParam());
  EXPECT_EQ(write(GetParam()), "");
  const std::vector<std::string> names = simulation.names;
  std::size_t count = 0;
  std::map<std::string, std::size_t> seen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    // Many files differ from few in the calls that come once for all of them.
    if (GetParam().missing.count(names[i]) != 0 ||
        (GetParam().targets.size() > 3 && ++seen[names[i]] > 2)) {
      continue;
    }
    for (const int error : errorsOfCalls.at(names[i])) {
      inject({i, error, false});
      ++count;
      // What is interrupted is tried again for ever; so many names in use take
      // their time.
      if (error != EINTR &&
          (error != EEXIST || GetParam().targets.size() == 1)) {
        inject({i, error, true});
        ++count;
      }
    }
  }
  EXPECT_GT(count, 0U);
  RecordProperty("faults", static_cast<int>(count));
  std::cout << count << " faults\n";
}

INSTANTIATE_TEST_SUITE_P(Scenarios, QorhexFault, testing::ValuesIn(scenarios),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
