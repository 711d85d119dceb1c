#include "printable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace zelpos {
namespace {

// Those that move the cursor, end a line, change the direction of writing, or cannot be seen.
bool IsSafe(std::uint32_t c) {
  return c >= ' ' && (c < 0x7F || c >= 0xA0) && c != 0xAD && (c < 0x200B || c > 0x200F) &&
         (c < 0x2028 || c > 0x202E) && (c < 0x2060 || c > 0x206F) && c != 0xFEFF &&
         (c < 0xFFF9 || c > 0xFFFB) && (c < 0xE0000 || c > 0xE0FFF);
}

std::string Escape(unsigned char byte) {
  switch (byte) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default: {
      std::array<char, 8> hex;
      std::snprintf(hex.data(), hex.size(), "\\x%02X", byte);
      return hex.data();
    }
  }
}

template <typename Keep>
std::string Filter(std::string_view text, Keep keep) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    text.remove_prefix(character.size());
    const std::uint32_t codePoint = length == 0 ? 0 : DecodeCharacter(character);
    if (length != 0 && (keep(codePoint) || IsSafe(codePoint))) {
      shown += character;
    } else if (character.size() == 1) {
      shown += Escape(static_cast<unsigned char>(character.front()));
    } else {
      std::array<char, 16> hex;
      std::snprintf(hex.data(), hex.size(), "\\u{%X}", static_cast<unsigned>(codePoint));
      shown += hex.data();
    }
  }
  return shown;
}

}  // namespace

std::uint32_t DecodeCharacter(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  if (character.size() == 1) return first;
  std::uint32_t codePoint = first & (0xFFU >> (character.size() + 1));
  for (const char c : character.substr(1)) {
    codePoint = codePoint << 6 | (static_cast<unsigned char>(c) & 0x3F);
  }
  return codePoint;
}

std::size_t CharacterLength(std::string_view text) {
  if (text.empty()) return 0;
  const auto at = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = at(0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF5   ? 0
                             : first >= 0xF0 ? 4
                             : first >= 0xE0 ? 3
                             : first >= 0xC2 ? 2
                                             : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return 0;
  }
  // Longer than need be, half a surrogate pair, or beyond the last character.
  if ((first == 0xE0 && at(1) < 0xA0) || (first == 0xED && at(1) >= 0xA0) ||
      (first == 0xF0 && at(1) < 0x90) || (first == 0xF4 && at(1) >= 0x90)) {
    return 0;
  }
  return length;
}

std::size_t CharacterCount(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string Printable(std::string_view text) {
  return Filter(text, [](std::uint32_t) { return false; });
}

std::string PrintableLines(std::string_view text) {
  return Filter(text, [](std::uint32_t c) { return c == '\n' || c == '\t'; });
}

}  // namespace zelpos
