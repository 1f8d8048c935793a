// SPDX-License-Identifier: MIT

#include "support/printed.h"

#include <fstream>
#include <sstream>

#include "support/digit_grouping.h"
#include "support/files.h"

namespace {

using Printer = std::function<void(std::ostream& os)>;

std::string toAFreshStream(const Printer& print) {
  std::ostringstream os;
  print(os);
  return os.str();
}

std::string toAUsedStream(const Printer& print) {
  std::ostringstream os;
  os << '>';
  print(os);
  return os.str().substr(1);
}

std::string toAFile(const Printer& print) {
  static const TemporaryFolder folder;
  static const std::string path = folder.path("printed");
  {
    std::ofstream os(path);
    print(os);
  }
  return readFile(path);
}

std::string toAUnitBufferedStream(const Printer& print) {
  std::ostringstream os;
  os.setf(std::ios_base::unitbuf);
  print(os);
  return os.str();
}

std::string inAnotherLocale(const Printer& print) {
  std::ostringstream os;
  os.imbue(digitGroupingLocale(""));
  print(os);
  return os.str();
}

}  // namespace

std::string printed(const Printer& print) {
  const std::string text = toAFreshStream(print);
  for (const auto& stream :
       {toAUsedStream, toAFile, toAUnitBufferedStream, inAnotherLocale}) {
    const std::string other = stream(print);
    if (other != text) {
      return "differs: \"" + text + "\" and \"" + other + '"';
    }
  }
  return text;
}
