// SPDX-License-Identifier: MIT
//
// The one way of printing: a text is composed first and inserted at once,
// wherever a buffer of the standard library ends with the same characters and
// the same state as after the insertions that this replaces.

#ifndef QORUTIL_COMMON_INSERTION_H
#define QORUTIL_COMMON_INSERTION_H

#include <cstddef>
#include <functional>
#include <ostream>
#include <string_view>

#include "common/stream_state.h"

namespace qorutil_internal {

/// Whether texts may be inserted at once: the stream is good, and no field
/// width is pending, which would be that of the first piece alone.
inline bool takesTexts(const std::ostream& os) {
  return os.good() && os.width() == 0;
}

/// Whether numbers may be too: only the classic locale is known to have plain
/// digits. Another one may bring facets of its own.
bool takesNumbers(const std::ostream& os);

/// Inserts as much of `text` as the buffer takes at once; returns how many
/// characters that is. None where the buffer might tear the text in another
/// place than the pieces it stands for.
std::size_t insertAtOnce(std::ostream& os, std::string_view text);

/// Brings a stream whose buffer has taken no more than `taken` characters of
/// what `plain` prints into the state in which `plain` leaves it.
void leaveFailed(std::ostream& os, std::size_t taken,
                 const std::function<void(std::ostream&)>& plain);

/// Inserts `text`, which is what `plain` prints piece by piece.
template <class Plain>
void insertText(std::ostream& os, std::string_view text, const Plain& plain) {
  const std::size_t taken = insertAtOnce(os, text);
  if (taken == text.size()) {
    return;
  }
  if (os.good()) {
    plain(os);
  } else {
    leaveFailed(os, taken, std::ref(plain));  // takes no memory
  }
}

/// The same for printers that replace all flags of the stream: nothing is
/// flushed, as `unitbuf` is among them.
template <class Plain>
void insertRecord(std::ostream& os, std::string_view text, const Plain& plain) {
  if ((os.flags() & std::ios_base::unitbuf) == 0) {
    insertText(os, text, plain);
    return;
  }
  const StreamState restored(os);
  os.unsetf(std::ios_base::unitbuf);
  insertText(os, text, plain);
}

}  // namespace qorutil_internal

#endif  // QORUTIL_COMMON_INSERTION_H
