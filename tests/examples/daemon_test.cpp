// SPDX-License-Identifier: MIT
//
// The example of a daemon, run as its users run it.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/files.h"
#include "support/process.h"

namespace {

using testing::MatchesRegex;

// Replaces every "T" that begins a line by the pattern of a time stamp.
std::string withTimes(std::string lines) {
  const std::string stamp =
      "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2},[0-9]{6}";
  for (std::size_t at = 0; at < lines.size(); at = lines.find('\n', at) + 1) {
    lines.replace(at, 1, stamp);
  }
  return lines;
}

class Daemon : public testing::Test {
 protected:
  Daemon() { folder.write("device", "42\nmore\n"); }

  // A run that no test stops ends after a minute.
  processResult_t run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {DAEMON_PROGRAM, "--loops=600"});
    return runProcess(arguments, folder.path());
  }

  // Waits until the log holds `text` and returns it whole.
  std::string logWith(const std::string& text) const {
    for (int i = 0; i < 2000; ++i) {
      const std::string log = folder.read("log");
      if (log.find(text) != std::string::npos && log.back() == '\n') {
        return log;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error("the log never holds " + text);
  }

  // The process that the log tells of, once it has begun to work.
  pid_t process() const {
    const std::string log = logWith("sample 1");
    return std::stoi(log.substr(log.find("process ") + 8));
  }

  TemporaryFolder folder;
};

TEST_F(Daemon, RunsItsJobsInTheForegroundAsOftenAsAsked) {
  const processResult_t result =
      run({"--no-daemon", "--loops=3", "--verbose", "--device=device"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out,
              MatchesRegex(withTimes("T started, process [0-9]+\n"
                                     "T sample 1: 42\n"
                                     "T sample 2: 42\n"
                                     "T 2 samples so far\n"
                                     "T sample 3: 42\n"
                                     "T stopped after 3 samples\n")));
  EXPECT_EQ(result.err, "");
}

TEST_F(Daemon, ListsItsJobsWhenDebugged) {
  const processResult_t result = run({"-n", "-D", "-l1", "-ddevice"});
  const std::string due = ",00:00:00.000000000\\)\n";
  EXPECT_THAT(result.out,
              MatchesRegex(withTimes("T started, process [0-9]+\n"
                                     "T job \\(100000000ns,0ns" +
                                     due + "T job \\(1000000000ns,150000000ns" +
                                     due + "T job \\(50000000ns,0ns" + due +
                                     "T stopped after 1 samples\n")));
}

TEST_F(Daemon, LeavesTheTerminalAndStopsOnASignal) {
  const processResult_t result = run({"-v", "--device=device", "--log=log"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out + result.err, "");

  const pid_t daemon = process();
  const std::string proc = "/proc/" + std::to_string(daemon);
  EXPECT_EQ(getsid(daemon), daemon);
  EXPECT_EQ(std::filesystem::read_symlink(proc + "/cwd"), "/");
  EXPECT_EQ(std::filesystem::read_symlink(proc + "/fd/1"), "/dev/null");

  ASSERT_EQ(kill(daemon, SIGTERM), 0);
  EXPECT_THAT(logWith("stopped"),
              MatchesRegex(withTimes("T started, process [0-9]+\n"
                                     "T sample 1: 42\n") +
                           "(.*\n)*" +
                           withTimes("T signal 15\n"
                                     "T stopped after [0-9]+ samples\n")));
}

TEST_F(Daemon, StopsOnTheInterruptKeyInTheForeground) {
  std::thread key([this] { kill(process(), SIGINT); });
  const processResult_t result =
      run({"--no-daemon", "-v", "--device=device", "--log=log"});
  key.join();
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(logWith("stopped"), testing::HasSubstr(" signal 2\n"));
}

TEST_F(Daemon, EndsWhenTheDeviceGoesAway) {
  EXPECT_EQ(run({"-v", "--device=device", "--log=log"}).status, 0);
  process();
  ASSERT_TRUE(std::filesystem::remove(folder.path("device")));
  EXPECT_THAT(logWith("failed"),
              testing::EndsWith(" failed: " + folder.path("device") +
                                ": No such file or directory\n"));
}

TEST_F(Daemon, TellsOfAMissingDeviceOnTheTerminal) {
  const processResult_t result = run({"--device=/missing/device"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "daemon: /missing/device: No such file or directory\n");
}

TEST_F(Daemon, TellsOfALogThatCannotBeWritten) {
  const processResult_t result = run({"--device=device", "--log=missing/log"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "daemon: missing/log: No such file or directory\n");
}

TEST_F(Daemon, RefusesNumbersThatAreNone) {
  for (const char* option : {"--loops=x", "--loops=", "--loops=-1"}) {
    const processResult_t result = run({"-n", option});
    EXPECT_EQ(result.status, 1) << option;
    EXPECT_EQ(result.err, "daemon: loops: Invalid argument\n") << option;
  }
  EXPECT_EQ(run({"--debug=x"}).err, "daemon: debug: Invalid argument\n");
}

TEST_F(Daemon, RefusesAnUnknownOption) {
  const processResult_t result = run({"--fast"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            std::string(DAEMON_PROGRAM) + ": unrecognized option '--fast'\n");
}

TEST_F(Daemon, ShowsItsOptions) {
  const processResult_t result = run({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "Usage: daemon [options]\n"
            "-h            --help            This screen.\n"
            "-v            --verbose         Increase verbosity. Can be "
            "specified more than once.\n"
            "-D [<level>]  --debug[=<level>] Set debug level.\n"
            "-d <device>   --device=<device> Device to use.\n"
            "-l <loops>    --loops=<loops>   Loop count (0..max), "
            "default=0=forever.\n"
            "-n            --no-daemon       Run in foreground.\n"
            "-o <file>     --log=<file>      Append the log to a file.\n");
  EXPECT_EQ(result.err, "");
}

}  // namespace
