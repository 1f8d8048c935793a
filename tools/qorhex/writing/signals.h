// SPDX-License-Identifier: MIT
//
// The signals that end a program.

#ifndef QORHEX_SIGNALS_H
#define QORHEX_SIGNALS_H

#include <csignal>

/// Holds back, during its life, every signal that ends a program and can be
/// caught. Leaves `errno` as it is.
class SignalsHeldBack {
 public:
  SignalsHeldBack();
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;
  ~SignalsHeldBack();

 private:
  sigset_t before{};
  bool held;
};

/// Sees to it that `act` is called before one of these signals ends the
/// program, cores dumped included. `act` does what a signal handler may do.
/// Signals that are ignored, as under nohup, stay ignored, and a handler that
/// is there already stays.
void actBeforeEnd(void (*act)());

#endif  // QORHEX_SIGNALS_H
