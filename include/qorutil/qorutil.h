// SPDX-License-Identifier: MIT
//
// All families of the library at once.

#ifndef QORUTIL_QORUTIL_H
#define QORUTIL_QORUTIL_H

#include "qorutil/exception.h"
#include "qorutil/intelhex.h"
#include "qorutil/options.h"
#include "qorutil/strings.h"

#endif  // QORUTIL_QORUTIL_H
