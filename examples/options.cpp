// SPDX-License-Identifier: MIT

#include <iostream>

#include <qorutil/options.h>

int main(int argc, char** argv) {
  const Options::option_t optionSize{'s', "size", "bytes", true,
                                     "Size of a packet."};
  Options options{optionHelp, optionVerbose, optionDebug, optionLoops};
  options.add(optionSize);

  int verbosity = 0;
  for (int c = 0; (c = options.get(argc, argv)) != -1;) {
    if (c == optionVerbose.shortName) {
      ++verbosity;
    } else if (c == optionLoops.shortName) {
      std::cout << "loops: " << optarg << '\n';
    } else if (c == optionSize.shortName) {
      std::cout << "size: " << optarg << '\n';
    } else if (c == optionHelp.shortName) {
      options.print(std::cout);
    } else {
      return 2;  // getopt_long has told why
    }
  }
  std::cout << "verbosity: " << verbosity << '\n';
  for (; optind < argc; ++optind) {
    std::cout << "argument: " << argv[optind] << '\n';
  }
}
