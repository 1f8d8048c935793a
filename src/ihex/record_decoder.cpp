// SPDX-License-Identifier: MIT

#include "ihex/record_decoder.h"

#include "ihex/hex_digits.h"

namespace {

// Reads ":LLAAAATT" into `head` and adds its bytes to `sum`; false where there
// is no start code or a character is no hex digit.
inline bool decodeHead(const char* text, RecordHead& head, unsigned& sum) {
  const unsigned count = hexPair(text + 1);
  const unsigned high = hexPair(text + 3);
  const unsigned low = hexPair(text + 5);
  const unsigned type = hexPair(text + 7);
  if (text[0] != ':' || (count | high | low | type) >= noHexDigit) {
    return false;
  }
  head.count = static_cast<std::uint8_t>(count);
  head.address = static_cast<std::uint16_t>(high << 8 | low);
  head.type = static_cast<std::uint8_t>(type);
  sum = count + high + low + type;
  return true;
}

// Reads `count` pairs of digits at `text` and adds their bytes to `sum`. The
// result has bits from noHexDigit up where a character is no hex digit.
inline unsigned decodePairs(const char* text, std::size_t count,
                            unsigned char* data, unsigned& sum) {
  unsigned all = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned pair = hexPair(text + 2 * i);
    all |= pair;
    sum += pair;
    data[i] = static_cast<unsigned char>(pair);
  }
  return all;
}

// The length of the record whose digits all were digits and whose bytes before
// the checksum at `text` have the sum `sum`; 0 where the checksum is wrong.
inline std::size_t checkedLength(const char* text, const RecordHead& head,
                                 unsigned sum) {
  const unsigned checksum = hexPair(text);
  if (checksum >= noHexDigit || ((sum + checksum) & 0xFF) != 0) {
    return 0;
  }
  return 11 + 2 * std::size_t{head.count};
}

}  // namespace

std::size_t decodeRecordPortable(const char* text, RecordHead& head,
                                 unsigned char* data) {
  unsigned sum = 0;
  if (!decodeHead(text, head, sum)) {
    return 0;
  }
  text += 9;
  if (decodePairs(text, head.count, data, sum) >= noHexDigit) {
    return 0;
  }
  return checkedLength(text + 2 * std::size_t{head.count}, head, sum);
}

#if defined(__SSE2__) && !defined(QORUTIL_NO_VECTORS)

#include <emmintrin.h>

std::size_t decodeRecordVector(const char* text, RecordHead& head,
                               unsigned char* data) {
  unsigned sum = 0;
  if (!decodeHead(text, head, sum)) {
    return 0;
  }
  text += 9;
  __m128i sums = _mm_setzero_si128();
  __m128i valid = _mm_set1_epi16(-1);
  std::size_t left = head.count;
  for (; left >= 8; left -= 8) {
    const __m128i digits =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i decimal = _mm_sub_epi8(digits, _mm_set1_epi8('0'));
    const __m128i letter = _mm_sub_epi8(
        _mm_or_si128(digits, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
    const __m128i isDecimal =
        _mm_cmpeq_epi8(_mm_min_epu8(decimal, _mm_set1_epi8(9)), decimal);
    const __m128i isLetter =
        _mm_cmpeq_epi8(_mm_min_epu8(letter, _mm_set1_epi8(5)), letter);
    valid = _mm_and_si128(valid, _mm_or_si128(isDecimal, isLetter));
    const __m128i values = _mm_or_si128(
        _mm_and_si128(isDecimal, decimal),
        _mm_andnot_si128(isDecimal, _mm_add_epi8(letter, _mm_set1_epi8(10))));
    // The first digit of a pair is the low half of a 16-bit number.
    const __m128i pairs = _mm_and_si128(
        _mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8)),
        _mm_set1_epi16(0xFF));
    const __m128i bytes = _mm_packus_epi16(pairs, _mm_setzero_si128());
    sums = _mm_add_epi8(sums, bytes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(data), bytes);
    text += 16;
    data += 8;
  }
  if (_mm_movemask_epi8(valid) != 0xFFFF) {
    return 0;
  }
  sum += static_cast<unsigned>(
      _mm_cvtsi128_si32(_mm_sad_epu8(sums, _mm_setzero_si128())));
  if (decodePairs(text, left, data, sum) >= noHexDigit) {
    return 0;
  }
  return checkedLength(text + 2 * left, head, sum);
}

#elif defined(__aarch64__) && !defined(QORUTIL_NO_VECTORS)

#include <arm_neon.h>

std::size_t decodeRecordVector(const char* text, RecordHead& head,
                               unsigned char* data) {
  unsigned sum = 0;
  if (!decodeHead(text, head, sum)) {
    return 0;
  }
  text += 9;
  uint8x8_t sums = vdup_n_u8(0);
  uint8x8_t valid = vdup_n_u8(0xFF);
  const auto values = [&valid](uint8x8_t digits) {
    const uint8x8_t decimal = vsub_u8(digits, vdup_n_u8('0'));
    const uint8x8_t letter =
        vsub_u8(vorr_u8(digits, vdup_n_u8(0x20)), vdup_n_u8('a'));
    const uint8x8_t isDecimal = vcle_u8(decimal, vdup_n_u8(9));
    const uint8x8_t isLetter = vcle_u8(letter, vdup_n_u8(5));
    valid = vand_u8(valid, vorr_u8(isDecimal, isLetter));
    return vbsl_u8(isDecimal, decimal, vadd_u8(letter, vdup_n_u8(10)));
  };
  std::size_t left = head.count;
  for (; left >= 8; left -= 8) {
    const uint8x8x2_t digits =
        vld2_u8(reinterpret_cast<const std::uint8_t*>(text));
    const uint8x8_t bytes =
        vsli_n_u8(values(digits.val[1]), values(digits.val[0]), 4);
    sums = vadd_u8(sums, bytes);
    vst1_u8(data, bytes);
    text += 16;
    data += 8;
  }
  if (vminv_u8(valid) != 0xFF) {
    return 0;
  }
  sum += vaddlv_u8(sums);
  if (decodePairs(text, left, data, sum) >= noHexDigit) {
    return 0;
  }
  return checkedLength(text + 2 * left, head, sum);
}

#else

std::size_t decodeRecordVector(const char* text, RecordHead& head,
                               unsigned char* data) {
  return decodeRecordPortable(text, head, data);
}

#endif
