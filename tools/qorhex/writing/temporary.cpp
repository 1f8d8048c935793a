// SPDX-License-Identifier: MIT

#include "writing/temporary.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "writing/signals.h"

namespace {

// More names than files that a killed program of the same number left behind.
constexpr int mostNames = 100000;

// The head of the list. It has no destructor, as a signal may come until the
// very end.
TemporaryFile* firstTemporary = nullptr;

// Calls `make` with a new name in `folder` until one is free, and returns what
// it returns: -1 with the reason in `errno` when it fails.
template <class Make>
int makeUnderNewName(const std::string& folder, std::string& path,
                     const Make& make) {
  static unsigned serial = 0;
  int result = -1;
  for (int i = 0; i < mostNames && result == -1; ++i) {
    path = folder + ".qorhex-" + std::to_string(::getpid()) + '-' +
           std::to_string(serial++);
    result = make(path.c_str());
    if (result == -1 && errno != EEXIST && errno != EINTR) {
      break;
    }
  }
  return result;
}

}  // namespace

TemporaryFile::~TemporaryFile() {
  if (listed) {
    static_cast<void>(remove());
  }
}

Descriptor TemporaryFile::create(const std::string& folder, mode_t mode) {
  const SignalsHeldBack heldBack;  // list and folder agree when one arrives
  Descriptor file(makeUnderNewName(folder, path, [mode](const char* name) {
    return ::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  }));
  if (file.isOpen()) {
    enlist();
  }
  return file;
}

bool TemporaryFile::createLink(const std::string& existing) {
  const SignalsHeldBack heldBack;
  if (makeUnderNewName(folderOf(existing), path, [&existing](const char* name) {
        return ::link(existing.c_str(), name);
      }) == -1) {
    return false;
  }
  enlist();
  return true;
}

bool TemporaryFile::remove() {
  const SignalsHeldBack heldBack;
  letGo();
  return ::unlink(path.c_str()) == 0;
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

void TemporaryFile::letGo() {
  if (!listed) {
    return;
  }
  const SignalsHeldBack heldBack;
  (previous != nullptr ? previous->next : firstTemporary) = next;
  if (next != nullptr) {
    next->previous = previous;
  }
  previous = nullptr;
  next = nullptr;
  listed = false;
}

void removeOnSignals() {
  actBeforeEnd(TemporaryFile::removeAll);
}

std::string folderOf(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}
