// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include <qorutil/strings.h>

#include "client.h"

bool usesStrings() {
  std::vector<std::string> fields = split("a,b", ',');
  split("c", ',', fields);
  std::vector<std::string> words = tokenize(" a b ");
  tokenize("c", words);
  std::string text = "aaa  ";
  rightTrim(strReplace(text, "aa", "b"), " ");
  return fields.size() == 3 && words == fields && text == "ba" &&
         lcstring("AB") == lcstring(std::string("aB"));
}
