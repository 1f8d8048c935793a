// SPDX-License-Identifier: MIT
//
// The plain ways, insertion by insertion and with the help of libc: taken
// where the fast way would show, and what the tests hold the fast way against.
// Each one does the same as the public function whose name it bears.

#ifndef QORUTIL_COMMON_PLAIN_H
#define QORUTIL_COMMON_PLAIN_H

#include "qorutil/formatting.h"
#include "qorutil/system.h"
#include "qorutil/version.h"

#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string>

#include <sys/time.h>

/// hexdump() of bytes.
void hexdumpPlainly(std::ostream& os, const unsigned char* first,
                    const unsigned char* last, const char* prefix,
                    std::uint64_t bytesPerLine, hexdumpPrefix_t mode,
                    bool endLine);

/// BinaryBase::print().
std::ostream& printBinaryPlainly(std::ostream& os, std::uint64_t value,
                                 std::uint64_t bits);

/// printEscaped().
std::ostream& printEscapedPlainly(std::ostream& os, const std::string& text);

/// getEscaped().
std::string getEscapedPlainly(const std::string& text);

/// printPrintable().
std::ostream& printPrintablePlainly(std::ostream& os, const std::string& text);

/// makeString() of an `int`.
std::string makeStringPlainly(int value, std::ios_base::fmtflags flags);

/// makeString() of the unsigned types.
std::string makeStringPlainly(unsigned long value,
                              std::ios_base::fmtflags flags);

/// setBits2list().
std::string setBits2listPlainly(std::uint64_t bits, const char* separator);

/// printUnknownEnum().
void printUnknownEnumPlainly(std::ostream& os, int value);

/// The printer of format flags.
std::ostream& printPlainly(std::ostream& os, std::ios_base::fmtflags flags);

/// printSize::print().
std::ostream& printPlainly(std::ostream& os, const printSize& size);

/// The printer of `mq_attr`.
std::ostream& printPlainly(std::ostream& os, const mq_attr& attr);

/// The printer of `can_frame`.
std::ostream& printPlainly(std::ostream& os, const can_frame& frame);

/// The printer of `Version`.
std::ostream& printPlainly(std::ostream& os, const Version& version);

/// The printer of `tm`.
std::ostream& printPlainly(std::ostream& os, const tm& time);

/// The printer of `timeval`.
std::ostream& printPlainly(std::ostream& os, const timeval& time);

/// The printer of `timespec`.
std::ostream& printPlainly(std::ostream& os, const timespec& time);

/// printTime().
std::string printTimePlainly(std::uint64_t microseconds);

/// Version::getVersion().
Version getVersionPlainly(const std::string& text);

/// compareVersions().
int compareVersionsPlainly(const std::string& a, const std::string& b,
                           signed char parts);

#endif  // QORUTIL_COMMON_PLAIN_H
