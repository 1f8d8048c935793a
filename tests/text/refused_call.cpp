// SPDX-License-Identifier: MIT
//
// Compiles where CALL, which the test chooses, is a call that there is.

#include "qorutil/formatting.h"
#include "qorutil/strings.h"

#include <iostream>
#include <string>
#include <vector>

void call(std::vector<unsigned char>& bytes) {
  CALL;
}
