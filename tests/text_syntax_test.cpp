// The POS text syntax: what each text gives, and where each error is.

#include "client_fixture.h"

namespace {

using zeltest::Repeat;
using TextSyntaxTest = zeltest::ClientTest;

TEST_F(TextSyntaxTest, WhatATextGives) {
  const zelutils::Dict empty = client.NewDict();
  const std::pair<std::string, zelutils::Value> rows[] = {
      {"  [ 1 2.5 -3 ]  ", client.NewArray({1, 2.5, -3})},
      {"<k [ (a b) x ]>", client.NewDict({{"k", client.NewArray({"a b", "x"})}})},
      {"<a(b)c[1 2]>", client.NewDict({{"a", "b"}, {"c", client.NewArray({1, 2})}})},
      {"<a 1 a 2>", client.NewDict({{"a", 2}})},
      {"\t\r\n[]", client.NewArray()},
      {"<>", empty},
      {"<(a key) 1 () 2>", client.NewDict({{"", 2}, {"a key", 1}})},
      {"_a1", client.NewString("_a1")},
      {"[<begins_9_ends_so 1> <begins_9_ends_so 2> <begins_8_ends_so 3>]",
       client.NewArray({client.NewDict({{"begins_9_ends_so", 1}}),
                        client.NewDict({{"begins_9_ends_so", 2}}),
                        client.NewDict({{"begins_8_ends_so", 3}})})},
      {"[true null]", client.NewArray({"true", "null"})},
      {R"((a\)b\\c\n\(d))", client.NewString("a)b\\cn(d")},
      {"(\xe9\x01)", client.NewString("\xe9\x01")},
      {"()", client.NewString("")},
      {"[- + . -. 1.2.3 .5 5. +7 -0.25]", client.NewArray({0, 0, 0, 0, 1.2, .5, 5, 7, -.25})},
      {"[1-2+3]", client.NewArray({1, -2, 3})},
      {"[1e5]", client.NewArray({1, "e5"})},
      {"[0.1 123456789012345678901234567890]",
       client.NewArray({0.1, 123456789012345678901234567890.})},
      {"`00410042`", client.NewUnicodeString(u"AB")},
      {"`4E2d4e2D`", client.NewUnicodeString(u"\u4e2d\u4e2d")},
      {"``", client.NewUnicodeString(u"")},
      {"`004100000042`", client.NewUnicodeString(u"A")},
      {"(" + Repeat(100, "x") + ")", client.NewString(Repeat(100, "x"))},
      {"(" + Repeat(50, "\\x") + ")", client.NewString(Repeat(50, "x"))},
      {Repeat(100, "w"), client.NewString(Repeat(100, "w"))},
      {Repeat(100, "0"), client.NewNumber(0)},
      {"`" + Repeat(100, "0041") + "`", client.NewUnicodeString(std::u16string(100, u'A'))},
  };
  for (const auto& [text, value] : rows) {
    const char* position = text.c_str();
    const ZELInstance object = statics.CreateFromText(text.c_str(), &position);
    ASSERT_NE(object, nullptr) << text;
    EXPECT_EQ(host.RefCount(object), 0u);
    EXPECT_TRUE(objects.IsEqual(Keep(object), value.Handle())) << text;
    EXPECT_EQ(position, nullptr) << text;
  }
  for (const char* zero : {"-", "-."}) EXPECT_FALSE(std::signbit(numbers.Get(Parse(zero))));
}

// Words are read at once only where there is room behind them; each byte at each place of two.
TEST_F(TextSyntaxTest, WhatIsBehindATextChangesNothing) {
  for (int byte = 1; byte < 256; ++byte) {
    for (std::size_t place = 0; place < 18; ++place) {
      std::string word(18, 'w');
      word[place] = static_cast<char>(byte);
      for (const std::string& text : {"[" + word + "]", "[(" + word + ")]"}) {
        const std::string before = text + Repeat(120, " ");
        const char* position = nullptr;
        const char* positionBefore = nullptr;
        const ZELInstance object = statics.CreateFromText(text.c_str(), &position);
        const ZELInstance same = statics.CreateFromText(before.c_str(), &positionBefore);
        ASSERT_EQ(object == nullptr, same == nullptr) << text;
        if (object != nullptr) {
          ASSERT_TRUE(objects.IsEqual(Keep(object), Keep(same))) << text;
        } else if (*position != '\0') {
          ASSERT_EQ(position - text.c_str(), positionBefore - before.c_str()) << text;
        }
      }
    }
    GiveBack();
  }
}

// Beside the cases of the page about the syntax, which is tested as well.
TEST_F(TextSyntaxTest, WhereATextIsWrong) {
  const std::tuple<std::string, std::size_t, const char*> rows[] = {
      {"]", 1, "after a closing bracket"},
      {"<a 1]", 5, "after ] in a dictionary"},
      {"<a ]>", 4, "after ] for a value"},
      {">", 1, "after > at the top"},

      {"\x80", 0, "at a byte beyond ASCII"},
      {"{}", 0, "at the character"},
      {"< [x y] 2>", 7, "after the array for a key"},
      {"", 0, "at the end"},
      {"<a", 2, "at the end"},
      {"<a 1", 4, "at the end"},

      {"1e5", 1, "at what follows"},
      {"[] )", 3, "at what follows"},
      {"(" + Repeat(101, "x") + ") ", 103, "after )"},
      {Repeat(101, "w") + " ", 101, "after the word"},
      {Repeat(101, "1") + " ", 101, "after the number"},
      {"`" + Repeat(402, "0") + "` ", 404, "after the backquote"},

      {"(abc\\", 5, "at the end after a backslash"},
      {"`0041", 5, "at the end of an unterminated Unicode string"},
      {"`0041004`", 8, "at the backquote that cuts a group"},
      {"`00g1`", 3, "at the digit that is none"},
      {"`" + Repeat(401, "0") + "`", 402, "at the backquote: 401 digits are too few for a group"},
      {Repeat(513, "["), 512, "at the bracket beyond the limit"},
      {Repeat(513, "<a"), 1024, "at the bracket beyond the limit"},
  };
  for (const auto& [text, expected, why] : rows) {
    const char* position = nullptr;
    EXPECT_EQ(statics.CreateFromText(text.c_str(), &position), nullptr) << text;
    ASSERT_NE(position, nullptr) << text;
    EXPECT_EQ(position - text.c_str(), static_cast<std::ptrdiff_t>(expected))
        << text << ": " << why;
    EXPECT_EQ(statics.CreateFromText(text.c_str(), nullptr), nullptr);
  }
}

}  // namespace
