// Random values through every format of zelpos and back, random changes under diff, and the places
// of values in random texts. The values are written here, by code that knows nothing of the tool's.
#include <array>
#include <cstdio>
#include <random>
#include <zelutils/text_places.hpp>

#include "support.h"
#include "tool_fixture.h"

namespace {

using zelutils::PathSteps;

constexpr std::uint32_t kSeed = 20240601;

// A value as the test knows it.
struct Node {
  enum class Kind { kNumber, kString, kUnicode, kBinary, kArray, kDict } kind = Kind::kNumber;
  double number = 0;
  std::string bytes{};  // of a string, or binary data; of Unicode: four digits a unit
  std::string name{};   // the type of binary data
  std::vector<std::pair<std::string, Node>> members{};  // keys empty in an array
};

class Maker {
 public:
  // Of what a text has a form for, or of everything.
  Maker(std::uint32_t seed, bool isForText) : random_(seed), isForText_(isForText) {}

  std::size_t Below(std::size_t limit) { return random_() % limit; }

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
      node.bytes = Units();
    } else if (kind == 6) {
      node.kind = Node::Kind::kBinary;
      node.name = Bytes();
      node.bytes = Bytes() + std::string(Below(3), '\0');
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

  // Keys of one dictionary differ.
  std::string Key(std::size_t i) {
    static const char* const kOdd[] = {"$unicode", "$$bytes", "$bytes:41", "a.b", "[0]",    "(",
                                       "\\)",      "k",       "$",         "",    "$number"};
    const std::string number = std::to_string(i);
    switch (Below(4)) {
      case 0:
        return kOdd[i % std::size(kOdd)] + (i < std::size(kOdd) ? "" : number);
      case 1:
        return Bytes().substr(0, 40) + '#' + number;
      default:
        return "key" + number;
    }
  }

 private:
  double Number() {
    switch (Below(6)) {
      case 0:
        return static_cast<double>(Below(1000));
      case 1:
        return -static_cast<double>(Below(1u << 31)) * 4294967296.0;
      case 2:
        return static_cast<double>(Below(100000)) / 256;
      case 3: {
        static constexpr double kOdd[] = {0.0, -0.0, 1e23, 9007199254740993.0,
                                          0.1, 1e-5, 1e21, 1e22};
        return kOdd[Below(std::size(kOdd))];
      }
      default: {
        if (isForText_)
          return std::ldexp(static_cast<double>(random_()), static_cast<int>(Below(80)) - 60);
        static constexpr double kExtreme[] = {
            5e-324,  1.7976931348623157e308, -2.2250738585072014e-308, 1e300,
            -1e-300, 123456789012345678e90};
        return kExtreme[Below(std::size(kExtreme))];
      }
    }
  }
  std::string Bytes() {
    static const char* const kParts[] = {"a",
                                         "word",
                                         " ",
                                         ")",
                                         "\\",
                                         "(",
                                         "\"",
                                         "\n",
                                         "\r",
                                         "\t",
                                         "\x1B[31m",
                                         "\x7F",
                                         "\xC3\xA9",
                                         "\xE2\x80\xAE",
                                         "\xFF",
                                         "\xC3",
                                         "\xF0\x9F\x98\x80",
                                         "\xED\xA0\x80",
                                         "null",
                                         "\x01"};
    std::string bytes;
    const std::size_t count = !isForText_ && Below(50) == 0 ? 500 : Below(8);
    for (std::size_t i = 0; i < count; ++i) bytes += kParts[Below(std::size(kParts))];
    return bytes;
  }
  std::string Units() {
    static const char* const kParts[] = {"0041", "00E9", "4E2D", "D83DDE00",
                                         "D83D", "DE00", "FFFF", "0001"};
    std::string digits;
    for (std::size_t i = Below(6); i > 0; --i) digits += kParts[Below(std::size(kParts))];
    return digits;
  }

  std::mt19937 random_;
  bool isForText_;
};

std::string Hex(const std::string& bytes) {
  std::string digits;
  for (const char c : bytes) {
    std::array<char, 4> pair;
    std::snprintf(pair.data(), pair.size(), "%02X", static_cast<unsigned char>(c));
    digits += pair.data();
  }
  return digits;
}

std::string Formatted(const char* format, double number) {
  std::array<char, 400> digits;
  std::snprintf(digits.data(), digits.size(), format, number);
  return digits.data();
}

// As the stream format has it, on one line.
std::string ToStream(const Node& node) {
  const auto quoted = [](const std::string& bytes) {
    std::string text = "\"";
    for (const char c : bytes) {
      std::array<char, 8> octal;
      std::snprintf(octal.data(), octal.size(), "\\%03o", static_cast<unsigned char>(c));
      text += octal.data();
    }
    return text + '"';
  };
  switch (node.kind) {
    case Node::Kind::kNumber:
      return '#' + Formatted("%.32g", node.number) + ' ';
    case Node::Kind::kString:
      return quoted(node.bytes);
    case Node::Kind::kUnicode:
      return '`' + node.bytes + '`';
    case Node::Kind::kBinary:
      return '{' + quoted(node.name) + " #" + std::to_string(node.bytes.size()) + "  " +
             Hex(node.bytes) + '}';
    default: {
      const bool isDict = node.kind == Node::Kind::kDict;
      std::string text(1, isDict ? '<' : '[');
      for (const auto& [key, member] : node.members) {
        if (isDict) text += quoted(key) + ' ';
        text += ToStream(member) + '\n';
      }
      return text + (isDict ? '>' : ']');
    }
  }
}

// As the text syntax has it, the values' places noted.
struct Placed {
  PathSteps path;
  zelutils::TextPlace place;
};
void AppendText(const Node& node, Maker& maker, std::string& text, PathSteps& path,
                std::vector<Placed>& places) {
  const auto quoted = [](const std::string& bytes) {
    std::string raw = "(";
    for (const char c : bytes) raw += (c == ')' || c == '\\' ? "\\" : "") + std::string(1, c);
    return raw + ')';
  };
  const auto space = [&] {
    static const char* const kSpaces[] = {" ", "\n", "\t", "\r\n", "  \n  "};
    text += kSpaces[maker.Below(std::size(kSpaces))];
  };
  const std::size_t begin = text.size();
  const std::size_t index = places.size();
  places.push_back({path, {}});
  switch (node.kind) {
    case Node::Kind::kNumber:
      text += Formatted("%f", node.number);
      break;
    case Node::Kind::kString:
      text += quoted(node.bytes);
      break;
    case Node::Kind::kUnicode:
      text += '`' + node.bytes + '`';
      break;
    default: {
      const bool isDict = node.kind == Node::Kind::kDict;
      text += isDict ? '<' : '[';
      std::uint32_t next = 0;
      for (const auto& [key, member] : node.members) {
        space();
        if (isDict) {
          // An earlier value under the same key does not count.
          if (maker.Below(8) == 0) text += quoted(key) + "[<a [1]>]";
          const std::size_t real = text.size();
          text += quoted(key);
          path.emplace_back(key);
          const std::size_t mine = places.size();
          AppendText(member, maker, text, path, places);
          places[mine].place.key = real;
        } else {
          path.emplace_back(next++);
          AppendText(member, maker, text, path, places);
        }
        path.pop_back();
      }
      text += isDict ? '>' : ']';
    }
  }
  places[index].place.begin = begin;
  places[index].place.end = text.size();
}

constexpr const char* kHeader = "POSStreamerTypeA_Version1.0 ";

Node ArrayOf(Maker& maker, std::size_t count) {
  Node all;
  all.kind = Node::Kind::kArray;
  for (std::size_t i = 0; i < count; ++i) all.members.emplace_back("", maker.Make(4));
  all.members.emplace_back("", maker.Deep());
  return all;
}

class ToolValuesTest : public zeltest::ToolTest {
 protected:
  // Carries out a conversion that must succeed.
  std::string Converted(const std::string& file, const std::string& name,
                        const std::vector<std::string>& options) {
    std::vector<std::string> words = {"convert", file, "-o", Path(name)};
    words.insert(words.end(), options.begin(), options.end());
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return Path(name);
  }
};

TEST_F(ToolValuesTest, EqualThroughEveryFormat) {
  Maker maker(kSeed, false);
  const std::string given = File("given", kHeader + ToStream(ArrayOf(maker, 10000)));
  const std::string stored = Converted(given, "stored", {});
  for (const char* const layout : {"--from=stream", "--compact"}) {
    const std::string json = Converted(stored, "a.json", {layout});
    const std::string back = Converted(json, "back", {});
    EXPECT_TRUE(Contents(back) == Contents(stored)) << layout;
  }
}

TEST_F(ToolValuesTest, EqualThroughTexts) {
  Maker maker(kSeed, true);
  const std::string given = File("given", kHeader + ToStream(ArrayOf(maker, 10000)));
  const std::string stored = Converted(given, "stored", {});
  const std::string text = Converted(stored, "a.pos", {});
  EXPECT_TRUE(Contents(Converted(text, "back", {})) == Contents(stored));
  EXPECT_TRUE(Run({"print", stored}).bytes == Contents(text));
  EXPECT_EQ(Run({"format", "--check", text}).status, 0) << "one layout";
  const std::string compact = Converted(stored, "b.pos", {"--compact"});
  EXPECT_TRUE(Contents(Converted(compact, "back", {})) == Contents(stored));
  EXPECT_EQ(Run({"diff", compact, stored}).status, 0);
  EXPECT_EQ(Run({"format", compact}).status, 0);
  EXPECT_TRUE(Contents(Converted(compact, "back", {})) == Contents(stored));
}

// Changes one thing inside of a value, and tells what diff has to say about it.
std::string Change(Node& node, Maker& maker, const std::string& path, int number) {
  const std::string mark = "mark" + std::to_string(number);
  Node fresh;
  fresh.kind = Node::Kind::kString;
  fresh.bytes = mark;
  const bool isArray = node.kind == Node::Kind::kArray;
  const bool isDict = node.kind == Node::Kind::kDict;
  if (!isArray && !isDict) {
    node = fresh;
    return "~ " + path;
  }
  const std::size_t at = maker.Below(node.members.size() + 1);
  const std::string index = path + '[' + std::to_string(at) + ']';
  if (at == node.members.size() || maker.Below(3) == 0) {
    const auto place = node.members.begin() + static_cast<std::ptrdiff_t>(at);
    node.members.emplace(isDict ? node.members.end() : place, isDict ? mark : "", fresh);
    return "+ " + (isDict ? path + '.' + mark : index);
  }
  auto& [key, member] = node.members[at];
  return Change(member, maker, isDict ? path + '.' + key : index, number);
}

TEST_F(ToolValuesTest, DiffNamesJustTheChange) {
  constexpr int kValues = 2000;
  Maker maker(kSeed, false);
  Node left;
  left.kind = Node::Kind::kDict;
  for (int i = 0; i < kValues; ++i)
    left.members.emplace_back("v" + std::to_string(i), maker.Make(4));
  // Keys that need no quotes in a path.
  const auto rename = [](auto& self, Node& node) -> void {
    int next = 0;
    for (auto& [key, member] : node.members) {
      if (!key.empty() || node.kind == Node::Kind::kDict) key = "k" + std::to_string(next++);
      self(self, member);
    }
  };
  for (auto& [key, value] : left.members) rename(rename, value);
  Node right = left;
  std::vector<std::string> expected;
  int number = 0;
  for (auto& [key, value] : right.members) {
    expected.push_back(Change(value, maker, key, number));
    expected.back() += ':';
    ++number;
  }
  const std::string a = File("a", kHeader + ToStream(left));
  const std::string b = File("b", kHeader + ToStream(right));
  for (const bool isReversed : {false, true}) {
    const Outcome outcome = Run({"diff", isReversed ? b : a, isReversed ? a : b});
    EXPECT_EQ(outcome.status, 1);
    std::vector<std::string> found;
    for (std::size_t begin = 0; begin < outcome.out.size();) {
      const std::size_t end = outcome.out.find('\n', begin);
      const std::size_t colon = outcome.out.find(": ", begin);
      found.push_back(outcome.out.substr(begin, colon + 1 - begin));
      begin = end + 1;
    }
    std::vector<std::string> wanted = expected;
    if (isReversed) {
      for (std::string& line : wanted) {
        if (line[0] == '+') line[0] = '-';
      }
    }
    std::sort(found.begin(), found.end());
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(found, wanted);
  }
}

class TextPlacesTest : public zeltest::LibraryTest {};

// The lexer and the library see the same values: what stands at the place of a path is a text of
// the value that the path leads to.
TEST_F(TextPlacesTest, AreWhereTheLibraryReads) {
  Maker maker(kSeed, true);
  for (int i = 0; i < 400; ++i) {
    std::string text = " ";
    PathSteps path;
    std::vector<Placed> placed;
    const Node node = maker.Make(3);
    AppendText(node, maker, text, path, placed);
    const ZELInstance whole = Parse(text);
    zelutils::TextPlaces places;
    for (const Placed& value : placed) places.Add(value.path);
    const std::size_t nowhere = places.Add({"no such key", std::uint32_t{7}});
    places.Find(text);
    EXPECT_FALSE(places[nowhere]);
    for (std::size_t k = 0; k < placed.size(); ++k) {
      const auto& found = places[k];
      ASSERT_TRUE(found) << text;
      EXPECT_EQ(found->begin, placed[k].place.begin) << text;
      EXPECT_EQ(found->end, placed[k].place.end) << text;
      EXPECT_EQ(found->key, placed[k].place.key) << text;
      ZELInstance value = whole;
      for (const zelutils::PathStep& step : placed[k].path) {
        const auto* key = std::get_if<std::string>(&step);
        value =
            key ? dicts.Get(value, Atom(*key)) : arrays.GetAt(value, std::get<std::uint32_t>(step));
      }
      const ZELInstance alone = Parse(text.substr(found->begin, found->end - found->begin));
      EXPECT_TRUE(objects.IsEqual(alone, value)) << text;
    }
    GiveBack();
  }
}

}  // namespace
