// SPDX-License-Identifier: MIT
//
// Escaping, dumps and the other printers of texts and numbers, on streams of
// any format, state, exceptions, locale and buffer: the fast ways do what the
// plain ones do.

#include "qorutil/formatting.h"

#include <utility>
#include <vector>

#include "support/scene.h"
#include "target.h"
#include "text/plain_text.h"

namespace {

using qorutil_internal::getEscapedPlainly;
using qorutil_internal::hexdumpPlainly;
using qorutil_internal::makeStringPlainly;
using qorutil_internal::printBinaryPlainly;
using qorutil_internal::printEscapedPlainly;
using qorutil_internal::printPlainly;
using qorutil_internal::printPrintablePlainly;
using qorutil_internal::printSeparatedListPlainly;
using qorutil_internal::printUnknownEnumPlainly;
using qorutil_internal::setBits2listPlainly;

// Ends the process with what a caller sees of both, unless that is the same.
void requireSame(Random& random, const Printer& plain, const Printer& fast) {
  const std::string seen = difference(random, plain, fast);
  require(seen.empty(), seen.c_str());
}

void compareEscapes(Input& input, Random& random) {
  const std::string text = input.rest();
  require(getEscaped(text) == getEscapedPlainly(text), "getEscaped");
  requireSame(
      random, [&](std::ostream& os) { printEscapedPlainly(os, text); },
      [&](std::ostream& os) { printEscaped(os, text); });
}

void comparePrintable(Input& input, Random& random) {
  const std::string text = input.rest();
  requireSame(
      random, [&](std::ostream& os) { printPrintablePlainly(os, text); },
      [&](std::ostream& os) { printPrintable(os, text); });
}

void compareDumps(Input& input, Random& random) {
  constexpr std::uint64_t rows[] = {1, 2, 7, 8, 16, 32, 333, ~std::uint64_t{0}};
  const std::uint64_t bytesPerLine = rows[input.below(8)];
  const auto mode =
      static_cast<hexdumpPrefix_t>(static_cast<int>(input.below(5)) - 1);
  const bool endLine = input.below(2) == 0;
  const bool hasPrefix = input.below(4) != 0;
  const std::string text = input.text(20);
  const char* const prefix = hasPrefix ? text.c_str() : nullptr;
  const std::string bytes = input.rest();
  const auto* const first =
      reinterpret_cast<const unsigned char*>(bytes.data());
  const auto* const last = first + bytes.size();
  requireSame(
      random,
      [&](std::ostream& os) {
        hexdumpPlainly(os, first, last, prefix, bytesPerLine, mode, endLine);
      },
      [&](std::ostream& os) {
        hexdump(os, first, last, prefix, bytesPerLine, mode, endLine);
      });
}

void compareNumbers(Input& input, Random& random) {
  const std::uint64_t value = input.number();
  const std::uint64_t bits = input.below(65);
  const auto number = static_cast<int>(value);
  const auto flags = static_cast<std::ios_base::fmtflags>(value & 0x1FFFF);
  requireSame(
      random, [&](std::ostream& os) { printBinaryPlainly(os, value, bits); },
      [&](std::ostream& os) { BinaryBase::print(os, value, bits); });
  requireSame(
      random, [&](std::ostream& os) { printUnknownEnumPlainly(os, number); },
      [&](std::ostream& os) { printUnknownEnum(os, number); });
  requireSame(
      random, [&](std::ostream& os) { printPlainly(os, flags); },
      [&](std::ostream& os) { os << flags; });

  const auto natural = static_cast<unsigned>(value >> 32U);
  const auto narrow = static_cast<unsigned short>(natural);
  const auto format =
      static_cast<std::ios_base::fmtflags>(input.number() & 0x1FFFF);
  require(makeString(number, format) == makeStringPlainly(number, format),
          "makeString of an int");
  require(makeString(natural, format) ==
              makeStringPlainly(static_cast<unsigned long>(natural), format),
          "makeString of an unsigned int");
  require(makeString(narrow, format) ==
              makeStringPlainly(static_cast<unsigned long>(narrow), format),
          "makeString of an unsigned short");
  const std::string separator = input.rest();
  require(setBits2list(value, separator.c_str()) ==
              setBits2listPlainly(value, separator.c_str()),
          "setBits2list");
}

void compareLists(Input& input, Random& random) {
  const std::string separator = input.text(3);
  const char* const gap = input.below(6) == 0 ? nullptr : separator.c_str();
  const char* const none = input.below(6) == 0 ? nullptr : "none";
  std::vector<std::string> texts(input.below(6));
  std::vector<std::pair<bool, const char*>> list;
  for (std::string& text : texts) {
    const bool selected = input.below(4) != 0;
    const bool isNull = input.below(20) == 19;
    text = input.text(255);
    list.emplace_back(selected, isNull ? nullptr : text.c_str());
  }
  requireSame(
      random,
      [&](std::ostream& os) { printSeparatedListPlainly(os, list, gap, none); },
      [&](std::ostream& os) { printSeparatedList(os, list, gap, none); });
}

}  // namespace

// What is printed, the stream, and what the printer gets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  constexpr void (*comparisons[])(Input&, Random&) = {
      compareEscapes, comparePrintable, compareDumps, compareNumbers,
      compareLists};
  Input input(data, size);
  const auto compare = comparisons[input.below(5)];
  Random random(input.byte() * 256 + input.byte());
  compare(input, random);
  return 0;
}
