// SPDX-License-Identifier: MIT

#include "writing/temporary.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int endingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

// The head of the list. It has no destructor, as a signal may come until the
// very end.
TemporaryFile* firstTemporary = nullptr;

sigset_t setOfEndingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : endingSignals) {
    sigaddset(&set, number);
  }
  return set;
}

// Holds the signals back, so that list and folder agree whenever one arrives.
class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    const sigset_t set = setOfEndingSignals();
    sigprocmask(SIG_BLOCK, &set, &before);
  }

  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

  ~SignalsHeldBack() {
    const int error = errno;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    errno = error;
  }

 private:
  sigset_t before{};
};

// The default action is back in place by now, and takes effect on return.
extern "C" void endBySignal(int number) {
  TemporaryFile::removeAll();
  raise(number);
}

}  // namespace

TemporaryFile::TemporaryFile(std::string folder)
    : folderName(std::move(folder)) {}

TemporaryFile::~TemporaryFile() {
  if (listed) {
    const SignalsHeldBack heldBack;
    ::unlink(path.c_str());
    strikeOff();
  }
}

Descriptor TemporaryFile::create(mode_t mode) {
  static unsigned serial = 0;
  Descriptor file;
  do {
    path = folderName + ".qorhex-" + std::to_string(::getpid()) + '-' +
           std::to_string(serial++);
    const SignalsHeldBack heldBack;
    file = Descriptor(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (file.isOpen()) {
      enlist();
    }
  } while (!file.isOpen() && errno == EEXIST);
  return file;
}

bool TemporaryFile::renameTo(const std::string& finalPath) {
  const SignalsHeldBack heldBack;
  if (std::rename(path.c_str(), finalPath.c_str()) != 0) {
    return false;
  }
  strikeOff();
  return true;
}

void TemporaryFile::removeAll() {
  for (const TemporaryFile* file = firstTemporary; file != nullptr;
       file = file->next) {
    ::unlink(file->path.c_str());
  }
}

void TemporaryFile::enlist() {
  next = firstTemporary;
  if (next != nullptr) {
    next->previous = this;
  }
  firstTemporary = this;
  listed = true;
}

void TemporaryFile::strikeOff() {
  (previous != nullptr ? previous->next : firstTemporary) = next;
  if (next != nullptr) {
    next->previous = previous;
  }
  listed = false;
}

void removeOnSignals() {
  struct sigaction action {};

  action.sa_handler = endBySignal;
  action.sa_mask = setOfEndingSignals();
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int number : endingSignals) {
    struct sigaction before {};

    if (sigaction(number, nullptr, &before) == 0 &&
        before.sa_handler != SIG_IGN) {
      sigaction(number, &action, nullptr);
    }
  }
}
