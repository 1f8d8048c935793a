// SPDX-License-Identifier: MIT
//
// What a program that is compiled against the library knows of its types: the
// size and alignment of every public one, and the place of every public member.

#ifndef QORUTIL_TESTS_ABI_LAYOUT_H
#define QORUTIL_TESTS_ABI_LAYOUT_H

#include "qorutil/qorutil.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

/// The file with the table for this kind of processor. They differ in the size
/// of a pointer, and those of 32 bits in the alignment of larger integers.
inline std::string layoutName() {
  struct Integer {
    char first;
    std::uint64_t second;
  };

  if (sizeof(void*) == 8) {
    return "layout-64.txt";
  }
  return offsetof(Integer, second) == 4 ? "layout-32-packed.txt"
                                        : "layout-32.txt";
}

// The types have more than C knows, but the compilers here have them at fixed
// places all the same.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

#define TYPE(type)                                                        \
  os << #type << ": " << sizeof(type) << ", aligned to " << alignof(type) \
     << '\n'
#define MEMBER(type, member)                                         \
  os << #type "::" #member << ": " << sizeof(type::member) << " at " \
     << offsetof(type, member) << '\n'

/// The table, one line per type and member.
inline std::string layout() {
  std::ostringstream os;
  TYPE(IntelHexFileBlock);
  MEMBER(IntelHexFileBlock, data);
  MEMBER(IntelHexFileBlock, extAddress);
  MEMBER(IntelHexFileBlock, address);
  MEMBER(IntelHexFileBlock, size);
  TYPE(IntelHexFile);
  TYPE(IntelHexFile::hexfileline_t);
  MEMBER(IntelHexFile::hexfileline_t, type);
  MEMBER(IntelHexFile::hexfileline_t, extAddress);
  MEMBER(IntelHexFile::hexfileline_t, address);
  MEMBER(IntelHexFile::hexfileline_t, count);
  MEMBER(IntelHexFile::hexfileline_t, data);
  TYPE(QorException);
  TYPE(QorSimpleException);
  MEMBER(QorSimpleException, errorNumber);
  MEMBER(QorSimpleException, message);
  TYPE(Options);
  TYPE(Options::option_t);
  MEMBER(Options::option_t, shortName);
  MEMBER(Options::option_t, longName);
  MEMBER(Options::option_t, argName);
  MEMBER(Options::option_t, argRequired);
  MEMBER(Options::option_t, help);
  TYPE(Options::entry_t);
  MEMBER(Options::entry_t, argType);
  MEMBER(Options::entry_t, argWidth);
  MEMBER(Options::entry_t, shortWidth);
  MEMBER(Options::entry_t, longWidth);
  TYPE(JobScheduler);
  TYPE(JobScheduler::Job);
  MEMBER(JobScheduler::Job, period);
  MEMBER(JobScheduler::Job, offset);
  MEMBER(JobScheduler::Job, next);
  MEMBER(JobScheduler::Job, func);
  TYPE(Version);
  MEMBER(Version, major);
  MEMBER(Version, minor);
  MEMBER(Version, release);
  MEMBER(Version, build);
  TYPE(lcstring);
  TYPE(hexdumpPrefix_t);
  TYPE(BinaryBase);
  TYPE(Binary<std::uint8_t>);
  TYPE(Binary<std::uint64_t>);
  TYPE(printSize);
  MEMBER(printSize, bytes);
  return os.str();
}

#undef MEMBER
#undef TYPE
#pragma GCC diagnostic pop

#endif  // QORUTIL_TESTS_ABI_LAYOUT_H
