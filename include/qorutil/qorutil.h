// SPDX-License-Identifier: MIT
//
// All families of the library at once.

#ifndef QORUTIL_QORUTIL_H
#define QORUTIL_QORUTIL_H

#include "qorutil/conversion.h"
#include "qorutil/exception.h"
#include "qorutil/formatting.h"
#include "qorutil/intelhex.h"
#include "qorutil/options.h"
#include "qorutil/scheduler.h"
#include "qorutil/strings.h"
#include "qorutil/system.h"
#include "qorutil/time.h"
#include "qorutil/version.h"

#endif  // QORUTIL_QORUTIL_H
