#include "parse_error.h"

#include <zelutils/pos.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <vector>

namespace zelpos {
namespace {

constexpr std::size_t kLongestWord = 100;
constexpr std::size_t kLongestUnicode = 401;
constexpr std::string_view kWhitespace = " \t\r\n";
constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
constexpr std::string_view kWordCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";
constexpr std::string_view kNumberCharacters = "0123456789.";

// The part of a line that is shown around a position in a long one.
constexpr std::size_t kShownBefore = 70;
constexpr std::size_t kShownAfter = 50;

bool BeginsWord(char c) { return kLetters.find(c) != std::string_view::npos; }

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

bool IsControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }

std::string Quoted(std::string_view text) {
  std::string quoted(text);
  quoted.insert(0, 1, '"').push_back('"');
  std::replace_if(quoted.begin(), quoted.end(), IsControl, '?');
  return quoted;
}

// The character at a position: itself where it can be shown, else the byte's value.
std::string Character(std::string_view text, std::size_t position) {
  const auto byte = static_cast<unsigned char>(text[position]);
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

// What somebody who knows another notation may not know about this one.
std::string Hint(char c) {
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

struct LineAndColumn {
  std::size_t lineStart;
  std::size_t line;
  std::size_t column;
};

LineAndColumn Locate(std::string_view text, std::size_t position) {
  const std::string_view before = text.substr(0, position);
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 when there is none
  const auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  return {lineStart, lines + 1, position - lineStart + 1};
}

// Goes through the tokens of a text as the library did, up to where it stopped.
class Scanner {
 public:
  Scanner(std::string_view text, std::size_t stop)
      : text_(text), stop_(std::min(stop, text.size())) {}

  Finding Explain() {
    for (;;) {
      const std::size_t begin = text_.find_first_not_of(kWhitespace, end_);
      if (begin == text_.npos || begin >= stop_) return ExplainStop();
      end_ = TokenEnd(begin);
      if (end_ > stop_) return ExplainInside(begin);
      // A token that the stop is right behind may be the one at fault; the others were taken.
      if (std::optional<Finding> fault = Take(begin); fault && end_ == stop_) return *fault;
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
  std::optional<Finding> Take(std::size_t begin) {
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

  std::optional<Finding> TakeClosing(std::size_t begin) {
    const char closing = At(begin);
    const std::string unexpected = "unexpected " + Quoted(text_.substr(begin, 1));
    if (open_.empty()) {
      return Finding{begin, unexpected + (done_ ? " after the value" : ": nothing is open")};
    }
    const Open inner = open_.back();
    if (inner.key) return Finding{begin, unexpected + NoValue(*inner.key)};
    if ((closing == ']') != (At(inner.position) == '[')) {
      return Finding{begin, unexpected + ": " + StillOpen(inner.position)};
    }
    open_.pop_back();
    return TakeValue(inner.position, closing == ']' ? "an array" : "a dictionary", {});
  }

  std::optional<Finding> TakeScalar(std::size_t begin, std::string_view content) {
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
      return Finding{begin, message};
    }
    return TakeValue(begin, std::string("a ") + kind,
                     isString ? std::optional(content) : std::nullopt);
  }

  // Puts a value where it stands: a key must be a string.
  std::optional<Finding> TakeValue(std::size_t begin, const std::string& kind,
                                   std::optional<std::string_view> string) {
    if (AtKey()) {
      if (!string) return Finding{begin, "expected a key, which is a string, found " + kind};
      open_.back().key = string;
    } else if (InDict()) {
      open_.back().key.reset();
    } else if (open_.empty()) {
      done_ = true;
    }
    return {};
  }

  // The library stopped at a character that begins no token, or not one that may stand here.
  Finding ExplainStop() const {
    if (stop_ == text_.size()) return EndOfText();
    const char c = At(stop_);
    const std::string unexpected = "unexpected " + Character(text_, stop_);
    if (open_.empty() && done_) return {stop_, unexpected + " after the value" + Hint(c)};
    if ((c == '[' || c == '<') && open_.size() >= POS_NESTING_LIMIT) {
      return {stop_,
              "nested too deeply: " + std::to_string(POS_NESTING_LIMIT) + " levels are allowed"};
    }
    return {stop_, unexpected + Hint(c)};
  }

  // The library stopped inside of a token: a string that does not end, or a bad digit.
  Finding ExplainInside(std::size_t begin) const {
    if (stop_ == text_.size()) return EndOfText(begin);
    constexpr const char* kGroups = "; a Unicode string holds groups of four hexadecimal digits";
    const std::string unexpected = "unexpected " + Character(text_, stop_);
    return {stop_, (At(stop_) == '`' ? "unexpected end of the Unicode string" : unexpected) +
                       std::string(kGroups)};
  }

  // Shown behind the last character that is no blank.
  Finding EndOfText(std::optional<std::size_t> openToken = {}) const {
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

}  // namespace

Finding ExplainParseError(std::string_view text, std::size_t stop) {
  return Scanner(text, stop).Explain();
}

std::string ShowPosition(const std::string& name, std::string_view text, const Finding& finding) {
  const LineAndColumn place = Locate(text, finding.position);
  std::string_view line = text.substr(place.lineStart);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);

  std::size_t caret = std::min(place.column - 1, line.size());
  std::string shown;
  std::size_t begin = caret > kShownBefore ? caret - kShownBefore : 0;
  while (begin > 0 && begin < caret && IsContinuation(line[begin])) ++begin;
  std::size_t end = std::min(line.size(), caret + kShownAfter);
  while (end < line.size() && IsContinuation(line[end])) ++end;
  const bool cutBefore = begin > 0;
  const bool cutAfter = end < line.size();
  line = line.substr(begin, end - begin);
  caret -= begin;

  std::string below;
  if (cutBefore) {
    shown = "...";
    below = "   ";
  }
  for (std::size_t i = 0; i < line.size(); ++i) {
    shown += IsControl(line[i]) && line[i] != '\t' ? '?' : line[i];
    if (i < caret && !IsContinuation(line[i])) below += line[i] == '\t' ? '\t' : ' ';
  }
  if (cutAfter) shown += "...";
  return name + ':' + std::to_string(place.line) + ':' + std::to_string(place.column) + ": " +
         finding.message + "\n  " + shown + "\n  " + below + '^';
}

}  // namespace zelpos
