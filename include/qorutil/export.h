// SPDX-License-Identifier: MIT
//
// The mark of the exported names. The library is built with everything hidden;
// what carries this mark and stands in src/qorutil.map is its interface.

#ifndef QORUTIL_EXPORT_H
#define QORUTIL_EXPORT_H

/// Marks a name as part of the interface of the shared library.
#define QORUTIL_EXPORT __attribute__((visibility("default")))

#endif  // QORUTIL_EXPORT_H
