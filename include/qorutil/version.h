// SPDX-License-Identifier: MIT
//
// Version numbers: found inside any text, printed, compared; and the texts of
// the regular-expression errors of the platform.

#ifndef QORUTIL_VERSION_H
#define QORUTIL_VERSION_H

#include "qorutil/export.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <tuple>

struct re_pattern_buffer;  // what <regex.h> also calls regex_t

/// A version number of four parts; the first is the most significant.
struct QORUTIL_EXPORT Version {
  // <sys/sysmacros.h> defines macros major(x) and minor(x): none of the two
  // names is ever followed by a parenthesis here.

  /// The first part.
  std::uint16_t major{0};
  /// The second part.
  std::uint16_t minor{0};
  /// The third part.
  std::uint16_t release{0};
  /// The fourth part.
  std::uint16_t build{0};

  /// Makes the version 0.0.0.0.
  constexpr Version() = default;

  /// Makes a version of the parts given.
  constexpr Version(std::uint16_t majorPart, std::uint16_t minorPart,
                    std::uint16_t releasePart, std::uint16_t buildPart = 0)
      : major{majorPart},
        minor{minorPart},
        release{releasePart},
        build{buildPart} {}

  /// Returns the first version number in `text`, up to its first NUL byte:
  /// two to four decimal numbers, each joined to the next by "." or "-".
  ///
  /// Of the numbers that begin at one place the longest row wins. Parts that
  /// are not given are 0; one above 65535 is stored as `sscanf` stores it into
  /// 16 bits, modulo 65536. Never fails: a text without a version number gives
  /// 0.0.0.0.
  ///
  ///     Version::getVersion("fw 2.7-13 build");  // 2.7.13.0
  ///     Version::getVersion("1.2.3.4.5");        // 1.2.3.4
  ///     Version::getVersion("version 42");       // 0.0.0.0
  static Version getVersion(const std::string& text);
};

/// Returns whether all four parts of `a` and `b` are equal.
constexpr bool operator==(const Version& a, const Version& b) {
  return std::tie(a.major, a.minor, a.release, a.build) ==
         std::tie(b.major, b.minor, b.release, b.build);
}

/// Returns whether any part of `a` and `b` differs.
constexpr bool operator!=(const Version& a, const Version& b) {
  return !(a == b);
}

/// Returns whether `a` is lower than `b`: the first part that differs decides.
///
///     Version(1, 9, 0) < Version(1, 10, 0);  // true
constexpr bool operator<(const Version& a, const Version& b) {
  return std::tie(a.major, a.minor, a.release, a.build) <
         std::tie(b.major, b.minor, b.release, b.build);
}

/// Returns whether `a` is higher than `b`.
constexpr bool operator>(const Version& a, const Version& b) {
  return b < a;
}

/// Returns whether `a` is lower than `b` or equal to it.
constexpr bool operator<=(const Version& a, const Version& b) {
  return !(b < a);
}

/// Returns whether `a` is higher than `b` or equal to it.
constexpr bool operator>=(const Version& a, const Version& b) {
  return !(a < b);
}

/// Writes all four parts of `version` to `os`, in decimal, joined by ".", and
/// returns `os`. A pending field width applies to the first part alone; the
/// flags of `os` come back on return. Nothing is flushed on a stream in
/// `unitbuf` mode.
///
/// A locale that groups digits groups those of a part above 999, as in
/// "1.2.3,456.0": `os.imbue(std::locale::classic())` keeps them together.
///
///     std::cout << Version(1, 2, 0);  // 1.2.0.0
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const Version& version);

/// Compares two version texts, part by part between the dots, and returns -1
/// when `a` is the lower one, 1 when it is the higher one and 0 when they are
/// equal as far as compared.
///
/// `parts` is the number of leading parts to compare; -1 means all. When one
/// text runs out of parts before a difference or that number is reached, the
/// one with fewer parts is the lower one. On purpose 0 compares one part, as 1
/// does, and a negative number other than -1 counts as 256 plus its value.
///
/// A part is worth what `strtol` makes of it with 64 bits, of which the low 32
/// are taken as a signed number: leading blanks and a sign count, the first
/// other character ends the number, and no digits are worth 0. Never fails.
///
///     compareVersions("1.10", "1.9", -1);   // 1
///     compareVersions("1.2", "1.2.0", -1);  // -1
///     compareVersions("1.2", "1.2.0", 2);   // 0
///     compareVersions("1.2a", "1.2", -1);   // 0
QORUTIL_EXPORT int compareVersions(const std::string& a, const std::string& b,
                                   signed char parts);

/// Returns the platform's text for the error `errcode` that `regcomp` or
/// `regexec` gave for the pattern `preg`. The platform ends the process for a
/// number that is none of its error codes.
///
///     regex_t preg;
///     const int errcode = regcomp(&preg, "(", REG_EXTENDED);
///     getRegError(preg, errcode);  // "Unmatched ( or \\("
QORUTIL_EXPORT std::string getRegError(const re_pattern_buffer& preg,
                                       int errcode);

#endif  // QORUTIL_VERSION_H
