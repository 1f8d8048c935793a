// SPDX-License-Identifier: MIT
//
// How a complete file gets its name, and gives it back.

#ifndef QORHEX_PLACEMENT_H
#define QORHEX_PLACEMENT_H

#include <string>

#include "writing/target.h"
#include "writing/temporary.h"

/// Puts a temporary file in the place of its target. The caller holds signals
/// back for as long as it may want to take that back.
class Placement {
 public:
  /// Nothing is in place yet. `newFile` and `where` outlive this object.
  Placement(TemporaryFile& newFile, const target_t& where)
      : file(newFile), target(where) {}

  /// Puts the file in place so that it can be taken back. Returns false when
  /// the file system has no way to do that, or the step failed; place() knows
  /// which.
  bool placeKeeping();

  /// Puts the file in place, for good if it replaces one, unless it is there
  /// already. When that fails, returns false with the reason in `errno`.
  bool place();

  /// Whether the file is in place.
  bool isPlaced() const { return state != state_t::APART; }

  /// Gives the name of a file that is in place back to what had it before. When
  /// that fails, returns false: the target stays the new file.
  bool takeBack();

  /// Removes the old file, if it was kept. When that fails, returns false with
  /// the reason in `errno`.
  bool removeOld();

  /// Leaves the old file under the name under which it was kept, and returns
  /// that; empty when it was not kept.
  std::string keepOld();

 private:
  enum class state_t { APART, EXCHANGED, LINKED, ADDED, REPLACED };

  bool addNew();
  bool replaceLinked();

  TemporaryFile& file;
  const target_t& target;
  // The old file, where that could not change names with the new one.
  TemporaryFile old;
  state_t state{state_t::APART};
  bool appeared{false};
};

#endif  // QORHEX_PLACEMENT_H
