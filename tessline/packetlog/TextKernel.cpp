#include "tessline/packetlog/TextKernel.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <bit>

#include <immintrin.h>
#endif

namespace tessline {

namespace {

// The value of a hexadecimal digit, or `notHex`.
constexpr std::uint8_t notHex = 0xFF;
constexpr auto hexValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(notHex);
  for (std::uint8_t digit = 0; digit < 10; ++digit) values[std::size_t{'0'} + digit] = digit;
  for (std::uint8_t digit = 10; digit < 16; ++digit) {
    values[std::size_t{'a'} + digit - 10] = digit;
    values[std::size_t{'A'} + digit - 10] = digit;
  }
  return values;
}();

std::uint8_t hexValue(char character) {
  return hexValues[static_cast<std::uint8_t>(character)];
}

constexpr std::uint32_t caseBits = 0x20202020;

std::uint32_t loadWord(const char* text) {
  std::uint32_t word = 0;
  std::memcpy(&word, text, sizeof word);
  return word;
}

// Setting the case bit maps no byte but the letter's two forms to a lower-case letter.
bool isReceivedWord(const char* text) {
  return (loadWord(text) | caseBits) == loadWord("recv");
}

constexpr std::size_t receivedWordSize = 4;

std::size_t findReceived(std::string_view line) {
  if (line.size() < receivedWordSize) return LineScan::none;
  const auto search = [line](char letter, std::size_t limit) {
    for (std::size_t from = 0; from < limit; ++from) {
      const void* found = std::memchr(line.data() + from, letter, limit - from);
      if (found == nullptr) break;
      from = static_cast<std::size_t>(static_cast<const char*>(found) - line.data());
      if (isReceivedWord(line.data() + from)) return from;
    }
    return LineScan::none;
  };
  const std::size_t limit = line.size() - receivedWordSize + 1;
  const std::size_t upper = search('R', limit);
  const std::size_t lower = search('r', upper == LineScan::none ? limit : upper);
  return lower != LineScan::none ? lower : upper;
}

// Finds, eight bytes at a time, a byte that is 0x0A to 0x0D or has its high bit set.
std::size_t portableLineLength(std::string_view text) {
  constexpr std::uint64_t ones = 0x0101010101010101;
  constexpr std::uint64_t highBits = 0x80 * ones;
  std::size_t index = 0;
  for (; index + sizeof(std::uint64_t) <= text.size(); index += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + index, sizeof word);
    const std::uint64_t low = word & ~highBits;
    const std::uint64_t atLeastLineFeed = low + (0x80 - 0x0A) * ones;
    const std::uint64_t aboveReturn = low + (0x80 - 0x0E) * ones;
    if (((word | (atLeastLineFeed & ~aboveReturn)) & highBits) != 0) break;
  }
  for (; index < text.size(); ++index) {
    const auto byte = static_cast<std::uint8_t>(text[index]);
    if (byte >= 0x80 || (byte >= 0x0A && byte <= 0x0D)) break;
  }
  return index;
}

LineScan portableScanLine(std::string_view text) {
  const std::size_t length = portableLineLength(text);
  return {length, findReceived(text.substr(0, length))};
}

std::size_t portableParseHexBytes(std::string_view text, std::uint8_t* bytes) {
  std::uint8_t* next = bytes;
  std::size_t index = 0;
  while (index < text.size()) {
    const std::size_t runStart = index;
    while (index < text.size() && hexValue(text[index]) != notHex) ++index;
    if (index - runStart == 2) {
      *next++ =
          static_cast<std::uint8_t>(hexValue(text[runStart]) << 4 | hexValue(text[runStart + 1]));
    }
    ++index;
  }
  return static_cast<std::size_t>(next - bytes);
}

#if defined(__x86_64__)

#define TESSLINE_AVX2 __attribute__((target("avx2,bmi,bmi2,popcnt")))

constexpr std::size_t blockSize = 64;

// A pair of digits is told by the places around it, so a block decides all but its last two.
constexpr std::size_t decidedSize = blockSize - 2;

// The places, of those that a block decides, where a run of exactly two digits begins. `digits` has
// a bit for each digit; `digitInFront` is 1 when one stands in front of the block, and is moved on.
inline std::uint64_t digitPairs(std::uint64_t digits, std::uint64_t& digitInFront) {
  constexpr std::uint64_t decided = ~std::uint64_t{0} >> (blockSize - decidedSize);
  const std::uint64_t runStarts = digits & ~(digits << 1 | digitInFront);
  digitInFront = digits >> (decidedSize - 1) & 1;
  return runStarts & digits >> 1 & ~(digits >> 2) & decided;
}

// The first of the `candidates`, counted from `index`, at which "RECV" stands in either case.
inline std::size_t firstReceived(std::string_view text, std::size_t index,
                                 std::uint64_t candidates) {
  for (; candidates != 0; candidates &= candidates - 1) {
    const std::size_t at = index + static_cast<std::size_t>(std::countr_zero(candidates));
    if (at + receivedWordSize <= text.size() && isReceivedWord(text.data() + at)) return at;
  }
  return LineScan::none;
}

// 64 bytes of text. Masks made of it have bit i set for byte i.
struct Block {
  __m256i low;
  __m256i high;
};

TESSLINE_AVX2 inline Block loadBlock(const char* text) {
  return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(text)),
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + sizeof(__m256i)))};
}

TESSLINE_AVX2 inline std::uint64_t signBits(__m256i low, __m256i high) {
  const auto lowBits = static_cast<std::uint32_t>(_mm256_movemask_epi8(low));
  const auto highBits = static_cast<std::uint32_t>(_mm256_movemask_epi8(high));
  return lowBits | static_cast<std::uint64_t>(highBits) << 32;
}

// Bytes from 0x0A to 0x0D, and those that are not ASCII.
TESSLINE_AVX2 inline __m256i lineStops(__m256i text) {
  const __m256i fromLineFeed = _mm256_sub_epi8(text, _mm256_set1_epi8(0x0A));
  const __m256i isLineEnd =
      _mm256_cmpeq_epi8(_mm256_min_epu8(fromLineFeed, _mm256_set1_epi8(0x03)), fromLineFeed);
  return _mm256_or_si256(isLineEnd, text);
}

TESSLINE_AVX2 inline __m256i lettersR(__m256i text) {
  return _mm256_cmpeq_epi8(_mm256_or_si256(text, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('r'));
}

TESSLINE_AVX2 LineScan avx2ScanLine(std::string_view text) {
  LineScan scan{text.size(), LineScan::none};
  std::size_t index = 0;
  for (; index + blockSize <= text.size(); index += blockSize) {
    const Block block = loadBlock(text.data() + index);
    const std::uint64_t stops = signBits(lineStops(block.low), lineStops(block.high));
    if (scan.received == LineScan::none) {
      std::uint64_t candidates = signBits(lettersR(block.low), lettersR(block.high));
      if (stops != 0) candidates &= stops ^ (stops - 1);
      scan.received = firstReceived(text, index, candidates);
    }
    if (stops != 0) {
      scan.length = index + static_cast<std::size_t>(std::countr_zero(stops));
      return scan;
    }
  }
  scan.length = index + portableLineLength(text.substr(index));
  if (scan.received == LineScan::none) {
    const std::size_t received = findReceived(text.substr(index, scan.length - index));
    if (received != LineScan::none) scan.received = index + received;
  }
  return scan;
}

// The values of hexadecimal digits, and 0xFF in `isDigit` where there is one.
struct Digits {
  __m256i values;
  __m256i isDigit;
};

TESSLINE_AVX2 inline Digits readDigits(__m256i text) {
  const __m256i decimal = _mm256_sub_epi8(text, _mm256_set1_epi8('0'));
  const __m256i isDecimal =
      _mm256_cmpeq_epi8(_mm256_min_epu8(decimal, _mm256_set1_epi8(9)), decimal);
  const __m256i letter =
      _mm256_sub_epi8(_mm256_or_si256(text, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
  const __m256i isLetter = _mm256_cmpeq_epi8(_mm256_min_epu8(letter, _mm256_set1_epi8(5)), letter);
  const __m256i letterValue = _mm256_add_epi8(letter, _mm256_set1_epi8(10));
  return {_mm256_blendv_epi8(letterValue, decimal, isDecimal),
          _mm256_or_si256(isDecimal, isLetter)};
}

// At each place, the byte that the digits there and behind it make. Only the low four bits of a
// digit's value are set where there is one; other places hold nonsense.
TESSLINE_AVX2 inline __m256i joinDigits(__m256i values, __m256i valuesBehind) {
  const __m256i shifted =
      _mm256_and_si256(_mm256_slli_epi16(values, 4), _mm256_set1_epi8(static_cast<char>(0xF0)));
  return _mm256_or_si256(shifted, valuesBehind);
}

TESSLINE_AVX2 inline __m256i oneBehind(__m256i values, __m256i next) {
  return _mm256_alignr_epi8(_mm256_permute2x128_si256(values, next, 0x21), values, 1);
}

TESSLINE_AVX2 std::size_t avx2ParseHexBytes(std::string_view text, std::uint8_t* bytes) {
  std::uint8_t* next = bytes;
  std::uint64_t digitInFront = 0;
  alignas(32) std::array<char, blockSize> tail;
  for (std::size_t index = 0; index < text.size(); index += decidedSize) {
    const char* source = text.data() + index;
    if (text.size() - index < blockSize) {
      tail.fill(0);
      std::memcpy(tail.data(), source, text.size() - index);
      source = tail.data();
    }
    const Block block = loadBlock(source);
    const Digits low = readDigits(block.low);
    const Digits high = readDigits(block.high);
    const std::uint64_t pairs = digitPairs(signBits(low.isDigit, high.isDigit), digitInFront);

    alignas(32) std::array<std::uint64_t, blockSize / sizeof(std::uint64_t)> joined;
    auto* const stored = reinterpret_cast<__m256i*>(joined.data());
    _mm256_store_si256(stored, joinDigits(low.values, oneBehind(low.values, high.values)));
    _mm256_store_si256(stored + 1,
                       joinDigits(high.values, oneBehind(high.values, _mm256_setzero_si256())));
    for (std::size_t word = 0; word < joined.size(); ++word) {
      const std::uint64_t wanted = pairs >> (8 * word) & 0xFF;
      const std::uint64_t wantedBytes = _pdep_u64(wanted, 0x0101010101010101) * 0xFF;
      const std::uint64_t packed = _pext_u64(joined[word], wantedBytes);
      std::memcpy(next, &packed, sizeof packed);
      next += std::popcount(wanted);
    }
  }
  return static_cast<std::size_t>(next - bytes);
}

#define TESSLINE_AVX512 \
  __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,popcnt")))

// The front of `text`, up to a block of it, with zeros behind.
TESSLINE_AVX512 inline __m512i loadFront(std::string_view text) {
  const __mmask64 present =
      text.size() >= blockSize ? ~__mmask64{0} : (__mmask64{1} << text.size()) - 1;
  return _mm512_maskz_loadu_epi8(present, text.data());
}

TESSLINE_AVX512 LineScan avx512ScanLine(std::string_view text) {
  LineScan scan{text.size(), LineScan::none};
  for (std::size_t index = 0; index < text.size(); index += blockSize) {
    const __m512i block = loadFront(text.substr(index));
    const __mmask64 lineEnds = _mm512_cmple_epu8_mask(
        _mm512_sub_epi8(block, _mm512_set1_epi8(0x0A)), _mm512_set1_epi8(0x03));
    const __mmask64 stops = lineEnds | _mm512_movepi8_mask(block);
    if (scan.received == LineScan::none) {
      __mmask64 candidates = _mm512_cmpeq_epi8_mask(_mm512_or_si512(block, _mm512_set1_epi8(0x20)),
                                                    _mm512_set1_epi8('r'));
      if (stops != 0) candidates &= stops ^ (stops - 1);
      scan.received = firstReceived(text, index, candidates);
    }
    if (stops != 0) {
      scan.length = index + static_cast<std::size_t>(std::countr_zero(stops));
      return scan;
    }
  }
  return scan;
}

TESSLINE_AVX512 std::size_t avx512ParseHexBytes(std::string_view text, std::uint8_t* bytes) {
  const __m512i oneBehind =
      _mm512_add_epi8(_mm512_set_epi64(0x3F3E3D3C3B3A3938, 0x3736353433323130, 0x2F2E2D2C2B2A2928,
                                       0x2726252423222120, 0x1F1E1D1C1B1A1918, 0x1716151413121110,
                                       0x0F0E0D0C0B0A0908, 0x0706050403020100),
                      _mm512_set1_epi8(1));
  constexpr __mmask64 everywhere = ~__mmask64{0};
  std::uint8_t* next = bytes;
  std::uint64_t digitInFront = 0;
  for (std::size_t index = 0; index < text.size(); index += decidedSize) {
    const __m512i block = loadFront(text.substr(index));
    const __m512i decimal = _mm512_sub_epi8(block, _mm512_set1_epi8('0'));
    const __m512i letter =
        _mm512_sub_epi8(_mm512_or_si512(block, _mm512_set1_epi8(0x20)), _mm512_set1_epi8('a' - 10));
    const __mmask64 isDecimal = _mm512_cmple_epu8_mask(decimal, _mm512_set1_epi8(9));
    const __mmask64 isLetter =
        _mm512_cmple_epu8_mask(_mm512_sub_epi8(letter, _mm512_set1_epi8(10)), _mm512_set1_epi8(5));
    const __m512i values = _mm512_mask_blend_epi8(isLetter, decimal, letter);
    const std::uint64_t pairs = digitPairs(isDecimal | isLetter, digitInFront);
    const __m512i high =
        _mm512_and_si512(_mm512_slli_epi16(values, 4), _mm512_set1_epi8(static_cast<char>(0xF0)));
    const __m512i joined =
        _mm512_or_si512(high, _mm512_maskz_permutexvar_epi8(everywhere, oneBehind, values));
    _mm512_storeu_si512(next, _mm512_maskz_compress_epi8(pairs, joined));
    next += std::popcount(pairs);
  }
  return static_cast<std::size_t>(next - bytes);
}

#endif

constexpr std::array kernels = {
    TextKernel{"portable", portableScanLine, portableParseHexBytes},
#if defined(__x86_64__)
    TextKernel{"AVX2", avx2ScanLine, avx2ParseHexBytes},
    TextKernel{"AVX-512", avx512ScanLine, avx512ParseHexBytes},
#endif
};

}  // namespace

std::span<const TextKernel> textKernels() {
  static const std::size_t runnable = [] {
    std::size_t count = 1;
#if defined(__x86_64__)
    const bool hasAvx2 = __builtin_cpu_supports("avx2") != 0 &&
                         __builtin_cpu_supports("bmi2") != 0 &&
                         __builtin_cpu_supports("popcnt") != 0;
    if (hasAvx2) ++count;
    const bool hasAvx512 =
        __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0 &&
        __builtin_cpu_supports("avx512vbmi") != 0 && __builtin_cpu_supports("avx512vbmi2") != 0;
    if (hasAvx2 && hasAvx512) ++count;
#endif
    return count;
  }();
  return std::span(kernels).first(runnable);
}

const TextKernel& textKernel() {
  static const TextKernel& fastest = textKernels().back();
  return fastest;
}

void appendHexBytes(std::string_view text, std::vector<std::uint8_t>& bytes) {
  const std::size_t before = bytes.size();
  bytes.resize(before + hexByteCapacity(text.size()));
  bytes.resize(before + textKernel().parseHexBytes(text, bytes.data() + before));
}

}  // namespace tessline
