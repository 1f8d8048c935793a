// SPDX-License-Identifier: MIT
//
// The one way of printing: a text is composed first and inserted at once,
// wherever a buffer of the standard library ends with the same characters and
// the same state as after the insertions that this replaces.

#ifndef QORUTIL_COMMON_INSERTION_H
#define QORUTIL_COMMON_INSERTION_H

#include <ostream>
#include <string_view>

namespace qorutil_internal {

/// Whether texts may be inserted at once: the stream is good, and no field
/// width is pending, which would be that of the first piece alone.
inline bool takesTexts(const std::ostream& os) {
  return os.good() && os.width() == 0;
}

/// Whether numbers may be too: only the classic locale is known to have plain
/// digits. Another one may bring facets of its own.
bool takesNumbers(const std::ostream& os);

/// Inserts `text`. When that fails, it returns false and the caller prints
/// plainly: a bad stream takes nothing, and ends in the state in which the
/// insertions behind the one that fails leave it.
inline bool insertText(std::ostream& os, std::string_view text) {
  return os.write(text.data(), static_cast<std::streamsize>(text.size()))
      .good();
}

/// The same for a stream in `unitbuf` mode, but nothing is flushed.
bool insertQuietly(std::ostream& os, std::string_view text);

/// The same for printers that replace all flags of the stream: nothing is
/// flushed, as `unitbuf` is among them.
inline bool insertRecord(std::ostream& os, std::string_view text) {
  if ((os.flags() & std::ios_base::unitbuf) != 0) {
    return insertQuietly(os, text);
  }
  return insertText(os, text);
}

}  // namespace qorutil_internal

#endif  // QORUTIL_COMMON_INSERTION_H
