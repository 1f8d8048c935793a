// SPDX-License-Identifier: MIT

#include <cerrno>
#include <iostream>

#include <qorutil/exception.h>

namespace {

[[noreturn]] void readSettings() {
  throw QorException(ENOENT, "settings");
}

}  // namespace

int main() {
  try {
    try {
      readSettings();
    } catch (QorException& error) {
      error << ", needed by port " << 3;
      error.addError(EIO);
      throw;
    }
  } catch (const QorException& error) {
    std::cout << error.what() << '\n' << error.getErrorNumber() << '\n';
  }

  try {
    throw QorSimpleException{EIO, "device lost"};
  } catch (const QorSimpleException& error) {
    std::cout << error << '\n';
  }
}
