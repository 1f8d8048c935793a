// SPDX-License-Identifier: MIT

#include "support/process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// The parent of the next process, which ends with it.
pid_t parent = 0;

void endWithParent() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {  // it has ended before that
    _exit(125);
  }
  parent = getpid();
}

// The emulator tells of a signal that leaves a core, which no processor does.
void removeEmulatorsWords(std::string& err) {
  const std::size_t at = err.rfind("qemu: uncaught target signal ");
  if (at != std::string::npos && err.find('\n', at) == err.size() - 1) {
    err.resize(at);
  }
}

// The emulator of a cross build and its arguments; none in other builds.
std::vector<std::string> emulator() {
  std::istringstream words(QORUTIL_TEST_EMULATOR);
  std::vector<std::string> command;
  for (std::string word; words >> word;) {
    command.push_back(word);
  }
  return command;
}

[[noreturn]] void startProgram(const std::vector<std::string>& command,
                               const std::string& folder, int out, int err,
                               const std::function<void()>& inChild) {
  endWithParent();
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (dup2(in, STDIN_FILENO) == -1 || dup2(out, STDOUT_FILENO) == -1 ||
      dup2(err, STDERR_FILENO) == -1 || chdir(folder.c_str()) == -1) {
    _exit(126);
  }
  setenv("LC_ALL", "C", 1);
  if (inChild) {
    // What it forks ends with the program.
    pthread_atfork(nullptr, nullptr, endWithParent);
    inChild();
  }
  execvp(arguments[0], arguments.data());
  _exit(127);
}

bool hasEnded(pid_t child) {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(child), &info,
                WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == child;
}

std::string readToEnd(int descriptor) {
  std::string text;
  char piece[4096];
  for (ssize_t count = 0;
       (count = ::read(descriptor, piece, sizeof piece)) > 0;) {
    text.append(piece, static_cast<std::size_t>(count));
  }
  return text;
}

// All that comes from `pipe` until `child` has ended. A process that `child`
// leaves behind may hold the other end for longer.
std::string readFrom(pid_t child, int pipe) {
  constexpr int pauseInMilliseconds = 50;
  fcntl(pipe, F_SETFL, O_NONBLOCK);
  std::string text;
  for (bool ended = false; !ended;) {
    pollfd waiting{pipe, POLLIN, 0};
    const bool closed = poll(&waiting, 1, pauseInMilliseconds) > 0 &&
                        waiting.revents == POLLHUP;
    ended = closed || hasEnded(child);
    text += readToEnd(pipe);
  }
  return text;
}

}  // namespace

processResult_t runProcess(const std::vector<std::string>& command,
                           const std::string& folder,
                           const std::function<void()>& inChild) {
  std::vector<std::string> words = emulator();
  const bool isEmulated = !words.empty();
  words.insert(words.end(), command.begin(), command.end());
  int out[2];
  const int err = memfd_create("stderr", MFD_CLOEXEC);
  if (err == -1 || pipe2(out, O_CLOEXEC) == -1) {
    throwErrno("runProcess");
  }
  parent = getpid();
  const pid_t child = fork();
  if (child == -1) {
    throwErrno("fork");
  }
  if (child == 0) {
    startProgram(words, folder, out[1], err, inChild);
  }
  close(out[1]);
  processResult_t result{0, readFrom(child, out[0]), {}, 0};
  close(out[0]);
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  result.peakMemory = usage.ru_maxrss;
  lseek(err, 0, SEEK_SET);
  result.err = readToEnd(err);
  if (isEmulated) {
    removeEmulatorsWords(result.err);
  }
  close(err);
  result.status =
      WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  return result;
}

bool programsAreEmulated() {
  return !emulator().empty();
}
