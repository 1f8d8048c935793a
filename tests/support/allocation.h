// SPDX-License-Identifier: MIT
//
// Lets memory run out at a chosen allocation. A program that uses this has its
// operator new replaced, for the shared library too.

#ifndef QORUTIL_TESTS_SUPPORT_ALLOCATION_H
#define QORUTIL_TESTS_SUPPORT_ALLOCATION_H

/// While it lives, operator new throws std::bad_alloc once, after `successes`
/// calls that succeed.
class FailingAllocation {
 public:
  explicit FailingAllocation(long successes);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Tells whether an allocation has failed.
  bool happened() const;
};

#endif  // QORUTIL_TESTS_SUPPORT_ALLOCATION_H
