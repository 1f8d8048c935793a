// SPDX-License-Identifier: MIT

#include "telling/problems.h"

#include <cstddef>
#include <sstream>

#include <qorutil/formatting.h>

#include "reading/names.h"
#include "reading/number_text.h"

namespace {

// Bright, as terminals have them on either background.
constexpr char red[] = "\x1b[1;31m";
constexpr char green[] = "\x1b[1;32m";
constexpr char magenta[] = "\x1b[1;35m";
constexpr char noColour[] = "\x1b[0m";

std::string inColour(const char* word, const char* colour, bool coloured) {
  return coloured ? std::string(colour) + word + noColour : word;
}

std::string printable(const std::string& bytes) {
  std::ostringstream text;
  text.exceptions(std::ios_base::badbit);  // lets std::bad_alloc through
  printPrintable(text, bytes);
  return text.str();
}

}  // namespace

std::string problemText(const problem_t& problem, bool coloured) {
  const bool isError = problem.severity == severity_t::ERROR;
  std::string text = escapeName(problem.file);
  if (problem.line == 0) {
    text.insert(0, "qorhex: ");
  } else {
    text += ':' + std::to_string(problem.line) + ':' +
            std::to_string(problem.column);
  }
  text += ": ";
  text += isError ? inColour("error:", red, coloured)
                  : inColour("warning:", magenta, coloured);
  text += ' ' + problem.text + '\n';
  if (problem.excerpt) {
    const std::uint64_t indent = problem.column - problem.excerpt->firstColumn;
    text += printable(problem.excerpt->text) + '\n' +
            std::string(static_cast<std::size_t>(indent), ' ') +
            inColour("^", green, coloured) + '\n';
  }
  return text;
}

problem_t failureProblem(const std::string& name, const std::string& text,
                         std::size_t fileIndex) {
  const std::string subject = escapeName(name) + ": ";
  const bool named = text.compare(0, subject.size(), subject) == 0;
  return {severity_t::ERROR,
          name,
          0,
          0,
          named ? text.substr(subject.size()) : text,
          {},
          fileIndex};
}

std::string startAddressText(const startAddress_t& start) {
  if (start.type == 5) {
    return "start address " + hexText(start.value, 8);
  }
  const std::uint32_t high = start.value >> 16U;
  const std::uint32_t low = start.value & 0xFFFFU;
  return "start address " + hexText(high * 16 + low, 8) + " (segment " +
         hexText(high, 4) + ", offset " + hexText(low, 4) + ")";
}
