// SPDX-License-Identifier: MIT
//
// The plain ways of the text functions, insertion by insertion and with the
// help of libc: taken where the fast way would show, and what the tests hold
// the fast way against. Each one does the same as the public function whose
// name it bears.

#ifndef QORUTIL_TEXT_PLAIN_TEXT_H
#define QORUTIL_TEXT_PLAIN_TEXT_H

#include "qorutil/formatting.h"

#include <cstdint>
#include <ios>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace qorutil_internal {

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

/// printSeparatedList().
void printSeparatedListPlainly(
    std::ostream& os, const std::vector<std::pair<bool, const char*>>& list,
    const char* separator, const char* emptyText);

/// printUnknownEnum().
void printUnknownEnumPlainly(std::ostream& os, int value);

/// The printer of format flags.
std::ostream& printPlainly(std::ostream& os, std::ios_base::fmtflags flags);

}  // namespace qorutil_internal

#endif  // QORUTIL_TEXT_PLAIN_TEXT_H
