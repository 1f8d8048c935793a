// SPDX-License-Identifier: MIT

#include "support/process.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

[[noreturn]] void startProgram(const std::vector<std::string>& command,
                               const std::string& folder, int out, int err,
                               const std::function<void()>& inChild) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  if (dup2(out, STDOUT_FILENO) == -1 || dup2(err, STDERR_FILENO) == -1 ||
      chdir(folder.c_str()) == -1) {
    _exit(126);
  }
  setenv("LC_ALL", "C", 1);
  if (inChild) {
    inChild();
  }
  execv(arguments[0], arguments.data());
  _exit(127);
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

}  // namespace

processResult_t runProcess(const std::vector<std::string>& command,
                           const std::string& folder,
                           const std::function<void()>& inChild) {
  int out[2];
  const int err = memfd_create("stderr", MFD_CLOEXEC);
  if (err == -1 || pipe2(out, O_CLOEXEC) == -1) {
    throwErrno("runProcess");
  }
  const pid_t child = fork();
  if (child == -1) {
    throwErrno("fork");
  }
  if (child == 0) {
    startProgram(command, folder, out[1], err, inChild);
  }
  close(out[1]);
  processResult_t result{0, readToEnd(out[0]), {}, 0};
  close(out[0]);
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  result.peakMemory = usage.ru_maxrss;
  lseek(err, 0, SEEK_SET);
  result.err = readToEnd(err);
  close(err);
  result.status =
      WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  return result;
}
