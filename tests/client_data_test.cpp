// C++ objects to values and back, values as texts, in files, and as ranges; sessions.
#include <deque>
#include <ranges>
#include <unordered_map>

#include "client_fixture.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#ifdef __linux__
// Asked instead of the system by everything in this program: 0 or an error number.
static std::function<int(bool isFolder)> g_onSync;
extern "C" int fsync(int descriptor) {
  struct stat status {};
  fstat(descriptor, &status);
  errno = g_onSync ? g_onSync(S_ISDIR(status.st_mode)) : 0;
  return errno == 0 ? 0 : -1;
}
#endif

namespace shop {

struct Size {
  double width = 0;
  int height = 0;
  bool operator==(const Size&) const = default;
};
ZELUTILS_MEMBERS(Size, width, height)

struct Item {
  std::string name;
  std::u16string title;
  std::optional<Size> size;
  std::vector<Size> parts;
  std::map<std::string, std::vector<bool>> flags;
  bool operator==(const Item&) const = default;
};
ZELUTILS_MEMBERS(Item, name, title, size, parts, flags)

enum class Colour { kRed, kBlue };
zelutils::Value ToPos(const zelutils::Client& client, Colour colour) {
  return client.NewString(colour == Colour::kRed ? "red" : "blue");
}
void FromPos(const zelutils::Value& value, Colour& colour) {
  const auto name = value.As<std::string>();
  if (name != "red" && name != "blue") throw zelutils::RangeError("no colour: " + name);
  colour = name == "red" ? Colour::kRed : Colour::kBlue;
}

}  // namespace shop

namespace {

using namespace zelutils;
using zeltest::ClientTest;

class ClientDataTest : public ClientTest {
 protected:
  template <typename T>
  void ExpectRoundTrip(const T& object, const char* text) {
    const Value value = client.New(object);
    EXPECT_EQ(value.ToText(), text);
    EXPECT_TRUE(value.As<T>() == object) << text;
  }
};

TEST_F(ClientDataTest, ObjectsComeBack) {
  ExpectRoundTrip(-7, "-7");
  ExpectRoundTrip(std::uint8_t{255}, "255");
  ExpectRoundTrip(2.5F, "2.5");
  ExpectRoundTrip(1.5L, "1.5");
  ExpectRoundTrip(std::int64_t{1} << 53, "9007199254740992");
  ExpectRoundTrip(true, "true");
  ExpectRoundTrip(std::string("two words"), "(two words)");
  ExpectRoundTrip(std::u16string(u"\u00e9"), "`00E9`");
  ExpectRoundTrip(std::u8string(u8"\U0001F600"), "`D83DDE00`");
  ExpectRoundTrip(std::vector<std::string>{"a", "b"}, "[a b]");
  ExpectRoundTrip(std::vector<bool>{true, false}, "[true false]");
  ExpectRoundTrip(std::deque<int>{1}, "[1]");
  ExpectRoundTrip(std::array<float, 2>{1, 2}, "[1 2]");
  ExpectRoundTrip(std::map<std::string, std::vector<int>>{{"", {1}}, {"k", {}}}, "<() [1] k []>");
  ExpectRoundTrip(std::unordered_map<std::string, int>{{"k", 1}}, "<k 1>");
  ExpectRoundTrip(std::optional<int>(1), "1");
  ExpectRoundTrip(shop::Colour::kBlue, "blue");
  ExpectRoundTrip(shop::Item{"n", u"t", {}, {{1.5, 2}}, {{"f", {true}}}},
                  "<flags <f [true]> name n parts [<height 2 width 1.5>] title `0074`>");
  ExpectRoundTrip(std::vector<shop::Item>{{"n", u"", shop::Size{1, 2}, {}, {}}},
                  "[<flags <> name n parts [] size <height 2 width 1> title ``>]");

  EXPECT_EQ(client.NewUnicodeString("g\u00e9").As<std::string>(), "g\u00e9");
  EXPECT_EQ(client.New(1).As<bool>(), true);
  const Value text = client.New("text");
  EXPECT_EQ(text.As<std::string_view>(), "text");
  EXPECT_EQ(text.As<Value>(), text);
}

// The limits of every arithmetic type go in and come out, what is beyond is refused.
TEST_F(ClientDataTest, ArithmeticTypesHaveTheirLimits) {
  const auto isRefused = [&](auto action) { return !Thrown(action).empty(); };
  const auto expect = [&]<typename T>(T /*type*/) {
    using Limits = std::numeric_limits<T>;
    constexpr bool isExact = Limits::digits <= 53;
    for (const T number : {T{0}, T{1}, Limits::lowest(), Limits::max()}) {
      if (isExact || number != Limits::max()) {
        EXPECT_EQ(client.New(number).template As<T>(), number) << number;
      } else if (Limits::is_integer) {
        EXPECT_TRUE(isRefused([&] { client.New(number); })) << number;
      }
    }
    if (!Limits::is_integer) {
      EXPECT_EQ(client.New(0.5).template As<T>(), T(0.5));
      return;
    }
    const auto reads = [&](double number) { return [=, this] { client.New(number).As<T>(); }; };
    EXPECT_TRUE(isRefused(reads(std::ldexp(1.0, Limits::digits))) && isRefused(reads(0.5)));
    // The next double below the lowest number.
    const double lowest = static_cast<double>(Limits::lowest());
    EXPECT_TRUE(isRefused(reads(std::min(lowest - 1, std::nextafter(lowest, -1e300)))));
    EXPECT_TRUE(isRefused(reads(std::numeric_limits<double>::quiet_NaN())));
  };
  std::apply([&](auto... type) { (expect(type), ...); },
             std::tuple<signed char, unsigned char, short, unsigned short, int, unsigned, long,
                        unsigned long, long long, unsigned long long, float, double>());
  EXPECT_EQ(client.New(0.5L).As<long double>(), 0.5L);
}

TEST_F(ClientDataTest, WhatDoesNotFitIsRefused) {
  const Value item =
      client.Parse("<name n title `` parts [<width 1 height 2> <width 1 height 2.5>] flags <>>");
  const auto as = [&]<typename T>(double number, T) -> std::function<void()> {
    return [this, number] { client.New(number).As<T>(); };
  };
  const double inf = std::numeric_limits<double>::infinity();
  const Array colours = client.NewArray({"red", "green"});
  const Input noKind = {};
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"256 does not fit into 8 bits without a sign", as(256, std::uint8_t())},
      {"-1 does not fit into 32 bits without a sign", as(-1, 1U)},
      {"9.2233720368547758e+18 does not fit into 64 bits", as(0x1p63, std::int64_t())},
      {"0.5 is no whole number", as(0.5, 1)},
      {"inf is no whole number", as(inf, 1)},
      {"9.9999999999999994e+38 is beyond single precision", as(1e39, 1.0F)},
      {"", as(inf, 1.0F)},
      {"2 is neither 0 nor 1", as(2, true)},
      {"the string \"yes\" is neither true nor false", [&] { client.New("yes").As<bool>(); }},
      {"true or false was wanted, this is an array of 2", [&] { colours.As<bool>(); }},
      {"9007199254740993 is no double-precision number",
       [&] { client.New((std::int64_t{1} << 53) + 1); }},
      {"18446744073709551615 is no double-precision number",
       [&] { client.New(std::numeric_limits<std::uint64_t>::max()); }},
      {"parts[1].height: 2.5 is no whole number", [&] { item.As<shop::Item>(); }},
      {"[1]: no colour: green", [&] { colours.As<std::vector<shop::Colour>>(); }},
      {"width: nothing there; the value is a dictionary",
       [&] { client.NewDict().As<shop::Size>(); }},
      {"no UTF-8 at byte 0", [&] { client.NewUnicodeString("\xC3"); }},
      {"no UTF-8 at byte 1", [&] { client.NewUnicodeString("a\xED\xA0\x80"); }},
      {"an empty std::optional is no value here", [&] { client.New(std::optional<int>()); }},
      {"{} may be an array or a dictionary: use NewArray() or NewDict()",
       [&] { client.New(noKind); }},
  };
  for (const auto& [message, action] : rows) EXPECT_EQ(Thrown(action), message);
}

TEST_F(ClientDataTest, MembersAreReachedAndSet) {
  Dict dict = client.NewDict({{"n", {1, {"two", true}, {{"k", 0.5}}}}, {"pair", {"a", 1}}});
  EXPECT_EQ(dict.ToText(), "<n [1 [two true] <k 0.5>] pair [a 1]>");
  dict["pair"] = {{"a", 1}};
  dict["list"] = std::vector{1, 2};
  dict["same"] = dict["list"];
  dict["n"][1] = "one";
  dict["n"][2]["k"] = 3;
  EXPECT_EQ(dict.ToText(), "<list [1 2] n [1 one <k 3>] pair <a 1> same [1 2]>");
  EXPECT_EQ(dict["list"], dict["same"]);
  EXPECT_EQ(dict["n"][2]["k"].ValueOr(0), 3);
  EXPECT_EQ(dict["n"][7]["k"].ValueOr(0), 0);
  EXPECT_EQ(dict.DeepGet("n[1]").ValueOr("none"), "one");
  EXPECT_EQ(dict["none"].As<std::optional<int>>(), std::nullopt);
  EXPECT_NE(Thrown([&] { dict["pair"].ValueOr(1); }), "");
  EXPECT_TRUE(dict.Contains("n") && dict.Find("n") && !dict.Find("none") && !dict.Contains("none"));
  EXPECT_EQ(dict.Count(), 4U);
  EXPECT_FALSE(dict.empty());
  EXPECT_TRUE(client.NewDict().empty() && client.NewArray().empty());

  dict.Put("same", std::optional<int>());
  dict["list"].Remove();
  dict["n"][0].Remove();
  dict["none"]["nothing"].Remove();
  EXPECT_EQ(dict.ToText(), "<n [one <k 3>] pair <a 1>>");
  dict.DeepPut("n[1].k", 4);
  dict.DeepPut("n[2]", {1});
  dict.DeepPut(".new.list[0].deep", "x");
  dict.DeepGet("pair.b") = 2;
  EXPECT_EQ(dict.ToText(), "<n [one <k 4> [1]] new <list [<deep x>]> pair <a 1 b 2>>");
  const std::string before = dict.ToText();
  EXPECT_EQ(Thrown([&] { dict.DeepPut("n[4]", 1); }), "n[4]: beyond the end of an array of 3");
  EXPECT_EQ(Thrown([&] { dict.DeepPut("n.k", 1); }),
            "n: a dictionary was wanted, this is an array");
  EXPECT_NE(Thrown([&] { dict.DeepPut("fresh[1].k", 1); }), "");
  EXPECT_EQ(Thrown([&] { dict.DeepPut("n[", 1); }), "malformed path \"n[\"");
  EXPECT_EQ(dict.ToText(), before);
  dict.DeepRemove("n[1]");
  dict.DeepRemove("new.list[0].deep");
  dict.DeepRemove("none.at.all");
  EXPECT_EQ(dict.ToText(), "<n [one [1]] new <list [<>]> pair <a 1 b 2>>");

  Array array = client.Parse("[[1 <k 2>]]").As<Array>();
  EXPECT_EQ(array.DeepGet("[0][1].k").As<int>(), 2);
  EXPECT_FALSE(array.DeepGet("[0][2].k"));
  EXPECT_FALSE(array.DeepGet("k"));
  array.DeepPut("[1].k", 3);
  array.DeepRemove("[0][0]");
  EXPECT_EQ(array.ToText(), "[[<k 2>] <k 3>]");
}

TEST_F(ClientDataTest, RangesAreStandardOnes) {
  static_assert(std::ranges::random_access_range<Array> && std::ranges::common_range<Array> &&
                std::ranges::sized_range<Array>);
  static_assert(std::ranges::forward_range<Dict> && std::ranges::common_range<Dict> &&
                !std::ranges::sized_range<Dict>);
  const Array array = client.Parse("[3 1 2]").As<Array>();
  const std::vector<Value> copy(array.begin(), array.end());
  EXPECT_EQ(copy.size(), 3U);
  EXPECT_EQ((array.end() - array.begin()), 3);
  EXPECT_EQ(array.begin()[1], client.New(1));

  Array holes = client.NewArray();
  holes.SetAt(2, 1);
  std::string present;
  for (const Value& value : holes) present += value ? 'x' : '-';
  EXPECT_EQ(present, "--x");

  const Dict dict = client.Parse("<a 1 b 2 c 3>").As<Dict>();
  const std::map<std::string, Value> map(dict.begin(), dict.end());
  EXPECT_EQ(map.at("b"), client.New(2));
  for (const auto& entry : client.NewDict()) FAIL() << entry.first;
  // An entry that is removed on the way is not visited.
  Dict shrinking = client.Parse("<b 2 a 1 B (x) ab 3>").As<Dict>();
  std::string visited;
  for (const auto& [key, value] : shrinking) {
    visited += key + (value.Is<Number>() ? "# " : " ");
    if (key == "a") shrinking.Remove("ab");
  }
  EXPECT_EQ(visited, "B a# b# ");
// Clang before 16 cannot read the views of its neighbour's standard library.
#if !defined(__clang__) || __clang_major__ >= 16
  EXPECT_EQ(std::ranges::max(
                array | std::views::transform([](const Value& value) { return value.As<int>(); })),
            3);
  std::string reversed;
  for (const Value& value : array | std::views::reverse) reversed += value.ToText();
  EXPECT_EQ(reversed, "213");
  std::string keys;
  for (const std::string& key : dict | std::views::keys) keys += key;
  EXPECT_EQ(keys, "abc");
#endif
// libc++ 14 has the concepts without the algorithms.
#if defined(__cpp_lib_ranges)
  EXPECT_EQ(std::ranges::find(array, client.New(2)) - array.begin(), 2);
  const auto largest = std::ranges::max_element(
      dict, {}, [](const Dict::Entry& entry) { return -entry.second.As<int>(); });
  EXPECT_EQ((*largest).first, "a");
#endif
  // Copies made at a key go on from there, whatever has happened to it.
  Dict changing = dict.Clone().As<Dict>();
  auto at = ++changing.begin();
  auto other = at;
  EXPECT_EQ((*at++).first, "b");
  changing.Remove("b");
  EXPECT_EQ((*++other).first, "c");
  EXPECT_EQ(at, other);
  EXPECT_EQ(++at, changing.end());
}

TEST_F(ClientDataTest, TextsAreReadBackAndJsonIsJson) {
  const std::pair<const char*, const char*> rows[] = {
      {"[]", "[]"},
      {"<>", "{}"},
      {"[-0 0.1 1000000000000000000000]", "[-0, 0.1, 1e+21]"},
      {"[word (two words) () (a\\)\\\\b)]", "[\"word\", \"two words\", \"\", \"a)\\\\b\"]"},
      {"<(1) `004100E9D83DDE00D83D` k [<>]>", "{\"1\": \"A\u00e9\U0001F600\\uD83D\", \"k\": [{}]}"},
      {"[(\"\n\x01)]", "[\"\\\"\\n\\u0001\"]"},
  };
  for (const auto& [text, json] : rows) {
    const Value value = client.Parse(text);
    EXPECT_EQ(value.ToText(), text);
    EXPECT_EQ(value.ToJson(), json);
    for (const std::size_t indentation : {1U, 2U, 4U}) {
      EXPECT_EQ(client.Parse(value.ToText(indentation)), value);
    }
    std::ostringstream stream;
    stream << value;
    EXPECT_EQ(stream.str(), text);
  }
  Dict wide = client.NewDict({{"k", std::vector<std::string>(20, "eleven_more")}, {"l", {1, 2}}});
  EXPECT_EQ(wide.ToText(2).substr(0, 26), "<\n  k [\n    eleven_more\n  ");
  EXPECT_EQ(wide.ToText(2).substr(wide.ToText(2).size() - 15), "  ]\n  l [1 2]\n>");

  Array holes = client.NewArray();
  holes.SetAt(1, client.NewBinData("a b", {}));
  holes.Append(client.NewRawPointer(nullptr, nullptr));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    Input value;
    const char* said;  // behind "k[1]"
    bool asJson = false;
  } unsayable[] = {
      {holes, "[0]: the text syntax cannot say an empty slot"},
      {holes[1], ": the text syntax cannot say binary data"},
      {holes[2], ": the text syntax cannot say a raw pointer"},
      {nan, ": the text syntax cannot say the number nan"},
      {1e100, ": the text syntax cannot say the number 1e+100"},
      {1e99, nullptr},
      {std::string(100, ' '), nullptr},
      {std::string(51, ')'), ": the text syntax cannot say a string of more than 100 characters"},
      {std::u16string(100, u'x'), nullptr},
      {std::u16string(101, u'x'),
       ": the text syntax cannot say a Unicode string of more than 100 units"},
      {nan, ": JSON cannot say the number nan", true},
      {"\xFF", ": JSON cannot say a string that is no UTF-8 at byte 0", true},
      {holes[1], ": JSON cannot say binary data", true},
  };
  for (const auto& row : unsayable) {
    const Dict dict = client.NewDict({{"k", {0, row.value}}});
    EXPECT_EQ(Thrown([&] { row.asJson ? dict.ToJson() : dict.ToText(); }),
              row.said == nullptr ? "" : std::string("k[1]") + row.said);
  }
  std::ostringstream stream;
  stream << holes << Value();
  EXPECT_EQ(stream.str(), "[{empty} {binary data (a b) 0 bytes} {raw pointer}]{empty}");

  // A value that holds itself ends somewhere.
  holes.SetAt(0, holes);
  EXPECT_NE(Thrown([&] { holes.ToText(); }).find("nesting too deep"), std::string::npos);
  stream << holes;
  holes.Remove(0);
}

#ifdef __linux__
// The old value is there until the new one is on the disk, and the folder follows.
TEST_F(ClientDataTest, FilesAreOnTheDiskBeforeTheyTakeAPlace) {
  const zeltest::Folder folder;
  const std::filesystem::path file = folder.path / "book.zel";
  client.StoreFile(file, client.New(1));
  std::vector<std::string> seen;
  g_onSync = [&](bool isFolder) {
    seen.push_back((isFolder ? "folder " : "file ") + client.LoadFile(file).ToText());
    return 0;
  };
  client.StoreFile(file, client.New(2));
  EXPECT_EQ(seen, (std::vector<std::string>{"file 1", "folder 2"}));
  g_onSync = [](bool isFolder) { return isFolder ? 0 : EIO; };
  EXPECT_EQ(Caught([&] { client.StoreFile(file, client.New(3)); }).Id(), EIO);
  g_onSync = [](bool isFolder) { return isFolder ? EINVAL : 0; };  // known to be unable to
  client.StoreFile(file, client.New(4));
  g_onSync = [](bool isFolder) { return isFolder ? EIO : 0; };
  EXPECT_EQ(Caught([&] { client.StoreFile(file, client.New(5)); }).Id(), EIO);
  g_onSync = nullptr;
  EXPECT_EQ(client.LoadFile(file), client.New(5));
  EXPECT_EQ(folder.Names().size(), 1U);
}
#endif

TEST_F(ClientDataTest, FilesAreReplacedWholeOrNotAtAll) {
  const zeltest::Folder folder;
  const std::filesystem::path file = folder.path / "book.zel";
  const Value book = client.Parse("<title (A book)>");
  client.StoreFile(file, book);
  EXPECT_EQ(client.LoadFile(file), book);
  const std::filesystem::perms unusual{0604};
  std::filesystem::permissions(file, unusual);
  client.StoreFile(file, client.New(2));
  EXPECT_EQ(client.LoadFile(file), client.New(2));
  Array hole = client.NewArray();
  hole.SetAt(1, 1);
  EXPECT_NE(Thrown([&] { client.StoreFile(file, hole); }).find("book.zel: "), std::string::npos);
  EXPECT_EQ(client.LoadFile(file), client.New(2));
  EXPECT_EQ(folder.Names().size(), 1U);
  EXPECT_EQ(Caught([&] { client.StoreFile(folder.path / "no" / "file", book); }).Id(), ENOENT);
  EXPECT_EQ(Caught([&] { client.LoadFile(folder.path / "none"); }).Id(), ENOENT);
  EXPECT_NE(Thrown([&] { client.LoadFile(folder.path); }), "");
#ifndef _WIN32
  EXPECT_EQ(std::filesystem::status(file).permissions(), unusual);
  // Links stay, also one to a file that is not there yet; what is no regular file is written to.
  std::filesystem::create_symlink("behind.zel", folder.path / "link");
  for (const int number : {1, 2}) {
    client.StoreFile(folder.path / "link", client.New(number));
    EXPECT_EQ(client.LoadFile(folder.path / "behind.zel"), client.New(number));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path / "link"));
  }
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  const int pipe = open((folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK);
  client.StoreFile(folder.path / "pipe", client.New(1));
  std::array<char, 100> bytes{};
  EXPECT_GT(read(pipe, bytes.data(), bytes.size()), 0);
  EXPECT_EQ(std::string(bytes.data()).find("POSStreamerTypeA"), 0U);
  close(pipe);
#endif

  std::ofstream(file) << "<a\n 1]";
  EXPECT_EQ(Thrown([&] { client.ParseFile(file); }),
            file.string() + ":2:3: unexpected \"]\": the \"<\" at 1:1 is not closed");
  EXPECT_NE(Thrown([&] { client.LoadFile(file); }).find("book.zel: "), std::string::npos);
  std::ofstream(file) << "[1]\n";
  EXPECT_EQ(client.ParseFile(file), client.NewArray({1}));
}

}  // namespace
