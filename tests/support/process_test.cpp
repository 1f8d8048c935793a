// SPDX-License-Identifier: MIT
//
// That a program run by a test neither outlives the test nor holds it up.

#include "support/process.h"

#include <chrono>
#include <csignal>
#include <stdexcept>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

// What should not live on ends after so many seconds; the tests wait for half
// of them.
constexpr unsigned lifetime = 40;

// A pipe whose end for writing all processes below hold.
class Pipe {
 public:
  Pipe() {
    if (pipe(ends) != 0) {
      throw std::runtime_error("no pipe");
    }
  }

  Pipe(const Pipe&) = delete;

  Pipe& operator=(const Pipe&) = delete;

  ~Pipe() {
    close(ends[0]);
    hangUp();
  }

  void writeByte() const {
    if (write(ends[1], "x", 1) != 1) {
      _exit(99);
    }
  }

  bool readByte() const {
    char byte = 0;
    return read(ends[0], &byte, 1) == 1;
  }

  // Tells whether all others have ended.
  bool isLeft() {
    hangUp();
    pollfd waiting{ends[0], POLLIN, 0};
    return poll(&waiting, 1, lifetime * 1000 / 2) == 1 && !readByte();
  }

 private:
  void hangUp() {
    if (ends[1] != -1) {
      close(ends[1]);
      ends[1] = -1;
    }
  }

  int ends[2]{};
};

TEST(Process, OutputThatAnotherProcessHoldsIsNotWaitedFor) {
  const Pipe pipe;
  const auto begin = std::chrono::steady_clock::now();
  const processResult_t result = runProcess({"none"}, "/", [&pipe] {
    if (fork() == 0) {
      prctl(PR_SET_PDEATHSIG, 0);  // as a daemon
      pipe.writeByte();
      sleep(lifetime);
      _exit(0);
    }
    _exit(pipe.readByte() && write(STDOUT_FILENO, "text", 4) == 4 ? 7 : 99);
  });
  EXPECT_LT(std::chrono::steady_clock::now() - begin,
            std::chrono::seconds(lifetime / 2));
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.out, "text");
}

TEST(Process, WhatAProgramForksEndsWithIt) {
  Pipe pipe;
  const processResult_t result = runProcess({"none"}, "/", [] {
    if (fork() == 0) {
      sleep(lifetime);
    }
    _exit(7);
  });
  EXPECT_EQ(result.status, 7);
  EXPECT_TRUE(pipe.isLeft());
}

TEST(Process, AProgramEndsWithTheTestThatStartedIt) {
  Pipe pipe;
  const pid_t test = fork();
  if (test == 0) {
    runProcess({"none"}, "/", [&pipe] {
      pipe.writeByte();
      sleep(lifetime);
      _exit(0);
    });
    _exit(0);
  }
  ASSERT_TRUE(pipe.readByte());
  ASSERT_EQ(kill(test, SIGKILL), 0);
  ASSERT_EQ(waitpid(test, nullptr, 0), test);
  EXPECT_TRUE(pipe.isLeft());
}

TEST(Process, AProgramHasNoInput) {
  const processResult_t result = runProcess({"none"}, "/", [] {
    char byte = 0;
    _exit(read(STDIN_FILENO, &byte, 1) == 0 ? 7 : 99);
  });
  EXPECT_EQ(result.status, 7);
}

}  // namespace
