// SPDX-License-Identifier: MIT
//
// Real files, cut after every line and at each of their last bytes: qorhex ends
// with the status and the message, or the image, of the plain reader.

#include <cstddef>
#include <iostream>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "inputs.h"
#include "reading/file_kind.h"
#include "support/cuts.h"
#include "support/memory_file.h"
#include "telling/problems.h"
#include "tools/qorhex_plain_reader.h"

namespace {

// Takes what goes to standard error.
class StandardError {
 public:
  StandardError()
      : file(memfd_create("errors", MFD_CLOEXEC)), saved(dup(STDERR_FILENO)) {
    dup2(file, STDERR_FILENO);
  }

  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;

  ~StandardError() {
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(file);
  }

  // Returns what came since the last call.
  std::string take() const {
    std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_CUR)), ' ');
    EXPECT_EQ(pread(file, text.data(), text.size(), 0),
              static_cast<ssize_t>(text.size()));
    EXPECT_EQ(ftruncate(file, 0), 0);
    lseek(file, 0, SEEK_SET);
    return text;
  }

 private:
  int file;
  int saved;
};

// What is told: the warnings up to the first error, and that.
std::string messagesOf(const PlainReader& plain, const std::string& name) {
  std::string messages;
  for (const plainProblem_t& problem : plain.problems()) {
    problem_t told{problem.isError ? severity_t::ERROR : severity_t::WARNING,
                   name,
                   problem.line,
                   problem.column,
                   problem.text,
                   {}};
    if (problem.shown) {
      told.excerpt = excerptOf(*problem.shown, problem.column);
    }
    messages += problemText(told);
    if (problem.isError) {
      break;
    }
  }
  return messages;
}

void compare(const StandardError& errors, std::string_view text,
             const PlainReader& plain) {
  const MemoryFile file(text);
  const input_t input = readInput({}, {file.path()}, {});
  EXPECT_EQ(errors.take(), messagesOf(plain, file.path()));
  ASSERT_EQ(input.status, plain.isRefused() ? REFUSED : ALL_WELL);
  ASSERT_EQ(input.image.has_value(), !plain.isRefused());
  if (input.image) {
    EXPECT_EQ(differenceOfImages(*input.image, plain), "");
  }
}

// Compares all parts of a file; the plain reader goes on from one to the next.
void compareParts(const StandardError& errors, const cutFile_t& file) {
  const std::string_view all = file.text;
  PlainReader whole(false);
  // One after the other, all have one path.
  whole.beginText(MemoryFile("").path(), true, all.substr(0, kindRoom));
  std::size_t line = 0;
  for (const std::size_t size : file.sizes) {
    SCOPED_TRACE(file.name + " of " + std::to_string(size) + " bytes");
    for (std::size_t feed = all.find('\n', line); feed < size;
         feed = all.find('\n', line)) {
      whole.addLine(all.substr(line, feed - line));
      line = feed + 1;
    }
    if (line == size) {
      compare(errors, all.substr(0, size), whole);
    } else {
      PlainReader cut = whole;
      cut.addLine(all.substr(line, size - line));
      compare(errors, all.substr(0, size), cut);
    }
    ASSERT_FALSE(testing::Test::HasFailure());
  }
}

TEST(CutFiles, AreReadAsByThePlainReader) {
  const StandardError errors;
  std::size_t cuts = 0;
  for (const cutFile_t& file : filesToCut(QORUTIL_TEST_DATA "/hex")) {
    compareParts(errors, file);
    cuts += file.sizes.size();
    ASSERT_FALSE(HasFailure());
  }
  std::cout << cuts << " cuts\n";
  EXPECT_GT(cuts, 2000U);
}

}  // namespace
