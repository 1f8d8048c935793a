// SPDX-License-Identifier: MIT

#include <climits>
#include <cstdint>
#include <ios>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <qorutil/formatting.h>

#include "client.h"

namespace {

using Flags = std::ios_base::fmtflags;
using Bytes = const unsigned char*;

}  // namespace

static_assert(
    has<void (*)(std::ostream&, Bytes, Bytes, const char*, std::uint64_t,
                 hexdumpPrefix_t, bool)>(hexdump<Bytes>));
static_assert(HEXDUMP_NONE == 0 && HEXDUMP_ADDRESS == 1 && HEXDUMP_OFFSET == 2);
static_assert(has<std::ostream& (*)(std::ostream&, std::uint64_t,
                                    std::uint64_t)>(BinaryBase::print));
static_assert(
    has<std::ostream& (*)(std::ostream&, const std::string&)>(printEscaped));
static_assert(has<std::string (*)(const std::string&)>(getEscaped));
static_assert(
    has<std::ostream& (*)(std::ostream&, const std::string&)>(printPrintable));
static_assert(has<std::string (*)(const int&, Flags)>(makeString<int>));
static_assert(
    has<std::string (*)(const unsigned&, Flags)>(makeString<unsigned>));
static_assert(has<std::string (*)(const unsigned short&, Flags)>(
    makeString<unsigned short>));
static_assert(has<std::string (*)(unsigned long, const char*)>(
    setBits2list<unsigned long>));
static_assert(has<std::string (*)(std::uint64_t, const char*)>(
    setBits2list<std::uint64_t>));
static_assert(has<void (*)(std::ostream&,
                           const std::vector<std::pair<bool, const char*>>&,
                           const char*, const char*)>(printSeparatedList));
static_assert(has<void (*)(std::ostream&, int)>(printUnknownEnum));
static_assert(has<std::ostream& (*)(std::ostream&, const Flags&)>(operator<<));

bool usesFormatting() {
  unsigned char bytes[] = {0x01, 0xAB};
  const unsigned char* const first = bytes;
  std::ostringstream os;
  hexdump(os, first, first + 2, "rx", 2, HEXDUMP_OFFSET, false);
  hexdump(os, bytes, bytes + 1, "|", 1, HEXDUMP_NONE, false);
  BinaryBase::print(os << '|', 0xA5, 8) << Binary{std::uint8_t{3}} << '|';
  printEscaped(os, "a\n") << getEscaped("b");
  printPrintable(os, "c\n") << '|';
  os << makeString(255, std::ios_base::hex) << makeString(1U, {})
     << makeString<unsigned short>(2, {}) << '|' << setBits2list(11UL, ",")
     << setBits2list<std::uint64_t>(UINT64_MAX << 63U, ",") << '|';
  printSeparatedList(os, {{true, "d"}, {false, "e"}, {true, "f"}}, "+", "none");
  printUnknownEnum(os, 10);
  os << std::ios_base::dec;
  return os.str() ==
         "rx 00000000:  01 ab| 01|1010010100000011|\"a\\n\"'b'c.|ff12|"
         "0,1,363|d+f<unknown: 0xa>( dec )";
}
