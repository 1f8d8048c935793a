// SPDX-License-Identifier: MIT

#include "writing/signals.h"

#include <cerrno>

namespace {

// What cannot be caught, and what does not end a program.
constexpr int otherSignals[] = {SIGKILL, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU,
                                SIGCONT, SIGCHLD, SIGURG,  SIGWINCH};

void (*actAtEnd)() = nullptr;

sigset_t setOfEndingSignals() {
  sigset_t set;
  sigfillset(&set);
  for (const int number : otherSignals) {
    sigdelset(&set, number);
  }
  return set;
}

// The default action is back in place by now, and takes effect on return.
extern "C" void endBySignal(int number) {
  actAtEnd();
  raise(number);
}

}  // namespace

SignalsHeldBack::SignalsHeldBack() {
  const int error = errno;
  const sigset_t set = setOfEndingSignals();
  held = sigprocmask(SIG_BLOCK, &set, &before) == 0;
  errno = error;
}

SignalsHeldBack::~SignalsHeldBack() {
  const int error = errno;
  if (held) {
    sigprocmask(SIG_SETMASK, &before, nullptr);
  }
  errno = error;
}

void actBeforeEnd(void (*act)()) {
  actAtEnd = act;

  struct sigaction action {};

  action.sa_handler = endBySignal;
  action.sa_mask = setOfEndingSignals();
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (int number = 1; number <= SIGRTMAX; ++number) {
    struct sigaction before {};

    if (sigismember(&action.sa_mask, number) == 1 &&
        sigaction(number, nullptr, &before) == 0 &&
        before.sa_handler == SIG_DFL) {
      sigaction(number, &action, nullptr);
    }
  }
}
