// SPDX-License-Identifier: MIT
//
// Formatting: hex dumps, binary digits, strings made safe to show, numbers and
// sets of flags as text. The printers write to the caller's stream, set the
// format flags and the fill character they need and put the caller's back, also
// when an insertion throws. They write no line break of their own, hexdump()
// excepted. Failures of the stream are left in its state as usual.
//
// Numbers follow the locale of the stream. Where it groups digits, those of
// offsets, addresses, bytes and escapes are grouped too; a stream whose text is
// read by a program is given std::locale::classic() with imbue().
//
// `unitbuf` is one of the flags that are replaced: on such a stream the text
// waits for the next flush. printPrintable(), printSeparatedList() and digits
// on a stream in `std::hex` mode leave the flags alone and so are flushed.

#ifndef QORUTIL_FORMATTING_H
#define QORUTIL_FORMATTING_H

#include "qorutil/export.h"

#include <climits>
#include <cstdint>
#include <ios>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// What each line of a hex dump carries between the prefix text and the bytes.
/// Any other value of `int` is a defined value too: it acts like HEXDUMP_NONE,
/// except that a space still follows the prefix text.
enum hexdumpPrefix_t : int {
  /// Nothing.
  HEXDUMP_NONE = 0,
  /// The memory address of the line's first byte: "0x", sixteen digits, ": ".
  HEXDUMP_ADDRESS = 1,
  /// The offset of the line's first byte from the first of all: eight
  /// hexadecimal digits, more where eight are too few, and ": ".
  HEXDUMP_OFFSET = 2
};

/// Writes the bytes from `first` up to, not including, `last` to `os` as lines
/// of two-digit hexadecimal values.
///
/// Each line holds `bytesPerLine` bytes, the last one what is left. A line is
/// the text `prefix`, a space unless `mode` is HEXDUMP_NONE, what `mode` asks
/// for, and for each byte a space and two lower-case digits. A null `prefix`
/// leaves out the text and that space. Lines are joined by line feeds; behind
/// the last one a line feed and a flush follow only with `endLine`. There is no
/// column of characters and no padding of a short line.
///
/// An empty range ignores `mode` and gives `prefix`, " 00000000:", a line feed
/// and a flush, and with `endLine` a second line feed and flush.
///
/// `bytesPerLine` must not be 0: it is a divisor. A field width pending on `os`
/// applies to the first text written, with zeros as padding; with a null
/// `prefix` it is lost in the address and offset modes, whose numbers have a
/// width of their own. A locale that groups digits groups those of the dump as
/// well: with groups of three the offset 0x1000 is "0001,000".
///
/// Failure: a null `prefix` with an empty range writes nothing and sets the bad
/// bit of `os`.
///
///     const unsigned char bytes[] = {1, 2, 3, 4, 5, 6};
///     const unsigned char* const first = bytes;
///     hexdump(std::cout, first, first + 6, "rx", 4, HEXDUMP_OFFSET, true);
///     // rx 00000000:  01 02 03 04
///     // rx 00000004:  05 06
template <class Iterator>
void hexdump(std::ostream& /*os*/, Iterator /*first*/, Iterator /*last*/,
             const char* /*prefix*/, std::uint64_t /*bytesPerLine*/,
             hexdumpPrefix_t /*mode*/, bool /*endLine*/) {
  static_assert(sizeof(Iterator) == 0,
                "hexdump exists for const unsigned char* only");
}

/// The form that there is.
template <>
QORUTIL_EXPORT void hexdump<const unsigned char*>(
    std::ostream& os, const unsigned char* first, const unsigned char* last,
    const char* prefix, std::uint64_t bytesPerLine, hexdumpPrefix_t mode,
    bool endLine);

/// The same for bytes that are not constant.
inline void hexdump(std::ostream& os, unsigned char* first, unsigned char* last,
                    const char* prefix, std::uint64_t bytesPerLine,
                    hexdumpPrefix_t mode, bool endLine) {
  hexdump<const unsigned char*>(os, first, last, prefix, bytesPerLine, mode,
                                endLine);
}

/// Owns the printer of binary digits; Binary is the way to it for a number.
class BinaryBase {
 public:
  /// Writes the lowest `bits` bits of `value` to `os` as binary digits, the
  /// most significant first, and returns `os`.
  ///
  /// The digits come in groups of four: `bits` is rounded down to a multiple of
  /// four, so that fewer than four bits give an empty text. The alignment flag
  /// `std::internal` asks for a space between the groups, a use of that flag
  /// that is intended. The field width of `os` applies to the whole text, with
  /// spaces as padding, at the left unless `std::left` is set.
  ///
  /// A stream in `std::hex` mode gets `value` in hexadecimal, all of it and in
  /// the stream's own format, on purpose: `bits` does not matter then.
  ///
  /// `bits` must be at most 64.
  ///
  ///     BinaryBase::print(std::cout, 0xA5, 8);                   // 10100101
  ///     BinaryBase::print(std::cout << std::internal, 0xA5, 8);  // 1010 0101
  QORUTIL_EXPORT static std::ostream& print(std::ostream& os,
                                            std::uint64_t value,
                                            std::uint64_t bits);
};

namespace qorutil_internal {

/// Whether BinaryBase::print() has all the bits of a `T`.
template <class T>
inline constexpr bool hasBinaryDigits =
    sizeof(T) <= sizeof(std::uint64_t) &&
    !std::is_same_v<std::remove_cv_t<T>, bool> &&
    (std::is_integral_v<T> || std::is_enum_v<T>);

}  // namespace qorutil_internal

/// An integer or an enumeration value to be printed as binary digits, as many
/// as its type has bits. The compiler refuses other types, 128-bit integers and
/// `bool`.
///
///     std::cout << Binary{std::uint8_t{0xA5}};  // 10100101
template <class T>
struct Binary {
  static_assert(qorutil_internal::hasBinaryDigits<T>,
                "Binary exists for integers of at most 64 bits, bool excepted, "
                "and for enumerations");

  /// The number.
  T value;
};

/// Lets `Binary{number}` take the type of the number.
template <class T>
Binary(T) -> Binary<T>;

/// Writes the bits of `binary` to `os` with BinaryBase::print() and returns
/// `os`. A negative number is shown as its two's complement.
template <class T>
std::ostream& operator<<(std::ostream& os, const Binary<T>& binary) {
  const auto bits = static_cast<std::make_unsigned_t<T>>(binary.value);
  return BinaryBase::print(os, bits, sizeof(T) * CHAR_BIT);
}

/// Writes `text` to `os` in quotes, with backslash escapes for what does not
/// print, and returns `os`.
///
/// A text of exactly one byte stands in single quotation marks, every other
/// one, the empty text included, in double ones; this is intended. The bytes
/// 0x00, 0x07 to 0x0D and the backslash become `\0`, `\a`, `\b`, `\t`, `\n`,
/// `\v`, `\f`, `\r` and `\\`. Any other byte for which `isprint` is true, in
/// the locale of the process, is written as it is, quotation marks among them.
/// The rest becomes `\x` and two lower-case hexadecimal digits.
///
/// A field width pending on `os` applies to the opening quote, with zeros as
/// padding. A locale that groups single digits groups those of `\x` as well.
///
///     printEscaped(std::cout, "a\n\x1b");  // "a\n\x1b"
///     printEscaped(std::cout, "a");        // 'a'
QORUTIL_EXPORT std::ostream& printEscaped(std::ostream& os,
                                          const std::string& text);

/// Returns what printEscaped() writes to a fresh string stream, which has the
/// global C++ locale. Throws what the string throws when memory runs out.
///
///     getEscaped("tab\t");  // the seven characters "tab\t" in quotes
QORUTIL_EXPORT std::string getEscaped(const std::string& text);

/// Writes `text` to `os` with a full stop for every byte for which `isprint` is
/// false, in the locale of the process, and returns `os`.
///
/// No quotes are added, and the format of the stream is left alone. A pending
/// field width applies to the first character; an empty text leaves it pending.
///
///     printPrintable(std::cout, "a\nb");  // a.b
QORUTIL_EXPORT std::ostream& printPrintable(std::ostream& os,
                                            const std::string& text);

/// Returns `value` as text in the format `flags`.
///
/// The flags are all there are: the defaults of a stream, decimal and skipping
/// of white space, are replaced, not merged. With no base among them, or more
/// than one, the text is decimal; showbase, uppercase and showpos mean what
/// they mean to streams. A negative `int` is shown as its 32-bit two's
/// complement in hexadecimal and octal. There is no padding. The text follows
/// the global C++ locale, as any fresh stream does.
///
/// Throws what the string throws when memory runs out.
///
///     makeString(255, std::ios_base::hex | std::ios_base::showbase);  // 0xff
template <class T>
std::string makeString(const T& /*value*/, std::ios_base::fmtflags /*flags*/) {
  static_assert(sizeof(T) == 0,
                "makeString exists for int, unsigned int and unsigned short");
  return {};
}

/// The form for `int`.
template <>
QORUTIL_EXPORT std::string makeString<int>(const int& value,
                                           std::ios_base::fmtflags flags);

/// The form for `unsigned int`.
template <>
QORUTIL_EXPORT std::string makeString<unsigned int>(
    const unsigned int& value, std::ios_base::fmtflags flags);

/// The form for `unsigned short`.
template <>
QORUTIL_EXPORT std::string makeString<unsigned short>(
    const unsigned short& value, std::ios_base::fmtflags flags);

/// Returns the numbers of the bits set in `bits`, in ascending order, in
/// decimal, with `separator` between them. A word of 0 gives the empty text.
/// The numbers follow the global C++ locale, as on any fresh stream.
///
/// Failure: a null `separator` ends the text behind its first number. Throws
/// what the string throws when memory runs out.
///
///     setBits2list(0x0BUL, ",");  // 0,1,3
template <class T>
std::string setBits2list(T /*bits*/, const char* /*separator*/) {
  static_assert(sizeof(T) == 0,
                "setBits2list exists for unsigned long and std::uint64_t only");
  return {};
}

/// The form for `unsigned long`, which is `std::uint64_t` on 64-bit targets.
template <>
QORUTIL_EXPORT std::string setBits2list<unsigned long>(unsigned long bits,
                                                       const char* separator);

#if ULONG_MAX < UINT64_MAX
/// The form for 64 bits where `unsigned long` has fewer.
template <>
QORUTIL_EXPORT std::string setBits2list<std::uint64_t>(std::uint64_t bits,
                                                       const char* separator);
#endif

/// Writes the texts of the selected entries of `list`, those whose flag is
/// true, to `os` in their order, with `separator` between them. When no entry
/// is selected, `emptyText` is written instead.
///
/// A null `separator` stands for the empty text, a null `emptyText` for nothing
/// at all. A field width pending on `os` is used up in front of the first
/// selected text: padding and text stand side by side, whatever the length. It
/// pads `emptyText` as usual, and stays where nothing is written.
///
/// Failure: a selected entry with a null text counts as selected and sets the
/// bad bit of `os`, behind its separator if it is not the first; nothing is
/// written from there on.
///
///     printSeparatedList(std::cout, {{true, "a"}, {false, "b"}, {true, "c"}},
///                        "|", "none");  // a|c
QORUTIL_EXPORT void printSeparatedList(
    std::ostream& os, const std::vector<std::pair<bool, const char*>>& list,
    const char* separator, const char* emptyText);

/// Writes the text for an enumeration value that has no name to `os`: the value
/// in lower-case hexadecimal without leading zeros, a negative one as its
/// 32-bit two's complement.
///
/// A field width pending on `os` applies to the text in front of the digits,
/// with zeros as padding. A locale that groups digits groups these.
///
///     printUnknownEnum(std::cout, 255);  // <unknown: 0xff>
QORUTIL_EXPORT void printUnknownEnum(std::ostream& os, int value);

/// Writes the names of the format flags set in `flags` to `os`, in ascending
/// order of their bits, and returns `os`. Bits that have no name are ignored.
///
/// A field width pending on `os` applies to the opening parenthesis, with
/// spaces as padding.
///
/// The type of the flags belongs to namespace std and this operator to none, so
/// it is not found where an operator<< of an enclosing namespace hides it; the
/// flags then print as a number. A using-declaration for the global operator<<
/// there makes it visible.
///
///     std::cout << std::cout.flags();  // ( dec skipws )
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const std::ios_base::fmtflags& flags);

#endif  // QORUTIL_FORMATTING_H
