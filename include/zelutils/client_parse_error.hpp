// The fault of a text that could not be read, in words. The library tells only where it stopped;
// the rest is found in the text before that place, all of which is well-formed. Programs include
// zelutils/client.hpp.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelutils/pos.h"

namespace zelutils {

struct TextFault {
  std::size_t position;  // in bytes from the start of the text: where to look
  std::string message;
};

// A place in a text: the offset of its line, and line and column counted from 1, the latter in
// bytes.
struct LineAndColumn {
  std::size_t lineStart;
  std::size_t line;
  std::size_t column;
};

inline LineAndColumn Locate(std::string_view text, std::size_t position) {
  const std::string_view before = text.substr(0, position);
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 when there is none
  const auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  return {lineStart, lines + 1, position - lineStart + 1};
}

namespace detail {

inline constexpr std::size_t kLongestWord = 100;
inline constexpr std::size_t kLongestUnicode = 401;
inline constexpr std::string_view kWhitespace = " \t\r\n";
inline constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
inline constexpr std::string_view kWordCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";
inline constexpr std::string_view kNumberCharacters = "0123456789.";

inline bool BeginsWord(char c) { return kLetters.find(c) != std::string_view::npos; }

inline bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

inline bool IsControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }

inline std::string Quoted(std::string_view text) {
  std::string quoted(text);
  quoted.insert(0, 1, '"').push_back('"');
  std::replace_if(quoted.begin(), quoted.end(), IsControl, '?');
  return quoted;
}

// The character at a position: itself where it can be shown, else the byte's value.
inline std::string ShownAt(std::string_view text, std::size_t position) {
  const auto byte = static_cast<unsigned char>(text[position]);
  if (text.substr(position).starts_with("\xEF\xBB\xBF")) return "byte order mark";
  if (byte == '"') return "'\"'";
  if (byte > ' ' && byte < 0x7F) return Quoted(text.substr(position, 1));
  std::size_t end = position + 1;
  while (end < text.size() && IsContinuation(text[end])) ++end;
  const std::size_t size = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC2 ? 2 : 0;
  if (byte < 0xF5 && size == end - position) return Quoted(text.substr(position, size));
  std::array<char, 16> hex;
  std::snprintf(hex.data(), hex.size(), "byte 0x%02X", byte);
  return hex.data();
}

// A word of help for somebody who knows another notation.
inline std::string Hint(char c) {
  switch (c) {
    case ',':
    case ';':
      return "; values are separated by blanks";
    case ':':
    case '=':
      return "; a key is followed by its value, with a blank between them";
    case '"':
    case '\'':
      return "; strings stand in parentheses";
    case '{':
    case '}':
      return "; dictionaries stand between < and >";
    case '#':
    case '/':
      return "; there are no comments";
    case ')':
      return "; inside a string, \")\" is written \"\\)\"";
    default:
      return "";
  }
}

// Goes through the tokens of a text as the library did, up to where it stopped.
class TextScanner {
 public:
  TextScanner(std::string_view text, std::size_t stop)
      : text_(text), stop_(std::min(stop, text.size())) {}

  TextFault Explain() {
    for (;;) {
      const std::size_t begin = text_.find_first_not_of(kWhitespace, end_);
      if (begin == text_.npos || begin >= stop_) return ExplainStop();
      end_ = TokenEnd(begin);
      if (end_ > stop_) return ExplainInside(begin);
      // A token that the stop is right behind may be the one at fault; the others were taken.
      if (std::optional<TextFault> fault = Take(begin); fault && end_ == stop_) return *fault;
    }
  }

 private:
  // An array or dictionary that is not closed yet.
  struct Open {
    std::size_t position;
    std::optional<std::string_view> key;  // of a dictionary, while it waits for the value
  };

  char At(std::size_t position) const { return text_[position]; }
  bool InDict() const { return !open_.empty() && At(open_.back().position) == '<'; }
  bool AtKey() const { return InDict() && !open_.back().key; }

  // One past the token's last character; beyond the text for one that the text does not end.
  std::size_t TokenEnd(std::size_t begin) const {
    const char first = At(begin);
    if (first == '(') return BehindClosing(begin, ')');
    if (first == '`') return BehindClosing(begin, '`');
    if (BeginsWord(first)) {
      return std::min(text_.find_first_not_of(kWordCharacters, begin), text_.size());
    }
    if (first == '-' || first == '+' || kNumberCharacters.find(first) != text_.npos) {
      return std::min(text_.find_first_not_of(kNumberCharacters, begin + 1), text_.size());
    }
    return begin + 1;
  }

  std::size_t BehindClosing(std::size_t begin, char closing) const {
    std::size_t position = begin + 1;
    while (position < text_.size() && At(position) != closing) {
      position += closing == ')' && At(position) == '\\' ? 2U : 1U;
    }
    return position + 1;
  }

  // Accounts for the token from `begin` to `end_`, and says what is wrong with it, if anything.
  std::optional<TextFault> Take(std::size_t begin) {
    switch (At(begin)) {
      case '[':
      case '<':
        open_.push_back({begin, {}});
        return {};
      case ']':
      case '>':
        return TakeClosing(begin);
      case '(':
      case '`':
        return TakeScalar(begin, text_.substr(begin + 1, end_ - begin - 2));
      default:
        return TakeScalar(begin, text_.substr(begin, end_ - begin));
    }
  }

  std::optional<TextFault> TakeClosing(std::size_t begin) {
    const char closing = At(begin);
    const std::string unexpected = "unexpected " + Quoted(text_.substr(begin, 1));
    if (open_.empty()) {
      return TextFault{begin, unexpected + (done_ ? " after the value" : ": nothing is open")};
    }
    const Open inner = open_.back();
    if (inner.key) return TextFault{begin, unexpected + NoValue(*inner.key)};
    if ((closing == ']') != (At(inner.position) == '[')) {
      return TextFault{begin, unexpected + ": " + StillOpen(inner.position)};
    }
    open_.pop_back();
    return TakeValue(inner.position, closing == ']' ? "an array" : "a dictionary", {});
  }

  std::optional<TextFault> TakeScalar(std::size_t begin, std::string_view content) {
    const char first = At(begin);
    const bool isUnicode = first == '`';
    const bool isString = first == '(' || BeginsWord(first);
    const std::size_t longest = isUnicode ? kLongestUnicode : kLongestWord;
    const char* const kind = isUnicode ? "Unicode string" : isString ? "string" : "number";
    if (content.size() > longest) {
      std::string message = std::string(kind) + " too long: " + std::to_string(content.size()) +
                            " characters, where " + std::to_string(longest) + " are allowed";
      // Then its end was probably meant to be elsewhere.
      if (content.find('\n') != content.npos) message += "; it ends at " + LineColumn(end_ - 1);
      return TextFault{begin, message};
    }
    return TakeValue(begin, std::string("a ") + kind,
                     isString ? std::optional(content) : std::nullopt);
  }

  // Puts a value where it stands: a key must be a string.
  std::optional<TextFault> TakeValue(std::size_t begin, const std::string& kind,
                                     std::optional<std::string_view> string) {
    if (AtKey()) {
      if (!string) return TextFault{begin, "expected a key, which is a string, found " + kind};
      open_.back().key = string;
    } else if (InDict()) {
      open_.back().key.reset();
    } else if (open_.empty()) {
      done_ = true;
    }
    return {};
  }

  // The library stopped at a character that begins no token, or not one that may stand here.
  TextFault ExplainStop() const {
    if (stop_ == text_.size()) return EndOfText();
    const char c = At(stop_);
    const std::string unexpected = "unexpected " + ShownAt(text_, stop_);
    if (open_.empty() && done_) return {stop_, unexpected + " after the value" + Hint(c)};
    if ((c == '[' || c == '<') && open_.size() >= POS_NESTING_LIMIT) {
      return {stop_,
              "nested too deeply: " + std::to_string(POS_NESTING_LIMIT) + " levels are allowed"};
    }
    return {stop_, unexpected + Hint(c)};
  }

  // The library stopped inside of a token: a string that does not end, or a bad digit.
  TextFault ExplainInside(std::size_t begin) const {
    if (stop_ == text_.size()) return EndOfText(begin);
    constexpr const char* kGroups = "; a Unicode string holds groups of four hexadecimal digits";
    const std::string unexpected = "unexpected " + ShownAt(text_, stop_);
    return {stop_, (At(stop_) == '`' ? "unexpected end of the Unicode string" : unexpected) +
                       std::string(kGroups)};
  }

  // Shown behind the last character that is no blank.
  TextFault EndOfText(std::optional<std::size_t> openToken = {}) const {
    const std::size_t end = text_.find_last_not_of(kWhitespace) + 1;
    const std::string unexpected = "unexpected end of text";
    if (openToken) return {text_.size(), unexpected + ": " + StillOpen(*openToken)};
    if (open_.empty()) return {end, unexpected + ": there is no value"};
    if (open_.back().key) return {end, unexpected + NoValue(*open_.back().key)};
    return {end, unexpected + ": " + StillOpen(open_.back().position)};
  }

  static std::string NoValue(std::string_view key) {
    return ": the key " + Quoted(key) + " has no value";
  }

  std::string StillOpen(std::size_t position) const {
    return "the " + Quoted(text_.substr(position, 1)) + " at " + LineColumn(position) +
           " is not closed";
  }

  std::string LineColumn(std::size_t position) const {
    const LineAndColumn place = Locate(text_, position);
    return std::to_string(place.line) + ':' + std::to_string(place.column);
  }

  const std::string_view text_;
  const std::size_t stop_;
  std::size_t end_ = 0;  // of the last token
  std::vector<Open> open_;
  bool done_ = false;  // the outermost value is complete
};

}  // namespace detail

// `stop` is the position that the library gave: right behind a token that it could not take, or at
// a character or at the end, where it could not go on.
inline TextFault ExplainParseError(std::string_view text, std::size_t stop) {
  return detail::TextScanner(text, stop).Explain();
}

}  // namespace zelutils
