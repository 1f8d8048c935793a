// SPDX-License-Identifier: MIT

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>

#include <qorutil/options.h>

#include "client.h"

namespace {

using Option = Options::option_t;
using Entry = Options::entry_t;

}  // namespace

static_assert(has<int Option::*>(&Option::shortName) &&
              has<const char * Option::*>(&Option::longName) &&
              has<const char * Option::*>(&Option::argName) &&
              has<bool Option::*>(&Option::argRequired) &&
              has<std::string Option::*>(&Option::help));
static_assert(std::is_base_of_v<Option, Entry> &&
              has<int Entry::*>(&Entry::argType) &&
              has<std::size_t Entry::*>(&Entry::argWidth) &&
              has<std::size_t Entry::*>(&Entry::shortWidth) &&
              has<std::size_t Entry::*>(&Entry::longWidth));
static_assert(has<Options& (Options::*)(const Option&)>(&Options::add));
static_assert(has<Options& (Options::*)(const Option&, int)>(&Options::add));
static_assert(has<int (Options::*)(int, char**)>(&Options::get));
static_assert(has<void (Options::*)()>(&Options::update));
static_assert(
    has<std::ostream& (Options::*)(std::ostream&) const>(&Options::print));
static_assert(
    std::is_same_v<decltype(Options::argumentVals), const std::int32_t[3]>);
static_assert(std::is_same_v<decltype(Options::defaultArgHelp), const char[2]>);

bool usesOptions() {
  Options options{optionHelp,   optionVerbose, optionDebug,   optionProgress,
                  optionDevice, optionLoops,   optionNoDaemon};
  Option own{300, "own", Options::defaultArgHelp, false, "Own."};
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
