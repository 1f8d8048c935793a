// SPDX-License-Identifier: MIT
//
// The guard of a stream's format state, for every printer that changes it.

#ifndef QORUTIL_COMMON_STREAM_STATE_H
#define QORUTIL_COMMON_STREAM_STATE_H

#include <ostream>

namespace qorutil_internal {

/// Remembers the format flags and the fill character of a stream and puts them
/// back when it goes out of scope, also when an insertion throws.
class StreamState {
 public:
  explicit StreamState(std::ostream& stream)
      : os(stream), savedFlags(stream.flags()), savedFill(stream.fill()) {}

  StreamState(const StreamState&) = delete;
  StreamState& operator=(const StreamState&) = delete;

  ~StreamState() {
    os.flags(savedFlags);
    os.fill(savedFill);
  }

  /// The flags that the caller had set.
  std::ios_base::fmtflags flags() const { return savedFlags; }

  /// The caller's fill character.
  char fill() const { return savedFill; }

 private:
  std::ostream& os;
  std::ios_base::fmtflags savedFlags;
  char savedFill;
};

}  // namespace qorutil_internal

#endif  // QORUTIL_COMMON_STREAM_STATE_H
