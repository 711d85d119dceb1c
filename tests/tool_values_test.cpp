// Random values through every format of zelpos and back, random changes under diff, and the places
// of values in random texts. The values are written here, by code that knows nothing of the tool's.
#include <zelutils/text_places.hpp>

#include "checksum.h"
#include "random_values.h"
#include "tool_fixture.h"

namespace {

using zeltest::Node, zeltest::ToStream;
using zelutils::PathSteps;
using Maker = zeltest::ValueMaker;

constexpr std::uint32_t kSeed = 20240601;

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
  const auto space = [&] { text += maker.Any({" ", "\n", "\t", "\r\n", "  \n  "}); };
  const std::size_t begin = text.size();
  const std::size_t index = places.size();
  places.push_back({path, {}});
  if (node.kind == Node::Kind::kNumber) {
    text += zeltest::Formatted("%f", node.number);
  } else if (node.kind == Node::Kind::kString) {
    text += quoted(node.bytes);
  } else if (node.kind == Node::Kind::kUnicode) {
    text += '`' + node.bytes + '`';
  } else {
    const bool isDict = node.kind == Node::Kind::kDict;
    text += isDict ? '<' : '[';
    std::uint32_t next = 0;
    for (const auto& [key, member] : node.members) {
      space();
      // An earlier value under the same key does not count.
      if (isDict && maker.Below(8) == 0) text += quoted(key) + "[<a [1]>]";
      const std::size_t keyAt = text.size();
      if (isDict) text += quoted(key);
      isDict ? path.emplace_back(key) : path.emplace_back(next++);
      const std::size_t mine = places.size();
      AppendText(member, maker, text, path, places);
      if (isDict) places[mine].place.key = keyAt;
      path.pop_back();
    }
    text += isDict ? '>' : ']';
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

// Equal, and of the first values the same bytes on every platform.
TEST_F(ToolValuesTest, EqualThroughEveryFormat) {
  Maker maker(kSeed, false);
  for (const std::size_t count : {3000U, 7000U}) {
    const std::string given = File("given", kHeader + ToStream(ArrayOf(maker, count)));
    const std::string stored = Converted(given, "stored", {});
    for (const char* const layout : {"--compact", "--from=stream"}) {
      const std::string json = Converted(stored, "a.json", {layout});
      EXPECT_TRUE(Contents(Converted(json, "back", {})) == Contents(stored)) << layout;
    }
    if (count != 3000) continue;
    zeltest::ExpectChecksum("stream beside JSON", Contents(stored));
    zeltest::ExpectChecksum("JSON", Contents(Path("a.json")));
  }
}

TEST_F(ToolValuesTest, EqualThroughTexts) {
  Maker maker(kSeed, true);
  for (const std::size_t count : {3000U, 7000U}) {
    const std::string given = File("given", kHeader + ToStream(ArrayOf(maker, count)));
    const std::string stored = Converted(given, "stored", {});
    const std::string text = Converted(stored, "a.pos", {});
    EXPECT_TRUE(Contents(Converted(text, "back", {})) == Contents(stored));
    EXPECT_TRUE(Run({"print", stored}).bytes == Contents(text));
    EXPECT_EQ(Run({"format", "--check", text}).status, 0) << "one layout";
    const std::string compact = Converted(stored, "b.pos", {"--compact"});
    EXPECT_EQ(Run({"diff", compact, stored}).status, 0);
    EXPECT_EQ(Run({"format", compact}).status, 0);
    EXPECT_TRUE(Contents(Converted(compact, "back", {})) == Contents(stored));
    if (count != 3000) continue;
    zeltest::ExpectChecksum("stream beside text", Contents(stored));
    zeltest::ExpectChecksum("text", Contents(text));
  }
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
