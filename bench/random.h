// A seeded source of numbers and texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace zelbench {

// The standard distributions differ from one standard library to the next; these do not.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t Below(std::uint64_t limit) { return engine_() % limit; }
  std::size_t From(std::size_t least, std::size_t most) {
    return least + static_cast<std::size_t>(Below(most - least + 1));
  }
  std::string Letters(std::size_t length) { return Pick("abcdefghijklmnopqrstuvwxyz", length); }
  std::string Sentence(std::size_t length) {
    std::string text = Pick("abcdefghijklmnopqrstuvwxyz    ", length);
    text.front() = 'A';
    text.back() = 'z';
    return text;
  }

 private:
  std::string Pick(std::string_view alphabet, std::size_t length) {
    std::string text(length, ' ');
    for (char& c : text) c = alphabet[static_cast<std::size_t>(Below(alphabet.size()))];
    return text;
  }

  std::mt19937_64 engine_;
};

}  // namespace zelbench
