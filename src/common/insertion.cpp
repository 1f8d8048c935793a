// SPDX-License-Identifier: MIT

#include "common/insertion.h"

#include <algorithm>
#include <locale>
#include <sstream>
#include <streambuf>
#include <typeinfo>

#include <cxxabi.h>

namespace qorutil_internal {

namespace {

// The way to the put area of any buffer.
struct PutArea : std::streambuf {
  static bool exists(const std::streambuf& buffer) {
    return (buffer.*&PutArea::pptr)() != nullptr;
  }

  // Negative in a file buffer that has failed.
  static std::ptrdiff_t room(const std::streambuf& buffer) {
    return (buffer.*&PutArea::epptr)() - (buffer.*&PutArea::pptr)();
  }
};

// A file buffer without room for a text writes it to the file together with
// what it holds. Where that fails it keeps nothing of the text, but of several
// pieces the first ones. A string buffer grows, and a buffer without a put area
// hands on what it gets.
bool takesAtOnce(const std::streambuf& buffer, std::streamsize size) {
  return !PutArea::exists(buffer) || size < PutArea::room(buffer) ||
         typeid(buffer) == typeid(std::stringbuf);
}

void noteException(std::ostream& os) {
  try {
    os.setstate(std::ios_base::badbit);
  } catch (const std::ios_base::failure&) {  // the other one is passed on
  }
}

// Takes `limit` characters and fails then.
class LimitedBuffer : public std::streambuf {
 public:
  explicit LimitedBuffer(std::size_t limit)
      : room(static_cast<std::streamsize>(limit)) {}

 protected:
  std::streamsize xsputn(const char* /*from*/, std::streamsize size) override {
    const std::streamsize count = std::min(size, room);
    room -= count;
    return count;
  }

  int_type overflow(int_type character) override {
    if (room == 0) {
      return traits_type::eof();
    }
    --room;
    return traits_type::not_eof(character);
  }

 private:
  std::streamsize room;
};

}  // namespace

bool takesNumbers(const std::ostream& os) {
  static const std::locale& classic = std::locale::classic();
  return takesTexts(os) && os.getloc() == classic;
}

// As std::ostream::write(), which does not tell the number.
std::size_t insertAtOnce(std::ostream& os, std::string_view text) {
  const std::ostream::sentry ready(os);
  const auto size = static_cast<std::streamsize>(text.size());
  if (!ready || !takesAtOnce(*os.rdbuf(), size)) {
    return 0;
  }
  std::streamsize taken = 0;
  try {
    taken = os.rdbuf()->sputn(text.data(), size);
  } catch (const abi::__forced_unwind&) {  // a thread is cancelled
    noteException(os);
    throw;
  } catch (...) {
    noteException(os);
    if ((os.exceptions() & std::ios_base::badbit) != 0) {
      throw;
    }
    return 0;
  }
  if (taken != size) {
    os.setstate(std::ios_base::badbit);
  }
  return static_cast<std::size_t>(taken);
}

void leaveFailed(std::ostream& os, std::size_t taken,
                 const std::function<void(std::ostream&)>& plain) {
  LimitedBuffer buffer(taken);
  std::ostream other(&buffer);
  other.flags(os.flags());
  other.fill(os.fill());
  other.precision(os.precision());
  other.imbue(os.getloc());
  other.exceptions(os.exceptions());
  try {
    plain(other);
  } catch (const std::ios_base::failure&) {  // follows from the state
  }
  os.width(other.width());
  os.setstate(other.rdstate());
}

}  // namespace qorutil_internal
