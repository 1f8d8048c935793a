// SPDX-License-Identifier: MIT

#include "support/terminal.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

int checked(int result) {
  if (result == -1) {
    throw std::system_error(errno, std::generic_category(), "PseudoTerminal");
  }
  return result;
}

int openMaster() {
  const int master = checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  checked(grantpt(master));
  checked(unlockpt(master));
  return master;
}

}  // namespace

PseudoTerminal::PseudoTerminal(unsigned short columns)
    : master(openMaster()),
      slave(checked(open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC))) {
  winsize size{};
  size.ws_row = 24;
  size.ws_col = columns;
  checked(ioctl(slave, TIOCSWINSZ, &size));
  // A terminal that nobody reads takes a few KiB only. Reading fails when
  // nobody has the other end any more.
  reader = std::thread([this] {
    char piece[4096];
    for (ssize_t count = 0; (count = read(master, piece, sizeof piece)) > 0;) {
      written.append(piece, static_cast<std::size_t>(count));
    }
  });
}

PseudoTerminal::~PseudoTerminal() {
  close();
  ::close(master);
}

void PseudoTerminal::become(int descriptor) const {
  if (dup2(slave, descriptor) == -1) {
    _exit(126);
  }
}

std::string PseudoTerminal::text() {
  close();
  return written;
}

void PseudoTerminal::close() {
  if (reader.joinable()) {
    ::close(slave);
    reader.join();
  }
}
