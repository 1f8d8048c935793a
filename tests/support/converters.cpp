// SPDX-License-Identifier: MIT
//
// Succeeds where the C library has the character sets that the library needs.

#include <iconv.h>

int main() {
  const iconv_t descriptor = iconv_open("UTF-8", "ISO-8859-1");
  return descriptor == reinterpret_cast<iconv_t>(-1) ? 1
                                                     : iconv_close(descriptor);
}
