// SPDX-License-Identifier: MIT
//
// Any bytes as a line of Intel HEX: parseLine() reads it as the plain reference
// of the tests does, with the same messages and the same exception.

#include "qorutil/intelhex.h"

#include <stdexcept>

#include "ihex/reference.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  static Redirected streams;
  static PlainStreams plain;
  streams.clear();
  plain.clear();

  std::string expectedText(reinterpret_cast<const char*>(data), size);
  std::string text = expectedText;
  ReferenceRecord expected;
  const std::string expectedThrow = textOf<std::out_of_range>([&] {
    ReferenceReader(plain.out, plain.err).parseLine(expectedText, expected);
    return "";
  });
  IntelHexFile image;
  IntelHexFile::hexfileline_t record;
  record.extAddress = 0xABCD;
  const std::string thrown = textOf<std::out_of_range>([&] {
    image.parseLine(text, record);
    return "";
  });

  require(thrown == expectedThrow, "exception");
  streams.requireSame(plain);
  require(text == expectedText, "cleaned-up line");
  require(record.type == expected.type, "type");
  require(record.extAddress == 0xABCD, "upper address");
  // A rejected line leaves the other fields without meaning.
  if (record.type != 0xFF) {
    require(
        record.address == expected.address && record.count == expected.count,
        "head");
    require(record.data == expected.data, "data");
  }
  return 0;
}
