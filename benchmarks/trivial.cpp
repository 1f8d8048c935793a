// SPDX-License-Identifier: MIT

#include <iostream>
#include <string>

// The smallest program that uses the C++ library: what starting costs.
int main(int argc, char** argv) {
  const std::string name = argc > 0 ? argv[0] : "";
  std::cout << name.size() << '\n';
}
