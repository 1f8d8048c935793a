// SPDX-License-Identifier: MIT
//
// A stream buffer of fixed size that can be used again at no cost, so that a
// benchmark measures the printer and not the growth of a string.

#ifndef QORUTIL_BENCHMARKS_ARRAY_BUFFER_H
#define QORUTIL_BENCHMARKS_ARRAY_BUFFER_H

#include <ios>
#include <streambuf>
#include <vector>

/// Room for 8 MiB.
class ArrayBuffer : public std::streambuf {
 public:
  ArrayBuffer() { reset(); }

  /// Forgets what was written.
  void reset() { setp(area.data(), area.data() + area.size()); }

  /// How much was written.
  std::streamsize size() const { return pptr() - pbase(); }

 private:
  std::vector<char> area = std::vector<char>(1 << 23);
};

#endif  // QORUTIL_BENCHMARKS_ARRAY_BUFFER_H
