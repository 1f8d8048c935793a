// SPDX-License-Identifier: MIT

#include "support/memory_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::string_view prefix = "memory:";

// The system gives no descriptor so high.
constexpr int firstDescriptor = 0x40000000;

std::array<MemoryFile*, 4> files{};

MemoryFile* fileOf(int descriptor) {
  return descriptor < firstDescriptor
             ? nullptr
             : files[static_cast<std::size_t>(descriptor - firstDescriptor)];
}

int openMemory(const char* path) {
  if (path == nullptr ||
      std::strncmp(path, prefix.data(), prefix.size()) != 0) {
    return -1;
  }
  const int slot = path[prefix.size()] - '0';
  files[static_cast<std::size_t>(slot)]->rewind();
  return firstDescriptor + slot;
}

// The mode comes with flags that make a file.
int openAny(const char* path, int flags, va_list arguments) {
  const int descriptor = openMemory(path);
  if (descriptor != -1) {
    return descriptor;
  }
  const bool makes = (flags & (O_CREAT | O_TMPFILE)) != 0;
  const unsigned mode = makes ? va_arg(arguments, unsigned) : 0;
  return static_cast<int>(
      syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, mode));
}

}  // namespace

MemoryFile::MemoryFile(std::string_view contents, arrival_t contentsArrive)
    : all(contents),
      left(contents),
      arrival(contentsArrive),
      slot(static_cast<std::size_t>(
          std::find(files.begin(), files.end(), nullptr) - files.begin())),
      name(std::string(prefix) + static_cast<char>('0' + slot)) {
  files.at(slot) = this;
}

MemoryFile::~MemoryFile() {
  files[slot] = nullptr;
}

void MemoryFile::rewind() {
  left = all;
  interrupts = arrival.interrupted;
}

std::ptrdiff_t MemoryFile::read(void* buffer, std::size_t size) {
  if (interrupts) {
    interrupts = false;
    errno = EINTR;
    return -1;
  }
  interrupts = arrival.interrupted;
  std::size_t count = std::min(size, left.size());
  if (arrival.piece != 0) {
    count = std::min(count, arrival.piece);
  }
  if (arrival.byLine) {
    const std::size_t feed = left.find('\n');
    count = feed == std::string_view::npos ? count : std::min(count, feed + 1);
  }
  left.copy(static_cast<char*>(buffer), count);
  left.remove_prefix(count);
  return static_cast<std::ptrdiff_t>(count);
}

// These win over those of libc, for the library and the tool too; what is none
// of the files above is passed on. With large files open() bears another name,
// and the library calls the plain one.
extern "C" int openByPlainName(const char* path, int flags,
                               ...) __asm__("open");

extern "C" int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const int descriptor = openAny(path, flags, arguments);
  va_end(arguments);
  return descriptor;
}

int openByPlainName(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const int descriptor = openAny(path, flags, arguments);
  va_end(arguments);
  return descriptor;
}

extern "C" int fstat(int descriptor, struct stat* status) noexcept {
  const MemoryFile* const file = fileOf(descriptor);
  if (file == nullptr) {
    return fstatat(descriptor, "", status, AT_EMPTY_PATH);
  }
  *status = {};
  status->st_mode = file->isRegular() ? S_IFREG : S_IFIFO;
  status->st_size = static_cast<off_t>(file->text().size());
  return 0;
}

extern "C" ssize_t read(int descriptor, void* buffer, std::size_t size) {
  MemoryFile* const file = fileOf(descriptor);
  return file != nullptr ? file->read(buffer, size)
                         : static_cast<ssize_t>(
                               syscall(SYS_read, descriptor, buffer, size));
}

extern "C" int close(int descriptor) {
  return fileOf(descriptor) != nullptr
             ? 0
             : static_cast<int>(syscall(SYS_close, descriptor));
}
