#include "pos/text_parser.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "frame/base/byte_words.h"
#include "frame/base/compiler.h"
#include "frame/base/decimal.h"
#include "frame/client/key_atoms.h"
#include "frame/core/nesting.h"
#include "pos/text_characters.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::ArrayToFill;
using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::DictToFill;

constexpr std::size_t kDigitsPerUnit = 4;

// The text of a bare word or quoted string, ended by a NUL, with room for whole words.
struct Text {
  char bytes[POS_TEXT_STRING_LIMIT + 1 + ZEL_T_NMT::kWordSize];
  std::size_t length;
};

// Recursive descent over a cursor into the text. Containers are the only thing that recurses.
class Parser {
 public:
  explicit Parser(const char* text) noexcept : cursor_(text), end_(text + std::strlen(text)) {}

  CPOSObject ParseWhole() {
    CPOSObject object = ParseObject();
    SkipWhitespace();
    if (*cursor_ != '\0') Fail("Unexpected characters after object");
    return object;
  }

 private:
  [[noreturn]] void Fail(const char* message) const { throw CFTParseError(message, cursor_); }

  void SkipWhitespace() noexcept {
    while (IsOneOf(*cursor_, kWhitespace)) ++cursor_;
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
  ZEL_ALWAYS_INLINE CPOSObject ParseObject() {
    SkipWhitespace();
    const char first = *cursor_;
    if (IsOneOf(first, kNumberStart)) return ReadNumber();
    if (IsOneOf(first, kTextStart)) return ReadString(first);
    return ParseOther();
  }

  ZEL_NEVER_INLINE CPOSObject ParseOther() {
    const char first = NextToken();
    if (first == ']') FailAtClosing("Unexpected ]");
    if (first == '>') FailAtClosing("Unexpected >");
    return ReadOther(first);
  }

  // The object whose first character the cursor is at. Inline, and each kind in a function of its
  // own: a level of nesting takes no more of the stack than its container needs.
  ZEL_ALWAYS_INLINE CPOSObject ReadObject() {
    const char first = *cursor_;
    if (IsOneOf(first, kNumberStart)) return ReadNumber();
    if (IsOneOf(first, kTextStart)) return ReadString(first);
    return ReadOther(first);
  }

  CPOSObject ReadOther(char first) {
    if (first == '[') return ReadArray();
    if (first == '<') return ReadDict();
    if (first == '`') return ReadUnicodeString();
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

  ZEL_NEVER_INLINE CPOSObject ReadArray() {
    EnterContainer();
    CPOSArray array = CPOSArray::New();
    const ArrayToFill filling(array);
    for (;;) {
      const char next = NextToken();
      if (next == ']') break;
      if (next == '>') FailAtClosing("Unexpected >");
      filling.Append(ReadObject());
    }
    LeaveContainer();
    return array;
  }

  ZEL_NEVER_INLINE CPOSObject ReadDict() {
    EnterContainer();
    CPOSDict dict = CPOSDict::New();
    const DictToFill filling(dict);
    for (;;) {
      SkipWhitespace();
      const char next = *cursor_;
      if (IsOneOf(next, kTextStart) && ZEL_T_NMT::g_pos.strings.IsLinkedAndOwn()) [[likely]] {
        CZELStringAtom key = ReadKey(next);
        filling.Put(std::move(key), ParseObject());
        continue;
      }
      if (next == '\0') Fail("Empty text string");
      if (next == '>') break;
      if (next == ']') FailAtClosing("Unexpected ]");
      ReadOtherMember(dict);
    }
    LeaveContainer();
    return dict;
  }

  // A member whose key is a String that somebody else's procedures are to see, or is none.
  ZEL_NEVER_INLINE void ReadOtherMember(const CPOSDict& dict) {
    const CPOSString key(ReadObject(), true);
    if (key.IsEmpty()) Fail("Expected dictionary key string");
    CZELStringAtom text(key.Get());  // before its value is read
    dict.Put(std::move(text), ParseObject());
  }

  ZEL_NEVER_INLINE CZELStringAtom ReadKey(char first) {
    ReadText(first, text_);
    if (!keys_) keys_.emplace();
    return keys_->Get(text_.bytes, text_.length);
  }

  ZEL_NEVER_INLINE CPOSObject ReadString(char first) {
    ReadText(first, text_);
    return CPOSString::New(text_.bytes);
  }

  ZEL_ALWAYS_INLINE void ReadText(char first, Text& text) {
    if (first == '(' ? ReadPlain<true>(text) : ReadPlain<false>(text)) [[likely]]
      return;
    ReadAnyText(first, text);
  }

  ZEL_NEVER_INLINE void ReadAnyText(char first, Text& text) {
    if (first == '(') {
      ReadQuotedString(text);
    } else {
      ReadBareWord(text);
    }
  }

  // A quoted string or a bare word, copied by words while its end is searched. False, with nothing
  // read, where that has to be looked at more closely.
  template <bool quoted>
  bool ReadPlain(Text& text) noexcept {
    using namespace ZEL_T_NMT;  // NOLINT(google-build-using-namespace): the functions over words
    if constexpr (!kHasByteWords) return false;
    if (end_ - cursor_ < std::ptrdiff_t{sizeof Text::bytes}) return false;
    const char* const start = cursor_ + (quoted ? 1 : 0);
    std::size_t length = 0;
    std::uint64_t behind = 0;
    for (;; length += kWordSize) {
      if (length > POS_TEXT_STRING_LIMIT) return false;
      const std::uint64_t word = LoadWord(start + length);
      StoreWord(text.bytes + length, word);
      behind = quoted ? BytesEqual(word, ')', '\\') : BytesNoWord(word);
      if (behind != 0) break;
    }
    length += BytesBefore(behind);
    if (length > POS_TEXT_STRING_LIMIT || (quoted && start[length] != ')')) return false;
    text.bytes[length] = '\0';
    text.length = length;
    cursor_ = start + length + (quoted ? 1 : 0);
    return true;
  }

  void ReadBareWord(Text& text) {
    const char* const start = cursor_;
    const char* end = start;
    while (IsOneOf(*end, kLetter | kDigit)) ++end;
    cursor_ = end;
    TakeText(start, end, false, text);
  }

  // A backslash takes the next character as it is; parentheses are not counted.
  void ReadQuotedString(Text& text) {
    const char* const start = ++cursor_;
    bool escapes = false;
    for (;;) {
      SkipQuotedWords();
      if (*cursor_ == ')') break;
      if (*cursor_ == '\\') {
        escapes = true;
        ++cursor_;
      }
      if (*cursor_ == '\0') Fail("Unterminated string");
      ++cursor_;
    }
    const char* const end = cursor_++;
    TakeText(start, end, escapes, text);
  }

  // Goes to the next parenthesis or backslash, or to less than a word before the text's end.
  void SkipQuotedWords() noexcept {
    using namespace ZEL_T_NMT;  // NOLINT(google-build-using-namespace): the functions over words
    if constexpr (!kHasByteWords) return;
    while (end_ - cursor_ >= std::ptrdiff_t{kWordSize}) {
      const std::uint64_t word = LoadWord(cursor_);
      const std::uint64_t marked = BytesEqual(word, ')', '\\');
      cursor_ += BytesBefore(marked);
      if (marked != 0) return;
    }
  }

  // The raw characters of a bare word or quoted string; the cursor is behind the token.
  void TakeText(const char* start, const char* end, bool escapes, Text& text) const {
    const auto length = static_cast<std::size_t>(end - start);
    if (length > POS_TEXT_STRING_LIMIT) Fail("Exceeded max string length");
    char* out = text.bytes;
    if (escapes) {
      while (start != end) {
        if (*start == '\\') ++start;
        *out++ = *start++;
      }
    } else {
      CopyText(out, start, length);
      out += length;
    }
    *out = '\0';
    text.length = static_cast<std::size_t>(out - text.bytes);
  }

  // Whole words at a time where the text goes on behind them.
  void CopyText(char* target, const char* start, std::size_t length) const noexcept {
    if (static_cast<std::size_t>(end_ - start) < sizeof Text::bytes) {
      std::memcpy(target, start, length);
      return;
    }
    for (std::size_t i = 0; i < length; i += ZEL_T_NMT::kWordSize) {
      ZEL_T_NMT::StoreWord(target + i, ZEL_T_NMT::LoadWord(start + i));
    }
  }

  ZEL_NEVER_INLINE CPOSObject ReadNumber() {
    const char* const start = cursor_;
    const std::size_t limit =
        std::min(static_cast<std::size_t>(end_ - start), std::size_t{POS_TEXT_NUMBER_LIMIT} + 1);
    const ZEL_T_NMT::Decimal decimal = ZEL_T_NMT::DecimalPrefix(start, limit, false);
    // The first character belongs to the token whether it begins a number or not.
    cursor_ += std::max<std::size_t>(decimal.length, 1);
    while (IsOneOf(*cursor_, kDigit | kPoint)) ++cursor_;
    if (static_cast<std::size_t>(cursor_ - start) > POS_TEXT_NUMBER_LIMIT)
      Fail("Exceeded max number length");
    return CPOSNumber::New(decimal.value);
  }

  ZEL_NEVER_INLINE CPOSObject ReadUnicodeString() {
    const char* const start = ++cursor_;
    while (*cursor_ != '`') {
      if (*cursor_ == '\0') Fail("Unterminated Unicode string");
      ++cursor_;
    }
    const char* const end = cursor_++;
    if (static_cast<std::size_t>(end - start) > POS_TEXT_UNICODE_LIMIT)
      Fail("Exceeded max string length");
    return MakeUnicodeString(start, end);
  }

  CPOSObject MakeUnicodeString(const char* start, const char* end) {
    std::uint16_t units[POS_TEXT_UNICODE_LIMIT / kDigitsPerUnit + 1];
    std::uint16_t* out = units;
    while (start != end) {
      std::uint32_t unit = 0;
      // The closing backquote is no digit either: it ends a group that is too short.
      for (std::size_t digit = 0; digit < kDigitsPerUnit; ++digit, ++start) {
        const int value = HexValue(*start);
        if (value < 0) {
          cursor_ = start;
          Fail("Unexpected character");
        }
        unit = unit * 16 + static_cast<std::uint32_t>(value);
      }
      *out++ = static_cast<std::uint16_t>(unit);
    }
    *out = 0;
    return CPOSUnicodeString::New(units);
  }

  const char* cursor_;
  const char* const end_;  // the terminating NUL
  std::uint32_t depth_ = 0;
  std::optional<ZEL_T_NMT::KeyAtoms> keys_;
  Text text_;  // the last one; here, so that no level of nesting has one of its own
};

}  // namespace

CPOSObject ParseText(const char* text) { return Parser(text).ParseWhole(); }

}  // namespace NPOSObjectImpl
