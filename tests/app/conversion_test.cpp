// SPDX-License-Identifier: MIT

#include "qorutil/conversion.h"

#include <cerrno>
#include <cstddef>
#include <iostream>
#include <new>
#include <optional>
#include <random>
#include <string>

#include <dlfcn.h>
#include <iconv.h>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/capture.h"
#include "support/errno_buffer.h"
#include "support/odd_stream.h"

namespace {

struct Simulation {
  std::optional<int> openError;
  std::optional<int> convertError;
  bool byteByByte = false;
  int failingCall = 0;
  int opened = 0;
  int closed = 0;
  int converted = 0;
  std::string names;
};

Simulation simulation;

template <class Function>
Function* realOne(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These stand before libc's own, also for the library.
extern "C" iconv_t iconv_open(const char* target, const char* source) {
  simulation.names = std::string(target) + " from " + source;
  if (simulation.openError) {
    errno = *simulation.openError;
    return reinterpret_cast<iconv_t>(-1);
  }
  ++simulation.opened;
  return realOne<decltype(iconv_open)>("iconv_open")(target, source);
}

extern "C" std::size_t iconv(iconv_t descriptor, char** in, std::size_t* inLeft,
                             char** out, std::size_t* outLeft) {
  ++simulation.converted;
  if (simulation.convertError) {
    errno = *simulation.convertError;
    return static_cast<std::size_t>(-1);
  }
  if (simulation.converted == simulation.failingCall) {
    errno = E2BIG;
    return static_cast<std::size_t>(-1);
  }
  const auto real = realOne<decltype(iconv)>("iconv");
  if (!simulation.byteByByte) {
    return real(descriptor, in, inLeft, out, outLeft);
  }
  std::size_t one = 1;
  const std::size_t result = real(descriptor, in, &one, out, outLeft);
  *inLeft -= 1 - one;
  return result;
}

extern "C" int iconv_close(iconv_t descriptor) {
  ++simulation.closed;
  return realOne<decltype(iconv_close)>("iconv_close")(descriptor);
}

namespace {

constexpr char invalidSequence[] =
    "<err>conversion error: "
    "Invalid or incomplete multibyte or wide character\n<flush>";
constexpr char incompleteSequence[] =
    "<err>conversion error: Invalid argument\n<flush>";

using Convert = std::string (*)(const std::string&);

class Conversion : public testing::Test {
 protected:
  Conversion() { simulation = Simulation(); }

  // Whatever happens, what was opened is closed.
  ~Conversion() override {
    EXPECT_EQ(simulation.closed, simulation.opened);
    simulation = Simulation();
  }
};

class IsoToUtf8 : public Conversion {};

class Utf8ToIso : public Conversion {};

std::string isoBytes(int first, int last) {
  std::string text;
  for (int byte = first; byte <= last; ++byte) {
    text += static_cast<char>(byte);
  }
  return text;
}

std::string plainUtf8(const std::string& iso) {
  std::string text;
  for (const char each : iso) {
    const auto byte = static_cast<unsigned char>(each);
    if (byte < 0x80) {
      text += each;
    } else {
      text += static_cast<char>(0xC0 | byte >> 6);
      text += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return text;
}

TEST_F(IsoToUtf8, NullPointerGivesAnEmptyTextAndNoMessage) {
  const Capture capture;
  EXPECT_EQ(IsoToUtf8Converter(nullptr), "");
  EXPECT_EQ(capture.transcript(), "");
  EXPECT_EQ(simulation.opened, 0);
}

TEST_F(IsoToUtf8, EmptyTextGivesAnEmptyTextAndNoMessage) {
  const Capture capture;
  EXPECT_EQ(IsoToUtf8Converter(""), "");
  EXPECT_EQ(IsoToUtf8Converter(std::string()), "");
  EXPECT_EQ(capture.transcript(), "");
  EXPECT_EQ(simulation.opened, 0);
}

TEST_F(IsoToUtf8, ConvertsAHighByteBetweenAsciiOnes) {
  const Capture capture;
  EXPECT_EQ(IsoToUtf8Converter("A\xE9"
                               "B"),
            "A\xC3\xA9"
            "B");
  EXPECT_EQ(capture.transcript(), "");
  EXPECT_EQ(simulation.names, "UTF-8 from ISO-8859-1");
  EXPECT_EQ(simulation.opened, 1);
}

TEST_F(IsoToUtf8, EveryByteAlone) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text = isoBytes(byte, byte);
    EXPECT_EQ(IsoToUtf8Converter(text), plainUtf8(text)) << byte;
  }
}

TEST_F(IsoToUtf8, HighBytesAloneFillTheWholeOutputArea) {
  const std::string text = isoBytes(0x80, 0xFF);
  const std::string converted = IsoToUtf8Converter(text);
  EXPECT_EQ(converted, plainUtf8(text));
  EXPECT_EQ(converted.size(), 2 * text.size());
}

TEST_F(IsoToUtf8, HighBytesFillTheAreaAtEveryLength) {
  for (std::size_t length = 1; length < 100; ++length) {
    const std::string text(length, '\xFF');
    EXPECT_EQ(IsoToUtf8Converter(text.c_str()), plainUtf8(text));
  }
}

TEST_F(IsoToUtf8, StringEndsAtItsFirstNulByte) {
  EXPECT_EQ(IsoToUtf8Converter(std::string("A\xE9\0B", 4)), "A\xC3\xA9");
  EXPECT_EQ(IsoToUtf8Converter(std::string("\0B", 2)), "");
}

TEST_F(IsoToUtf8, IconvIsCalledUntilNoInputIsLeft) {
  simulation.byteByByte = true;
  EXPECT_EQ(IsoToUtf8Converter("A\xE9-"), "A\xC3\xA9-");
  EXPECT_EQ(simulation.converted, 3);
}

TEST_F(IsoToUtf8, WithoutADescriptorThereIsAMessageAndAnEmptyText) {
  const Capture capture;
  simulation.openError = EINVAL;
  EXPECT_EQ(IsoToUtf8Converter("A"), "");
  EXPECT_EQ(
      capture.transcript(),
      "<err>cannot open conversion descriptor: Invalid argument\n<flush>");
  EXPECT_EQ(simulation.converted, 0);
}

TEST_F(IsoToUtf8, FailureOfTheFirstCallGivesAMessageAndAnEmptyText) {
  const Capture capture;
  simulation.convertError = E2BIG;
  EXPECT_EQ(IsoToUtf8Converter("A"), "");
  EXPECT_EQ(capture.transcript(),
            "<err>conversion error: Argument list too long\n<flush>");
  EXPECT_EQ(simulation.converted, 1);
}

TEST_F(Utf8ToIso, NullPointerGivesAnEmptyTextAndNoMessage) {
  const Capture capture;
  EXPECT_EQ(Utf8ToIsoConverter(nullptr), "");
  EXPECT_EQ(capture.transcript(), "");
  EXPECT_EQ(simulation.opened, 0);
}

TEST_F(Utf8ToIso, EmptyTextGivesAnEmptyTextAndNoMessage) {
  const Capture capture;
  EXPECT_EQ(Utf8ToIsoConverter(""), "");
  EXPECT_EQ(Utf8ToIsoConverter(std::string()), "");
  EXPECT_EQ(capture.transcript(), "");
  EXPECT_EQ(simulation.opened, 0);
}

TEST_F(Utf8ToIso, ConvertsATwoByteSequence) {
  const Capture capture;
  EXPECT_EQ(Utf8ToIsoConverter("A\xC3\xA9"
                               "B"),
            "A\xE9"
            "B");
  EXPECT_EQ(capture.transcript(), "");
  EXPECT_EQ(simulation.names, "ISO-8859-1 from UTF-8");
}

TEST_F(Utf8ToIso, AllLatin1TextsComeBack) {
  const std::string text = isoBytes(1, 255);
  EXPECT_EQ(Utf8ToIsoConverter(plainUtf8(text)), text);
}

TEST_F(Utf8ToIso, StringEndsAtItsFirstNulByte) {
  EXPECT_EQ(Utf8ToIsoConverter(std::string("\xC3\xA9\0B", 4)), "\xE9");
}

TEST_F(Utf8ToIso, CharacterAboveLatin1CutsTheTextBeforeIt) {
  const Capture capture;
  EXPECT_EQ(Utf8ToIsoConverter("5 \xE2\x82\xAC net"), "5 ");
  EXPECT_EQ(capture.transcript(), invalidSequence);
}

TEST_F(Utf8ToIso, FirstCharacterAboveLatin1CutsTheText) {
  const Capture capture;
  EXPECT_EQ(Utf8ToIsoConverter("\xC4\x80"), "");  // U+0100
  EXPECT_EQ(capture.transcript(), invalidSequence);
}

TEST_F(Utf8ToIso, TagCharactersAreLeftOut) {
  const Capture capture;
  // U+E0000, U+E007F, and U+E0080, which is none.
  EXPECT_EQ(Utf8ToIsoConverter("a\xF3\xA0\x80\x80"
                               "b\xF3\xA0\x81\xBF"
                               "c\xF3\xA0\x82\x80"
                               "d"),
            "abc");
  EXPECT_EQ(capture.transcript(), invalidSequence);
}

TEST_F(Utf8ToIso, InvalidByteCutsTheTextBeforeIt) {
  const Capture capture;
  EXPECT_EQ(Utf8ToIsoConverter("ab\xFFz"), "ab");
  EXPECT_EQ(capture.transcript(), invalidSequence);
}

TEST_F(Utf8ToIso, SequenceCutOffAtTheEndCutsTheTextBeforeIt) {
  const Capture capture;
  EXPECT_EQ(Utf8ToIsoConverter("ab\xC3"), "ab");
  EXPECT_EQ(capture.transcript(), incompleteSequence);
}

TEST_F(Utf8ToIso, WithoutADescriptorThereIsAMessageAndAnEmptyText) {
  const Capture capture;
  simulation.openError = EMFILE;
  EXPECT_EQ(Utf8ToIsoConverter("A"), "");
  EXPECT_EQ(
      capture.transcript(),
      "<err>cannot open conversion descriptor: Too many open files\n<flush>");
}

TEST_F(Conversion, RandomLatin1TextsGoThereAndBack) {
  std::mt19937 random(24);
  for (int round = 0; round < 500; ++round) {
    std::string text;
    for (auto left = random() % 40; left > 0; --left) {
      text += static_cast<char>(1 + random() % 255);
    }
    const std::string utf8 = IsoToUtf8Converter(text);
    ASSERT_EQ(utf8, plainUtf8(text));
    ASSERT_EQ(Utf8ToIsoConverter(utf8), text);
  }
}

TEST_F(Conversion, ErrorNumberIsReadBeforeAnythingIsWritten) {
  const ErrnoBuffer buffer;
  simulation.convertError = E2BIG;
  IsoToUtf8Converter("A");
  simulation.openError = EMFILE;
  IsoToUtf8Converter("A");
  EXPECT_EQ(buffer.text,
            "conversion error: Argument list too long\n"
            "cannot open conversion descriptor: Too many open files\n");
}

TEST_F(Conversion, DescriptorIsClosedWhenStandardErrorThrows) {
  ShortBuffer full(0);
  std::streambuf* const saved = std::cerr.rdbuf(&full);
  std::cerr.exceptions(std::ios_base::badbit);
  EXPECT_THROW(Utf8ToIsoConverter("ab\xFF"), std::ios_base::failure);
  std::cerr.exceptions(std::ios_base::goodbit);
  std::cerr.rdbuf(saved);
  std::cerr.clear();
  EXPECT_EQ(simulation.opened, 1);
  EXPECT_EQ(simulation.closed, 1);
}

TEST_F(Conversion, OutOfMemoryIsThrownWithoutAMessage) {
  const std::string text(100, 'A');
  for (const auto convert : {static_cast<Convert>(IsoToUtf8Converter),
                             static_cast<Convert>(Utf8ToIsoConverter)}) {
    const Capture capture;
    {
      const FailingAllocation noMemory(0);
      EXPECT_THROW(convert(text), std::bad_alloc);
    }
    EXPECT_EQ(capture.transcript(), "");
  }
}

TEST_F(Conversion, FailureBehindAConvertedPartKeepsThatPart) {
  simulation.byteByByte = true;
  simulation.failingCall = 3;
  const Capture capture;
  EXPECT_EQ(IsoToUtf8Converter("A\xE9-"), "A\xC3\xA9");
  EXPECT_EQ(capture.transcript(),
            "<err>conversion error: Argument list too long\n<flush>");
}

TEST_F(Conversion, EachCallOpensAndClosesItsOwnDescriptor) {
  IsoToUtf8Converter("A");
  EXPECT_EQ(simulation.opened, 1);
  EXPECT_EQ(simulation.closed, 1);
  Utf8ToIsoConverter("A");
  EXPECT_EQ(simulation.opened, 2);
  EXPECT_EQ(simulation.closed, 2);
}

}  // namespace
