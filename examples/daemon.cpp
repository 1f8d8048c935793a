// SPDX-License-Identifier: MIT

// A daemon to start from: it reads a line of a device ten times a second and
// reports now and then, until it has done so often enough or gets a signal.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <unistd.h>

#include <qorutil/exception.h>
#include <qorutil/options.h>
#include <qorutil/scheduler.h>
#include <qorutil/system.h>
#include <qorutil/time.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

struct settings_t {
  std::string device{"/proc/loadavg"};
  std::string logFile;
  int loops{0};  // 0 for ever
  int verbosity{0};
  int debugLevel{0};
  bool inForeground{false};
  bool wantsHelp{false};
};

volatile std::sig_atomic_t stopSignal = 0;

extern "C" void requestStop(int signal) {
  stopSignal = signal;
}

std::string readLine(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw QorException(errno, path.c_str());
  }
  std::string line;
  if (!std::getline(file, line)) {
    throw QorException(ENODATA, path.c_str());
  }
  return line;
}

// The jobs and what they share.
class Sampler {
 public:
  Sampler(const settings_t& chosen, std::ostream& os)
      : settings(chosen), log(os) {
    scheduler.add(milliseconds(100), milliseconds(0), [this] { sample(); })
        .add(milliseconds(1000), milliseconds(150), [this] { report(); })
        .add(milliseconds(50), milliseconds(0), [this] { watchSignals(); });
  }

  void run() {
    line() << "started, process " << getpid() << std::endl;
    if (settings.debugLevel > 0) {
      for (const JobScheduler::Job& job : scheduler.getJobs()) {
        line() << "job " << std::showbase << job << std::endl;
      }
    }
    scheduler.run(until);
    line() << "stopped after " << samples << " samples" << std::endl;
  }

 private:
  std::ostream& line() { return log << printTime(0) << ' '; }

  // The scheduler reads `until` anew before each batch. It means for ever as
  // long as it is 0; any other time so early is over.
  void stop() { until = Clock::time_point(nanoseconds(1)); }

  void sample() {
    const std::string text = readLine(settings.device);
    ++samples;
    if (settings.verbosity > 0) {
      line() << "sample " << samples << ": " << text << std::endl;
    }
    if (samples == settings.loops) {
      stop();
    }
  }

  void report() { line() << samples << " samples so far" << std::endl; }

  // Signals do not end the scheduler's sleep, so a job looks for them.
  void watchSignals() {
    if (stopSignal != 0) {
      line() << "signal " << stopSignal << std::endl;
      stop();
    }
  }

  const settings_t& settings;
  std::ostream& log;
  JobScheduler scheduler;
  Clock::time_point until{};
  int samples{0};
};

// Returns the number in `text`; 1 for an optional argument that was not given.
int toNumber(const char* text, const char* name) {
  if (text == nullptr) {
    return 1;
  }
  char* end = nullptr;
  const long number = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || number < 0 || number > 1000000) {
    throw QorException(EINVAL, name);
  }
  return static_cast<int>(number);
}

// Returns whether the command line is sound; if not, getopt_long has told why.
bool readOptions(int argc, char** argv, Options& options,
                 settings_t& settings) {
  for (int c = 0; (c = options.get(argc, argv)) != -1;) {
    if (c == optionHelp.shortName) {
      settings.wantsHelp = true;
    } else if (c == optionVerbose.shortName) {
      ++settings.verbosity;
    } else if (c == optionDebug.shortName) {
      settings.debugLevel = toNumber(optarg, "debug");
    } else if (c == optionDevice.shortName) {
      settings.device = std::filesystem::absolute(optarg);
    } else if (c == optionLoops.shortName) {
      settings.loops = toNumber(optarg, "loops");
    } else if (c == optionNoDaemon.shortName) {
      settings.inForeground = true;
    } else if (c == 'o') {
      settings.logFile = optarg;
    } else {
      return false;
    }
  }
  return true;
}

void serve(const settings_t& settings) {
  readLine(settings.device);  // what is wrong now shows on the terminal
  std::ofstream logFile;
  if (!settings.logFile.empty()) {
    logFile.open(settings.logFile, std::ios_base::app);
    if (!logFile) {
      throw QorException(errno, settings.logFile.c_str());
    }
  }
  std::signal(SIGTERM, requestStop);
  std::signal(SIGINT, requestStop);
  if (!settings.inForeground && daemon(0, 0) == -1) {
    throw QorException(errno, "daemon");
  }

  std::ostream& log = logFile.is_open() ? logFile : std::cout;
  try {
    Sampler(settings, log).run();
  } catch (const std::exception& error) {
    log << printTime(0) << " failed: " << error.what() << std::endl;
    throw;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* const name = progname(argv[0]);
  try {
    optionDebug.shortName = 'D';  // 'd' is the device's
    Options options{optionHelp,   optionVerbose, optionDebug,
                    optionDevice, optionLoops,   optionNoDaemon};
    options.add({'o', "log", "file", true, "Append the log to a file."});
    settings_t settings;
    if (!readOptions(argc, argv, options, settings)) {
      return 2;
    }
    if (settings.wantsHelp) {
      options.print(std::cout << "Usage: " << name << " [options]\n");
      return 0;
    }
    serve(settings);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << name << ": " << error.what() << std::endl;
    return 1;
  }
}
