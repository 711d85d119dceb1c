// Eight bytes of a text looked at in one step.
//
// A mask has the top bit of every byte that it is about, and is right up to and including the
// lowest one set: above that, a carry may have set others. The lowest byte must be the first one of
// the text, so that on a machine with the other byte order there are no such steps.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ZEL_T_NMT {

inline constexpr bool kHasByteWords = std::endian::native == std::endian::little;
inline constexpr std::size_t kWordSize = sizeof(std::uint64_t);

constexpr std::uint64_t WordOf(unsigned char byte) noexcept {
  return std::uint64_t{byte} * 0x0101010101010101u;
}

inline std::uint64_t LoadWord(const char* bytes) noexcept {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

inline void StoreWord(char* bytes, std::uint64_t word) noexcept {
  std::memcpy(bytes, &word, sizeof word);
}

// The mask of the bytes less than one of at most 128.
constexpr std::uint64_t BytesBelow(std::uint64_t word, unsigned char limit) noexcept {
  return (word - WordOf(limit)) & ~word & WordOf(0x80);
}

constexpr std::uint64_t BytesEqual(std::uint64_t word, char byte) noexcept {
  return BytesBelow(word ^ WordOf(static_cast<unsigned char>(byte)), 1);
}

// The mask of the bytes equal to either of two in ASCII.
constexpr std::uint64_t BytesEqual(std::uint64_t word, char one, char other) noexcept {
  const auto below = [word](char byte) {
    return (word ^ WordOf(static_cast<unsigned char>(byte))) - WordOf(1);
  };
  return (below(one) | below(other)) & ~word & WordOf(0x80);
}

// The mask of the bytes that are no decimal digits.
constexpr std::uint64_t BytesNoDigits(std::uint64_t word) noexcept {
  const std::uint64_t values = word ^ WordOf('0');
  return (values | (values + WordOf(0x80 - 10))) & WordOf(0x80);
}

// The mask of the bytes that are no letters, decimal digits or underscores.
constexpr std::uint64_t BytesNoWord(std::uint64_t word) noexcept {
  const auto from = [](std::uint64_t bytes, unsigned char least) {
    return bytes + WordOf(static_cast<unsigned char>(0x80 - least));
  };
  const std::uint64_t ascii = word & WordOf(0x7F);
  const std::uint64_t small = ascii | WordOf(0x20);  // letters, of which capitals become small ones
  const std::uint64_t letters = from(small, 'a') & ~from(small, 'z' + 1);
  const std::uint64_t digits = from(ascii, '0') & ~from(ascii, '9' + 1);
  const std::uint64_t others = from(ascii ^ WordOf('_'), 1);
  return (~(letters | digits | ~others) | word) & WordOf(0x80);
}

// The number of bytes before the first one of a mask.
constexpr std::uint32_t BytesBefore(std::uint64_t mask) noexcept {
  return static_cast<std::uint32_t>(std::countr_zero(mask)) / 8;
}

// The number that the first `count` bytes are, 1 to 8 decimal digits.
constexpr std::uint64_t DigitsValue(std::uint64_t word, std::uint32_t count) noexcept {
  // The digits move to the end, behind zeros; then neighbours are joined: pairs, fours, all eight.
  const std::uint64_t digits = (word ^ WordOf('0')) << (64 - 8 * count);
  const std::uint64_t pairs = (digits * 10 + (digits >> 8)) & 0x00FF00FF00FF00FFu;
  const std::uint64_t fours = (pairs * 100 + (pairs >> 16)) & 0x0000FFFF0000FFFFu;
  return (fours * 10000 + (fours >> 32)) & 0xFFFFFFFFu;
}

}  // namespace ZEL_T_NMT
