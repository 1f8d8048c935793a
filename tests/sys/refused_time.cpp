// SPDX-License-Identifier: MIT
//
// Must become no program where time_t has another width than in the library.

#include "qorutil/time.h"

#include <iostream>

int main() {
  std::cout << timeval{1700000000, 4200} << timespec{3661, 5};
}
