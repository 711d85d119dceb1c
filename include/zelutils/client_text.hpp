// Values as texts: in the text syntax, and as JSON. Programs include zelutils/client.hpp.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "zelutils/client_convert.hpp"
#include "zelutils/text_lexer.hpp"

namespace zelutils::detail {

inline std::string DigitsOf(double number, std::chars_format format) {
  std::array<char, 512> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format).ptr;
  return {digits.data(), end};
}

inline void AppendHex(std::string& out, unsigned unit) {
  std::array<char, 8> digits;
  std::snprintf(digits.data(), digits.size(), "%04X", unit);
  out += digits.data();
}

// The text syntax. A value that it cannot say is an error, or stands in braces for people to read.
struct TextSyntax {
  static constexpr std::string_view kArray = "[]";
  static constexpr std::string_view kDict = "<>";
  static constexpr std::string_view kAfterKey = " ";
  static constexpr std::string_view kSeparator = "";

  bool strict;

  void Unsayable(std::string& out, const std::string& thing, const std::string& shown) const {
    if (strict) throw Error("the text syntax cannot say " + thing);
    out += '{' + shown + '}';
  }

  void AppendNumber(std::string& out, double number) const {
    if (std::isfinite(number)) {
      const std::string plain = DigitsOf(number, std::chars_format::fixed);
      if (plain.size() <= kLongestTextNumber) {
        out += plain;
        return;
      }
    }
    const std::string shown = "number " + DigitsOf(number, std::chars_format::general);
    Unsayable(out, "the " + shown, shown);
  }

  void AppendString(std::string& out, std::string_view text) const {
    const bool isWord = text.size() <= kLongestTextString && TextLexer::IsWord(text);
    if (isWord) {
      out += text;
      return;
    }
    std::string quoted = "(";
    for (const char c : text) {
      if (c == ')' || c == '\\') quoted += '\\';
      quoted += c;
    }
    quoted += ')';
    if (quoted.size() - 2 <= kLongestTextString) {
      out += quoted;
    } else {
      Unsayable(out, "a string of more than " + std::to_string(kLongestTextString) + " characters",
                "string " + quoted);
    }
  }
  void AppendKey(std::string& out, std::string_view key) const { AppendString(out, key); }

  void AppendUnits(std::string& out, std::u16string_view units) const {
    std::string digits = "`";
    for (const char16_t unit : units) AppendHex(digits, unit);
    digits += '`';
    if (digits.size() - 2 <= kLongestTextUnicode) {
      out += digits;
    } else {
      Unsayable(
          out,
          "a Unicode string of more than " + std::to_string(kLongestTextUnicode / 4) + " units",
          "Unicode string " + digits);
    }
  }

  void AppendOther(std::string& out, const Value& value) const {
    if (!value) return Unsayable(out, "an empty slot", "empty");
    if (!value.Is<BinData>()) {
      const std::string one = KindName(value.Type());
      return Unsayable(out, one, one.substr(one.find(' ') + 1));
    }
    const BinData data = value.As<BinData>();
    const std::size_t size = data.Bytes().size();
    std::string shown = "binary data ";
    TextSyntax{false}.AppendString(shown, data.TypeName());
    shown += ' ' + std::to_string(size) + (size == 1 ? " byte" : " bytes");
    Unsayable(out, "binary data", shown);
  }
};

struct Json {
  static constexpr std::string_view kArray = "[]";
  static constexpr std::string_view kDict = "{}";
  static constexpr std::string_view kAfterKey = ": ";
  static constexpr std::string_view kSeparator = ",";
  static constexpr bool strict = true;

  void AppendNumber(std::string& out, double number) const {
    if (!std::isfinite(number)) {
      throw Error("JSON cannot say the number " + DigitsOf(number, std::chars_format::general));
    }
    const bool isPlain = std::fabs(number) < 1e21 && number == std::floor(number);
    std::array<char, 512> digits;
    char* const last = digits.data() + digits.size();
    out.append(digits.data(),
               isPlain ? std::to_chars(digits.data(), last, number, std::chars_format::fixed).ptr
                       : std::to_chars(digits.data(), last, number).ptr);
  }

  static void AppendCharacter(std::string& out, char32_t codePoint) {
    constexpr std::string_view kShort = "\"\"\\\\\bb\ff\nn\rr\tt";
    for (std::size_t i = 0; i < kShort.size(); i += 2) {
      if (codePoint != static_cast<unsigned char>(kShort[i])) continue;
      out += '\\';
      out += kShort[i + 1];
      return;
    }
    if (codePoint < 0x20 || IsHighSurrogate(codePoint) || IsLowSurrogate(codePoint)) {
      out += "\\u";
      AppendHex(out, static_cast<unsigned>(codePoint));
    } else {
      AppendUtf8(out, codePoint);
    }
  }

  void AppendString(std::string& out, std::string_view text) const {
    out += '"';
    for (std::size_t position = 0; position < text.size();) {
      char32_t codePoint = 0;
      const std::size_t size = DecodeUtf8(text, position, codePoint);
      if (size == 0) {
        throw Error("JSON cannot say a string that is no UTF-8 at byte " +
                    std::to_string(position));
      }
      AppendCharacter(out, codePoint);
      position += size;
    }
    out += '"';
  }
  void AppendKey(std::string& out, std::string_view key) const { AppendString(out, key); }

  void AppendUnits(std::string& out, std::u16string_view units) const {
    out += '"';
    for (std::size_t position = 0; position < units.size();) {
      AppendCharacter(out, NextCodePoint(units, position));
    }
    out += '"';
  }

  void AppendOther(std::string& out, const Value& value) const {
    if (value) throw Error(std::string("JSON cannot say ") + KindName(value.Type()));
    out += "null";
  }
};

// Writes arrays and dictionaries: on one line where they fit or must, else one member to a line.
template <typename Syntax>
class ValueWriter {
 public:
  // No indentation: all on one line.
  ValueWriter(Syntax syntax, std::size_t indentation)
      : syntax_(syntax), indentation_(indentation) {}

  std::string Write(const Value& value) {
    if (indentation_ == 0) {
      AppendOnLine(value, std::string::npos, 0);
    } else {
      Append(value, 0);
    }
    return std::move(out_);
  }

 private:
  static constexpr std::size_t kLineWidth = 96;

  // Appends a value that begins at the end of the text.
  void Append(const Value& value, std::size_t level) {
    const std::size_t begin = out_.size();
    const std::size_t used = begin - (out_.rfind('\n', begin) + 1);
    if (AppendOnLine(value, begin + (kLineWidth - std::min(kLineWidth, used)), level)) return;
    if (!value.Is<Array>() && !value.Is<Dict>()) return;
    out_.resize(begin);
    Members(value, level, [&](const Value& member, bool isFirst, const std::string* key) {
      if (!isFirst) out_ += Syntax::kSeparator;
      StartLine(level + 1);
      AppendKey(key);
      Append(member, level + 1);
      return true;
    });
    const std::string_view brackets = value.Is<Dict>() ? Syntax::kDict : Syntax::kArray;
    StartLine(level);
    out_ += brackets[1];
  }

  // False, with a part appended, when the text would end beyond the limit.
  bool AppendOnLine(const Value& value, std::size_t limit, std::size_t level) {
    if (!value) {
      syntax_.AppendOther(out_, value);
      return out_.size() <= limit;
    }
    switch (value.Type()) {
      case POSTypeNumber:
        syntax_.AppendNumber(out_, value.As<double>());
        break;
      case POSTypeString:
        syntax_.AppendString(out_, value.As<String>().Get());
        break;
      case POSTypeUnicodeString:
        syntax_.AppendUnits(out_, value.As<std::u16string>());
        break;
      case POSTypeArray:
      case POSTypeDict: {
        const bool isDict = value.Is<Dict>();
        const bool fits =
            Members(value, level, [&](const Value& member, bool isFirst, const std::string* key) {
              if (!isFirst) (out_ += Syntax::kSeparator) += ' ';
              AppendKey(key);
              return AppendOnLine(member, limit, level + 1);
            });
        if (!fits) return false;
        out_ += (isDict ? Syntax::kDict : Syntax::kArray)[1];
        break;
      }
      default:
        syntax_.AppendOther(out_, value);
    }
    return out_.size() <= limit;
  }

  void AppendKey(const std::string* key) {
    if (key == nullptr) return;
    syntax_.AppendKey(out_, *key);
    out_ += Syntax::kAfterKey;
  }

  // Opens an array or dictionary and visits its members until one says false; says so as well.
  // Errors tell where.
  template <typename Visit>
  bool Members(const Value& value, std::size_t level, Visit visit) {
    if (level == POS_NESTING_LIMIT) {
      if (syntax_.strict) throw Error("nesting too deep");
      out_ += "{...";
      return false;  // what holds itself twice would have no end
    }
    if (value.Is<Dict>()) {
      out_ += Syntax::kDict[0];
      bool isFirst = true;
      for (const Dict::Entry& entry : value.As<Dict>()) {
        const auto append = [&] { return visit(entry.second, isFirst, &entry.first); };
        if (!Visited(entry.first, append)) return false;
        isFirst = false;
      }
      return true;
    }
    out_ += Syntax::kArray[0];
    const Array array = value.As<Array>();
    for (std::uint32_t i = 0; i < array.Count(); ++i) {
      const auto step = [i] { return '[' + std::to_string(i) + ']'; };
      if (!Visited(step, [&] { return visit(array.GetAt(i), i == 0, nullptr); })) return false;
    }
    return true;
  }
  template <typename Step, typename Action>
  static bool Visited(const Step& step, Action action) {
    try {
      return action();
    } catch (Error& error) {
      if constexpr (std::is_invocable_v<const Step&>) {
        error.PutUnder(step());
      } else {
        error.PutUnder(step);
      }
      throw;
    }
  }

  void StartLine(std::size_t level) {
    out_ += '\n';
    out_.append(level * indentation_, ' ');
  }

  Syntax syntax_;
  std::size_t indentation_;
  std::string out_;
};

}  // namespace zelutils::detail

namespace zelutils {

inline std::string Value::ToText(std::size_t indentation) const {
  return detail::ValueWriter(detail::TextSyntax{true}, indentation).Write(*this);
}

inline std::string Value::ToJson(std::size_t indentation) const {
  return detail::ValueWriter(detail::Json{}, indentation).Write(*this);
}

inline std::ostream& operator<<(std::ostream& stream, const Value& value) {
  return stream << detail::ValueWriter(detail::TextSyntax{false}, 0).Write(value);
}

}  // namespace zelutils
