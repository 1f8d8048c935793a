// SPDX-License-Identifier: MIT
//
// The plain ways of the version functions, with patterns, lists and insertions:
// taken where the fast way would show, and what the tests hold it against.

#ifndef QORUTIL_APP_PLAIN_VERSION_H
#define QORUTIL_APP_PLAIN_VERSION_H

#include "qorutil/version.h"

#include <iosfwd>
#include <string>

namespace qorutil_internal {

/// The printer of `Version`.
std::ostream& printPlainly(std::ostream& os, const Version& version);

/// Version::getVersion().
Version getVersionPlainly(const std::string& text);

/// compareVersions().
int compareVersionsPlainly(const std::string& a, const std::string& b,
                           signed char parts);

}  // namespace qorutil_internal

#endif  // QORUTIL_APP_PLAIN_VERSION_H
