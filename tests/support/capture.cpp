// SPDX-License-Identifier: MIT

#include "support/capture.h"

#include <iostream>

Capture::Capture()
    : savedOut(std::cout.rdbuf(&outBuffer)),
      savedErr(std::cerr.rdbuf(&errBuffer)),
      savedOutFlags(std::cout.flags()),
      savedErrFlags(std::cerr.flags()) {
  // std::cerr flushes after every insertion and flushes std::cout before;
  // without that the flushes that the code itself asks for can be told apart.
  std::cerr.unsetf(std::ios_base::unitbuf);
  std::cerr.tie(nullptr);
}

Capture::~Capture() {
  std::cout.rdbuf(savedOut);
  std::cerr.rdbuf(savedErr);
  std::cout.clear();
  std::cerr.clear();
  std::cout.flags(savedOutFlags);
  std::cerr.flags(savedErrFlags);
  std::cerr.tie(&std::cout);
}

Capture::Recorder::int_type Capture::Recorder::overflow(int_type character) {
  if (!traits_type::eq_int_type(character, traits_type::eof())) {
    const char single = traits_type::to_char_type(character);
    xsputn(&single, 1);
  }
  return traits_type::not_eof(character);
}

std::streamsize Capture::Recorder::xsputn(const char* from,
                                          std::streamsize count) {
  if (owner.last != this) {
    owner.text += mark;
    owner.last = this;
  }
  const auto length = static_cast<std::string::size_type>(count);
  text.append(from, length);
  owner.text.append(from, length);
  flushed = false;
  return count;
}

int Capture::Recorder::sync() {
  if (!flushed) {
    owner.text += "<flush>";
    flushed = true;
  }
  return 0;
}
