// Bytes of files as a terminal may get them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zelpos {

// The text with everything that a terminal would obey or hide written out: control bytes as \n, \t,
// \x1B, bytes that are no well-formed UTF-8 as \xE9, characters that turn the direction of writing
// or are invisible as \u{202E}. A line end is one of them.
std::string Printable(std::string_view text);
// The same for several lines: line ends and tabs stay.
std::string PrintableLines(std::string_view text);

// The length of the well-formed UTF-8 character that the text begins with; 0 where there is none.
std::size_t CharacterLength(std::string_view text);
// The code point of one well-formed character.
std::uint32_t DecodeCharacter(std::string_view character);
// Number of characters of a text, where it is UTF-8.
std::size_t CharacterCount(std::string_view text);
bool IsUtf8(std::string_view text);

}  // namespace zelpos
