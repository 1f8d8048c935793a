// SPDX-License-Identifier: MIT
//
// Descriptors with an owner, and calls that a signal interrupts.

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "reading/descriptor.h"
#include "support/files.h"

namespace {

// How many of the next calls are interrupted.
int interruptions = 0;

bool isInterrupted() {
  if (interruptions == 0) {
    return false;
  }
  --interruptions;
  errno = EINTR;
  return true;
}

template <class Function>
Function* realOne(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These stand before libc's own.
extern "C" ssize_t read(int descriptor, void* data, size_t size) {
  return isInterrupted() ? -1
                         : realOne<ssize_t(int, void*, size_t)>("read")(
                               descriptor, data, size);
}

extern "C" ssize_t write(int descriptor, const void* data, size_t size) {
  return isInterrupted() ? -1
                         : realOne<ssize_t(int, const void*, size_t)>("write")(
                               descriptor, data, size);
}

namespace {

int openNull() {
  return open("/dev/null", O_RDWR | O_CLOEXEC);
}

TEST(Descriptor, IsNothingAtFirst) {
  EXPECT_FALSE(Descriptor().isOpen());
  EXPECT_EQ(Descriptor().get(), -1);
}

TEST(Descriptor, MovesToItsNextOwner) {
  const std::size_t before = openDescriptors();
  std::optional<Descriptor> next;
  {
    Descriptor first(openNull());
    next.emplace(std::move(first));
  }
  EXPECT_EQ(openDescriptors(), before + 1);
  const int number = next->get();
  Descriptor other(openNull());
  other = std::move(*next);
  next.reset();
  EXPECT_EQ(other.get(), number);
  EXPECT_EQ(openDescriptors(), before + 1);
  other.reset();
  EXPECT_EQ(openDescriptors(), before);
}

TEST(Descriptor, StaysOpenWhenItIsMovedToItself) {
  Descriptor descriptor(openNull());
  const int number = descriptor.get();
  Descriptor& same = descriptor;
  descriptor = std::move(same);
  EXPECT_EQ(descriptor.get(), number);
  EXPECT_NE(fcntl(number, F_GETFD), -1);
}

TEST(Descriptor, IsReadAndWrittenThroughInterruptions) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const Descriptor out(ends[0]);
  const Descriptor in(ends[1]);
  interruptions = 3;
  writeAll(in.get(), "text", 4, "pipe");
  EXPECT_EQ(interruptions, 0);
  char text[8];
  interruptions = 3;
  ASSERT_EQ(readSome(out.get(), text, sizeof text, "pipe"), 4U);
  EXPECT_EQ(std::string(text, 4), "text");
}

}  // namespace
