// Random values, and the streams that hold them: written by code that knows nothing of the
// library's or the tool's.
#pragma once

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace zeltest {

// A value as the test knows it.
struct Node {
  enum class Kind { kNumber, kString, kUnicode, kBinary, kArray, kDict } kind = Kind::kNumber;
  double number = 0;
  std::string bytes{};  // of a string, or binary data; of Unicode: four digits a unit
  std::string name{};   // the type of binary data
  std::vector<std::pair<std::string, Node>> members{};  // keys empty in an array
};

class ValueMaker {
 public:
  // Of what a text has a form for, or of everything. A seed makes the same values everywhere: no
  // distribution of the standard library, no two draws in one expression.
  ValueMaker(std::uint32_t seed, bool isForText) : random_(seed), isForText_(isForText) {}

  std::size_t Below(std::size_t limit) { return random_() % limit; }
  template <typename T, std::size_t kCount>
  T Any(const T (&choices)[kCount]) {
    return choices[Below(kCount)];
  }

  Node Make(std::size_t depth) {
    const std::size_t kind = Below(depth == 0 ? 7 : 12);
    Node node;
    if (kind < 3) {
      node.number = Number();
    } else if (kind < 5) {
      node.kind = Node::Kind::kString;
      node.bytes = Bytes();
    } else if (kind == 5 || (kind == 6 && isForText_)) {
      node.kind = Node::Kind::kUnicode;
      for (std::size_t i = Below(6); i > 0; --i) {
        node.bytes += Any({"0041", "00E9", "4E2D", "D83DDE00", "D83D", "DE00", "FFFF", "0001"});
      }
    } else if (kind == 6) {
      node.kind = Node::Kind::kBinary;
      node.name = Bytes();
      node.bytes = Bytes();
      node.bytes.append(Below(3), '\0');
    } else {
      node.kind = kind < 9 ? Node::Kind::kArray : Node::Kind::kDict;
      const std::size_t count = Below(40) == 0 ? 60 : Below(5);
      for (std::size_t i = 0; i < count; ++i) {
        std::string key = kind < 9 ? "" : Key(i);
        node.members.emplace_back(std::move(key), Make(Below(30) == 0 ? depth : depth - 1));
      }
    }
    return node;
  }
  Node Deep() {
    Node node;
    for (int i = 0; i < 500; ++i) {
      Node outer;
      outer.kind = i % 2 == 0 ? Node::Kind::kArray : Node::Kind::kDict;
      outer.members.emplace_back(i % 2 == 0 ? "" : "k", std::move(node));
      node = std::move(outer);
    }
    return node;
  }

 private:
  // Keys of one dictionary differ.
  std::string Key(std::size_t i) {
    static const char* const kOdd[] = {"$unicode", "$$bytes", "$bytes:41", "a.b", "[0]",    "(",
                                       "\\)",      "k",       "$",         "",    "$number"};
    const std::size_t kind = Below(4);
    if (kind == 0 && i < std::size(kOdd)) return kOdd[i];
    return (kind == 1 ? Bytes().substr(0, 40) + '#' : "key") + std::to_string(i);
  }
  double Number() {
    const std::size_t kind = Below(6);
    if (kind == 0) return static_cast<double>(Below(1000));
    if (kind == 1) return -static_cast<double>(Below(1u << 31)) * 4294967296.0;
    if (kind == 2) return static_cast<double>(Below(100000)) / 256;
    if (kind == 3) return Any({0.0, -0.0, 1e23, 9007199254740993.0, 0.1, 1e-5, 1e21, 1e22});
    const auto number = static_cast<double>(random_());
    if (isForText_) return std::ldexp(number, static_cast<int>(Below(80)) - 60);
    return Any({5e-324, 1.7976931348623157e308, -2.2250738585072014e-308, 1e300, -1e-300,
                number * 1e90, number * 1e-40, 123456789012345678e90});
  }
  std::string Bytes() {
    std::string bytes;
    for (std::size_t i = !isForText_ && Below(50) == 0 ? 500 : Below(8); i > 0; --i) {
      bytes += Below(2) == 0 ? Any({" ", ")", "\\", "(", "\"", "\n", "\r", "\t", "a", "\x01"})
                             : Any({"\x1B[31m", "\x7F", "\xC3\xA9", "\xE2\x80\xAE", "\xFF", "\xC3",
                                    "\xF0\x9F\x98\x80", "\xED\xA0\x80", "null", "word"});
    }
    return bytes;
  }

  std::mt19937 random_;
  bool isForText_;
};

template <typename Value>
std::string Formatted(const char* format, Value value) {
  char digits[400];
  std::snprintf(digits, sizeof digits, format, value);
  return digits;
}

// As the stream format has it, on one line.
inline std::string ToStream(const Node& node) {
  const auto each = [](const char* format, const std::string& bytes) {
    std::string text;
    for (const char c : bytes) text += Formatted(format, unsigned{static_cast<unsigned char>(c)});
    return text;
  };
  const auto quoted = [&](const std::string& bytes) { return '"' + each("\\%03o", bytes) + '"'; };
  if (node.kind == Node::Kind::kNumber) return '#' + Formatted("%.32g", node.number) + ' ';
  if (node.kind == Node::Kind::kString) return quoted(node.bytes);
  if (node.kind == Node::Kind::kUnicode) return '`' + node.bytes + '`';
  if (node.kind == Node::Kind::kBinary) {
    return '{' + quoted(node.name) + " #" + std::to_string(node.bytes.size()) + "  " +
           each("%02X", node.bytes) + '}';
  }
  const bool isDict = node.kind == Node::Kind::kDict;
  std::string text(1, isDict ? '<' : '[');
  for (const auto& [key, member] : node.members) {
    if (isDict) text += quoted(key) + ' ';
    text += ToStream(member) + '\n';
  }
  return text + (isDict ? '>' : ']');
}

}  // namespace zeltest
