// SPDX-License-Identifier: MIT
//
// A locale that groups digits, to see what becomes of numbers in the output.

#ifndef QORUTIL_TESTS_SUPPORT_DIGIT_GROUPING_H
#define QORUTIL_TESTS_SUPPORT_DIGIT_GROUPING_H

#include <locale>
#include <string>
#include <utility>

/// Groups digits by `sizes`, in the format of std::numpunct, with commas.
class DigitGrouping : public std::numpunct<char> {
 public:
  explicit DigitGrouping(std::string groupSizes)
      : sizes(std::move(groupSizes)) {}

 protected:
  char do_thousands_sep() const override { return ','; }

  std::string do_grouping() const override { return sizes; }

 private:
  std::string sizes;
};

/// The classic locale with digits grouped by `sizes`.
inline std::locale digitGroupingLocale(const std::string& sizes) {
  return std::locale(std::locale::classic(), new DigitGrouping(sizes));
}

/// Makes the global C++ locale group digits for as long as it lives.
class GlobalDigitGrouping {
 public:
  explicit GlobalDigitGrouping(const std::string& sizes)
      : saved(std::locale::global(digitGroupingLocale(sizes))) {}

  GlobalDigitGrouping(const GlobalDigitGrouping&) = delete;
  GlobalDigitGrouping& operator=(const GlobalDigitGrouping&) = delete;

  ~GlobalDigitGrouping() { std::locale::global(saved); }

 private:
  std::locale saved;
};

#endif  // QORUTIL_TESTS_SUPPORT_DIGIT_GROUPING_H
