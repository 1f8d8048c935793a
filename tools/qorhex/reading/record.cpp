// SPDX-License-Identifier: MIT

#include "reading/record.h"

#include <algorithm>
#include <cstring>

#include "reading/number_text.h"

// Elsewhere one digit at a time is as good.
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && !defined(QORUTIL_NO_VECTORS)
#if defined(__SSE2__)
#include <emmintrin.h>
#define VECTORS_PAY 1
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#define VECTORS_PAY 1
#endif
#endif

namespace {

// The bytes of a record besides its data: byte count, offset, type, checksum.
constexpr std::size_t frameBytes = 5;

bool isHexDigit(char character) {
  return hexDigits[static_cast<unsigned char>(character)] != noHexDigit;
}

#ifdef VECTORS_PAY

// What 16 digits stand for.
struct eightBytes_t {
  // The bytes, the first one lowest.
  std::uint64_t values;
  // Not 0 in each byte that has a character other than a digit.
  std::uint64_t strange;
};

#ifdef __SSE2__

eightBytes_t decodeEight(const char* text) {
  const __m128i digits =
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i decimal = _mm_sub_epi8(digits, _mm_set1_epi8('0'));
  const __m128i letter = _mm_sub_epi8(_mm_or_si128(digits, _mm_set1_epi8(0x20)),
                                      _mm_set1_epi8('a'));
  const __m128i isDecimal =
      _mm_cmpeq_epi8(_mm_min_epu8(decimal, _mm_set1_epi8(9)), decimal);
  const __m128i isLetter =
      _mm_cmpeq_epi8(_mm_min_epu8(letter, _mm_set1_epi8(5)), letter);
  // 'A' and 'a' are 0x41 and 0x61.
  const __m128i nibbles =
      _mm_add_epi8(_mm_and_si128(digits, _mm_set1_epi8(0xF)),
                   _mm_and_si128(isLetter, _mm_set1_epi8(9)));
  // The first digit of a pair is the low half of a 16-bit number.
  const __m128i pairs = _mm_and_si128(
      _mm_or_si128(_mm_slli_epi16(nibbles, 4), _mm_srli_epi16(nibbles, 8)),
      _mm_set1_epi16(0xFF));
  const __m128i strange =
      _mm_andnot_si128(_mm_or_si128(isDecimal, isLetter), _mm_set1_epi8(-1));
  // Saturation makes 0xFF, 0x7F or 0x80 of a pair that is strange.
  const __m128i both = _mm_unpacklo_epi64(_mm_packus_epi16(pairs, pairs),
                                          _mm_packs_epi16(strange, strange));
  eightBytes_t bytes;
  std::memcpy(&bytes, &both, sizeof bytes);
  return bytes;
}

#else

eightBytes_t decodeEight(const char* text) {
  uint8x8_t digitsOfAll = vdup_n_u8(0xFF);
  const auto nibbles = [&digitsOfAll](uint8x8_t digits) {
    const uint8x8_t decimal = vsub_u8(digits, vdup_n_u8('0'));
    const uint8x8_t letter =
        vsub_u8(vorr_u8(digits, vdup_n_u8(0x20)), vdup_n_u8('a'));
    const uint8x8_t isDecimal = vcle_u8(decimal, vdup_n_u8(9));
    const uint8x8_t isLetter = vcle_u8(letter, vdup_n_u8(5));
    digitsOfAll = vand_u8(digitsOfAll, vorr_u8(isDecimal, isLetter));
    return vbsl_u8(isDecimal, decimal, vadd_u8(letter, vdup_n_u8(10)));
  };
  const uint8x8x2_t digits =
      vld2_u8(reinterpret_cast<const std::uint8_t*>(text));
  const uint8x8_t values =
      vsli_n_u8(nibbles(digits.val[1]), nibbles(digits.val[0]), 4);
  return {vget_lane_u64(vreinterpret_u64_u8(values), 0),
          ~vget_lane_u64(vreinterpret_u64_u8(digitsOfAll), 0)};
}

#endif

// The sum of many bytes, of which it gives the lowest eight bits.
class ByteSum {
 public:
  void add(std::uint64_t values) {
    constexpr std::uint64_t even = 0x00FF00FF00FF00FF;
    lanes += (values & even) + (values >> 8U & even);
  }

  unsigned get() const { return lanes * 0x0001000100010001U >> 48U & 0xFFU; }

 private:
  // Each has room for 64 times two bytes; a record has 260 bytes.
  std::uint64_t lanes{0};
};

void store(unsigned char* data, std::uint64_t values) {
  std::memcpy(data, &values, sizeof values);
}

#endif

}  // namespace

std::size_t decodeRecordReference(const char* text, std::size_t size,
                                  recordHead_t& head, unsigned char* data) {
  if (size < recordFrame || text[0] != ':') {
    return 0;
  }
  const unsigned count = hexByte(text + 1);
  const std::size_t length = recordFrame + 2 * std::size_t{count};
  if (count >= noHexDigit || size < length) {
    return 0;
  }
  unsigned seen = 0;
  unsigned sum = 0;
  unsigned char bytes[frameBytes + maxRecordData];
  for (std::size_t at = 1; at < length; at += 2) {
    const unsigned value = hexByte(text + at);
    seen |= value;
    sum += value;
    bytes[at / 2] = static_cast<unsigned char>(value);
  }
  if (seen >= noHexDigit || (sum & 0xFFU) != 0) {
    return 0;
  }
  head = {bytes[0], static_cast<std::uint16_t>(bytes[1] << 8U | bytes[2]),
          bytes[3]};
  std::copy_n(bytes + 4, count, data);
  return length;
}

#ifdef VECTORS_PAY

std::size_t decodeRecord(const char* text, recordHead_t& head,
                         unsigned char* data) {
  if (text[0] != ':') {
    return 0;
  }
  eightBytes_t bytes = decodeEight(text + 1);
  head.size = static_cast<std::uint8_t>(bytes.values);
  head.offset = static_cast<std::uint16_t>((bytes.values & 0xFF00U) |
                                           (bytes.values >> 16U & 0xFFU));
  head.type = static_cast<std::uint8_t>(bytes.values >> 24U);
  std::size_t left = frameBytes + head.size;
  if (left < sizeof bytes.values) {
    return decodeRecordReference(text, maxRecordText, head, data);
  }
  // The first four bytes are no data.
  const auto first = static_cast<std::uint32_t>(bytes.values >> 32U);
  std::memcpy(data, &first, sizeof first);
  data += sizeof first;
  std::uint64_t strange = bytes.strange;
  ByteSum sum;
  sum.add(bytes.values);
  const char* digits = text + 1 + 16;
  for (left -= 8; left >= 8; left -= 8) {
    bytes = decodeEight(digits);
    strange |= bytes.strange;
    sum.add(bytes.values);
    store(data, bytes.values);
    digits += 16;
    data += 8;
  }
  if (left != 0) {
    // What stands behind the record was read too.
    bytes = decodeEight(digits);
    const std::uint64_t mask = ~std::uint64_t{0} >> (64 - 8 * left);
    strange |= bytes.strange & mask;
    sum.add(bytes.values & mask);
    store(data, bytes.values);
  }
  return strange == 0 && sum.get() == 0
             ? recordFrame + 2 * std::size_t{head.size}
             : 0;
}

#else

std::size_t decodeRecord(const char* text, recordHead_t& head,
                         unsigned char* data) {
  return decodeRecordReference(text, maxRecordText, head, data);
}

#endif

lineBody_t bodyOf(std::string_view text) {
  const auto* const strange =
      std::find_if_not(text.begin() + 1, text.end(), isHexDigit);
  return {text, text.size(),
          static_cast<std::uint64_t>(strange - text.begin())};
}

damage_t describeDamage(const lineBody_t& body) {
  const char* const text = body.head.data();
  if (text[0] != ':') {
    return {0, "no start code ':' at the beginning"};
  }
  if (body.strange != body.size) {
    return {body.strange, "not a hex digit"};
  }
  const std::size_t expected =
      body.size < 3 ? recordFrame
                    : recordFrame + 2 * std::size_t{hexByte(text + 1)};
  if (body.size < expected) {
    return {body.size, "shorter than its byte count says, " +
                           countText(body.size, "character") + " instead of " +
                           std::to_string(expected)};
  }
  if (body.size > expected) {
    return {expected, "longer than its byte count says, " +
                          countText(body.size, "character") + " instead of " +
                          std::to_string(expected)};
  }
  const char* const checksum = text + expected - 2;
  unsigned sum = 0;
  for (const char* pair = text + 1; pair != checksum; pair += 2) {
    sum += hexByte(pair);
  }
  return {expected - 2, "wrong checksum " + hexText(hexByte(checksum), 2) +
                            ", the bytes give " + hexText(-sum & 0xFFU, 2)};
}

bool mayBeAddress(const lineBody_t& body) {
  if (body.head[0] != ':') {
    return false;
  }
  const unsigned type =
      body.size < 9 ? noHexDigit : hexByte(body.head.data() + 7);
  return type == 2 || type == 4 || type >= noHexDigit;
}
