// SPDX-License-Identifier: MIT

#include <string>
#include <type_traits>
#include <vector>

#include <qorutil/strings.h>

#include "client.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Strings = std::vector<std::string>;

}  // namespace

static_assert(std::is_base_of_v<std::string, lcstring> &&
              sizeof(lcstring) == sizeof(std::string) &&
              std::is_constructible_v<lcstring, const char*> &&
              std::is_constructible_v<lcstring, const std::string&>);
static_assert(has<void (*)(const std::string&, char, Strings&)>(split));
static_assert(has<Strings (*)(const std::string&, char)>(split));
static_assert(has<void (*)(const std::string&, Strings&)>(tokenize));
static_assert(has<Strings (*)(const std::string&)>(tokenize));
static_assert(has<std::string& (*)(std::string&, const std::string&,
                                   const std::string&)>(strReplace));
static_assert(
    has<std::string& (*)(std::string&, const std::string&)>(rightTrim));
static_assert(has<void (*)(Bytes&, const char*)>(push1));
static_assert(has<void (*)(Bytes&, const std::string&)>(push1));
static_assert(has<void (*)(Bytes&, const Bytes&)>(push1));
static_assert(has<void (*)(Bytes&, const char*)>(push2));
static_assert(has<void (*)(Bytes&, const std::string&)>(push2));
static_assert(has<void (*)(Bytes&, const Bytes&)>(push2));

namespace {

bool composesBytes() {
  Bytes bytes;
  push1(bytes, "a");
  push1(bytes, std::string("b"));
  push1(bytes, Bytes{'c'});
  push2(bytes, "d");
  push2(bytes, std::string("e"));
  push2(bytes, Bytes{'f'});
  return bytes ==
         Bytes{1, 'a', 1, 'b', 1, 'c', 0, 1, 'd', 0, 1, 'e', 0, 1, 'f'};
}

}  // namespace

bool usesStrings() {
  Strings fields = split("a,b", ',');
  split("c", ',', fields);
  Strings words = tokenize(" a b ");
  tokenize("c", words);
  std::string text = "aaa  ";
  rightTrim(strReplace(text, "aa", "b"), " ");
  return composesBytes() && fields.size() == 3 && words == fields &&
         text == "ba" && lcstring("AB") == lcstring(std::string("aB"));
}
