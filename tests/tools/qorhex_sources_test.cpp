// SPDX-License-Identifier: MIT
//
// FILEs that are no plain files, or do not stay what they are.

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/sanitizers.h"
#include "tools/qorhex_program.h"

namespace {

TEST_F(Qorhex, AFifoIsReadOnce) {
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  for (const std::string& text :
       {std::string(sampleText),
        dataLine(0x102, "CD") + dataLine(0x100, "ABCD") + endLine}) {
    const processResult_t result = run({"-b", "fw.bin", "fifo"}, [&] {
      if (fork() == 0) {
        const int fifo = open("fifo", O_WRONLY);
        _exit(write(fifo, text.data(), text.size()) == -1 ? 1 : 0);
      }
    });
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  }
}

TEST_F(Qorhex, StandardInputIsReadThroughItsDevice) {
  const processResult_t result = run({"/dev/stdin"}, [] {
    int ends[2];
    if (pipe(ends) != 0 ||
        write(ends[1], sampleText, sizeof sampleText - 1) == -1) {
      _exit(99);
    }
    close(ends[1]);
    dup2(ends[0], STDIN_FILENO);
  });
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "   no  first       last        size\n"
            "    0  0x00000100  0x00000103  4  4B\n"
            "total                          4  4B\n");
}

// Makes standard input a pipe that holds `text` and stays open; a program that
// waits for its end does not wait for long.
void givePipe(const std::string& text) {
  int ends[2];
  if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) == -1) {
    _exit(99);
  }
  dup2(ends[0], STDIN_FILENO);
  alarm(20);
}

TEST_F(Qorhex, StandardInputIsNotReadBeyondTheEndRecord) {
  for (const char* behind : {"\n", "\r\n", "", "\n:0", "\nrubbish\n", " \t"}) {
    const std::string text = dataLine(0, "abcd") + ":00000001FF" + behind;
    for (const char* path : {"-", "/dev/stdin"}) {
      const processResult_t result =
          run({"-b", "-", path}, [&text] { givePipe(text); });
      EXPECT_EQ(result.out, "abcd") << behind;
      EXPECT_EQ(result.err, "") << behind;
      EXPECT_EQ(result.status, 0) << behind;
    }
  }
}

// A pipe that holds `pieces`, each of them when the one before it is read, and
// stays open for as long as the program reads.
class QorhexPipe : public Qorhex {
 protected:
  processResult_t runFed(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& pieces, bool ends) {
    EXPECT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
    const std::string path = folder.path("fifo");
    std::atomic<bool> done{false};
    std::thread feeding([&] {
      sigset_t signals;
      sigemptyset(&signals);
      sigaddset(&signals, SIGPIPE);
      pthread_sigmask(SIG_BLOCK, &signals, nullptr);
      const int fifo = open(path.c_str(), O_WRONLY);
      for (const std::string& piece : pieces) {
        EXPECT_NE(write(fifo, piece.data(), piece.size()), -1);
        for (int left = 1; left != 0 && !done;) {
          usleep(1000);
          ASSERT_EQ(ioctl(fifo, FIONREAD, &left), 0);
        }
      }
      while (!ends && !done) {
        usleep(1000);
      }
      close(fifo);
    });
    processResult_t result = run(arguments, [] { alarm(20); });
    done = true;
    feeding.join();
    return result;
  }
};

TEST_F(QorhexPipe, AnEndRecordBehindManyBlanksIsNotReadBeyond) {
  const processResult_t result =
      runFed({"-b", "-", "fifo"},
             {dataLine(0, "abcd") + blanks(large) + ":00000001FF "}, false);
  EXPECT_EQ(result.out, "abcd");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

// What was read before could make up for what is still to come: the pieces go
// to one place.
TEST_F(QorhexPipe, APartOfALineIsNoLine) {
  const std::string next = dataLine(4, "efgh");
  const processResult_t result =
      runFed({"-b", "-", "fifo"},
             {abcdLine + next, abcdLine + next.substr(0, 13),
              next.substr(13) + endLine},
             true);
  EXPECT_EQ(result.out, "abcdefgh");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(QorhexPipe, APartOfALongLineIsNoLine) {
  const processResult_t result = runFed(
      {"-b", "-", "fifo"},
      {blanks(large) + abcdLine.substr(0, 13), abcdLine.substr(13) + endLine},
      true);
  EXPECT_EQ(result.out, "abcd");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

// What there is of the first two lines has the length of an end record when the
// first pieces end.
TEST_F(QorhexPipe, AnotherTextOfThatLengthEndsNothing) {
  const processResult_t result =
      runFed({"--check", "fifo"},
             {":0000000000", '\n' + abcdLine.substr(0, 11),
              abcdLine.substr(11) + ":00000001FE\n" + endLine},
             true);
  EXPECT_EQ(result.out,
            "fifo:3:10: error: wrong checksum 0xfe, the bytes give 0xff; if "
            "the bytes are right, write FF\n"
            ":00000001FE\n"
            "         ^\n"
            "fifo: 1 error, 0 warnings\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 3);
}

TEST_F(QorhexPipe, TheKindOfAFileIsThatOfAllItsPieces) {
  const processResult_t result = runFed(
      {"fifo"}, {"abc\n", std::string(4, '\0'), std::string(4, '\0')}, true);
  EXPECT_EQ(result.err,
            "fifo:1:1: error: these are raw bytes; objcopy -I binary -O ihex "
            "--change-addresses=<address> makes Intel HEX of them\n"
            "abc\n"
            "^\n");
  EXPECT_EQ(result.status, 3);
}

TEST_F(QorhexPipe, ADamagedFirstLineKeepsItsTextWhileMoreIsRead) {
  const processResult_t result = runFed(
      {"--check", "fifo"}, {":0000000\n", blanks(large) + '\n', endLine}, true);
  EXPECT_EQ(result.out,
            "fifo:1:9: error: shorter than its byte count says, 8 characters "
            "instead of 11; the line was cut, or its byte count is wrong\n"
            ":0000000\n"
            "        ^\n"
            "fifo:1:9: warning: data behind this line is checked for form "
            "alone, until a record says where it goes\n"
            ":0000000\n"
            "        ^\n"
            "fifo: 1 error, 1 warning\n");
  EXPECT_EQ(result.status, 3);
}

TEST_F(Qorhex, LinesOfAPipeAreJudgedAsTheyCome) {
  const processResult_t result =
      run({"-"}, [] { givePipe(abcdLine + "rubbish\n"); });
  EXPECT_EQ(result.err,
            "<stdin>:2:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "rubbish\n"
            "^\n");
  EXPECT_EQ(result.status, 3);
}

TEST_F(Qorhex, StandardInputHasANameAndAStem) {
  folder.write("a.hex", endLine);
  EXPECT_EQ(run({"-", "a.hex"}, [] { givePipe(sampleText); }).out,
            "<stdin>:\n"
            "   no  first       last        size\n"
            "    0  0x00000100  0x00000103  4  4B\n"
            "total                          4  4B\n"
            "a.hex:\n"
            "total  0\n");
  EXPECT_EQ(run({"-o", ".", "-"}, [] { givePipe(sampleText); }).status, 0);
  EXPECT_EQ(folder.read("stdin-00000100.bin"), "ABCD");
}

TEST_F(Qorhex, APipeGivenTwiceIsWrongUsage) {
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  const processResult_t result = run({"fifo", "./fifo"});
  EXPECT_EQ(result.err,
            "qorhex: the pipe ./fifo is given twice\n"
            "qorhex: try 'qorhex --help'\n");
  EXPECT_EQ(result.status, 2);
}

// What the library would take without a word must not come to it unchecked.
TEST_F(Qorhex, AFileThatIsRenamedOverIsOneOrTheOther) {
  const std::string sound = dataLine(0, "abcd") + endLine;
  const std::string conflicting =
      dataLine(0, "abcd") + dataLine(2, "XY") + endLine;
  folder.write("fw.hex", sound);
  std::atomic<bool> done{false};
  std::thread renaming([&] {
    while (!done) {
      for (const std::string& text : {conflicting, sound}) {
        folder.write("new", text);
        std::filesystem::rename(folder.path("new"), folder.path("fw.hex"));
        usleep(500);
      }
    }
  });
  int taken = 0;
  for (int i = 0; i < 100; ++i) {
    const processResult_t result = run({"-b", "-", "fw.hex"});
    EXPECT_EQ(result.status, result.out == "abcd" ? 0 : 3);
    EXPECT_EQ(result.out.empty(), result.status != 0);
    taken += result.status == 0 ? 1 : 0;
  }
  done = true;
  renaming.join();
  EXPECT_GT(taken, 0);
}

TEST_F(Qorhex, ABadLineOfAPipeIsShown) {
  expectRefusal(
      {"/dev/stdin"},
      "/dev/stdin:2:20: error: the text ends without an end record; the file "
      "was cut, or :00000001FF is missing\n"
      ":0401000041424344F1\n"
      "                   ^\n",
      [] {
        int ends[2];
        const std::string text = "\n:0401000041424344F1\n";
        if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) == -1) {
          _exit(99);
        }
        close(ends[1]);
        dup2(ends[0], STDIN_FILENO);
      });
}

// Made a controlling terminal, the FILE would answer to /dev/tty as well.
TEST_F(Qorhex, ATerminalIsReadWithoutBecomingTheControllingOne) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_NE(terminal, -1);
  ASSERT_EQ(grantpt(terminal), 0);
  ASSERT_EQ(unlockpt(terminal), 0);
  const std::string name = ptsname(terminal);
  const int other = open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_NE(other, -1);
  // Once for each FILE, so that a failing test does not wait.
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(write(terminal, sampleText, sizeof sampleText - 1),
              static_cast<ssize_t>(sizeof sampleText - 1));
  }
  const processResult_t result =
      run({name, "/dev/tty"}, [] { static_cast<void>(setsid()); });
  EXPECT_EQ(result.err, "qorhex: /dev/tty: No such device or address\n");
  EXPECT_THAT(result.out, testing::HasSubstr("0x00000100  0x00000103"));
  EXPECT_EQ(result.status, 4);
  close(other);
  close(terminal);
}

TEST_F(Qorhex, NothingNeedsProc) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer reads /proc";
#endif
  constexpr int notAllowed = 77;
  folder.write("fw.hex", sampleText);
  folder.write("fw.bin", "old");
  std::filesystem::create_directory(folder.path("out"));
  const auto hideProc = [] {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", "/proc", "tmpfs", 0, nullptr) != 0) {
      _exit(notAllowed);
    }
    // The loader asks /proc where the program is.
    setenv("LD_LIBRARY_PATH", QORHEX_LIBRARIES, 1);
  };
  const processResult_t result =
      run({"-b", "fw.bin", "-o", "out", "-x", "fw.hex"}, hideProc);
  if (result.status == notAllowed) {
    GTEST_SKIP() << "/proc cannot be hidden here";
  }
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  EXPECT_EQ(folder.read("out/fw-00000100.bin"), "ABCD");
}

}  // namespace
