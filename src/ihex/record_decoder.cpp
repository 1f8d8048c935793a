// SPDX-License-Identifier: MIT

#include "ihex/record_decoder.h"

#include "ihex/hex_digits.h"

#if defined(__SSE2__) && !defined(QORUTIL_NO_VECTORS)
#include <emmintrin.h>
#elif defined(__aarch64__) && !defined(QORUTIL_NO_VECTORS)
#include <arm_neon.h>
#endif

namespace qorutil_internal {

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

// Pairs of digits on their way to bytes.
struct Pairs {
  const char* text;
  unsigned char* data;
  std::size_t left;
  unsigned sum;  // of all bytes so far; only the lowest eight bits count
};

// Decodes all pairs that are left; false where a character is no hex digit.
inline bool decodeAll(Pairs& pairs) {
  unsigned all = 0;
  for (; pairs.left != 0; --pairs.left) {
    const unsigned pair = hexPair(pairs.text);
    all |= pair;
    pairs.sum += pair;
    *pairs.data++ = static_cast<unsigned char>(pair);
    pairs.text += 2;
  }
  return all < noHexDigit;
}

// Decodes a record, whose data are the `pairs`. `decodeBlocks` takes as many of
// them as it likes to before the rest is decoded one by one, and returns false
// where it met a character that is no hex digit.
template <class DecodeBlocks>
inline std::size_t decode(const char* text, RecordHead& head, Pairs pairs,
                          DecodeBlocks decodeBlocks) {
  if (!decodeHead(text, head, pairs.sum)) {
    return 0;
  }
  pairs.left = head.count;
  if (!decodeBlocks(pairs) || !decodeAll(pairs)) {
    return 0;
  }
  const unsigned checksum = hexPair(pairs.text);
  if (checksum >= noHexDigit || ((pairs.sum + checksum) & 0xFF) != 0) {
    return 0;
  }
  return 11 + 2 * std::size_t{head.count};
}

#if defined(__SSE2__) && !defined(QORUTIL_NO_VECTORS)

bool decodeBlocks(Pairs& pairs) {
  if (pairs.left < 8) {
    return true;
  }
  __m128i sums = _mm_setzero_si128();
  __m128i all = _mm_setzero_si128();
  for (; pairs.left >= 8; pairs.left -= 8) {
    const __m128i digits =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs.text));
    // '0' to '9' become 246 to 255, which are the only ones to stay above 239.
    const __m128i decimal =
        _mm_sub_epi8(_mm_subs_epu8(_mm_sub_epi8(digits, _mm_set1_epi8('9' + 1)),
                                   _mm_set1_epi8(6)),
                     _mm_set1_epi8(static_cast<char>(240)));
    // Letters of either case become 10 to 15.
    const __m128i letter = _mm_adds_epu8(
        _mm_sub_epi8(_mm_or_si128(digits, _mm_set1_epi8('a' - 'A')),
                     _mm_set1_epi8('a')),
        _mm_set1_epi8(10));
    // The one that does not apply is 16 or more, and so are both where the
    // character is no digit.
    const __m128i values = _mm_min_epu8(decimal, letter);
    all = _mm_or_si128(all, values);
    // The first digit of a pair is the low half of a 16-bit number.
    const __m128i bytes16 =
        _mm_srli_epi16(_mm_or_si128(_mm_slli_epi16(values, 12), values), 8);
    const __m128i bytes = _mm_packus_epi16(bytes16, _mm_setzero_si128());
    sums = _mm_add_epi8(sums, bytes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pairs.data), bytes);
    pairs.text += 16;
    pairs.data += 8;
  }
  pairs.sum += static_cast<unsigned>(
      _mm_cvtsi128_si32(_mm_sad_epu8(sums, _mm_setzero_si128())));
  const __m128i beyond = _mm_subs_epu8(all, _mm_set1_epi8(15));
  return _mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128())) ==
         0xFFFF;
}

#elif defined(__aarch64__) && !defined(QORUTIL_NO_VECTORS)

bool decodeBlocks(Pairs& pairs) {
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
  for (; pairs.left >= 8; pairs.left -= 8) {
    const uint8x8x2_t digits =
        vld2_u8(reinterpret_cast<const std::uint8_t*>(pairs.text));
    const uint8x8_t bytes =
        vsli_n_u8(values(digits.val[1]), values(digits.val[0]), 4);
    sums = vadd_u8(sums, bytes);
    vst1_u8(pairs.data, bytes);
    pairs.text += 16;
    pairs.data += 8;
  }
  pairs.sum += vaddlv_u8(sums);
  return vminv_u8(valid) == 0xFF;
}

#else

bool decodeBlocks(Pairs& /*pairs*/) {
  return true;
}

#endif

}  // namespace

std::size_t decodeRecord(const char* text, RecordHead& head,
                         unsigned char* data) {
  return decode(text, head, {text + 9, data, 0, 0}, decodeBlocks);
}

std::size_t decodeRecordByDigits(const char* text, RecordHead& head,
                                 unsigned char* data) {
  return decode(text, head, {text + 9, data, 0, 0},
                [](Pairs&) { return true; });
}

}  // namespace qorutil_internal
