// SPDX-License-Identifier: MIT
//
// Shows whether errno is read before anything is written.

#ifndef QORUTIL_TESTS_SUPPORT_ERRNO_BUFFER_H
#define QORUTIL_TESTS_SUPPORT_ERRNO_BUFFER_H

#include <cerrno>
#include <iostream>
#include <streambuf>
#include <string>

/// Takes over std::cerr for as long as it lives, and sets errno to EDOM with
/// every character written.
class ErrnoBuffer : public std::streambuf {
 public:
  ErrnoBuffer() : saved(std::cerr.rdbuf(this)) {}

  ErrnoBuffer(const ErrnoBuffer&) = delete;
  ErrnoBuffer& operator=(const ErrnoBuffer&) = delete;

  ~ErrnoBuffer() override { std::cerr.rdbuf(saved); }

  std::string text;

 protected:
  int_type overflow(int_type character) override {
    errno = EDOM;
    text += traits_type::to_char_type(character);
    return traits_type::not_eof(character);
  }

 private:
  std::streambuf* saved;
};

#endif  // QORUTIL_TESTS_SUPPORT_ERRNO_BUFFER_H
