// SPDX-License-Identifier: MIT
//
// Conversion of texts between ISO 8859-1 (Latin-1) and UTF-8, with the
// platform's iconv.

#ifndef QORUTIL_CONVERSION_H
#define QORUTIL_CONVERSION_H

#include "qorutil/export.h"

#include <string>

/// Returns the ISO 8859-1 text `text` in UTF-8. A null or empty text gives an
/// empty one.
///
/// Failure: nothing is thrown but what an allocation throws. When there is no
/// such conversion, std::cerr gets "cannot open conversion descriptor: " with
/// the system's error text, and the result is empty. When the conversion
/// stops, std::cerr gets "conversion error: " with the system's error text, and
/// the result is what was converted before.
///
///     IsoToUtf8Converter("A\xE9");  // "A\xC3\xA9"
QORUTIL_EXPORT std::string IsoToUtf8Converter(const char* text);

/// Converts `text` in the same way, up to its first NUL byte.
QORUTIL_EXPORT std::string IsoToUtf8Converter(const std::string& text);

/// Returns the UTF-8 text `text` in ISO 8859-1. A null or empty text gives an
/// empty one.
///
/// A character above U+00FF, an invalid sequence and one that is cut off at the
/// end stop the conversion: the result is the text before it. The invisible tag
/// characters U+E0000 to U+E007F are no such characters to glibc, which leaves
/// them out and goes on. Failures are those of IsoToUtf8Converter().
///
///     Utf8ToIsoConverter("A\xC3\xA9");          // "A\xE9"
///     Utf8ToIsoConverter("5 \xE2\x82\xAC net");  // "5 " and, on std::cerr,
///     // "conversion error: Invalid or incomplete multibyte or wide character"
QORUTIL_EXPORT std::string Utf8ToIsoConverter(const char* text);

/// Converts `text` in the same way, up to its first NUL byte.
QORUTIL_EXPORT std::string Utf8ToIsoConverter(const std::string& text);

#endif  // QORUTIL_CONVERSION_H
