// SPDX-License-Identifier: MIT
#include <qorutil/intelhex.h>
#include <qorutil/strings.h>

#include <iostream>
#include <string>

int main() {
  const IntelHexFile image;
  std::string text = "qorutil \n";
  std::cout << rightTrim(text, " \n") << ": " << image.getBlockCount()
            << " blocks\n";
}
