// SPDX-License-Identifier: MIT
//
// Text that the library reads without a word: data records, extended linear
// address records, the end record.

#ifndef QORHEX_NORMAL_TEXT_H
#define QORHEX_NORMAL_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

/// Writes such text. The bytes come in ascending order of address.
class NormalText {
 public:
  /// Writes to `descriptor`; failure is reported under `subjectName`.
  NormalText(int descriptor, std::string subjectName);

  /// Puts the `size` bytes at `data` at `address`. Bytes that touch go into one
  /// record, as far as it holds them.
  void add(std::uint32_t address, const unsigned char* data, std::size_t size);

  /// Writes the end record and what is not written yet.
  void finish();

 private:
  void writeData();
  void writeRecord(std::uint32_t offset, unsigned type,
                   const unsigned char* data, std::size_t size);
  void flush();

  int file;
  std::string subject;
  std::string text;
  std::uint32_t upper{0};
  std::uint64_t start{0};
  std::size_t count{0};
  unsigned char bytes[128]{};
};

#endif  // QORHEX_NORMAL_TEXT_H
