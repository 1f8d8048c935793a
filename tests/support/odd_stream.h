// SPDX-License-Identifier: MIT
//
// Streams that stand in the way of a printer: odd formats, buffers that fail.

#ifndef QORUTIL_TESTS_SUPPORT_ODD_STREAM_H
#define QORUTIL_TESTS_SUPPORT_ODD_STREAM_H

#include <cstddef>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

/// Flags none of which a printer wants.
constexpr std::ios_base::fmtflags oddFlags =
    std::ios_base::hex | std::ios_base::showbase | std::ios_base::showpos |
    std::ios_base::uppercase | std::ios_base::left | std::ios_base::scientific |
    std::ios_base::boolalpha | std::ios_base::showpoint;

/// A fill that no printer wants.
constexpr char oddFill = '*';

/// Takes `room` bytes and fails from then on.
class ShortBuffer : public std::streambuf {
 public:
  explicit ShortBuffer(std::size_t room) : left(room) {}

  std::string text;

 protected:
  int_type overflow(int_type character) override {
    if (left == 0) {
      return traits_type::eof();
    }
    --left;
    text += traits_type::to_char_type(character);
    return traits_type::not_eof(character);
  }

 private:
  std::size_t left;
};

/// What `value` gives on a stream of odd flags and fill and with a pending
/// field width. What is left of the format follows, as "|left" when flags or
/// fill differ from before, nothing otherwise.
template <class T>
std::string printedOddly(const T& value, int width = 0) {
  std::ostringstream os;
  os.flags(oddFlags);
  os.fill(oddFill);
  os.width(width);
  const bool same = &(os << value) == &os;
  const bool kept = os.flags() == oddFlags && os.fill() == oddFill;
  return os.str() + (same && kept && os.width() == 0 ? "" : "|left");
}

/// Whether `value` leaves flags and fill of the stream alone wherever the
/// buffer fails, with exceptions and without, and writes no byte behind that.
template <class T>
bool survivesShortBuffers(const T& value) {
  std::ostringstream whole;
  whole.flags(oddFlags);
  whole.fill(oddFill);
  whole << value;
  const std::string text = whole.str();
  for (std::size_t room = 0; room < text.size(); ++room) {
    for (const bool throwing : {false, true}) {
      ShortBuffer buffer(room);
      std::ostream os(&buffer);
      os.flags(oddFlags);
      os.fill(oddFill);
      bool thrown = false;
      try {
        os.exceptions(throwing ? std::ios_base::badbit
                               : std::ios_base::goodbit);
        os << value;
      } catch (const std::ios_base::failure&) {
        thrown = true;
      }
      if (thrown != throwing || os.good() || os.flags() != oddFlags ||
          os.fill() != oddFill || buffer.text != text.substr(0, room)) {
        return false;
      }
    }
  }
  return !text.empty();
}

#endif  // QORUTIL_TESTS_SUPPORT_ODD_STREAM_H
