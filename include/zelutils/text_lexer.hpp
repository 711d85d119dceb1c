// The tokens of a POS text, for programs that want to say where in a text something stands. Whether
// a text is valid is for CreateFromText alone to decide; the lexer only cuts.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zelutils/pos.h"

namespace zelutils {

// The limits of pos.h as C++ knows them.
inline constexpr std::size_t kLongestTextString = POS_TEXT_STRING_LIMIT;
inline constexpr std::size_t kLongestTextNumber = POS_TEXT_NUMBER_LIMIT;
inline constexpr std::size_t kLongestTextUnicode = POS_TEXT_UNICODE_LIMIT;

struct TextToken {
  enum class Kind : std::uint8_t {
    kEnd,  // of the text; empty
    kOpenArray,
    kCloseArray,
    kOpenDict,
    kCloseDict,
    kWord,
    kQuoted,
    kUnicode,
    kNumber,
    kUnknown,  // a character that begins no token
  };

  bool IsString() const noexcept { return kind == Kind::kWord || kind == Kind::kQuoted; }
  bool IsOpening() const noexcept { return kind == Kind::kOpenArray || kind == Kind::kOpenDict; }
  bool IsClosing() const noexcept { return kind == Kind::kCloseArray || kind == Kind::kCloseDict; }

  Kind kind = Kind::kEnd;
  std::size_t begin = 0;  // in bytes from the start of the text
  std::size_t end = 0;    // one past the last byte, closing character included
  bool isWhole = true;    // false where the text ends before the token does
};

class TextLexer {
 public:
  using Kind = TextToken::Kind;

  // The text must outlive the lexer. It may hold anything, NULs too.
  explicit TextLexer(std::string_view text) noexcept : text_(text) {}

  std::string_view Text() const noexcept { return text_; }

  // The next token; of kind kEnd, and again and again, once there is none.
  TextToken Next() noexcept {
    while (position_ < text_.size() && Is(text_[position_], kBlank)) ++position_;
    TextToken token;
    token.begin = token.end = position_;
    if (position_ == text_.size()) return token;
    const char first = text_[position_];
    token.kind = KindOf(first);
    token.end = EndOf(token.kind);
    token.isWhole = token.end <= text_.size();
    token.end = position_ = std::min(token.end, text_.size());
    return token;
  }

  // The text between the quotes of a token, or the whole of one without.
  std::string_view RawContent(const TextToken& token) const noexcept {
    const bool isQuoted = token.kind == Kind::kQuoted || token.kind == Kind::kUnicode;
    const std::size_t quotes = isQuoted ? 1 : 0;
    const std::size_t end = token.end - (token.isWhole ? quotes : 0);
    return text_.substr(token.begin + quotes, end - token.begin - quotes);
  }

  // The bytes of a word or quoted string, without the backslashes.
  std::string StringOf(const TextToken& token) const {
    const std::string_view raw = RawContent(token);
    std::string bytes;
    bytes.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
      if (raw[i] == '\\' && token.kind == Kind::kQuoted && i + 1 < raw.size()) ++i;
      bytes += raw[i];
    }
    return bytes;
  }

  // Whether a string can be written without parentheses, its length aside.
  static bool IsWord(std::string_view bytes) noexcept {
    return !bytes.empty() && Is(bytes.front(), kLetter) &&
           std::all_of(bytes.begin(), bytes.end(), [](char c) { return Is(c, kLetter | kDigit); });
  }

 private:
  enum Class : std::uint8_t { kBlank = 1, kDigit = 2, kPoint = 4, kSign = 8, kLetter = 16 };

  static constexpr std::array<std::uint8_t, 256> kClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    const auto assign = [&classes](std::string_view characters, Class to) {
      for (const char c : characters) classes[static_cast<unsigned char>(c)] = to;
    };
    assign(" \t\r\n", kBlank);
    assign("0123456789", kDigit);
    assign(".", kPoint);
    assign("-+", kSign);
    assign("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_", kLetter);
    return classes;
  }();

  static bool Is(char c, unsigned classes) noexcept {
    return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
  }

  static Kind KindOf(char first) noexcept {
    switch (first) {
      case '[':
        return Kind::kOpenArray;
      case ']':
        return Kind::kCloseArray;
      case '<':
        return Kind::kOpenDict;
      case '>':
        return Kind::kCloseDict;
      case '(':
        return Kind::kQuoted;
      case '`':
        return Kind::kUnicode;
      default:
        return Is(first, kLetter)                   ? Kind::kWord
               : Is(first, kDigit | kPoint | kSign) ? Kind::kNumber
                                                    : Kind::kUnknown;
    }
  }

  // Beyond the text for a token that the text does not end.
  std::size_t EndOf(Kind kind) const noexcept {
    switch (kind) {
      case Kind::kWord:
        return Behind(kLetter | kDigit);
      case Kind::kNumber:
        return Behind(kDigit | kPoint);
      case Kind::kUnicode: {
        const std::size_t closing = text_.find('`', position_ + 1);
        return closing == text_.npos ? text_.size() + 1 : closing + 1;
      }
      case Kind::kQuoted:
        return BehindParenthesis();
      default:
        return position_ + 1;
    }
  }

  // The first character belongs to the token, whatever it is.
  std::size_t Behind(unsigned classes) const noexcept {
    std::size_t end = position_ + 1;
    while (end < text_.size() && Is(text_[end], classes)) ++end;
    return end;
  }

  // Parentheses are not counted; a backslash takes what follows.
  std::size_t BehindParenthesis() const noexcept {
    std::size_t end = position_ + 1;
    while (end < text_.size() && text_[end] != ')') end += text_[end] == '\\' ? 2U : 1U;
    return end < text_.size() ? end + 1 : text_.size() + 1;
  }

  std::string_view text_;
  std::size_t position_ = 0;
};

// A position as people count: from 1, the column in bytes.
struct LineColumn {
  std::size_t line = 1;
  std::size_t column = 1;
  std::size_t lineStart = 0;  // in bytes from the start of the text

  std::string ToString() const { return std::to_string(line) + ':' + std::to_string(column); }
};

// The lines of a text, for many positions in any order.
class TextLines {
 public:
  // The text must outlive the lines.
  explicit TextLines(std::string_view text) noexcept : text_(text) {}

  LineColumn Locate(std::size_t position) const {
    position = std::min(position, text_.size());
    const std::size_t block = position / kBlock;
    while (linesBefore_.size() <= block) {
      const std::size_t counted = linesBefore_.size();
      linesBefore_.push_back(linesBefore_.back() + Count((counted - 1) * kBlock, counted * kBlock));
    }
    const std::size_t lineStart =
        text_.substr(0, position).rfind('\n') + 1;  // 0 when there is none
    return {linesBefore_[block] + Count(block * kBlock, position) + 1, position - lineStart + 1,
            lineStart};
  }

  // The whole line that starts there, without its end.
  std::string_view LineAt(std::size_t lineStart) const noexcept {
    std::string_view line = text_.substr(lineStart);
    line = line.substr(0, line.find('\n'));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
  }

 private:
  static constexpr std::size_t kBlock = 1 << 16;

  std::size_t Count(std::size_t begin, std::size_t end) const {
    const std::string_view part = text_.substr(begin, end - begin);
    return static_cast<std::size_t>(std::count(part.begin(), part.end(), '\n'));
  }

  std::string_view text_;
  mutable std::vector<std::size_t> linesBefore_ = {0};  // each block of bytes
};

}  // namespace zelutils
