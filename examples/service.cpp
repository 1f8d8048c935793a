// SPDX-License-Identifier: MIT

// A service to start from: it reads a line of a device ten times a second,
// until a signal stops it. Between its jobs it sleeps in poll(), which signals
// end at once, and it keeps its service manager informed.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <qorutil/exception.h>
#include <qorutil/options.h>
#include <qorutil/scheduler.h>
#include <qorutil/system.h>
#include <qorutil/time.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

// As <syslog.h> numbers them.
enum priority_t { ERROR = 3, WARNING = 4, INFO = 6 };

// Owns a descriptor.
class Descriptor {
 public:
  Descriptor(int opened, const char* what) : fd(opened) {
    if (fd == -1) {
      throw QorException(errno, what);
    }
  }

  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  ~Descriptor() { close(fd); }

  int get() const { return fd; }

 private:
  int fd;
};

// Tells whether standard error is the journal: it names device and inode.
bool logsToJournal() {
  const char* const stream = std::getenv("JOURNAL_STREAM");

  struct stat status {};

  return stream != nullptr && fstat(STDERR_FILENO, &status) == 0 &&
         stream == std::to_string(status.st_dev) + ":" +
                       std::to_string(status.st_ino);
}

// Begins a line of the log. The journal has times of its own, and takes the
// priority from the prefix.
std::ostream& line(priority_t priority) {
  static const bool inJournal = logsToJournal();
  if (inJournal) {
    return std::cerr << '<' << int{priority} << '>';
  }
  return std::cerr << printTime(0) << ' ';
}

// Sends `state` to the service manager, if there is one that asked for it.
void notify(const std::string& state) {
  const char* const name = std::getenv("NOTIFY_SOCKET");
  if (name == nullptr) {
    return;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = name;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    throw QorException(EINVAL, "NOTIFY_SOCKET");
  }
  path.copy(address.sun_path, path.size());
  if (path.front() == '@') {
    address.sun_path[0] = '\0';  // not in the file system
  }
  const auto length =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
  const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0),
                          "socket");
  if (sendto(socket.get(), state.data(), state.size(), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&address), length) == -1) {
    line(WARNING) << QorException(errno, "NOTIFY_SOCKET") << std::endl;
  }
}

// Returns how often the service manager wants a sign of life; 0 for never.
microseconds watchdogTime() {
  const char* const time = std::getenv("WATCHDOG_USEC");
  const char* const process = std::getenv("WATCHDOG_PID");
  if (time == nullptr ||
      (process != nullptr && process != std::to_string(getpid()))) {
    return microseconds(0);
  }
  return microseconds(std::strtoll(time, nullptr, 10));
}

// Blocks the signals that stop the service and returns a descriptor for them.
int openSignals() {
  sigset_t signals{};
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

class Service {
 public:
  explicit Service(std::string path)
      : device(std::move(path)), signals(openSignals(), "signalfd") {
    scheduler.add(milliseconds(100), milliseconds(0), [this] { sample(); });
    const microseconds watchdog = watchdogTime();
    if (watchdog.count() > 0) {
      scheduler.add(watchdog / 2, nanoseconds(0), [] { notify("WATCHDOG=1"); });
    }
  }

  void run() {
    startJobs();
    line(INFO) << "started" << std::endl;
    notify("READY=1\nSTATUS=Reading " + device);
    while (!waitForSignal()) {
      runDueJobs();
    }
    notify("STOPPING=1");
    line(INFO) << "stopped after " << samples << " samples" << std::endl;
  }

 private:
  // A run that is over before it begins: it sets the due times.
  void startJobs() { scheduler.run(Clock::time_point(nanoseconds(1))); }

  Clock::time_point nextDueTime() const {
    Clock::time_point next = Clock::time_point::max();
    for (const JobScheduler::Job& job : scheduler.getJobs()) {
      next = std::min(next, job.next);
    }
    return next;
  }

  // Waits until the next job is due, but for the last millisecond at most,
  // which runNext() sleeps. Tells whether a signal came.
  bool waitForSignal() const {
    const auto left =
        duration_cast<milliseconds>(nextDueTime() - Clock::now()).count();
    pollfd waiting{signals.get(), POLLIN, 0};
    const int ready =
        poll(&waiting, 1,
             static_cast<int>(std::clamp<decltype(left)>(left, 0, 60000)));
    if (ready == -1 && errno != EINTR) {
      throw QorException(errno, "poll");
    }
    return ready == 1;
  }

  void runDueJobs() {
    const Clock::time_point now = Clock::now();
    const auto late = duration_cast<milliseconds>(now - nextDueTime());
    if (late < milliseconds(0)) {
      return;  // poll() was interrupted, or the wait is a long one
    }
    if (late > patience) {  // no run is skipped otherwise: all would follow
      line(WARNING) << "late by " << late.count() << " ms, starting afresh"
                    << std::endl;
      startJobs();
    }
    scheduler.runNext(Clock::now());
  }

  // What goes wrong here is told, and the next sample is another attempt.
  void sample() {
    std::string text;
    errno = 0;
    if (std::ifstream file(device); std::getline(file, text)) {
      ++samples;
    } else {
      line(ERROR) << QorException(errno, device.c_str()) << std::endl;
    }
  }

  static constexpr milliseconds patience{1000};
  const std::string device;
  const Descriptor signals;
  JobScheduler scheduler;
  int samples{0};
};

}  // namespace

int main(int argc, char** argv) {
  try {
    Options options{optionHelp, optionDevice};
    std::string device = "/proc/loadavg";
    for (int c = 0; (c = options.get(argc, argv)) != -1;) {
      if (c == optionHelp.shortName) {
        options.print(std::cout << "Usage: service [options]\n");
        return 0;
      }
      if (c != optionDevice.shortName) {
        return 2;  // getopt_long has told why
      }
      device = optarg;
    }
    Service(device).run();
    return 0;
  } catch (const std::exception& error) {
    line(ERROR) << error.what() << std::endl;
    return 1;
  }
}
