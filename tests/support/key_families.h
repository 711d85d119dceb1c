// Families of keys that look alike, as names in documents do: what a hash of keys has to tell
// apart.
#pragma once

#include <cstdint>
#include <string>

namespace zeltest {

// A hundred thousand keys of one kind.
struct KeyFamily {
  const char* name;
  std::string (*key)(std::uint32_t number);  // below 100,000
};

inline std::string Digits(std::uint32_t number) {
  std::string digits = std::to_string(number);
  return std::string(digits.size() < 5 ? 5 - digits.size() : 0, '0') + digits;
}
inline std::string Letters(std::uint32_t number, std::size_t count) {
  std::string letters;
  for (; letters.size() < count; number /= 26) letters += static_cast<char>('a' + number % 26);
  return letters;
}
inline std::string Mirrored(std::string text) {
  return text + std::string(text.rbegin(), text.rend());
}

inline const KeyFamily kKeyFamilies[] = {
    {"numbers", [](std::uint32_t number) { return std::to_string(number); }},
    {"prefix and number", [](std::uint32_t number) { return "T" + std::to_string(number); }},
    {"four letters", [](std::uint32_t number) { return Letters(number, 4); }},
    {"five letters", [](std::uint32_t number) { return Letters(number * 118, 5); }},
    {"two bytes after the same two",
     [](std::uint32_t number) {
       return std::string{'a', 'b', static_cast<char>(1 + number % 254),
                          static_cast<char>(1 + number / 254 % 254),
                          static_cast<char>(1 + number / 64516)};
     }},
    {"same prefix", [](std::uint32_t number) { return "a/rather/long/path/" + Digits(number); }},
    {"same suffix", [](std::uint32_t number) { return Digits(number) + "/a/rather/long/path"; }},
    {"doubled", [](std::uint32_t number) { return Digits(number) + Digits(number); }},
    {"doubled words",
     [](std::uint32_t number) { return Digits(number) + "xyz" + Digits(number) + "xyz"; }},
    {"mirrored", [](std::uint32_t number) { return Mirrored(Digits(number)); }},
    {"8 bytes", [](std::uint32_t number) { return "key" + Digits(number); }},
    {"16 bytes", [](std::uint32_t number) { return Digits(number) + std::string(11, '.'); }},
    {"40 bytes",
     [](std::uint32_t number) {
       return std::string(18, '-') + Digits(number) + std::string(17, '-');
     }},
    {"of every length",
     [](std::uint32_t number) { return std::string(number % 317, 'a') + Digits(number); }},
};

}  // namespace zeltest
