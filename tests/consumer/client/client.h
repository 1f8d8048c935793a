// SPDX-License-Identifier: MIT
//
// One function per header of the library; each uses every name that its header
// exports, and tells whether they did what they promise.

#ifndef QORUTIL_TESTS_CONSUMER_CLIENT_H
#define QORUTIL_TESTS_CONSUMER_CLIENT_H

bool usesException();
bool usesIntelHex();
bool usesOptions();
bool usesStrings();

#endif  // QORUTIL_TESTS_CONSUMER_CLIENT_H
