// SPDX-License-Identifier: MIT
//
// The example of a service, run as a service manager runs it.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/files.h"
#include "support/process.h"

namespace {

using testing::MatchesRegex;

// The end of a service manager that services write to. The name may begin with
// "@", which stands for a NUL.
class NotifySocket {
 public:
  explicit NotifySocket(const std::string& name)
      : fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    if (name[0] == '@') {
      address.sun_path[0] = '\0';
    }
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address),
             static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) +
                                    name.size())) == -1) {
      throw std::system_error(errno, std::generic_category(), name);
    }
  }

  NotifySocket(const NotifySocket&) = delete;
  NotifySocket& operator=(const NotifySocket&) = delete;

  ~NotifySocket() { close(fd); }

  // The next message; what says so if none comes for a minute.
  std::string next() const {
    if (!waitFor(60000)) {
      return "no message";
    }
    char text[4096];
    const ssize_t size = recv(fd, text, sizeof text, 0);
    return {text, size > 0 ? static_cast<std::size_t>(size) : 0};
  }

  // Takes what has come so far.
  void drain() const {
    while (waitFor(0)) {
      next();
    }
  }

 private:
  bool waitFor(int milliseconds) const {
    pollfd waiting{fd, POLLIN, 0};
    return poll(&waiting, 1, milliseconds) == 1;
  }

  int fd;
};

// What a machine that has other things to do makes of any run.
const std::string lateness = "<4>late by [0-9]+ ms, starting afresh\n";

class Service : public testing::Test {
 protected:
  Service() { folder.write("device", "42\nmore\n"); }

  // Starts the service with `arguments` and the environment that `prepare`
  // completes.
  void start(
      std::vector<std::string> arguments, void (*prepare)() = [] {}) {
    arguments.insert(arguments.begin(), SERVICE_PROGRAM);
    running = std::async(std::launch::async, [this, arguments, prepare] {
      return runProcess(arguments, folder.path(), [this, prepare] {
        setenv("NOTIFY_SOCKET", socketName.c_str(), 1);
        prepare();
        folder.write("pid", std::to_string(getpid()));
      });
    });
  }

  // Sends a signal to the service, which has told that it is ready.
  void send(int signal) const {
    if (kill(std::stoi(folder.read("pid")), signal) == -1) {
      throw std::system_error(errno, std::generic_category(), "kill");
    }
  }

  processResult_t result() { return running.get(); }

  TemporaryFolder folder;
  std::string socketName{folder.path("notify")};
  std::future<processResult_t> running;
};

// What systemd does for a unit with standard error in the journal.
void logToJournal() {
  struct stat status {};

  fstat(STDERR_FILENO, &status);
  const std::string stream =
      std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  setenv("JOURNAL_STREAM", stream.c_str(), 1);
}

TEST_F(Service, TellsItsManagerWhenItIsReadyAndWhenItStops) {
  const NotifySocket manager(socketName);
  start({"--device=device"}, logToJournal);
  EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Reading device");
  send(SIGTERM);
  EXPECT_EQ(manager.next(), "STOPPING=1");
  const processResult_t ended = result();
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.out, "");
  EXPECT_THAT(ended.err, MatchesRegex("<6>started\n(" + lateness +
                                      ")*<6>stopped after [0-9]+ samples\n"));
}

TEST_F(Service, FindsASocketThatIsNotInTheFileSystem) {
  socketName = "@" + folder.path("notify");
  const NotifySocket manager(socketName);
  start({"--device=device"});
  EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Reading device");
  send(SIGINT);
  EXPECT_EQ(manager.next(), "STOPPING=1");
  EXPECT_EQ(result().status, 0);
}

TEST_F(Service, GivesSignsOfLifeAsOftenAsWanted) {
  const NotifySocket manager(socketName);
  start({"-ddevice"}, [] {
    setenv("WATCHDOG_USEC", "100000", 1);
    setenv("WATCHDOG_PID", std::to_string(getpid()).c_str(), 1);
  });
  EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Reading device");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
  }
  send(SIGTERM);
  while (manager.next() == "WATCHDOG=1") {
  }
  EXPECT_EQ(result().status, 0);
}

TEST_F(Service, GivesNoSignsOfLifeForAnotherProcess) {
  const NotifySocket manager(socketName);
  start({"-ddevice"}, [] {
    setenv("WATCHDOG_USEC", "1000", 1);
    setenv("WATCHDOG_PID", "1", 1);
  });
  EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Reading device");
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  send(SIGTERM);
  EXPECT_EQ(manager.next(), "STOPPING=1");
  EXPECT_EQ(result().status, 0);
}

TEST_F(Service, DoesNotCatchUpAfterAStall) {
  const NotifySocket manager(socketName);
  start({"-ddevice"}, [] {
    logToJournal();
    setenv("WATCHDOG_USEC", "100000", 1);
  });
  manager.next();
  manager.next();
  send(SIGSTOP);
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  manager.drain();
  send(SIGCONT);
  EXPECT_EQ(manager.next(), "WATCHDOG=1");
  send(SIGTERM);
  EXPECT_THAT(result().err,
              MatchesRegex("<6>started\n(" + lateness +
                           ")+<6>stopped after [0-9]+ samples\n"));
}

TEST_F(Service, TellsOfADeviceThatFailsAndGoesOn) {
  const NotifySocket manager(socketName);
  start({"-dnowhere"}, [] {
    logToJournal();
    setenv("WATCHDOG_USEC", "200000", 1);
  });
  EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Reading nowhere");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
  }
  send(SIGTERM);
  const processResult_t ended = result();
  EXPECT_EQ(ended.status, 0);
  EXPECT_THAT(ended.err,
              MatchesRegex("<6>started\n"
                           "(<3>nowhere: No such file or directory\n|" +
                           lateness + ")+<6>stopped after 0 samples\n"));
}

TEST_F(Service, WarnsOfAManagerThatIsGone) {
  const NotifySocket manager(socketName);
  start({"-ddevice"}, logToJournal);
  manager.next();
  std::filesystem::remove(socketName);
  send(SIGTERM);
  const processResult_t ended = result();
  EXPECT_EQ(ended.status, 0);
  EXPECT_THAT(ended.err,
              MatchesRegex("<6>started\n(" + lateness +
                           ")*<4>NOTIFY_SOCKET: No such file or directory\n"
                           "<6>stopped after [0-9]+ samples\n"));
}

TEST_F(Service, WritesTimesWhereThereIsNoJournal) {
  const NotifySocket manager(socketName);
  start({"-ddevice"}, [] { setenv("JOURNAL_STREAM", "0:0", 1); });
  manager.next();
  send(SIGTERM);
  const std::string stamp =
      "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2},[0-9]{6} ";
  EXPECT_THAT(result().err, MatchesRegex(stamp + "started\n" + stamp +
                                         "stopped after [0-9]+ samples\n"));
}

TEST_F(Service, RefusesANameThatNoSocketHas) {
  socketName = std::string(200, 'x');
  start({"-ddevice"}, logToJournal);
  const processResult_t ended = result();
  EXPECT_EQ(ended.status, 1);
  EXPECT_EQ(ended.err, "<6>started\n<3>NOTIFY_SOCKET: Invalid argument\n");
}

TEST_F(Service, ShowsItsOptions) {
  start({"--help"});
  const processResult_t ended = result();
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.out,
            "Usage: service [options]\n"
            "-h           --help            This screen.\n"
            "-d <device>  --device=<device> Device to use.\n");
}

}  // namespace
