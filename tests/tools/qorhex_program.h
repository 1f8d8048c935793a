// SPDX-License-Identifier: MIT
//
// The program qorhex in a folder of HEX files, for tests of whole outputs.

#ifndef QORHEX_TESTS_PROGRAM_H
#define QORHEX_TESTS_PROGRAM_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/hexrecord.h"
#include "support/process.h"

/// The line of a sound record.
inline std::string recordLine(unsigned type, unsigned offset,
                              const std::string& data) {
  return hexRecord(type, offset,
                   std::vector<unsigned char>(data.begin(), data.end())) +
         '\n';
}

/// The line of a data record.
inline std::string dataLine(unsigned offset, const std::string& data) {
  return recordLine(0, offset, data);
}

/// The line of the record that sets the upper half of addresses (type 4) or the
/// segment (type 2).
inline std::string baseLine(unsigned type, unsigned value) {
  return recordLine(type, 0,
                    {static_cast<char>(value >> 8U), static_cast<char>(value)});
}

/// The line of the record that sets the upper half of addresses.
inline std::string upperLine(unsigned value) {
  return baseLine(4, value);
}

/// The line of an end record.
inline const std::string endLine = ":00000001FF\n";

/// The line of four bytes at address 0.
inline const std::string abcdLine = dataLine(0, "abcd");

/// A sound text: the same bytes at address 0x100.
constexpr char sampleText[] =
    ":0401000041424344F1\n"
    ":00000001FF\n";

/// More characters than the program reads at a time.
constexpr std::size_t large = 300000;

/// So many blanks.
inline std::string blanks(std::size_t count) {
  return std::string(count, ' ');
}

/// Runs the program and holds all it says against what is expected.
class QorhexProgram : public testing::Test {
 protected:
  processResult_t run(std::vector<std::string> arguments,
                      const std::function<void()>& inChild = {}) const {
    arguments.insert(arguments.begin(), QORHEX_PROGRAM);
    return runProcess(arguments, folder.path(), inChild);
  }

  /// Expects `status`, and that standard output and error are `out` and `err`.
  void expectRun(const std::vector<std::string>& arguments, int status,
                 const std::string& out, const std::string& err = {},
                 const std::function<void()>& inChild = {}) const {
    const processResult_t result = run(arguments, inChild);
    EXPECT_EQ(result.out, out);
    EXPECT_EQ(result.err, err);
    EXPECT_EQ(result.status, status);
  }

  /// Expects wrong usage: `message` and the hint.
  void expectUsage(const std::vector<std::string>& arguments,
                   const std::string& message) const {
    expectRun(arguments, 2, {},
              "qorhex: " + message + "\nqorhex: try 'qorhex --help'\n");
  }

  const TemporaryFolder folder;
};

/// The same for what ends without a word on standard output.
class Qorhex : public QorhexProgram {
 protected:
  /// Expects the program to end with `status` and `message` alone, and to leave
  /// the folder as it was.
  void expectEnd(int status, const std::vector<std::string>& arguments,
                 const std::string& message,
                 const std::function<void()>& inChild = {}) const {
    const std::vector<std::string> before = folder.names();
    const processResult_t result = run(arguments, inChild);
    EXPECT_EQ(result.err, message);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(folder.names(), before);
  }

  /// Expects that something cannot be read or written.
  void expectFailure(const std::vector<std::string>& arguments,
                     const std::string& message,
                     const std::function<void()>& inChild = {}) const {
    expectEnd(4, arguments, message, inChild);
  }

  /// Expects that a file is refused for what it holds.
  void expectRefusal(const std::vector<std::string>& arguments,
                     const std::string& message,
                     const std::function<void()>& inChild = {}) const {
    expectEnd(3, arguments, message, inChild);
  }

  /// Expects --binary to give `image`, with `message` on standard error.
  void expectImage(const std::string& text, const std::string& image,
                   const std::string& message = {},
                   const std::vector<std::string>& options = {}) const {
    folder.write("fw.hex", text);
    std::vector<std::string> arguments{"-b", "fw.bin", "fw.hex"};
    arguments.insert(arguments.begin(), options.begin(), options.end());
    const processResult_t result = run(arguments);
    EXPECT_EQ(result.err, message) << text;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(folder.read("fw.bin"), image) << text;
    EXPECT_THAT(folder.names(), testing::ElementsAre("fw.bin", "fw.hex"));
    std::filesystem::remove(folder.path("fw.bin"));
  }
};

#endif  // QORHEX_TESTS_PROGRAM_H
