// SPDX-License-Identifier: MIT
//
// The stream of functions that return what they print.

#ifndef QORUTIL_COMMON_TEXT_STREAM_H
#define QORUTIL_COMMON_TEXT_STREAM_H

#include <ios>
#include <sstream>

namespace qorutil_internal {

/// A string stream that passes std::bad_alloc on. Others keep it to themselves,
/// and what was returned would be a part of the text.
class TextStream : public std::ostringstream {
 public:
  TextStream() { exceptions(std::ios_base::badbit); }
};

}  // namespace qorutil_internal

#endif  // QORUTIL_COMMON_TEXT_STREAM_H
