// SPDX-License-Identifier: MIT
//
// One function per header of the library; each uses every name that its header
// exports, and tells whether they did what they promise. The assertions of the
// same file hold each name to its signature.

#ifndef QORUTIL_TESTS_CONSUMER_CLIENT_H
#define QORUTIL_TESTS_CONSUMER_CLIENT_H

/// Compiles only where the name given, a function, a member or an overload set,
/// has the type `Signature`.
template <class Signature>
constexpr bool has(Signature /*name*/) {
  return true;
}

bool usesConversion();
bool usesException();
bool usesFormatting();
bool usesIntelHex();
bool usesOptions();
bool usesScheduler();
bool usesStrings();
bool usesSystem();
bool usesTime();
bool usesVersion();

#endif  // QORUTIL_TESTS_CONSUMER_CLIENT_H
