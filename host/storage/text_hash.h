// Hashes of texts under a secret, short ones in a few instructions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zelhost {

inline constexpr std::size_t kShortText = 15;

template <typename Word>
inline std::uint64_t LoadWord(const char* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

inline void StoreWord(char* bytes, std::uint64_t word) noexcept {
  std::memcpy(bytes, &word, sizeof word);
}

// Copies a text of `size` bytes, its NUL included, by words, of which the last two may overlap.
// Texts are short: what memcpy makes ready for long ones costs more than their copy.
inline void CopyText(char* target, const char* text, std::size_t size) noexcept {
  using Word = std::uint64_t;
  if (size < sizeof(Word)) {
    for (std::size_t at = 0; at < size; ++at) target[at] = text[at];
    return;
  }
  const std::size_t last = size - sizeof(Word);
  for (std::size_t at = 0; at < last; at += sizeof(Word)) {
    StoreWord(target + at, LoadWord<Word>(text + at));
  }
  StoreWord(target + last, LoadWord<Word>(text + last));
}

// Both ends of a short text: two texts of one length are equal when these are.
struct TextEnds {
  std::uint64_t first;
  std::uint64_t last;
  bool operator==(const TextEnds&) const = default;
};

inline TextEnds EndsOf(const char* text, std::size_t length) noexcept {
  if (length >= 8) {
    return {LoadWord<std::uint64_t>(text), LoadWord<std::uint64_t>(text + length - 8)};
  }
  if (length >= 4) {
    return {LoadWord<std::uint32_t>(text), LoadWord<std::uint32_t>(text + length - 4)};
  }
  if (length == 0) return {0, 0};
  const auto byte = [&](std::size_t i) { return LoadWord<unsigned char>(text + i); };
  return {byte(0) | byte(length / 2) << 8, byte(length - 1)};
}

class TextHasher {
 public:
  // With a secret from the system, so that a document cannot bring along keys that all collide.
  static TextHasher New() noexcept;

  std::uint32_t Of(const char* text, std::size_t length) const noexcept {
    return length > kShortText ? OfLong(text, length) : OfShort(EndsOf(text, length), length);
  }
  std::uint32_t OfShort(const TextEnds& ends, std::size_t length) const noexcept {
    return Mix(ends.first ^ secret_[0], ends.last ^ secret_[1] ^ length);
  }
  // Of a text that is not short: by sixteen bytes, of which the last may overlap with those before.
  std::uint32_t OfLong(const char* text, std::size_t length) const noexcept {
    std::uint64_t hash = secret_[0] ^ length;
    const char* const last = text + length - 16;
    for (; text < last; text += 16) {
      hash = MixWide(LoadWord<std::uint64_t>(text) ^ secret_[1],
                     LoadWord<std::uint64_t>(text + 8) ^ hash);
    }
    return Mix(LoadWord<std::uint64_t>(last) ^ hash,
               LoadWord<std::uint64_t>(last + 8) ^ secret_[1]);
  }

 private:
  // The sum of the halves of the product, or where the compiler knows no such product, something
  // as good.
  static std::uint32_t Mix(std::uint64_t one, std::uint64_t other) noexcept {
    return static_cast<std::uint32_t>(MixWide(one, other));
  }
  static std::uint64_t MixWide(std::uint64_t one, std::uint64_t other) noexcept {
#if defined(__SIZEOF_INT128__)
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(one) * other;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = one * kMultiplier;
    mixed = (mixed ^ mixed >> 32 ^ other) * kMultiplier;
    return mixed ^ mixed >> 32;
#endif
  }

  std::uint64_t secret_[2] = {};
};

}  // namespace zelhost
