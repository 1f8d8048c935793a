// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace {

// No path is no file. The system would say so; to libc it is undefined.
std::FILE* createFile(const char* path) {
  if (path == nullptr) {
    errno = EFAULT;
    return nullptr;
  }
  return std::fopen(path, "wb");
}

}  // namespace

IntelHexFileBlock::IntelHexFileBlock() = default;

IntelHexFileBlock::IntelHexFileBlock(IntelHexFileBlock&) = default;

IntelHexFileBlock::~IntelHexFileBlock() {
  clear();
}

IntelHexFileBlock* IntelHexFileBlock::clone() {
  return new IntelHexFileBlock(*this);
}

void IntelHexFileBlock::clear() {
  data.clear();
  size = 0;
  extAddress = 0;
  address = 0;
}

void IntelHexFileBlock::reverseBuffer() {
  std::reverse(data.begin(), data.end());
}

bool IntelHexFileBlock::writeBinaryTo(int fd) const {
  if (data.empty()) {
    return true;
  }
  std::size_t chunk = 512;
  std::size_t remaining = data.size();
  const unsigned char* cursor = data.data();
  for (;;) {
    chunk = std::min(chunk, remaining);
    const ssize_t written = ::write(fd, cursor, chunk);
    if (written == -1) {
      std::cerr << "#ERROR: write() returns an error." << std::endl;
      return false;
    }
    cursor += written;
    remaining -= static_cast<std::size_t>(written);
    if (remaining == 0) {
      return true;
    }
  }
}

bool IntelHexFileBlock::writeBinaryTo(const char* path) const {
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
  const File file(createFile(path), std::fclose);
  if (file == nullptr) {
    std::cerr << "#ERROR: failed to create file \"" << path << '"' << std::endl;
    return false;
  }
  const int fd = fileno(file.get());
  ::fcntl(fd, F_SETFD, FD_CLOEXEC);  // "wbe" would be another mode
  return writeBinaryTo(fd);
}
