// SPDX-License-Identifier: MIT
#include <iostream>
#include <string>

#include <qorutil/intelhex.h>
#include <qorutil/strings.h>

int main() {
  const IntelHexFile image;
  std::string text = "qorutil \n";
  std::cout << rightTrim(text, " \n") << ": " << image.getBlockCount()
            << " blocks\n";
}
