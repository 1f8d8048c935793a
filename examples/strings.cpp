// SPDX-License-Identifier: MIT

#include <iostream>
#include <string>
#include <vector>

#include <qorutil/strings.h>

namespace {

void print(const std::vector<std::string>& parts) {
  for (const std::string& part : parts) {
    std::cout << '[' << part << ']';
  }
  std::cout << '\n';
}

}  // namespace

int main() {
  print(split("a,,b,", ','));
  print(tokenize("  alpha\t beta\n"));

  std::string text = "aaa";
  std::cout << strReplace(text, "aa", "b") << '\n';

  std::string line = "value \r\n";
  std::cout << '[' << rightTrim(line, " \r\n") << "]\n";

  std::cout << lcstring("MiXeD 123") << '\n';
}
