// SPDX-License-Identifier: MIT

#include "qorutil/conversion.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iostream>

#include <iconv.h>

namespace {

class Converter {
 public:
  Converter(const char* target, const char* source)
      : descriptor(iconv_open(target, source)) {}

  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  ~Converter() {
    if (isOpen()) {
      iconv_close(descriptor);
    }
  }

  bool isOpen() const {
    // The error value that iconv_open is documented to return.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return descriptor != reinterpret_cast<iconv_t>(-1);
  }

  // One call of iconv; false when it failed.
  bool step(char*& in, std::size_t& inLeft, char*& out, std::size_t& outLeft) {
    return iconv(descriptor, &in, &inLeft, &out, &outLeft) !=
           static_cast<std::size_t>(-1);
  }

 private:
  iconv_t descriptor;
};

std::string convert(const char* text, const char* target, const char* source) {
  if (text == nullptr || *text == '\0') {
    return {};
  }
  std::size_t inLeft = std::strlen(text);
  std::string area(2 * inLeft, '\0');
  Converter converter(target, source);
  if (!converter.isOpen()) {
    const int error = errno;
    std::cerr << "cannot open conversion descriptor: " << std::strerror(error)
              << std::endl;
    return {};
  }

  char* in = const_cast<char*>(text);  // iconv reads it only
  char* out = area.data();
  std::size_t outLeft = area.size();
  while (inLeft > 0) {
    if (!converter.step(in, inLeft, out, outLeft)) {
      const int error = errno;
      std::cerr << "conversion error: " << std::strerror(error) << std::endl;
      break;
    }
  }
  // A text that fills the area leaves no zero byte in it.
  area.resize(std::min(area.find('\0'), area.size()));
  return area;
}

}  // namespace

std::string IsoToUtf8Converter(const char* text) {
  return convert(text, "UTF-8", "ISO-8859-1");
}

std::string IsoToUtf8Converter(const std::string& text) {
  return IsoToUtf8Converter(text.c_str());
}

std::string Utf8ToIsoConverter(const char* text) {
  return convert(text, "ISO-8859-1", "UTF-8");
}

std::string Utf8ToIsoConverter(const std::string& text) {
  return Utf8ToIsoConverter(text.c_str());
}
