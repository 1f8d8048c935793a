// SPDX-License-Identifier: MIT

#include "reading/descriptor.h"

#include <cerrno>
#include <utility>

#include <unistd.h>

#include "reading/failure.h"

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    reset();
    number = other.release();
  }
  return *this;
}

int Descriptor::release() {
  return std::exchange(number, -1);
}

void Descriptor::reset() {
  if (isOpen()) {
    ::close(release());
  }
}

std::size_t readSome(int descriptor, char* buffer, std::size_t size,
                     const std::string& subject) {
  for (;;) {
    const ssize_t count = ::read(descriptor, buffer, size);
    if (count >= 0) {
      return static_cast<std::size_t>(count);
    }
    if (errno != EINTR) {
      throwSystemError(subject);
    }
  }
}

void writeAll(int descriptor, const void* data, std::size_t size,
              const std::string& subject) {
  const auto* cursor = static_cast<const char*>(data);
  while (size != 0) {
    const ssize_t written = ::write(descriptor, cursor, size);
    if (written >= 0) {
      cursor += written;
      size -= static_cast<std::size_t>(written);
    } else if (errno != EINTR) {
      throwSystemError(subject);
    }
  }
}
