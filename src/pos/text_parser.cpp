#include "pos/text_parser.h"

#include <cstring>

#include "frame/decimal.h"
#include "frame/nesting.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;

constexpr size_t kMaxString = 100;         // bytes between the parentheses, or of a bare word
constexpr size_t kMaxNumber = 100;         // bytes
constexpr size_t kMaxUnicodeDigits = 401;  // bytes between the backquotes
constexpr size_t kDigitsPerUnit = 4;

bool IsWhitespace(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }
bool IsWordStart(char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}
bool IsWordPart(char c) noexcept { return IsWordStart(c) || IsDigit(c); }
bool IsNumberStart(char c) noexcept { return IsDigit(c) || c == '-' || c == '+' || c == '.'; }

// The value of a hexadecimal digit, or -1.
int HexValue(char c) noexcept {
  if (IsDigit(c)) return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Recursive descent over a cursor into the text. Containers are the only thing that recurses.
class Parser {
 public:
  explicit Parser(const char* text) noexcept : cursor_(text) {}

  CPOSObject ParseWhole() {
    CPOSObject object = ParseObject();
    SkipWhitespace();
    if (*cursor_ != '\0') Fail("Unexpected characters after object");
    return object;
  }

 private:
  [[noreturn]] void Fail(const char* message) const { throw CFTParseError(message, cursor_); }

  void SkipWhitespace() noexcept {
    while (IsWhitespace(*cursor_)) ++cursor_;
  }

  // Goes to the next token; there must be one.
  char NextToken() {
    SkipWhitespace();
    if (*cursor_ == '\0') Fail("Empty text string");
    return *cursor_;
  }

  // A closing bracket that closes nothing here; the position is after it.
  [[noreturn]] void FailAtClosing(const char* message) {
    ++cursor_;
    Fail(message);
  }

  // One object outside of an array and of a dictionary's keys.
  CPOSObject ParseObject() {
    switch (NextToken()) {
      case ']':
        FailAtClosing("Unexpected ]");
      case '>':
        FailAtClosing("Unexpected >");
      default:
        return ReadObject();
    }
  }

  // The object whose first character the cursor is at.
  CPOSObject ReadObject() {
    const char first = *cursor_;
    if (first == '[') return ReadArray();
    if (first == '<') return ReadDict();
    if (first == '(') return ReadQuotedString();
    if (first == '`') return ReadUnicodeString();
    if (IsWordStart(first)) return ReadBareWord();
    if (IsNumberStart(first)) return ReadNumber();
    Fail("Unexpected character");
  }

  void EnterContainer() {
    if (depth_ == ZEL_T_NMT::kNestingLimit) Fail("nesting too deep");
    ++depth_;
    ++cursor_;
  }

  void LeaveContainer() noexcept {
    --depth_;
    ++cursor_;
  }

  CPOSObject ReadArray() {
    EnterContainer();
    CPOSArray array = CPOSArray::New();
    for (;;) {
      const char next = NextToken();
      if (next == ']') break;
      if (next == '>') FailAtClosing("Unexpected >");
      array.Append(ReadObject());
    }
    LeaveContainer();
    return array;
  }

  CPOSObject ReadDict() {
    EnterContainer();
    CPOSDict dict = CPOSDict::New();
    for (;;) {
      const char next = NextToken();
      if (next == '>') break;
      if (next == ']') FailAtClosing("Unexpected ]");
      const CPOSString key(ReadObject(), true);
      if (key.IsEmpty()) Fail("Expected dictionary key string");
      dict.Put(key.Get(), ParseObject());
    }
    LeaveContainer();
    return dict;
  }

  CPOSObject ReadBareWord() {
    const char* const start = cursor_;
    while (IsWordPart(*cursor_)) ++cursor_;
    return MakeString(start, cursor_);
  }

  // A backslash takes the next character as it is; parentheses are not counted.
  CPOSObject ReadQuotedString() {
    const char* const start = ++cursor_;
    while (*cursor_ != ')') {
      if (*cursor_ == '\\') ++cursor_;
      if (*cursor_ == '\0') Fail("Unterminated string");
      ++cursor_;
    }
    const char* const end = cursor_++;
    return MakeString(start, end);
  }

  // From the raw characters of a bare word or quoted string; the cursor is behind the token.
  CPOSObject MakeString(const char* start, const char* end) {
    if (static_cast<size_t>(end - start) > kMaxString) Fail("Exceeded max string length");
    char text[kMaxString + 1];
    char* out = text;
    while (start != end) {
      if (*start == '\\') ++start;
      *out++ = *start++;
    }
    *out = '\0';
    return CPOSString::New(text);
  }

  CPOSObject ReadNumber() {
    const char* const start = cursor_++;
    while (IsDigit(*cursor_) || *cursor_ == '.') ++cursor_;
    const auto length = static_cast<size_t>(cursor_ - start);
    if (length > kMaxNumber) Fail("Exceeded max number length");
    return CPOSNumber::New(ZEL_T_NMT::DecimalPrefix(start, length, false));
  }

  CPOSObject ReadUnicodeString() {
    const char* const start = ++cursor_;
    while (*cursor_ != '`') {
      if (*cursor_ == '\0') Fail("Unterminated Unicode string");
      ++cursor_;
    }
    const char* const end = cursor_++;
    if (static_cast<size_t>(end - start) > kMaxUnicodeDigits) Fail("Exceeded max string length");
    return MakeUnicodeString(start, end);
  }

  CPOSObject MakeUnicodeString(const char* start, const char* end) {
    uint16_t units[kMaxUnicodeDigits / kDigitsPerUnit + 1];
    uint16_t* out = units;
    while (start != end) {
      uint32_t unit = 0;
      // The closing backquote is no digit either: it ends a group that is too short.
      for (size_t digit = 0; digit < kDigitsPerUnit; ++digit, ++start) {
        const int value = HexValue(*start);
        if (value < 0) {
          cursor_ = start;
          Fail("Unexpected character");
        }
        unit = unit * 16 + static_cast<uint32_t>(value);
      }
      *out++ = static_cast<uint16_t>(unit);
    }
    *out = 0;
    return CPOSUnicodeString::New(units);
  }

  const char* cursor_;
  uint32_t depth_ = 0;
};

}  // namespace

CPOSObject ParseText(const char* text) { return Parser(text).ParseWhole(); }

}  // namespace NPOSObjectImpl
