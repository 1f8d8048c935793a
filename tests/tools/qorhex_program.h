// SPDX-License-Identifier: MIT
//
// The program qorhex in a folder of HEX files, for tests of whole outputs.

#ifndef QORHEX_TESTS_PROGRAM_H
#define QORHEX_TESTS_PROGRAM_H

#include <functional>
#include <string>
#include <vector>

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

/// The line of the record that sets the upper half of addresses.
inline std::string upperLine(unsigned value) {
  return recordLine(4, 0,
                    {static_cast<char>(value >> 8U), static_cast<char>(value)});
}

/// The line of an end record.
inline const std::string endLine = ":00000001FF\n";

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

#endif  // QORHEX_TESTS_PROGRAM_H
