// SPDX-License-Identifier: MIT
//
// The files that qorhex writes, and its progress.

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/sanitizers.h"
#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

const std::string sparseText = dataLine(0, "abcd") + baseLine(4, 0xFFFF) +
                               dataLine(0xFFF0, "efgh") + endLine;

TEST_F(Qorhex, OutputWritesEverySegmentOfASparseImage) {
  folder.write("sub.fw.hex", sparseText);
  std::filesystem::create_directory(folder.path("out"));
  const processResult_t result = run({"--output=out", "./sub.fw.hex"});
  EXPECT_LT(result.peakMemory, 256 << 10);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("out/sub.fw-00000000.bin"), "abcd");
  EXPECT_EQ(folder.read("out/sub.fw-fffffff0.bin"), "efgh");
  EXPECT_THAT(folder.names(), ElementsAre("out", "sub.fw.hex"));
}

TEST_F(Qorhex, BinaryRefusesASpanBeyondTheLimit) {
  folder.write("fw.hex", sparseText);
  expectRefusal(
      {"-b", "fw.bin", "fw.hex"},
      "qorhex: fw.hex: the image spans 4294967284 bytes (4GiB) from "
      "0x00000000 to 0xfffffff3, more than the 268435456 (256MiB) that "
      "--max-size allows for --binary\n");
  expectRefusal({"-b", "fw.bin", "-o", ".", "--max-size=1K", "fw.hex"},
                "qorhex: fw.hex: the image spans 4294967284 bytes (4GiB) from "
                "0x00000000 to 0xfffffff3, more than the 1024 (1KiB) that "
                "--max-size allows for --binary\n");
}

TEST_F(Qorhex, ASpanBeyondTheLimitNamesStandardInput) {
  folder.write("fw.hex", sparseText);
  const auto takeFile = [this] {
    const int descriptor = open(folder.path("fw.hex").c_str(), O_RDONLY);
    dup2(descriptor, STDIN_FILENO);
  };
  expectRefusal(
      {"-b", "fw.bin", "-"},
      "qorhex: <stdin>: the image spans 4294967284 bytes (4GiB) from "
      "0x00000000 to 0xfffffff3, more than the 268435456 (256MiB) that "
      "--max-size allows for --binary\n",
      takeFile);
}

TEST_F(Qorhex, TheLimitItselfIsAllowed) {
  folder.write("fw.hex", dataLine(0, "a") + dataLine(0x3FF, "b") + endLine);
  EXPECT_EQ(run({"-b", "fw.bin", "--max-size=1023", "fw.hex"}).status, 3);
  EXPECT_EQ(run({"-b", "fw.bin", "--max-size=1K", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw.bin"), 'a' + std::string(1022, '\xFF') + 'b');
}

TEST_F(Qorhex, LongGapsAreFilled) {
  expectImage(dataLine(1, "a") + baseLine(4, 3) + dataLine(7, "b") + endLine,
              'a' + std::string(0x30005, '\xFF') + 'b');
}

TEST_F(Qorhex, LargeImagesArriveWhole) {
  std::mt19937 generator(7);
  std::string image;
  std::string text;
  for (unsigned i = 0; i < 12000; ++i) {
    std::string data(16, '\0');
    std::generate(data.begin(), data.end(),
                  [&] { return static_cast<char>(generator()); });
    if (image.size() % 0x10000 == 0) {
      text += baseLine(4, static_cast<unsigned>(image.size() >> 16U));
    }
    text += dataLine(image.size() & 0xFFFFU, data);
    image += data;
  }
  expectImage(text + endLine, image);
  expectImage(text + recordLine(5, 0, "main") + endLine, image);
  std::reverse(image.begin(), image.end());
  expectImage(text + endLine, image, "", {"-r"});
}

TEST_F(Qorhex, LinesMayBeCutAnywhereBetweenTwoReads) {
  std::string image;
  std::string text;
  while (text.size() < large) {  // of which 128 KiB are read at a time
    const std::string data(16, static_cast<char>(image.size() >> 4U));
    if (image.size() % 0x10000 == 0) {
      text += baseLine(4, static_cast<unsigned>(image.size() >> 16U));
    }
    text += dataLine(image.size() & 0xFFFFU, data);
    text.insert(text.size() - 1, "\r");
    image += data;
  }
  // Every blank moves the edges of the pieces by one character.
  for (std::size_t count = 0; count < 46; ++count) {
    folder.write("fw.hex", blanks(count) + text + endLine);
    const processResult_t result = run({"-b", "-", "fw.hex"});
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out == image) << count;
  }
}

TEST_F(Qorhex, AnEmptyImageGivesAnEmptyBinaryAndNoSegments) {
  expectImage(endLine, "");
  EXPECT_EQ(run({"-o", ".", "fw.hex"}).status, 0);
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(Qorhex, ReverseTurnsEachSegmentAsOneSequence) {
  const std::string text = dataLine(0xFFFE, "ab") + baseLine(4, 1) +
                           dataLine(0, "cd") + dataLine(6, "xyz") + endLine;
  expectImage(text, "dcba\xFF\xFF\xFF\xFFzyx", "", {"-r"});
  EXPECT_EQ(run({"-r", "-o", ".", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw-0000fffe.bin"), "dcba");
  EXPECT_EQ(folder.read("fw-00010006.bin"), "zyx");
}

TEST_F(Qorhex, ManySegmentsAreListed) {
  std::string text;
  for (unsigned i = 0; i < 300; ++i) {
    text += dataLine(i * 3, "ab");
  }
  folder.write("fw.hex", text + endLine);
  const std::string listing = run({"fw.hex"}).out;
  EXPECT_EQ(std::count(listing.begin(), listing.end(), '\n'), 302);
  EXPECT_NE(listing.find("\n  299  0x00000381  0x00000382    2    2B\n"),
            std::string::npos);
}

TEST_F(Qorhex, AListingThatMemoryDoesNotHoldIsAnError) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer needs more address space than the limits";
#endif
  std::string text;
  for (unsigned i = 0; i < 20000; ++i) {
    text += dataLine(i * 3, "a");
  }
  folder.write("fw.hex", text + endLine);
  const std::string whole = run({"fw.hex"}).out;
  for (rlim_t limit = 6 << 20; limit <= 16 << 20; limit += 512 << 10) {
    const processResult_t result = run({"fw.hex"}, [limit] {
      const rlimit space{limit, limit};
      setrlimit(RLIMIT_AS, &space);
    });
    EXPECT_EQ(result.out, result.status == 0 ? whole : "") << limit;
    EXPECT_EQ(result.err.empty(), result.status == 0) << limit;
  }
}

// That is read before any FILE.
TEST_F(Qorhex, AMapThatMemoryDoesNotHoldIsAnError) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer needs more address space than the limits";
#endif
  if (programsAreEmulated()) {
    GTEST_SKIP() << "the emulator needs more address space than the limits";
  }
  std::string map;
  for (unsigned i = 0; i < 100000; ++i) {
    map += 'r' + std::to_string(i) + ' ' + std::to_string(i) + "+1\n";
  }
  folder.write("map", map);
  folder.write("fw.hex", abcdLine + endLine);
  int failures = 0;
  for (rlim_t limit = 8 << 20; limit <= 24 << 20; limit += 1 << 20) {
    const processResult_t result =
        run({"--map=map", "-b", "-", "fw.hex"}, [limit] {
          const rlimit space{limit, limit};
          setrlimit(RLIMIT_AS, &space);
        });
    EXPECT_EQ(result.out, result.status == 0 ? "abcd" : "") << limit;
    EXPECT_EQ(result.err.empty(), result.status == 0) << limit;
    // With less it is the loader that gives up.
    if (result.status == 4) {
      EXPECT_THAT(result.err, testing::MatchesRegex("qorhex: [^\n]+\n"));
      ++failures;
    }
  }
  EXPECT_GT(failures, 0);
}

TEST_F(Qorhex, ManySegmentsAreWritten) {
  std::string text;
  for (unsigned i = 0; i < 40; ++i) {
    text += dataLine(i * 3, "ab");
  }
  folder.write("fw.hex", text + endLine);
  EXPECT_EQ(run({"-o", ".", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.names().size(), 41U);
  EXPECT_EQ(folder.read("fw-00000075.bin"), "ab");
}

// They are held open until they are synced together, but not all of them.
TEST_F(Qorhex, ManySegmentsTakeFewDescriptors) {
  std::string text;
  for (unsigned i = 0; i < 100; ++i) {
    text += dataLine(i * 3, "ab");
  }
  folder.write("fw.hex", text + endLine);
  const processResult_t result = run({"-o", ".", "fw.hex"}, [] {
    const rlimit descriptors{40, 40};
    setrlimit(RLIMIT_NOFILE, &descriptors);
  });
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.names().size(), 101U);
}

TEST_F(Qorhex, TheBinaryMayHaveTheNameOfASegmentElsewhere) {
  folder.write("fw.hex", abcdLine + endLine);
  std::filesystem::create_directory(folder.path("o"));
  EXPECT_EQ(run({"-o", "o", "-b", "fw-00000000.bin", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw-00000000.bin"), "abcd");
  EXPECT_EQ(folder.read("o/fw-00000000.bin"), "abcd");
}

TEST_F(Qorhex, TheOutputFolderMustExist) {
  folder.write("fw.hex", sampleText);
  expectFailure({"-o", "none", "fw.hex"},
                "qorhex: none: No such file or directory\n");
  expectFailure({"-o", "fw.hex", "fw.hex"},
                "qorhex: fw.hex: Not a directory\n");
  expectFailure({"-b", "none/fw.bin", "fw.hex"},
                "qorhex: none/fw.bin: No such file or directory\n");
  expectFailure({"-b", "none/", "fw.hex"},
                "qorhex: none/: No such file or directory\n");
  // Told before anything is on its way.
  expectFailure({"-b", "", "--ihex=-", "fw.hex"},
                "qorhex: : No such file or directory\n");
}

TEST_F(Qorhex, AFolderIsNoTarget) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_directory(folder.path("fw.bin"));
  expectFailure({"-b", "fw.bin", "fw.hex"}, "qorhex: fw.bin: Is a directory\n");
}

TEST_F(Qorhex, ANewFileHasTheModeOfTheUmask) {
  folder.write("fw.hex", sampleText);
  EXPECT_EQ(run({"-b", "fw.bin", "fw.hex"}, [] { umask(027); }).status, 0);

  struct stat status {};

  ASSERT_EQ(stat(folder.path("fw.bin").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(Qorhex, AReplacedFileKeepsItsMode) {
  folder.write("fw.hex", sampleText);
  folder.write("fw.bin", "old and longer");
  chmod(folder.path("fw.bin").c_str(), 0751);
  EXPECT_EQ(run({"-b", "fw.bin", "fw.hex"}, [] { umask(077); }).status, 0);

  struct stat status {};

  ASSERT_EQ(stat(folder.path("fw.bin").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0751U);
  EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  EXPECT_THAT(folder.names(), ElementsAre("fw.bin", "fw.hex"));
}

TEST_F(Qorhex, SymbolicLinksAreFollowed) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_directory(folder.path("sub"));
  folder.write("sub/real.bin", "old");
  std::filesystem::create_symlink("real.bin", folder.path("sub/inner"));
  std::filesystem::create_symlink("sub/inner", folder.path("outer"));
  EXPECT_EQ(run({"-b", "outer", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("sub/real.bin"), "ABCD");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("outer")));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("sub/inner")));
}

TEST_F(Qorhex, ADanglingLinkIsFollowed) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_directory(folder.path("sub"));
  std::filesystem::create_symlink(folder.path("sub/new.bin"),
                                  folder.path("link"));
  EXPECT_EQ(run({"-b", "link", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("sub/new.bin"), "ABCD");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
}

TEST_F(Qorhex, ALoopOfLinksIsAnError) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_symlink("b", folder.path("a"));
  std::filesystem::create_symlink("a", folder.path("b"));
  expectFailure({"-b", "a", "fw.hex"},
                "qorhex: a: Too many levels of symbolic links\n");
}

TEST_F(Qorhex, OwnDescriptorsHaveANumber) {
  folder.write("fw.hex", sampleText);
  for (const char* list : {"/dev/fd/", "/proc/self/fd/"}) {
    const std::string name = list;
    // Told before anything is on its way.
    expectFailure({"-b", "-", "--ihex=" + name + "99999", "fw.hex"},
                  "qorhex: " + name + "99999: Bad file descriptor\n");
    expectFailure({"-b", name, "fw.hex"},
                  "qorhex: " + name + ": Is a directory\n");
    for (const char* other : {"999999999", "none", "1x"}) {
      expectFailure(
          {"-b", name + other, "fw.hex"},
          "qorhex: " + name + other + ": No such file or directory\n");
    }
  }
}

TEST_F(Qorhex, OfLinksInARow39AreFollowed) {
  folder.write("fw.hex", sampleText);
  std::filesystem::create_symlink("fw.bin", folder.path("1"));
  for (int i = 2; i <= 40; ++i) {
    std::filesystem::create_symlink(std::to_string(i - 1),
                                    folder.path(std::to_string(i)));
  }
  expectRun({"-b", "39", "fw.hex"}, 0, "");
  EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  expectFailure({"-b", "40", "fw.hex"},
                "qorhex: 40: Too many levels of symbolic links\n");
}

TEST_F(Qorhex, AFullDeviceIsAnError) {
  folder.write("fw.hex", sampleText);
  expectFailure({"-b", "/dev/full", "fw.hex"},
                "qorhex: /dev/full: No space left on device\n");
}

TEST_F(Qorhex, StandardOutputTakesTheImage) {
  folder.write("fw.hex", sampleText);
  const processResult_t result = run({"-b", "/dev/stdout", "fw.hex"});
  EXPECT_EQ(result.out, "ABCD");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, AppendedStandardOutputKeepsWhatItHolds) {
  folder.write("fw.hex", sampleText);
  folder.write("all.bin", "before ");
  const processResult_t result = run({"-b", "/dev/stdout", "fw.hex"}, [] {
    dup2(open("all.bin", O_WRONLY | O_APPEND), STDOUT_FILENO);
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("all.bin"), "before ABCD");
}

TEST_F(Qorhex, AFifoTakesTheImage) {
  folder.write("fw.hex", sampleText);
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  const int reader = open(folder.path("fifo").c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(run({"-b", "fifo", "fw.hex"}).status, 0);
  char text[16];
  EXPECT_EQ(read(reader, text, sizeof text), 4);
  EXPECT_EQ(std::string(text, 4), "ABCD");
  close(reader);
  EXPECT_THAT(folder.names(), ElementsAre("fifo", "fw.hex"));
}

// A disk with room for `size` bytes per file.
std::function<void()> fileLimit(rlim_t size) {
  return [size] {
    const rlimit limit{size, size};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
}

TEST_F(Qorhex, AFailedWriteLeavesTheOldFile) {
  folder.write("fw.hex", dataLine(0, std::string(200, 'n')) + endLine);
  folder.write("fw.bin", "old");
  expectFailure({"-b", "fw.bin", "fw.hex"}, "qorhex: fw.bin: File too large\n",
                fileLimit(100));
  EXPECT_EQ(folder.read("fw.bin"), "old");
}

TEST_F(Qorhex, AFailedSegmentLeavesAllTheOldFiles) {
  folder.write("fw.hex", dataLine(0, "new") +
                             dataLine(0x100, std::string(200, 'n')) + endLine);
  folder.write("fw-00000000.bin", "old");
  expectFailure({"-o", ".", "fw.hex"},
                "qorhex: ./fw-00000100.bin: File too large\n", fileLimit(100));
  EXPECT_EQ(folder.read("fw-00000000.bin"), "old");
}

// Sends `signals` to the program as soon as it has a temporary file. It waits
// for a reader of the FIFO then, which never comes.
void endWhenTemporaryExists(const std::vector<int>& signals) {
  const pid_t program = getpid();
  if (fork() != 0) {
    return;
  }
  const auto isTemporary = [](const std::filesystem::directory_entry& entry) {
    return entry.path().filename().string().rfind(".qorhex-", 0) == 0;
  };
  for (const std::filesystem::directory_iterator end;
       std::find_if(std::filesystem::directory_iterator("."), end,
                    isTemporary) == end;) {
    usleep(1000);
  }
  for (const int number : signals) {
    kill(program, number);
  }
  _exit(0);
}

class QorhexSignal : public Qorhex, public testing::WithParamInterface<int> {};

TEST_P(QorhexSignal, LeavesNoTemporaryFileAndTheOldOnes) {
  folder.write("fw.hex", sparseText);
  folder.write("fw-fffffff0.bin", "old");
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  const processResult_t result =
      run({"-o", ".", "-b", "fifo", "--max-size=4G", "fw.hex"}, [] {
        // The surroundings of the test may ignore it, or want a core.
        std::signal(GetParam(), SIG_DFL);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        endWhenTemporaryExists({GetParam()});
      });
  EXPECT_EQ(result.status, 1000 + GetParam());
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(folder.names(), ElementsAre("fifo", "fw-fffffff0.bin", "fw.hex"));
  EXPECT_EQ(folder.read("fw-fffffff0.bin"), "old");
}

INSTANTIATE_TEST_SUITE_P(Ending, QorhexSignal,
                         testing::Values(SIGHUP, SIGINT, SIGQUIT, SIGPIPE,
                                         SIGTERM),
                         [](const auto& tested) {
                           return "Signal" + std::to_string(tested.param);
                         });

TEST_F(Qorhex, SignalsIgnoredAtTheStartStayIgnored) {
  folder.write("fw.hex", sparseText);
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  // Of several signals the one of the lowest number arrives first.
  const processResult_t result =
      run({"-o", ".", "-b", "fifo", "--max-size=4G", "fw.hex"}, [] {
        std::signal(SIGHUP, SIG_IGN);
        std::signal(SIGINT, SIG_IGN);
        std::signal(SIGTERM, SIG_DFL);
        endWhenTemporaryExists({SIGHUP, SIGINT, SIGTERM});
      });
  EXPECT_EQ(result.status, 1000 + SIGTERM);
  EXPECT_THAT(folder.names(), ElementsAre("fifo", "fw.hex"));
}

TEST_F(Qorhex, AClosedPipeLeavesNoTemporaryFile) {
  folder.write("fw.hex", sampleText);
  const auto closePipe = [] {
    int ends[2];
    if (pipe(ends) != 0) {
      _exit(99);
    }
    std::signal(SIGPIPE, SIG_DFL);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
  };
  const processResult_t result =
      run({"-o", ".", "-b", "/dev/stdout", "fw.hex"}, closePipe);
  EXPECT_EQ(result.status, 1000 + SIGPIPE);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(Qorhex, ProgressIsToldInTenths) {
  folder.write("fw.hex", sampleText);
  const processResult_t result = run({"-p", "-b", "fw.bin", "fw.hex"});
  EXPECT_EQ(result.err,
            "qorhex: fw.hex: read 100%\n"
            "qorhex: fw.bin: written 100%\n");
  EXPECT_EQ(result.out, "");
  std::string text;
  for (unsigned i = 0; i < 8192; ++i) {
    text += (i % 4096 == 0 ? baseLine(4, i / 4096) : "") +
            dataLine(i % 4096 * 16, "0123456789abcdef");
  }
  folder.write("fw.hex", text + endLine);
  EXPECT_EQ(run({"--progress", "fw.hex"}).err,
            "qorhex: fw.hex: read 30%\n"
            "qorhex: fw.hex: read 70%\n"
            "qorhex: fw.hex: read 100%\n");
}

TEST_F(Qorhex, ProgressGoesOnInsideALongGap) {
  folder.write("fw.hex",
               dataLine(0, "a") + upperLine(0x20) + dataLine(0, "b") + endLine);
  std::string expected = "qorhex: fw.hex: read 100%\n";
  for (const char* tenths :
       {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}) {
    expected += std::string("qorhex: fw.bin: written ") + tenths + "0%\n";
  }
  EXPECT_EQ(run({"-p", "-b", "fw.bin", "fw.hex"}).err, expected);
  EXPECT_EQ(folder.read("fw.bin"), 'a' + std::string(0x1FFFFF, '\xFF') + 'b');
}

TEST_F(Qorhex, ProgressIsThatOfTheBytesWritten) {
  folder.write("fw.hex", dataLine(0, "a") + dataLine(0x9FF, "b") + endLine);
  EXPECT_EQ(run({"-p", "-b", "fw.bin", "fw.hex"}).err,
            "qorhex: fw.hex: read 100%\n"
            "qorhex: fw.bin: written 90%\n"
            "qorhex: fw.bin: written 100%\n");
  EXPECT_EQ(run({"-p", "-o", ".", "fw.hex"}).err,
            "qorhex: fw.hex: read 100%\n"
            "qorhex: ./fw-00000000.bin: written 100%\n"
            "qorhex: ./fw-000009ff.bin: written 100%\n");
}

}  // namespace
