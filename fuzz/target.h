// SPDX-License-Identifier: MIT
//
// What the fuzz targets share. Each of them is one function, which gets any
// bytes, holds the library or the tool against the plain way and ends the
// process where they differ.

#ifndef QORUTIL_FUZZ_TARGET_H
#define QORUTIL_FUZZ_TARGET_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

/// Tries one input; the name is libFuzzer's, and AFL++ knows it too.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size);

/// Ends the process, with `text` on standard error, unless `condition` holds.
inline void require(bool condition, const char* text) {
  if (!condition) {
    std::fprintf(stderr, "differs: %s\n", text);
    std::abort();
  }
}

/// Calls `action` and returns what it says, or the text of an `Exception`. No
/// other exception is let through.
template <class Exception, class Action>
std::string textOf(const Action& action) {
  try {
    return action();
  } catch (const Exception& exception) {
    return std::string("throws ") + exception.what();
  }
}

/// Takes values from the front of an input, and zeros where it has ended.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : bytes(reinterpret_cast<const char*>(data), size) {}

  /// Takes one byte.
  unsigned byte() {
    if (bytes.empty()) {
      return 0;
    }
    const auto first = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    return first;
  }

  /// Takes a number below `limit`, which is at most 256.
  unsigned below(unsigned limit) { return byte() % limit; }

  /// Takes 64 bits.
  std::uint64_t number() {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) {
      value = value << 8U | byte();
    }
    return value;
  }

  /// Takes a text of at most `longest` bytes, its length in front.
  std::string text(unsigned longest) {
    const std::size_t size =
        std::min<std::size_t>(below(longest + 1), bytes.size());
    const std::string taken(bytes.substr(0, size));
    bytes.remove_prefix(size);
    return taken;
  }

  /// Takes all that is left.
  std::string rest() {
    const std::string taken(bytes);
    bytes = {};
    return taken;
  }

  /// Tells whether nothing is left.
  bool isEmpty() const { return bytes.empty(); }

 private:
  std::string_view bytes;
};

/// Keeps what is written, without the heap as long as that is short.
class TextBuffer : public std::streambuf {
 public:
  TextBuffer() { clear(); }

  void clear() {
    spilled.clear();
    setp(area.data(), area.data() + area.size());
  }

  bool operator==(const TextBuffer& other) const {
    return held() == other.held() && spilled == other.spilled;
  }

  std::string text() const { return spilled + std::string(held()); }

 protected:
  int_type overflow(int_type character) override {
    spilled.append(held());
    setp(area.data(), area.data() + area.size());
    return traits_type::eq_int_type(character, traits_type::eof())
               ? traits_type::not_eof(character)
               : sputc(traits_type::to_char_type(character));
  }

 private:
  std::string_view held() const {
    return {pbase(), static_cast<std::size_t>(pptr() - pbase())};
  }

  std::array<char, 4096> area;
  std::string spilled;
};

/// Two streams that stand for std::cout and std::cerr.
struct PlainStreams {
  TextBuffer outText;
  TextBuffer errText;
  std::ostream out{&outText};
  std::ostream err{&errText};

  void clear() {
    outText.clear();
    errText.clear();
  }
};

/// Catches what goes to std::cout and std::cerr as long as it lives.
class Redirected {
 public:
  Redirected()
      : savedOut(std::cout.rdbuf(&outText)),
        savedErr(std::cerr.rdbuf(&errText)) {}

  Redirected(const Redirected&) = delete;
  Redirected& operator=(const Redirected&) = delete;

  ~Redirected() {
    std::cout.rdbuf(savedOut);
    std::cerr.rdbuf(savedErr);
  }

  void clear() {
    outText.clear();
    errText.clear();
  }

  /// Ends the process unless the same went to `plain`.
  void requireSame(const PlainStreams& plain) const {
    require(outText == plain.outText, "standard output");
    require(errText == plain.errText, "standard error");
  }

  TextBuffer outText;
  TextBuffer errText;

 private:
  std::streambuf* savedOut;
  std::streambuf* savedErr;
};

#endif  // QORUTIL_FUZZ_TARGET_H
