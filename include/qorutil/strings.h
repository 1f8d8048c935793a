// SPDX-License-Identifier: MIT
//
// Strings: cutting lines into fields and words, replacing and trimming text,
// comparing keywords without regard to case, and composing length-prefixed
// byte strings. Everything works on bytes; nothing here knows of multi-byte
// encodings.

#ifndef QORUTIL_STRINGS_H
#define QORUTIL_STRINGS_H

#include "qorutil/export.h"

#include <cstddef>
#include <string>
#include <vector>

/// A string that starts out in lower case.
///
/// Both constructors store the lower-cased copy of their argument. Later edits
/// through the string interface are not lower-cased again. Each byte goes
/// through `tolower` as a `signed char`, in the locale of the process: in the
/// default locale the bytes 0x80 to 0xFF stay as they are. The constructors are
/// implicit on purpose, so that an assignment lower-cases too. Destroying an
/// `lcstring` through a pointer to `std::string` is not supported.
///
///     lcstring word("MiXeD 123");  // "mixed 123"
///     word = "ABC";                // "abc"
class QORUTIL_EXPORT lcstring : public std::string {
 public:
  /// Lower-cases the NUL-terminated `text`, which must not be null.
  lcstring(const char* text);  // NOLINT(google-explicit-constructor)

  /// Lower-cases `text`, NUL bytes included.
  lcstring(const std::string& text);  // NOLINT(google-explicit-constructor)
};

/// Appends the fields of `text` to `fields`, cutting at every `separator`.
///
/// The number of fields is the number of separators plus one: separators next
/// to each other, at the front or at the end give empty fields, and an empty
/// text gives one empty field. Nothing is trimmed or unquoted. What `fields`
/// held before stays in front.
///
/// `text` must not be an element of `fields`. Throws what the vector and the
/// strings throw when memory runs out.
///
///     std::vector<std::string> fields;
///     split("a,,b,", ',', fields);  // "a", "", "b", ""
QORUTIL_EXPORT void split(const std::string& text, char separator,
                          std::vector<std::string>& fields);

/// Returns the fields of `text`: the form above applied to an empty vector.
QORUTIL_EXPORT std::vector<std::string> split(const std::string& text,
                                              char separator);

/// Appends the words of `text` to `words`.
///
/// A word is a longest run of bytes that are no white space; white space is
/// what `isspace` says, in the locale of the process, of the byte taken as a
/// `signed char`. There are no empty words, no quoting and no comments. What
/// `words` held before stays in front.
///
/// `text` must not be an element of `words`. Throws what the vector and the
/// strings throw when memory runs out.
///
///     std::vector<std::string> words;
///     tokenize("  alpha\t beta\n", words);  // "alpha", "beta"
QORUTIL_EXPORT void tokenize(const std::string& text,
                             std::vector<std::string>& words);

/// Returns the words of `text`: the form above applied to an empty vector.
QORUTIL_EXPORT std::vector<std::string> tokenize(const std::string& text);

/// Replaces every `pattern` in `text` by `replacement` and returns `text`.
///
/// Occurrences are taken from left to right and do not overlap; the search goes
/// on behind what was put in, so a replacement is never searched again.
///
/// `pattern` must not be empty: an empty pattern is found for ever, and the
/// call does not return unless memory runs out. Neither `pattern` nor
/// `replacement` may be `text` itself. Throws what the string throws when
/// memory runs out.
///
///     std::string text = "aaa";
///     strReplace(text, "aa", "b");  // "ba"
QORUTIL_EXPORT std::string& strReplace(std::string& text,
                                       const std::string& pattern,
                                       const std::string& replacement);

/// Removes from the end of `text` every byte that occurs in `set`.
///
/// `set` lists single bytes and is not a suffix: order and repetition do not
/// matter, and an empty set leaves `text` unchanged. A text made only of bytes
/// of the set becomes empty; the front is never touched. Returns `text`.
///
///     std::string line = "value \r\n";
///     rightTrim(line, " \r\n");  // "value"
QORUTIL_EXPORT std::string& rightTrim(std::string& text,
                                      const std::string& set);

/// Appends a one-byte length and the bytes of `source` to `bytes`.
///
///     offset  size  content
///     0       1     the length n of `source` in bytes, modulo 256
///     1       n     the bytes, unchanged
///
/// What `bytes` held before stays in front. Nothing checks the length: a source
/// of more than 255 bytes is appended whole, with the low 8 bits of its length
/// in front, and a reader would take the wrong length. Callers keep to 255.
///
/// A NUL-terminated text counts up to its NUL, which is not appended; it must
/// not be null. A string or a vector may hold NUL bytes. `source` may be
/// `bytes` itself: its length and contents are those before the call.
///
/// Failure: throws what the vector throws when memory runs out. The length may
/// have been appended by then.
///
///     std::vector<unsigned char> bytes;
///     push1(bytes, "abc");  // 03 61 62 63
QORUTIL_EXPORT void push1(std::vector<unsigned char>& bytes,
                          const char* source);

/// The same for the bytes of a string.
QORUTIL_EXPORT void push1(std::vector<unsigned char>& bytes,
                          const std::string& source);

/// The same for the bytes of a vector.
QORUTIL_EXPORT void push1(std::vector<unsigned char>& bytes,
                          const std::vector<unsigned char>& source);

/// A null pointer is refused by the compiler, and so are 0 and `{}`, which
/// could be one.
void push1(std::vector<unsigned char>& bytes, std::nullptr_t source) = delete;

/// Appends a two-byte length and the bytes of `source` to `bytes`.
///
///     offset  size  content
///     0       1     bits 8 to 15 of the length n of `source` in bytes
///     1       1     bits 0 to 7 of n
///     2       n     the bytes, unchanged
///
/// The length is big-endian on every target and holds n modulo 65,536. All else
/// is as with push1(): callers keep to 65,535 bytes.
///
///     std::vector<unsigned char> bytes;
///     push2(bytes, "abc");  // 00 03 61 62 63
QORUTIL_EXPORT void push2(std::vector<unsigned char>& bytes,
                          const char* source);

/// The same for the bytes of a string.
QORUTIL_EXPORT void push2(std::vector<unsigned char>& bytes,
                          const std::string& source);

/// The same for the bytes of a vector.
QORUTIL_EXPORT void push2(std::vector<unsigned char>& bytes,
                          const std::vector<unsigned char>& source);

/// Refused, as with push1().
void push2(std::vector<unsigned char>& bytes, std::nullptr_t source) = delete;

#endif  // QORUTIL_STRINGS_H
