// SPDX-License-Identifier: MIT
//
// Any bytes as Latin-1 and as UTF-8: converted as the plain rules say, with a
// message where a text cannot be converted to its end.

#include "qorutil/conversion.h"

#include <cerrno>
#include <cstring>

#include "target.h"

namespace {

unsigned char at(const std::string& text, std::size_t position) {
  return position < text.size() ? static_cast<unsigned char>(text[position])
                                : 0;
}

std::string plainUtf8(const std::string& iso) {
  std::string text;
  for (std::size_t i = 0; i < iso.size(); ++i) {
    const unsigned byte = at(iso, i);
    if (byte < 0x80) {
      text += static_cast<char>(byte);
    } else {
      text += static_cast<char>(0xC0U | byte >> 6U);
      text += static_cast<char>(0x80U | (byte & 0x3FU));
    }
  }
  return text;
}

// glibc leaves the tag characters U+E0000 to U+E007F out.
bool isTag(const std::string& text, std::size_t i) {
  return at(text, i) == 0xF3 && at(text, i + 1) == 0xA0 &&
         (at(text, i + 2) & 0xFEU) == 0x80 && (at(text, i + 3) & 0xC0U) == 0x80;
}

// Up to the first character that is none of Latin-1; `size` becomes the number
// of bytes that were read.
std::string plainIso(const std::string& utf8, std::size_t& size) {
  std::string text;
  for (size = 0; size < utf8.size();) {
    const unsigned byte = at(utf8, size);
    const unsigned next = at(utf8, size + 1);
    if (byte < 0x80) {
      text += static_cast<char>(byte);
      ++size;
    } else if ((byte & 0xFEU) == 0xC2 && (next & 0xC0U) == 0x80) {
      text += static_cast<char>((byte & 3U) << 6U | (next & 0x3FU));
      size += 2;
    } else if (isTag(utf8, size)) {
      size += 4;
    } else {
      break;
    }
  }
  return text;
}

std::string messageFor(int error) {
  return std::string("conversion error: ") + std::strerror(error) + '\n';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  static Redirected streams;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::string text = bytes.c_str();

  streams.clear();
  const std::string utf8 = IsoToUtf8Converter(bytes);
  require(utf8 == plainUtf8(text), "to UTF-8");
  require(IsoToUtf8Converter(bytes.c_str()) == utf8, "to UTF-8, from a text");
  require(Utf8ToIsoConverter(utf8) == text, "there and back");
  require(streams.errText.text().empty(), "message about what is sound");

  std::size_t read = 0;
  const std::string iso = plainIso(text, read);
  require(Utf8ToIsoConverter(bytes) == iso, "to Latin-1");
  const std::string message = streams.errText.text();
  if (read == text.size()) {
    require(message.empty(), "message about what is sound");
  } else {
    // Which of the two is a matter of the C library.
    require(message == messageFor(EILSEQ) || message == messageFor(EINVAL),
            "message");
  }
  require(streams.outText.text().empty(), "standard output");
  return 0;
}
