#include "text_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>
#include <zelutils/text_lexer.hpp>

namespace zelpos {
namespace {

constexpr std::size_t kLineWidth = 96;
constexpr std::size_t kNoLimit = static_cast<std::size_t>(-1);
constexpr std::size_t kPart = std::size_t{1} << 16;

using Form = TextForm;

std::string Digits(double number, std::chars_format format) {
  std::array<char, 512> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format).ptr;
  return {digits.data(), end};
}

// The syntax has no exponents, no infinity and no NaN.
Form NumberForm(double number) {
  std::string plain = Digits(number, std::chars_format::fixed);
  if (std::isfinite(number) && plain.size() <= zelutils::kLongestTextNumber)
    return {Ink::kNumber, plain};
  const std::string short_ = Digits(number, std::chars_format::general);
  return {Ink::kNumber, "{number " + short_ + '}', "the number " + short_};
}

Form StringForm(std::string_view bytes) {
  std::string quoted = QuotedText(bytes);
  const std::size_t length = quoted.size() - (quoted.starts_with('(') ? 2 : 0);
  if (length <= zelutils::kLongestTextString) return {Ink::kString, std::move(quoted)};
  return {Ink::kString, "{string " + quoted + '}', "a string of " + Counted(bytes.size(), "byte")};
}

Form UnicodeForm(std::span<const std::uint16_t> units) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string digits = "`";
  for (const unsigned unit : units) {
    for (unsigned shift = 16; shift != 0;) digits += kHexDigits[unit >> (shift -= 4) & 0xF];
  }
  digits += '`';
  if (4 * units.size() <= zelutils::kLongestTextUnicode) return {Ink::kString, std::move(digits)};
  return {Ink::kString, "{Unicode string " + digits + '}',
          "a Unicode string of " + Counted(units.size(), "unit")};
}

Form FormOf(const Values& values, Handle value) {
  const int type = values.Type(value);
  switch (type) {
    case POSTypeNumber:
      return NumberForm(values.Number(value));
    case POSTypeString:
      return StringForm(values.String(value));
    case POSTypeUnicodeString:
      return UnicodeForm(values.Units(value));
    case POSTypeBinData: {
      const std::string size = Counted(values.Bytes(value).size(), "byte");
      return {Ink::kOther,
              "{binary data " + QuotedText(values.BinaryType(value)) + ' ' + size + '}',
              "binary data"};
    }
    default:
      return {Ink::kOther, std::string("{") + KindName(type) + '}',
              std::string("a value of kind ") + KindName(type)};
  }
}

}  // namespace

std::string QuotedText(std::string_view bytes) {
  if (zelutils::TextLexer::IsWord(bytes) && bytes.size() <= zelutils::kLongestTextString) {
    return std::string(bytes);
  }
  std::string quoted = "(";
  for (const char c : bytes) {
    if (c == ')' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + ')';
}

void TextWriter::Write(Handle value) {
  if (options_.compact) {
    AppendOnLine(value, kNoLimit);
  } else {
    Append(value, 0, 0);
  }
  out_ += '\n';
  take_(out_);
  out_.clear();
}

// Appends a value that begins at a column of a line of some indentation.
void TextWriter::Append(Handle value, std::size_t indentation, std::size_t column) {
  HandOver();
  const std::size_t limit = out_.size() + kLineWidth - std::min(kLineWidth, column);
  if (!values_.IsComposite(value) || FitsLine(value, limit)) {
    AppendOnLine(value, kNoLimit);
    return;
  }
  const bool isDict = values_.Type(value) == POSTypeDict;
  const std::size_t inner = indentation + 2;
  out_ += isDict ? '<' : '[';
  bool isEmpty = true;
  ForEach(value, [&](const char* key, Handle member) {
    isEmpty = false;
    StartLine(inner);
    const std::size_t keyWidth = key == nullptr ? 0 : AppendKey(key);
    Append(member, inner, inner + keyWidth);
    return true;
  });
  if (!isEmpty) StartLine(indentation);
  out_ += isDict ? '>' : ']';
}

// Tried without colours, which take no room.
bool TextWriter::FitsLine(Handle value, std::size_t limit) {
  const std::size_t begin = out_.size();
  const std::size_t unsaid = unsaid_;
  const Style style = std::exchange(options_.style, {});
  const bool fits = AppendOnLine(value, limit);
  options_.style = style;
  out_.resize(begin);
  unsaid_ = unsaid;
  return fits;
}

// False, with a part appended, when the text would end beyond the limit.
bool TextWriter::AppendOnLine(Handle value, std::size_t limit) {
  if (limit == kNoLimit) HandOver();
  if (!values_.IsComposite(value)) {
    AppendScalar(value);
    return out_.size() <= limit;
  }
  const bool isDict = values_.Type(value) == POSTypeDict;
  bool isFirst = true;
  out_ += isDict ? '<' : '[';
  const bool fits = ForEach(value, [&](const char* key, Handle member) {
    if (!std::exchange(isFirst, false)) out_ += ' ';
    if (key != nullptr) AppendKey(key);
    return AppendOnLine(member, limit);
  });
  out_ += isDict ? '>' : ']';
  return fits && out_.size() <= limit;
}

// Calls `visit` with each member of an array or dictionary, and its key if it has one, until it
// returns false. A value that cannot be said learns the path to it on its way out.
template <typename Visit>
bool TextWriter::ForEach(Handle value, Visit visit) {
  if (values_.Type(value) == POSTypeDict) {
    return values_.ForEachMember(value, [&](const char* key, Handle member) {
      try {
        return visit(key, member);
      } catch (Unsayable& unsayable) {
        unsayable.reversedPath.emplace_back(std::string(key));
        throw;
      }
    });
  }
  const std::uint32_t count = values_.ElementCount(value);
  std::uint32_t i = 0;
  try {
    while (i < count && visit(nullptr, values_.Element(value, i))) ++i;
  } catch (Unsayable& unsayable) {
    unsayable.reversedPath.emplace_back(i);
    throw;
  }
  return i == count;
}

// Appends a key and a blank, and returns how many columns they take.
std::size_t TextWriter::AppendKey(std::string_view key) {
  Form form = StringForm(key);
  form.ink = Ink::kKey;
  if (!form.obstacle.empty()) form.obstacle.replace(0, 8, "a key");  // for "a string"
  AppendForm(form);
  out_ += ' ';
  return form.text.size() + 1;
}

void TextWriter::AppendScalar(Handle value) { AppendForm(FormOf(values_, value)); }

void TextWriter::AppendForm(const Form& form) {
  const bool isText = form.obstacle.empty();
  if (!isText) {
    if (options_.strict) throw Unsayable(form.obstacle);
    ++unsaid_;
  }
  options_.style.Append(out_, isText ? form.ink : Ink::kOther, form.text);
}

void TextWriter::StartLine(std::size_t indentation) {
  out_ += '\n';
  out_.append(indentation, ' ');
}

// Hands over what is complete once there is enough of it.
void TextWriter::HandOver() {
  if (out_.size() < kPart) return;
  take_(out_);
  out_.clear();
}

std::string OneLine(const Values& values, Handle value, const Style& style) {
  std::string line;
  TextWriter(values, {true, false, style}, [&](std::string_view part) {
    line += part;
  }).Write(value);
  line.pop_back();
  return line;
}

}  // namespace zelpos
