// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <ostream>
#include <string_view>

#include "common/insertion.h"
#include "common/line_buffer.h"
#include "common/stream_state.h"
#include "text/plain_text.h"

namespace {

using qorutil_internal::insertRecord;
using qorutil_internal::LineBuffer;
using qorutil_internal::printPlainly;
using qorutil_internal::takesTexts;

struct FlagName {
  std::ios_base::fmtflags flag;
  std::string_view text;
};

// In ascending order of the bits, which are those of libstdc++.
constexpr FlagName flagNames[] = {
    {std::ios_base::boolalpha, " boolalpha"},
    {std::ios_base::dec, " dec"},
    {std::ios_base::fixed, " fixed"},
    {std::ios_base::hex, " hex"},
    {std::ios_base::internal, " internal"},
    {std::ios_base::left, " left"},
    {std::ios_base::oct, " oct"},
    {std::ios_base::right, " right"},
    {std::ios_base::scientific, " scientific"},
    {std::ios_base::showbase, " showbase"},
    {std::ios_base::showpoint, " showpoint"},
    {std::ios_base::showpos, " showpos"},
    {std::ios_base::skipws, " skipws"},
    {std::ios_base::unitbuf, " unitbuf"},
    {std::ios_base::uppercase, " uppercase"},
};

}  // namespace

namespace qorutil_internal {

std::ostream& printPlainly(std::ostream& os, std::ios_base::fmtflags flags) {
  const StreamState restored(os);
  os.flags(std::ios_base::fixed);
  os.fill(' ');
  os << '(';
  for (const FlagName& name : flagNames) {
    if ((flags & name.flag) != 0) {
      os << name.text;
    }
  }
  return os << " )";
}

}  // namespace qorutil_internal

std::ostream& operator<<(std::ostream& os,
                         const std::ios_base::fmtflags& flags) {
  if (!takesTexts(os)) {
    return printPlainly(os, flags);
  }
  LineBuffer line;
  line.put('(');
  for (const FlagName& name : flagNames) {
    if ((flags & name.flag) != 0) {
      line.put(name.text);
    }
  }
  insertRecord(os, line.put(" )").view(),
               [flags](std::ostream& stream) { printPlainly(stream, flags); });
  return os;
}
