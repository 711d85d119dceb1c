// The fault of a POS text that CreateFromText does not take. That tells only where it stopped;
// the rest is found in the text before that place, all of which is well-formed.
#pragma once

#include <zelutils/pos.h>

#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelutils/text_lexer.hpp"

namespace zelutils {

struct TextFinding {
  std::size_t position;  // in bytes from the start of the text: where to look
  std::string message;   // one line; may hold bytes of the text
};

// Goes through the tokens of a text as the library did, up to where it stopped.
class TextErrorFinder {
 public:
  // `stop` is the position that CreateFromText gave: right behind a token that it could not take,
  // or at a character or at the end, where it could not go on.
  TextErrorFinder(std::string_view text, std::size_t stop)
      : text_(text), lines_(text), stop_(std::min(stop, text.size())) {}

  TextFinding Explain() {
    if (std::optional<TextFinding> mark = ByteOrderMark()) return *mark;
    TextLexer lexer(text_);
    for (;;) {
      const TextToken token = lexer.Next();
      if (token.kind == Kind::kEnd || token.begin >= stop_) return ExplainStop();
      const bool reachesOver = !token.isWhole || token.end > stop_;
      if (reachesOver) return ExplainInside(token);
      // A token that the stop is right behind may be the one at fault; the others were taken.
      if (std::optional<TextFinding> fault = Take(lexer, token); fault && token.end == stop_) {
        return *fault;
      }
    }
  }

 private:
  using Kind = TextToken::Kind;

  // An array or dictionary that is not closed yet.
  struct Open {
    std::size_t position;
    std::optional<std::string_view> key{};  // of a dictionary, while it waits for the value
  };

  static bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

  static std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
      quoted += static_cast<unsigned char>(c) < ' ' || c == '\x7F' ? '?' : c;
    }
    return quoted + '"';
  }

  // The character at a position: itself where it can be shown, else the byte's value.
  std::string Character(std::size_t position) const {
    const auto byte = static_cast<unsigned char>(text_[position]);
    if (byte == '"') return "'\"'";
    if (byte > ' ' && byte < 0x7F) return Quoted(text_.substr(position, 1));
    std::size_t end = position + 1;
    while (end < text_.size() && IsContinuation(text_[end])) ++end;
    const std::size_t size = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC2 ? 2 : 0;
    const bool isControl = byte == 0xC2 && size == end - position &&
                           static_cast<unsigned char>(text_[position + 1]) < 0xA0;
    const bool isMark = text_.substr(position, 3) == "\xEF\xBB\xBF";
    if (isMark) return "byte order mark";
    if (byte < 0xF5 && size == end - position && !isControl) {
      return Quoted(text_.substr(position, size));
    }
    std::array<char, 16> hex;
    std::snprintf(hex.data(), hex.size(), "byte 0x%02X", byte);
    return hex.data();
  }

  std::optional<TextFinding> ByteOrderMark() const {
    if (text_.starts_with("\xEF\xBB\xBF")) {
      return TextFinding{0, "unexpected byte order mark; save the text as UTF-8 without one"};
    }
    if (text_.starts_with("\xFF\xFE") || text_.starts_with("\xFE\xFF")) {
      return TextFinding{0, "unexpected byte order mark; the text is in UTF-16, save it as UTF-8"};
    }
    return {};
  }

  // Advice for those who know another notation.
  static std::string Hint(char c) {
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

  bool InDict() const { return !open_.empty() && text_[open_.back().position] == '<'; }
  bool AtKey() const { return InDict() && !open_.back().key; }

  // Accounts for a token, and says what is wrong with it, if anything.
  std::optional<TextFinding> Take(const TextLexer& lexer, const TextToken& token) {
    if (token.IsOpening()) {
      open_.push_back({token.begin});
      return {};
    }
    if (token.IsClosing()) return TakeClosing(token);
    return TakeScalar(token, lexer.RawContent(token));
  }

  std::optional<TextFinding> TakeClosing(const TextToken& token) {
    const std::string unexpected = "unexpected " + Quoted(text_.substr(token.begin, 1));
    if (open_.empty()) {
      return TextFinding{token.begin,
                         unexpected + (done_ ? " after the value" : ": nothing is open")};
    }
    const Open inner = open_.back();
    if (inner.key) return TextFinding{token.begin, unexpected + NoValue(*inner.key)};
    const bool closesArray = token.kind == Kind::kCloseArray;
    if (closesArray != (text_[inner.position] == '[')) {
      return TextFinding{token.begin, unexpected + ": " + StillOpen(inner.position)};
    }
    open_.pop_back();
    return TakeValue(inner.position, closesArray ? "an array" : "a dictionary", {});
  }

  std::optional<TextFinding> TakeScalar(const TextToken& token, std::string_view content) {
    const bool isUnicode = token.kind == Kind::kUnicode;
    const std::size_t longest = isUnicode          ? kLongestTextUnicode
                                : token.IsString() ? kLongestTextString
                                                   : kLongestTextNumber;
    const char* const kind = isUnicode ? "Unicode string" : token.IsString() ? "string" : "number";
    if (content.size() > longest) {
      std::string message = std::string(kind) + " too long: " + std::to_string(content.size()) +
                            " characters, where " + std::to_string(longest) + " are allowed";
      // Then its end was probably meant to be elsewhere.
      if (content.find('\n') != content.npos) {
        message += "; it ends at " + lines_.Locate(token.end - 1).ToString();
      }
      return TextFinding{token.begin, message};
    }
    return TakeValue(token.begin, std::string("a ") + kind,
                     token.IsString() ? std::optional(content) : std::nullopt);
  }

  // Puts a value where it stands: a key must be a string.
  std::optional<TextFinding> TakeValue(std::size_t begin, const std::string& kind,
                                       std::optional<std::string_view> string) {
    if (AtKey()) {
      if (!string) return TextFinding{begin, "expected a key, which is a string, found " + kind};
      open_.back().key = string;
    } else if (InDict()) {
      open_.back().key.reset();
    } else if (open_.empty()) {
      done_ = true;
    }
    return {};
  }

  // The library stopped at a character that begins no token, or not one that may stand here.
  TextFinding ExplainStop() const {
    if (stop_ == text_.size()) return EndOfText();
    const char c = text_[stop_];
    const std::string unexpected = "unexpected " + Character(stop_);
    if (open_.empty() && done_) return {stop_, unexpected + " after the value" + Hint(c)};
    if ((c == '[' || c == '<') && open_.size() >= POS_NESTING_LIMIT) {
      return {stop_,
              "nested too deeply: " + std::to_string(POS_NESTING_LIMIT) + " levels are allowed"};
    }
    return {stop_, unexpected + Hint(c)};
  }

  // The library stopped inside of a token: a string that does not end, or a bad digit.
  TextFinding ExplainInside(const TextToken& token) const {
    if (stop_ == text_.size()) return EndOfText(token.begin);
    constexpr const char* kGroups = "; a Unicode string holds groups of four hexadecimal digits";
    const std::string unexpected = "unexpected " + Character(stop_);
    return {stop_, (text_[stop_] == '`' ? "unexpected end of the Unicode string" : unexpected) +
                       std::string(kGroups)};
  }

  // Shown behind the last character that is no blank.
  TextFinding EndOfText(std::optional<std::size_t> openToken = {}) const {
    const std::size_t end = text_.find_last_not_of(" \t\r\n") + 1;
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
    return "the " + Quoted(text_.substr(position, 1)) + " at " +
           lines_.Locate(position).ToString() + " is not closed";
  }

  const std::string_view text_;
  const TextLines lines_;
  const std::size_t stop_;
  std::vector<Open> open_;
  bool done_ = false;  // the outermost value is complete
};

inline TextFinding ExplainTextError(std::string_view text, std::size_t stop) {
  return TextErrorFinder(text, stop).Explain();
}

}  // namespace zelutils
