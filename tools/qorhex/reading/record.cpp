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

// From 16 - n on: a mask for the first n characters.
constexpr unsigned char tailMasks[32] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         0xFF, 0xFF, 0xFF, 0xFF};

#ifdef __SSE2__

// Decodes the digits of a record, 16 at a time.
class Digits {
 public:
  // Returns the eight bytes that the digits at `text` stand for, the first one
  // lowest.
  std::uint64_t take(const char* text) { return bytesOf(valuesOf(load(text))); }

  // The same for the first `count` digits alone; the other bytes are 0.
  std::uint64_t take(const char* text, std::size_t count) {
    return bytesOf(
        _mm_and_si128(valuesOf(load(text)), load(tailMasks + 16 - count)));
  }

  // Tells whether all were digits, and their bytes have the sum 0.
  bool areSound() const {
    const __m128i strange = _mm_and_si128(seen, _mm_set1_epi8('\xF0'));
    const __m128i none = _mm_cmpeq_epi8(strange, _mm_setzero_si128());
    const __m128i sum = _mm_sad_epu8(sums, _mm_setzero_si128());
    return _mm_movemask_epi8(none) == 0xFFFF &&
           (_mm_cvtsi128_si32(sum) & 0xFF) == 0;
  }

 private:
  static __m128i load(const void* bytes) {
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
  }

  // The value of each digit; at least 16 for other characters.
  static __m128i valuesOf(__m128i text) {
    // '0' to '9' become 0xF6 to 0xFF, what is below that 0xF0 at most.
    const __m128i high = _mm_add_epi8(text, _mm_set1_epi8('\xFF' - '9'));
    const __m128i decimal = _mm_sub_epi8(_mm_subs_epu8(high, _mm_set1_epi8(6)),
                                         _mm_set1_epi8('\xF0'));
    const __m128i letter = _mm_sub_epi8(
        _mm_and_si128(text, _mm_set1_epi8('\xDF')), _mm_set1_epi8('A'));
    return _mm_min_epu8(decimal, _mm_adds_epu8(letter, _mm_set1_epi8(10)));
  }

  std::uint64_t bytesOf(__m128i values) {
    seen = _mm_or_si128(seen, values);
    // The first digit of a pair is the low half of a 16-bit number.
    const __m128i pairs = _mm_and_si128(
        _mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8)),
        _mm_set1_epi16(0xFF));
    const __m128i bytes = _mm_packus_epi16(pairs, _mm_setzero_si128());
    sums = _mm_add_epi8(sums, bytes);
    std::uint64_t eight = 0;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&eight), bytes);
    return eight;
  }

  __m128i seen = _mm_setzero_si128();
  __m128i sums = _mm_setzero_si128();
};

#else

// The same for NEON.
class Digits {
 public:
  std::uint64_t take(const char* text) { return bytesOf(load(text), 16); }

  std::uint64_t take(const char* text, std::size_t count) {
    return bytesOf(load(text), count);
  }

  bool areSound() const {
    const std::uint64_t sum = lanesOf(sums);
    constexpr std::uint64_t even = 0x00FF00FF00FF00FF;
    const std::uint64_t pairs = (sum & even) + (sum >> 8U & even);
    return (lanesOf(seen) & 0xF0F0F0F0F0F0F0F0) == 0 &&
           (pairs * 0x0001000100010001U >> 48U & 0xFFU) == 0;
  }

 private:
  static uint8x8x2_t load(const char* text) {
    return vld2_u8(reinterpret_cast<const std::uint8_t*>(text));
  }

  static std::uint64_t lanesOf(uint8x8_t bytes) {
    return vget_lane_u64(vreinterpret_u64_u8(bytes), 0);
  }

  static uint8x8_t valuesOf(uint8x8_t text) {
    const uint8x8_t decimal = vsub_u8(text, vdup_n_u8('0'));
    const uint8x8_t letter =
        vsub_u8(vand_u8(text, vdup_n_u8(0xDF)), vdup_n_u8('A'));
    const uint8x8_t isDecimal = vcle_u8(decimal, vdup_n_u8(9));
    return vbsl_u8(isDecimal, decimal, vqadd_u8(letter, vdup_n_u8(10)));
  }

  std::uint64_t bytesOf(uint8x8x2_t text, std::size_t count) {
    const uint8x8_t mask = vld1_u8(tailMasks + 16 - count / 2);
    const uint8x8_t high = vand_u8(valuesOf(text.val[0]), mask);
    const uint8x8_t low = vand_u8(valuesOf(text.val[1]), mask);
    seen = vorr_u8(seen, vorr_u8(high, low));
    const uint8x8_t bytes = vorr_u8(vshl_n_u8(high, 4), low);
    sums = vadd_u8(sums, bytes);
    return lanesOf(bytes);
  }

  uint8x8_t seen = vdup_n_u8(0);
  uint8x8_t sums = vdup_n_u8(0);
};

#endif

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
  unsigned char bytes[frameBytes + maxRecordData]{};
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
  // Where the next record begins hangs on this number: it is found without the
  // vectors, which take longer.
  const unsigned count = hexByte(text + 1);
  if (count >= noHexDigit) {
    return 0;
  }
  Digits digits;
  std::size_t left = frameBytes + count;
  const std::uint64_t first =
      digits.take(text + 1, std::min<std::size_t>(16, 2 * left));
  head.size = static_cast<std::uint8_t>(count);
  head.offset =
      static_cast<std::uint16_t>((first & 0xFF00U) | (first >> 16U & 0xFFU));
  head.type = static_cast<std::uint8_t>(first >> 24U);
  left -= std::min(left, sizeof first);
  // The first four bytes are no data.
  const auto firstData = static_cast<std::uint32_t>(first >> 32U);
  std::memcpy(data, &firstData, sizeof firstData);
  data += sizeof firstData;
  text += 1 + 16;
  for (; left >= 8; left -= 8) {
    store(data, digits.take(text));
    text += 16;
    data += 8;
  }
  // What stands behind the record is read too.
  store(data, digits.take(text, 2 * left));
  return digits.areSound() ? recordFrame + 2 * std::size_t{count} : 0;
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
    return {
        0,
        "no start code ':' at the beginning; every line is a record, comments "
        "are not understood"};
  }
  if (body.strange != body.size) {
    return {body.strange,
            "not a hex digit; behind ':' stand 0 to 9 and A to F alone"};
  }
  const std::size_t expected =
      body.size < 3 ? recordFrame
                    : recordFrame + 2 * std::size_t{hexByte(text + 1)};
  if (body.size < expected) {
    return {body.size, "shorter than its byte count says, " +
                           countText(body.size, "character") + " instead of " +
                           std::to_string(expected) +
                           "; the line was cut, or its byte count is wrong"};
  }
  if (body.size > expected) {
    return {expected, "longer than its byte count says, " +
                          countText(body.size, "character") + " instead of " +
                          std::to_string(expected) +
                          "; lines were joined, or the byte count is wrong"};
  }
  const char* const checksum = text + expected - 2;
  unsigned sum = 0;
  for (const char* pair = text + 1; pair != checksum; pair += 2) {
    sum += hexByte(pair);
  }
  const unsigned right = -sum & 0xFFU;
  constexpr char digits[] = "0123456789ABCDEF";
  return {expected - 2, "wrong checksum " + hexText(hexByte(checksum), 2) +
                            ", the bytes give " + hexText(right, 2) +
                            "; if the bytes are right, write " +
                            digits[right >> 4U] + digits[right & 0xFU]};
}

bool mayBeAddress(const lineBody_t& body) {
  if (body.head[0] != ':') {
    return false;
  }
  const unsigned type =
      body.size < 9 ? noHexDigit : hexByte(body.head.data() + 7);
  return type == 2 || type == 4 || type >= noHexDigit;
}
