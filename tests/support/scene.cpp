// SPDX-License-Identifier: MIT

#include "support/scene.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <streambuf>

#include <ext/stdio_sync_filebuf.h>
#include <sys/types.h>

#include "support/digit_grouping.h"
#include "support/files.h"

namespace {

// Takes `limit` characters in steps of `step` and fails then. Notes the last
// flush with the number of characters written before.
class OddBuffer : public std::streambuf {
 public:
  OddBuffer(std::size_t most, std::size_t atATime, bool withException)
      : limit(most), step(atATime), throws(withException) {
    setp(area.data(), area.data());
  }

  std::string text() const { return taken + std::string(pbase(), pptr()); }

  std::string flushed;
  std::string tiedFlushed;

 protected:
  int_type overflow(int_type character) override {
    taken.append(pbase(), pptr());
    const std::size_t room = std::min(step, limit - taken.size());
    setp(area.data(), area.data() + room);
    if (room == 0) {
      if (throws) {
        throw limit;
      }
      return traits_type::eof();
    }
    return sputc(traits_type::to_char_type(character));
  }

  int sync() override {
    flushed = '@' + std::to_string(text().size());
    return 0;
  }

 private:
  std::size_t limit;
  std::size_t step;
  bool throws;
  std::string taken;
  std::array<char, 4096> area{};
};

// Notes when the other stream is flushed first because of a tie.
class TiedBuffer : public std::streambuf {
 public:
  explicit TiedBuffer(OddBuffer& other) : buffer(other) {}

 protected:
  int sync() override {
    if (buffer.tiedFlushed.empty()) {
      buffer.tiedFlushed = '<' + std::to_string(buffer.text().size());
    }
    return 0;
  }

 private:
  OddBuffer& buffer;
};

struct Scene {
  std::size_t limit;
  std::size_t step;
  bool throws;
  bool tied;
  std::ios_base::fmtflags flags;
  char fill;
  std::streamsize width;
  std::streamsize precision;
  std::string grouping;
  std::ios_base::iostate state;
  std::ios_base::iostate exceptions;
};

Scene anyScene(Random& random) {
  constexpr std::size_t steps[] = {0, 1, 50, 200, 2000, 4096};
  constexpr std::streamsize widths[] = {-3, 1, 2, 5, 20, 90, 1500};
  const auto ordinary = std::ios_base::dec | std::ios_base::skipws;
  Scene scene{1 << 20, 0, false, false, ordinary, ' ', 0, 6, {}, {}, {}};
  scene.step = std::max<std::size_t>(steps[below(random, 6)], 1);
  if (rarely(random)) {
    scene.limit = 1 + below(random, 60);
    scene.throws = below(random, 2) == 0;
  }
  scene.tied = rarely(random);
  if (below(random, 2) == 0) {
    scene.flags = static_cast<std::ios_base::fmtflags>(below(random, 1 << 17));
    if (below(random, 2) == 0) {
      scene.flags &= ~(std::ios_base::floatfield | std::ios_base::showpoint |
                       std::ios_base::showpos | std::ios_base::unitbuf);
    }
    constexpr char fills[] = {' ', '*', '-', '.', '\0', '0'};
    scene.fill = fills[below(random, 6)];
  }
  if (below(random, 3) == 0) {
    scene.width = widths[below(random, 7)];
  }
  if (rarely(random)) {
    scene.precision = static_cast<std::streamsize>(below(random, 20));
  }
  if (rarely(random)) {
    scene.grouping = below(random, 2) == 0 ? "\1" : "\3";
  }
  if (rarely(random)) {
    scene.state = static_cast<std::ios_base::iostate>(below(random, 8));
  }
  if (rarely(random)) {
    scene.exceptions = static_cast<std::ios_base::iostate>(below(random, 8));
  }
  return scene;
}

// All that is to be seen of a printer in a scene.
struct Seen {
  std::string text;
  std::string flushed;
  std::string thrown;
  std::ios_base::iostate state;
  std::streamsize width;
  std::string format;
};

std::string toText(const Seen& seen) {
  std::ostringstream all;
  all << seen.text << '|' << seen.flushed << seen.thrown << " state "
      << seen.state << " width " << seen.width << seen.format;
  return all.str();
}

Seen seenOf(const Scene& scene, const Printer& print) {
  OddBuffer buffer(scene.limit, scene.step, scene.throws);
  buffer.sputc('>');  // opens the put area
  TiedBuffer tiedBuffer(buffer);
  std::ostream tied(&tiedBuffer);
  std::ostream os(&buffer);
  os.flags(scene.flags);
  os.fill(scene.fill);
  os.width(scene.width);
  os.precision(scene.precision);
  os.tie(scene.tied ? &tied : nullptr);
  if (!scene.grouping.empty()) {
    os.imbue(digitGroupingLocale(scene.grouping));
  }
  std::string thrown;
  try {
    os.exceptions(scene.exceptions);
    os.clear(scene.state);
    print(os);
  } catch (const std::ios_base::failure&) {
    thrown = " failure";
  } catch (std::size_t) {
    thrown = " number";
  }
  std::ostringstream format;
  format << " flags " << static_cast<int>(os.flags()) << " fill "
         << int{os.fill()} << " precision " << os.precision();
  // How often a stream that fails is flushed is no matter.
  const std::string flushed =
      os.bad() ? "" : buffer.flushed + buffer.tiedFlushed;
  return {buffer.text(), flushed,    thrown,
          os.rdstate(),  os.width(), format.str()};
}

std::string inAStringStream(const Printer& print) {
  std::ostringstream os;
  print(os);
  print(os);
  return os.str();
}

std::string inAFile(const Printer& print) {
  const TemporaryFolder folder;
  {
    std::ofstream os(folder.path("file"));
    print(os);
    print(os);
  }
  return folder.read("file");
}

// Has room to spare, but passes texts on to a device that fails.
class WriteThroughBuffer : public std::streambuf {
 public:
  explicit WriteThroughBuffer(bool withException) : throws(withException) {
    setp(area.data(), area.data() + area.size());
  }

  int flushes{0};

 protected:
  std::streamsize xsputn(const char* /*from*/,
                         std::streamsize /*count*/) override {
    if (throws) {
      throw area.size();
    }
    return 0;
  }

  int sync() override {
    ++flushes;
    return 0;
  }

 private:
  bool throws;
  std::array<char, 4096> area{};
};

// More than any text that is inserted at once.
constexpr std::size_t smallBuffer = 1100;

// The places behind which a buffer fails.
constexpr std::size_t places = 100;

constexpr std::ios_base::iostate allExceptions[] = {
    std::ios_base::goodbit, std::ios_base::badbit, std::ios_base::failbit};

// What a caller sees of the stream after the call.
std::string stateAfter(const Printer& print, std::streambuf& buffer,
                       std::ios_base::iostate exceptions) {
  std::ostream os(&buffer);
  os.exceptions(exceptions);
  std::ostringstream seen;
  try {
    print(os);
  } catch (const std::ios_base::failure&) {
    seen << " failure";
  }
  seen << " state " << os.rdstate() << " width " << os.width();
  return seen.str();
}

// Shows what it holds, of which the first characters are there before the call.
class HeldFile : public std::filebuf {
 public:
  HeldFile(const char* path, std::size_t before) {
    pubsetbuf(area.data(), smallBuffer);
    open(path, std::ios_base::out);
    for (; before > 0; --before) {
      sputc('.');
    }
  }

  std::string held() const { return {pbase(), pptr()}; }

 private:
  // libstdc++ counts a character that it could not write among those held, even
  // behind the end of the buffer.
  std::array<char, smallBuffer + 16> area{};
};

std::string toAFullFile(const Printer& print, std::size_t before,
                        std::ios_base::iostate exceptions) {
  HeldFile buffer("/dev/full", before);
  const std::string state = stateAfter(print, buffer, exceptions);
  return buffer.held() + state;
}

// A device with room for some characters.
struct SmallDevice {
  std::size_t room;
  std::string text;
};

ssize_t writeToDevice(void* cookie, const char* from, std::size_t size) {
  auto& device = *static_cast<SmallDevice*>(cookie);
  const std::size_t count = std::min(size, device.room);
  device.text.append(from, count);
  device.room -= count;
  return static_cast<ssize_t>(count);
}

// What the C library holds when the device fails shows when it no longer does.
std::string toASmallDevice(const Printer& print, int mode, std::size_t room,
                           std::size_t before,
                           std::ios_base::iostate exceptions) {
  SmallDevice device{room, {}};
  cookie_io_functions_t functions{};
  functions.write = writeToDevice;
  std::FILE* const file = fopencookie(&device, "w", functions);
  std::array<char, smallBuffer> area{};
  std::setvbuf(file, area.data(), mode, area.size());
  __gnu_cxx::stdio_sync_filebuf<char> buffer(file);
  for (; before > 0; --before) {
    buffer.sputc('.');
  }
  const std::string state = stateAfter(print, buffer, exceptions);
  device.text += '|';
  device.room = 1 << 20;
  std::fclose(file);
  return device.text + state;
}

std::string toNothing(const Printer& print, std::ios_base::iostate exceptions) {
  std::filebuf closed;
  std::stringbuf source("source", std::ios_base::in);
  return stateAfter(print, closed, exceptions) +
         stateAfter(print, source, exceptions);
}

template <class Expected>
bool throws(const Printer& print, std::ostream& os) {
  try {
    print(os);
  } catch (const Expected&) {
    return true;
  }
  return false;
}

}  // namespace

std::size_t below(Random& random, std::size_t limit) {
  return static_cast<std::size_t>(random() % limit);
}

bool rarely(Random& random) {
  return below(random, 6) == 0;
}

std::uint64_t anyNumber(Random& random) {
  return random() >> below(random, 64);
}

std::string anyText(Random& random, std::size_t longest) {
  std::string text(below(random, longest + 1), '\0');
  const bool readable = below(random, 2) == 0;
  for (char& byte : text) {
    byte = static_cast<char>(readable ? ' ' + below(random, 95) : random());
  }
  return text;
}

std::string difference(Random& random, const Printer& plain,
                       const Printer& fast) {
  const Scene scene = anyScene(random);
  const Seen expected = seenOf(scene, plain);
  const Seen actual = seenOf(scene, fast);
  if (toText(actual) != toText(expected)) {
    return toText(actual) + "\n instead of\n" + toText(expected);
  }
  if (inAStringStream(fast) != inAStringStream(plain)) {
    return inAStringStream(fast) + "\n instead of\n" + inAStringStream(plain);
  }
  if (below(random, 64) == 0 && inAFile(fast) != inAFile(plain)) {
    return "another file";
  }
  return {};
}

std::string differenceWhereBuffersFail(const Printer& plain,
                                       const Printer& fast) {
  const auto differenceOf = [&](const auto& seenOfPrinter) {
    const std::string expected = seenOfPrinter(plain);
    const std::string actual = seenOfPrinter(fast);
    return actual == expected ? ""
                              : actual + "\n instead of\n" + expected + '\n';
  };
  std::string all;
  for (const std::ios_base::iostate exceptions : allExceptions) {
    all += differenceOf(
        [=](const Printer& print) { return toNothing(print, exceptions); });
    for (std::size_t place = 0; place < places; ++place) {
      const std::size_t before = smallBuffer - place;
      all += differenceOf([=](const Printer& print) {
        return toAFullFile(print, before, exceptions);
      });
      all += differenceOf([=](const Printer& print) {
        return toASmallDevice(print, _IOFBF, place / 2, before, exceptions);
      });
      all += differenceOf([=](const Printer& print) {
        return toASmallDevice(print, _IONBF, place, 0, exceptions);
      });
    }
  }
  return all;
}

bool noticesFailure(const Printer& print) {
  for (const bool throwing : {false, true}) {
    WriteThroughBuffer buffer(throwing);
    std::ostream os(&buffer);
    os.setf(std::ios_base::unitbuf);
    const auto flags = os.flags();
    print(os);
    const bool bad = os.bad();
    os.clear();
    os.exceptions(std::ios_base::badbit);
    const bool passedOn = throwing ? throws<std::size_t>(print, os)
                                   : throws<std::ios_base::failure>(print, os);
    if (!bad || !passedOn || os.flags() != flags || os.fill() != ' ' ||
        buffer.flushes != 0) {
      return false;
    }
  }
  return true;
}
