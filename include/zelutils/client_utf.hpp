// UTF-8 to and from the 16-bit units of Unicode strings. Programs include zelutils/client.hpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "zelutils/client_error.hpp"

namespace zelutils {

inline bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
inline bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// The code point at a position, which is moved behind it. Half of a surrogate pair alone is itself.
inline char32_t NextCodePoint(std::u16string_view units, std::size_t& position) {
  const char32_t first = units[position++];
  if (!IsHighSurrogate(first) || position == units.size()) return first;
  if (!IsLowSurrogate(units[position])) return first;
  const char32_t second = units[position++];
  return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

inline void AppendUtf8(std::string& text, char32_t codePoint) {
  if (codePoint < 0x80) {
    text += static_cast<char>(codePoint);
    return;
  }
  const unsigned trailing = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
  text += static_cast<char>((0xFF00U >> (trailing + 1) & 0xFF) | codePoint >> (6 * trailing));
  for (unsigned left = trailing; left-- > 0;) {
    text += static_cast<char>(0x80 | (codePoint >> (6 * left) & 0x3F));
  }
}

// Half of a surrogate pair alone becomes the replacement character, U+FFFD.
inline std::string Utf8Of(std::u16string_view units) {
  std::string text;
  for (std::size_t position = 0; position < units.size();) {
    const char32_t codePoint = NextCodePoint(units, position);
    AppendUtf8(text, IsHighSurrogate(codePoint) || IsLowSurrogate(codePoint) ? 0xFFFD : codePoint);
  }
  return text;
}

// Number of bytes from a position on that are the UTF-8 of one code point, stored in `codePoint`; 0
// where there is none, overlong forms and surrogates included.
inline std::size_t DecodeUtf8(std::string_view text, std::size_t position, char32_t& codePoint) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[position + i]); };
  const unsigned first = byte(0);
  const std::size_t size = first < 0x80                    ? 1
                           : first >= 0xC2 && first < 0xE0 ? 2
                           : first >= 0xE0 && first < 0xF0 ? 3
                           : first >= 0xF0 && first < 0xF5 ? 4
                                                           : 0;
  if (size == 0 || size > text.size() - position) return 0;
  codePoint = size == 1 ? first : first & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
    codePoint = codePoint << 6 | (byte(i) & 0x3FU);
  }
  const bool isOverlong = (size == 3 && codePoint < 0x800) || (size == 4 && codePoint < 0x10000);
  const bool isSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
  return isOverlong || isSurrogate || codePoint > 0x10FFFF ? 0 : size;
}

// Throws RangeError where the text is no UTF-8.
inline std::u16string UnitsOf(std::string_view utf8) {
  std::u16string units;
  for (std::size_t position = 0; position < utf8.size();) {
    char32_t codePoint = 0;
    const std::size_t size = DecodeUtf8(utf8, position, codePoint);
    if (size == 0) throw RangeError("no UTF-8 at byte " + std::to_string(position));
    position += size;
    if (codePoint < 0x10000) {
      units += static_cast<char16_t>(codePoint);
    } else {
      units += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
      units += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    }
  }
  return units;
}

}  // namespace zelutils
