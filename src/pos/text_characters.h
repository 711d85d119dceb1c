// The characters of the POS text syntax.
#pragma once

#include <array>
#include <cstdint>

namespace NPOSObjectImpl {

// Classes of characters.
enum CharacterClass : std::uint8_t {
  kWhitespace = 1,
  kDigit = 2,
  kPoint = 4,
  kSign = 8,
  kLetter = 16,
  kQuote = 32,

  kNumberStart = kDigit | kSign | kPoint,
  kTextStart = kLetter | kQuote
};

inline constexpr std::array<std::uint8_t, 256> kClasses = [] {
  std::array<std::uint8_t, 256> classes{};
  const auto assign = [&classes](char first, char last, CharacterClass to) {
    for (char c = first; c <= last; ++c) classes[static_cast<unsigned char>(c)] = to;
  };
  for (const char c : {' ', '\t', '\r', '\n'}) assign(c, c, kWhitespace);
  assign('0', '9', kDigit);
  assign('.', '.', kPoint);
  for (const char c : {'-', '+'}) assign(c, c, kSign);
  assign('A', 'Z', kLetter);
  assign('a', 'z', kLetter);
  assign('_', '_', kLetter);
  assign('(', '(', kQuote);
  return classes;
}();

inline bool IsOneOf(char c, int classes) noexcept {
  return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

// The value of a hexadecimal digit, or -1.
inline int HexValue(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace NPOSObjectImpl
