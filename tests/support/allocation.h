// SPDX-License-Identifier: MIT
//
// Counts allocations, and lets memory run out at a chosen one. A program that
// uses this has its operator new replaced, for the shared library too.

#ifndef QORUTIL_TESTS_SUPPORT_ALLOCATION_H
#define QORUTIL_TESTS_SUPPORT_ALLOCATION_H

#include <functional>

/// While it lives, operator new throws std::bad_alloc after `successes` calls
/// that succeed: once, or `forEver`; never where `successes` is below 0.
class FailingAllocation {
 public:
  /// Where `note` points to is told as well when an allocation fails, for a
  /// process that does not live to be asked.
  explicit FailingAllocation(long successes, bool forEver = false,
                             bool* note = nullptr);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Tells whether an allocation has failed.
  bool happened() const;
};

/// Counts what this thread allocates from its making on.
class AllocationCount {
 public:
  AllocationCount();

  /// How often operator new gave memory.
  long made() const;

  /// How many of these pieces are not given back yet. Below 0 where some from
  /// before were.
  long live() const;

 private:
  long madeBefore;
  long liveBefore;
};

/// Runs `action` with its first allocation failing, then with its second, and
/// so on until none fails, and `check` after each failure that `action` passes
/// on. Returns how often one failed. What a failed `action` leaves allocated is
/// `leaked`.
long failEveryAllocation(const std::function<void()>& action,
                         const std::function<void(long leaked)>& check);

#endif  // QORUTIL_TESTS_SUPPORT_ALLOCATION_H
