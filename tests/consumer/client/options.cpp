// SPDX-License-Identifier: MIT

#include <sstream>
#include <string>

#include <qorutil/options.h>

#include "client.h"

bool usesOptions() {
  Options options{optionHelp,   optionVerbose, optionDebug,   optionProgress,
                  optionDevice, optionLoops,   optionNoDaemon};
  Options::option_t own{300, "own", Options::defaultArgHelp, false, "Own."};
  options.add(own).add({'q', nullptr, nullptr, false, "Quiet."}, 0);
  options.update();

  std::string words[] = {"client", "--own=1"};
  char* argv[] = {words[0].data(), words[1].data(), nullptr};
  const bool found = options.get(2, argv) == 300 && optarg[0] == '1';

  std::ostringstream os;
  Options small;
  small.add(optionHelp);
  small.update();
  small.print(os);
  return found && os.str() == "-h  --help This screen.\n" &&
         Options::argumentVals[2] == 2;
}
