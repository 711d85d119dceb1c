#include "print.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace zelpos {
namespace {

using zelutils::Array;
using zelutils::BinData;
using zelutils::Dict;
using zelutils::String;
using zelutils::UnicodeString;
using zelutils::Value;

// What the text syntax takes at most.
constexpr std::size_t kLongestNumber = 100;
constexpr std::size_t kLongestString = 100;
constexpr std::size_t kLongestUnicode = 100;

constexpr std::size_t kLineWidth = 96;
constexpr std::size_t kBytesPerLine = 32;

std::string Digits(double number, std::chars_format format) {
  std::array<char, 512> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format).ptr;
  return {digits.data(), end};
}

// Without an exponent, which the text syntax does not have, where that is short enough for it.
std::string NumberAlone(double number) {
  std::string plain = Digits(number, std::chars_format::fixed);
  return plain.size() <= kLongestNumber ? plain : Digits(number, std::chars_format::scientific);
}

// The text syntax has no infinity and no NaN either.
std::string NumberInText(double number) {
  std::string digits = NumberAlone(number);
  const bool isText = std::isfinite(number) && digits.find('e') == digits.npos;
  return isText ? digits : "{number " + digits + '}';
}

bool IsBareWord(std::string_view text) {
  const auto isLetter = [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
  };
  return !text.empty() && text.size() <= kLongestString && isLetter(text.front()) &&
         std::all_of(text.begin(), text.end(),
                     [&](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

std::string StringInText(std::string_view text) {
  if (IsBareWord(text)) return std::string(text);
  std::string quoted;
  for (const char c : text) {
    if (c == ')' || c == '\\') quoted += '\\';
    quoted += c;
  }
  if (quoted.size() <= kLongestString) return '(' + quoted + ')';
  return "{string (" + quoted + ")}";
}

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

std::string UnicodeInText(std::span<const std::uint16_t> units) {
  std::string digits;
  for (const unsigned unit : units) {
    for (unsigned shift = 16; shift != 0;) digits += kHexDigits[unit >> (shift -= 4) & 0xF];
  }
  if (units.size() <= kLongestUnicode) return '`' + digits + '`';
  return "{Unicode string `" + digits + "`}";
}

std::string Hex(std::span<const std::byte> bytes) {
  std::string digits;
  for (const std::byte byte : bytes) {
    digits += kHexDigits[std::to_integer<unsigned>(byte) >> 4];
    digits += kHexDigits[std::to_integer<unsigned>(byte) & 0xF];
  }
  return digits;
}

std::string BytesCount(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string PrintBinData(const BinData& data) {
  const auto bytes = data.Bytes();
  std::string lines =
      "type: " + std::string(data.TypeName()) + "\nsize: " + BytesCount(bytes.size()) + '\n';
  for (std::size_t begin = 0; begin < bytes.size(); begin += kBytesPerLine) {
    lines += Hex(bytes.subspan(begin, std::min(kBytesPerLine, bytes.size() - begin))) + '\n';
  }
  return lines;
}

// A value that holds no others, as it stands inside of one that does.
std::string ScalarInText(const Value& value) {
  if (!value) return "{empty}";
  switch (value.Type()) {
    case POSTypeNumber:
      return NumberInText(value.As<double>());
    case POSTypeString:
      return StringInText(value.As<String>().Get());
    case POSTypeUnicodeString:
      return UnicodeInText(value.As<UnicodeString>().Get());
    case POSTypeBinData: {
      const BinData data = value.As<BinData>();
      return "{binary data " + StringInText(data.TypeName()) + ' ' +
             BytesCount(data.Bytes().size()) + '}';
    }
    default:
      return "{raw pointer}";
  }
}

// Writes arrays and dictionaries: on one line where they fit, else one member to a line.
class Writer {
 public:
  // Appends a value that begins at the end of `out`, in a line of the given indentation.
  void Append(const Value& value, std::size_t indentation) {
    const std::size_t begin = out.size();
    const std::size_t used = begin - (out.rfind('\n', begin) + 1);
    if (AppendOnLine(value, begin + (kLineWidth - std::min(kLineWidth, used)))) return;
    out.resize(begin);
    const bool isDict = value.Is<Dict>();
    if (!isDict && !value.Is<Array>()) {
      out += ScalarInText(value);
      return;
    }

    const std::size_t inner = indentation + 2;
    out += isDict ? '<' : '[';
    if (isDict) {
      for (const auto& [key, member] : value.As<Dict>()) {
        StartLine(inner);
        out += StringInText(key);
        out += ' ';
        Append(member, inner);
      }
    } else {
      for (const Value& member : value.As<Array>()) {
        StartLine(inner);
        Append(member, inner);
      }
    }
    StartLine(indentation);
    out += isDict ? '>' : ']';
  }

  std::string out;

 private:
  void StartLine(std::size_t indentation) {
    out += '\n';
    out.append(indentation, ' ');
  }

  // False, with a part appended, when the text would end beyond the limit.
  bool AppendOnLine(const Value& value, std::size_t limit) {
    if (value.Is<Dict>()) {
      const char* separator = "<";
      for (const auto& [key, member] : value.As<Dict>()) {
        out += separator;
        out += StringInText(key) + ' ';
        if (!AppendOnLine(member, limit)) return false;
        separator = " ";
      }
      out += *separator == '<' ? "<>" : ">";
    } else if (value.Is<Array>()) {
      const char* separator = "[";
      for (const Value& member : value.As<Array>()) {
        out += separator;
        if (!AppendOnLine(member, limit)) return false;
        separator = " ";
      }
      out += *separator == '[' ? "[]" : "]";
    } else {
      out += ScalarInText(value);
    }
    return out.size() <= limit;
  }
};

}  // namespace

std::string KindOf(const Value& value) {
  switch (value.Type()) {
    case POSTypeNumber:
      return "a number";
    case POSTypeString:
      return "a string";
    case POSTypeUnicodeString:
      return "a Unicode string";
    case POSTypeBinData:
      return "binary data";
    case POSTypeRawPointer:
      return "a raw pointer";
    case POSTypeArray:
      return "an array";
    case POSTypeDict:
      return "a dictionary";
  }
  return "nothing";
}

std::string Print(const Value& value) {
  switch (value.Type()) {
    case POSTypeNumber:
      return NumberAlone(value.As<double>()) + '\n';
    case POSTypeString:
      return value.As<std::string>() + '\n';
    case POSTypeUnicodeString:
      return value.As<UnicodeString>().ToUtf8() + '\n';
    case POSTypeBinData:
      return PrintBinData(value.As<BinData>());
    default: {
      Writer writer;
      writer.Append(value, 0);
      return writer.out + '\n';
    }
  }
}

}  // namespace zelpos
