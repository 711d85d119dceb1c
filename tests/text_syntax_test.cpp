// The POS text syntax: what each text gives, and where each error is.
#include <cstring>

#include "support.h"

namespace {

class TextSyntaxTest : public zeltest::LibraryTest {
 protected:
  // A value in words of its own, so that a row can state what a text gives.
  std::string Describe(ZELInstance value) {
    switch (objects.GetType(value)) {
      case POSTypeNumber: {
        char text[40];
        std::snprintf(text, sizeof text, "#%.17g", numbers.Get(value));
        return text;
      }
      case POSTypeString:
        return "'" + std::string(strings.Get(value)) + "'";
      case POSTypeUnicodeString: {
        std::string text = "u";
        for (const uint16_t* unit = unicodeStrings.Get(value); *unit != 0; ++unit) {
          text += " " + std::to_string(*unit);
        }
        return text;
      }
      case POSTypeArray: {
        std::string text = "[";
        for (uint32_t i = 0; i < arrays.Count(value); ++i) text += Describe(arrays.GetAt(value, i));
        return text + "]";
      }
      case POSTypeDict: {
        std::string text = "<";
        const ZELInstance iterator = Keep(iterators.NewPOSDictIterator(value));
        for (; !iterators.IsDone(iterator); iterators.Next(iterator)) {
          const char* key = iterators.CurKey(iterator);
          text += std::string(key) + "=" + Describe(dicts.Get(value, Atom(key)));
        }
        return text + ">";
      }
      default:
        return "?";
    }
  }
};

std::string Repeat(size_t count, const std::string& text) {
  std::string repeated;
  for (size_t i = 0; i < count; ++i) repeated += text;
  return repeated;
}

TEST_F(TextSyntaxTest, WhatATextGives) {
  const std::pair<std::string, std::string> rows[] = {
      {"  [ 1 2.5 -3 ]  ", "[#1#2.5#-3]"},
      {"<k [ (a b) x ]>", "<k=['a b''x']>"},
      {"<a(b)c[1 2]>", "<a='b'c=[#1#2]>"},
      {"<a 1 a 2>", "<a=#2>"},
      {"\t\r\n[]", "[]"},
      {"<>", "<>"},
      {"<(a key) 1 () 2>", "<=#2a key=#1>"},
      {"_a1", "'_a1'"},
      {"[true null]", "['true''null']"},
      {R"((a\)b\\c\n\(d))", R"('a)b\cn(d')"},
      {"(\xe9\x01)", "'\xe9\x01'"},
      {"()", "''"},
      {"[- + . -. 1.2.3 .5 5. +7 -0.25]", "[#0#0#0#0#1.2#0.5#5#7#-0.25]"},
      {"[1-2+3]", "[#1#-2#3]"},
      {"[1e5]", "[#1'e5']"},
      {"[0.1 123456789012345678901234567890]", "[#0.10000000000000001#1.2345678901234568e+29]"},
      {"`00410042`", "u 65 66"},
      {"`4E2d4e2D`", "u 20013 20013"},
      {"``", "u"},
      {"`004100000042`", "u 65"},
      {"(" + Repeat(100, "x") + ")", "'" + Repeat(100, "x") + "'"},
      {"(" + Repeat(50, "\\x") + ")", "'" + Repeat(50, "x") + "'"},
      {Repeat(100, "w"), "'" + Repeat(100, "w") + "'"},
      {Repeat(100, "0"), "#0"},
      {"`" + Repeat(100, "0041") + "`", "u" + Repeat(100, " 65")},
  };
  for (const auto& [text, value] : rows) {
    const char* position = text.c_str();
    const ZELInstance object = statics.CreateFromText(text.c_str(), &position);
    ASSERT_NE(object, nullptr) << text;
    EXPECT_EQ(host.RefCount(object), 0u);
    EXPECT_EQ(Describe(Keep(object)), value) << text;
    EXPECT_EQ(position, nullptr) << text;
  }
}

TEST_F(TextSyntaxTest, WhereATextIsWrong) {
  struct {
    std::string text;
    size_t position;
    const char* why;
  } const rows[] = {
      {"]", 1, "after a closing bracket"},
      {"<a 1]", 5, "after ] in a dictionary"},
      {"<a ]>", 4, "after ] for a value"},
      {">", 1, "after > at the top"},
      {"[1 2>", 5, "after > in an array"},
      {"<a>", 3, "after > for a value"},
      {"[1,2]", 2, "at the character"},
      {"[(a(b)c)]", 7, "at the second )"},
      {"\x80", 0, "at a byte beyond ASCII"},
      {"{}", 0, "at the character"},
      {"<1 2>", 2, "after the object for a key"},
      {"< [x y] 2>", 7, "after the array for a key"},
      {"<`0041` 2>", 7, "after the Unicode string for a key"},
      {"", 0, "at the end"},
      {" \n ", 3, "at the end"},
      {"[1 2", 4, "at the end"},
      {"<a", 2, "at the end"},
      {"<a 1", 4, "at the end"},
      {"1 2", 2, "at what follows"},
      {"1,2", 1, "at what follows"},
      {"1e5", 1, "at what follows"},
      {"[] )", 3, "at what follows"},
      {"(" + Repeat(101, "x") + ") ", 103, "after )"},
      {Repeat(101, "w") + " ", 101, "after the word"},
      {Repeat(101, "1") + " ", 101, "after the number"},
      {"`" + Repeat(402, "0") + "` ", 404, "after the backquote"},
      {"(abc", 4, "at the end of an unterminated string"},
      {"(abc\\", 5, "at the end after a backslash"},
      {"`0041", 5, "at the end of an unterminated Unicode string"},
      {"`0041004`", 8, "at the backquote that cuts a group"},
      {"`00g1`", 3, "at the digit that is none"},
      {"`" + Repeat(401, "0") + "`", 402, "at the backquote: 401 digits are too few for a group"},
      {Repeat(513, "["), 512, "at the bracket beyond the limit"},
      {Repeat(513, "<a"), 1024, "at the bracket beyond the limit"},
  };
  for (const auto& row : rows) {
    const char* position = nullptr;
    EXPECT_EQ(statics.CreateFromText(row.text.c_str(), &position), nullptr) << row.text;
    ASSERT_NE(position, nullptr) << row.text;
    EXPECT_EQ(position - row.text.c_str(), static_cast<ptrdiff_t>(row.position))
        << row.text << ": " << row.why;
    EXPECT_EQ(statics.CreateFromText(row.text.c_str(), nullptr), nullptr);
  }
}

TEST_F(TextSyntaxTest, NoFailureOfTheHostLosesAMember) {
  const char* text = "<list [1 (two) `0003`] name (n) inner <k v>>";
  const ZELInstance whole = Parse(text);
  for (const zelhost::Service service :
       {zelhost::Service::kAlloc, zelhost::Service::kNewStringAtom,
        zelhost::Service::kNewFullContainer, zelhost::Service::kAddRef}) {
    const uint64_t before = host.FaultsInjected();
    uint64_t failures = 0;
    ZELInstance object = nullptr;
    for (;; ++failures) {
      const char* position = text;
      host.FailAt(service, failures + 1);
      object = statics.CreateFromText(text, &position);
      host.StopFailing();
      EXPECT_EQ(position, nullptr);
      if (object != nullptr) break;
      EXPECT_FALSE(host.TakeReports().empty()) << ServiceName(service) << " " << failures;
    }
    EXPECT_GT(failures, 5u);
    EXPECT_EQ(host.FaultsInjected() - before, failures) << ServiceName(service);
    EXPECT_TRUE(objects.IsEqual(Keep(object), whole));
  }
}

}  // namespace
