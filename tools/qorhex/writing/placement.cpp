// SPDX-License-Identifier: MIT

#include "writing/placement.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

// musl came to renameat2() late; the kernel's call is the same.
#ifndef RENAME_NOREPLACE
#define RENAME_NOREPLACE 1U
#define RENAME_EXCHANGE 2U

namespace {

int renameat2(int oldFolder, const char* oldPath, int newFolder,
              const char* newPath, unsigned how) {
  return static_cast<int>(
      syscall(SYS_renameat2, oldFolder, oldPath, newFolder, newPath, how));
}

}  // namespace
#endif

namespace {

bool renameFile(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

bool renameFile(const std::string& from, const std::string& to, unsigned how) {
  return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), how) == 0;
}

}  // namespace

bool Placement::placeKeeping() {
  if (!target.exists) {
    return addNew();
  }
  if (renameFile(file.name(), target.path, RENAME_EXCHANGE)) {
    state = state_t::EXCHANGED;
    return true;
  }
  return replaceLinked();
}

// A file that appeared meanwhile may be another output, where the file system
// does not tell upper from lower case.
bool Placement::addNew() {
  if (!renameFile(file.name(), target.path, RENAME_NOREPLACE)) {
    appeared = errno == EEXIST;
    if (appeared || !renameFile(file.name(), target.path)) {
      return false;
    }
  }
  file.letGo();
  state = state_t::ADDED;
  return true;
}

// In a sticky folder nobody but its owner could remove the second name again.
bool Placement::replaceLinked() {
  const uid_t user = ::geteuid();
  if ((user != 0 && user != target.owner) || !old.createLink(target.path)) {
    return false;
  }
  if (!renameFile(file.name(), target.path)) {
    static_cast<void>(old.remove());
    return false;
  }
  file.letGo();
  state = state_t::LINKED;
  return true;
}

bool Placement::place() {
  if (isPlaced()) {
    return true;
  }
  if (appeared) {
    errno = EEXIST;
    return false;
  }
  if (!renameFile(file.name(), target.path)) {
    return false;
  }
  file.letGo();
  state = target.exists ? state_t::REPLACED : state_t::ADDED;
  return true;
}

bool Placement::takeBack() {
  bool well = true;
  if (state == state_t::EXCHANGED) {
    // The new file is the temporary one again.
    well = renameFile(file.name(), target.path, RENAME_EXCHANGE) ||
           renameFile(file.name(), target.path);
  } else if (state == state_t::LINKED) {
    well = renameFile(old.name(), target.path);
  } else if (state == state_t::ADDED) {
    well = ::unlink(target.path.c_str()) == 0;
  } else {
    well = false;  // what was replaced is gone
  }
  if (well) {
    state = state_t::APART;
  }
  return well;
}

bool Placement::removeOld() {
  if (state == state_t::EXCHANGED) {
    return file.remove();
  }
  return state != state_t::LINKED || old.remove();
}

std::string Placement::keepOld() {
  if (state == state_t::EXCHANGED) {
    file.letGo();
    return file.name();
  }
  if (state == state_t::LINKED) {
    old.letGo();
    return old.name();
  }
  return {};
}
