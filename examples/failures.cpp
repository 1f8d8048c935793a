// SPDX-License-Identifier: MIT

#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <iostream>

#include <qorutil/exception.h>
#include <qorutil/intelhex.h>
#include <qorutil/scheduler.h>

namespace {

// Call it in a handler: it tells of whatever has been caught.
void tellFailure() {
  try {
    throw;
  } catch (const std::exception& failure) {  // QorException is one
    std::cout << failure.what() << '\n';
  } catch (const char* failure) {  // of IntelHexFile::operator[]
    std::cout << failure << '\n';
  } catch (int failure) {  // of the monotonic clocks
    std::cout << "no clock: " << std::strerror(failure) << '\n';
  } catch (const QorSimpleException& failure) {  // of a program's own
    std::cout << failure << '\n';
  } catch (...) {
    std::cout << "unknown failure\n";
  }
}

template <class Work>
void attempt(Work work) {
  try {
    work();
  } catch (...) {
    tellFailure();
  }
}

[[noreturn]] void readSettings() {
  QorException failure(ENOENT, "settings");
  failure << ", needed by port " << 3;
  throw failure;
}

}  // namespace

int main() {
  attempt([] { readSettings(); });
  attempt([] { JobScheduler().runNext(std::chrono::steady_clock::now()); });
  attempt([] { IntelHexFile()[0]; });
  attempt([] { throw EPERM; });  // as getMonotonicSeconds() does
  attempt([] { throw QorSimpleException{EIO, "device lost"}; });
}
