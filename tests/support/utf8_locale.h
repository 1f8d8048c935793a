// SPDX-License-Identifier: MIT
//
// The locale in which a character can have several bytes.

#ifndef QORUTIL_TESTS_SUPPORT_UTF8_LOCALE_H
#define QORUTIL_TESTS_SUPPORT_UTF8_LOCALE_H

#include <clocale>

#include <gtest/gtest.h>

#include "support/process.h"

/// Makes C.UTF-8 the locale of C for as long as it lives.
class Utf8Locale {
 public:
  Utf8Locale() : valid(std::setlocale(LC_ALL, "C.UTF-8") != nullptr) {}

  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

  ~Utf8Locale() { std::setlocale(LC_ALL, "C"); }

  /// Tells whether there is no such locale, which is a failure as well but
  /// under an emulator: the C library of a cross compiler comes without.
  bool isMissing() const {
    EXPECT_TRUE(valid || programsAreEmulated());
    return !valid;
  }

 private:
  bool valid;
};

#endif  // QORUTIL_TESTS_SUPPORT_UTF8_LOCALE_H
