// SPDX-License-Identifier: MIT

#include <string>

#include <qorutil/conversion.h>

#include "client.h"

static_assert(has<std::string (*)(const char*)>(IsoToUtf8Converter));
static_assert(has<std::string (*)(const std::string&)>(IsoToUtf8Converter));
static_assert(has<std::string (*)(const char*)>(Utf8ToIsoConverter));
static_assert(has<std::string (*)(const std::string&)>(Utf8ToIsoConverter));

bool usesConversion() {
  const std::string iso = "A\xE9";
  const std::string utf8 = "A\xC3\xA9";
  return IsoToUtf8Converter(iso) == utf8 && Utf8ToIsoConverter(utf8) == iso &&
         IsoToUtf8Converter(iso.c_str()) == utf8 &&
         Utf8ToIsoConverter(utf8.c_str()) == iso;
}
