#include "json_writer.h"

#include <array>
#include <charconv>
#include <cmath>

#include "printable.h"

namespace zelpos {
namespace {

constexpr std::size_t kPart = std::size_t{1} << 16;
constexpr std::string_view kHexDigits = "0123456789ABCDEF";

std::string Hex(std::string_view bytes) {
  std::string digits;
  digits.reserve(2 * bytes.size());
  for (const char c : bytes) {
    digits += kHexDigits[static_cast<unsigned char>(c) >> 4];
    digits += kHexDigits[static_cast<unsigned char>(c) & 0xF];
  }
  return digits;
}

void AppendEscape(std::string& out, unsigned unit) {
  out += "\\u";
  for (unsigned shift = 16; shift != 0;) out += kHexDigits[unit >> (shift -= 4) & 0xF];
}

// Empty where the units are not well-formed.
std::string Utf8(std::span<const std::uint16_t> units) {
  std::string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t c = units[i];
    if (c >= 0xD800 && c < 0xE000) {
      const std::uint32_t next = i + 1 < units.size() ? units[i + 1] : 0;
      if (c >= 0xDC00 || next < 0xDC00 || next >= 0xE000) return {};
      c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
      ++i;
    }
    const auto add = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (c < 0x80) {
      add(c);
    } else if (c < 0x800) {
      add(0xC0 | c >> 6);
      add(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      add(0xE0 | c >> 12);
      add(0x80 | (c >> 6 & 0x3F));
      add(0x80 | (c & 0x3F));
    } else {
      add(0xF0 | c >> 18);
      add(0x80 | (c >> 12 & 0x3F));
      add(0x80 | (c >> 6 & 0x3F));
      add(0x80 | (c & 0x3F));
    }
  }
  return text;
}

std::string Special(std::string_view name, const std::string& content) {
  return "{\"$" + std::string(name) + "\": " + content + '}';
}

std::string UnicodeForm(std::span<const std::uint16_t> units) {
  const std::string text = Utf8(units);
  if (!text.empty() || units.empty()) return Special(kJsonUnicode, JsonString(text));
  std::string list;
  for (const std::uint16_t unit : units) {
    list += (list.empty() ? "" : ", ") + std::to_string(unit);
  }
  return Special(kJsonUnicode, '[' + list + ']');
}

std::string NumberForm(double number) {
  if (std::isnan(number)) return Special(kJsonNumber, "\"nan\"");
  if (std::isinf(number)) return Special(kJsonNumber, number < 0 ? "\"-inf\"" : "\"inf\"");
  std::array<char, 64> digits;
  char* const last = digits.data() + digits.size();
  if (number == 0) return std::signbit(number) ? "-0.0" : "0";
  const bool isPlain = number == std::trunc(number) && std::fabs(number) < 1e21;
  const auto format = isPlain ? std::chars_format::fixed : std::chars_format::general;
  return {digits.data(), std::to_chars(digits.data(), last, number, format).ptr};
}

std::string KeyForm(std::string_view key) {
  if (!IsUtf8(key)) return JsonString("$" + std::string(kJsonBytes) + ':' + Hex(key));
  return JsonString(IsReservedJsonKey(key) ? '$' + std::string(key) : std::string(key));
}

}  // namespace

bool IsReservedJsonKey(std::string_view key) {
  if (!key.starts_with('$')) return false;
  key.remove_prefix(std::min(key.find_first_not_of('$'), key.size()));
  return key == kJsonUnicode || key == kJsonBytes || key == kJsonBinary || key == kJsonNumber ||
         (key.starts_with(kJsonBytes) && key.substr(kJsonBytes.size()).starts_with(':'));
}

std::string JsonString(std::string_view text) {
  std::string quoted = "\"";
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    text.remove_prefix(character.size());
    const char c = character.front();
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += c;
    } else if (c == '\n') {
      quoted += "\\n";
    } else if (c == '\t') {
      quoted += "\\t";
    } else if (c == '\r') {
      quoted += "\\r";
    } else if (character.size() == 1 && static_cast<unsigned char>(c) < 0x80) {
      if (c < ' ' || c == '\x7F') {
        AppendEscape(quoted, static_cast<unsigned char>(c));
      } else {
        quoted += c;
      }
    } else if (length == 0) {
      quoted += "\\ufffd";
    } else if (Printable(character) == character) {
      quoted += character;
    } else {
      const std::uint32_t codePoint = DecodeCharacter(character);
      if (codePoint >= 0x10000) AppendEscape(quoted, 0xD800 + ((codePoint - 0x10000) >> 10));
      AppendEscape(quoted, codePoint >= 0x10000 ? 0xDC00 + (codePoint & 0x3FF) : codePoint);
    }
  }
  return quoted + '"';
}

void JsonWriter::Write(Handle value) {
  Append(value, 0);
  out_ += '\n';
  take_(out_);
  out_.clear();
}

void JsonWriter::Append(Handle value, std::size_t indentation) {
  if (out_.size() >= kPart) {
    take_(out_);
    out_.clear();
  }
  if (!values_.IsComposite(value)) return AppendScalar(value);
  const std::size_t inner = indentation + 2;
  bool isFirst = true;
  const auto separate = [&] {
    if (!isFirst) out_ += ',';
    isFirst = false;
    StartLine(inner);
  };
  const bool isDict = values_.Type(value) == POSTypeDict;
  out_ += isDict ? '{' : '[';
  if (isDict) {
    values_.ForEachMember(value, [&](const char* key, Handle member) {
      separate();
      options_.style.Append(out_, Ink::kKey, KeyForm(key));
      out_ += options_.compact ? ":" : ": ";
      try {
        Append(member, inner);
      } catch (Unsayable& unsayable) {
        unsayable.reversedPath.emplace_back(std::string(key));
        throw;
      }
      return true;
    });
  } else {
    const std::uint32_t count = values_.ElementCount(value);
    for (std::uint32_t i = 0; i < count; ++i) {
      separate();
      try {
        Append(values_.Element(value, i), inner);
      } catch (Unsayable& unsayable) {
        unsayable.reversedPath.emplace_back(i);
        throw;
      }
    }
  }
  if (!isFirst) StartLine(indentation);
  out_ += isDict ? '}' : ']';
}

void JsonWriter::AppendScalar(Handle value) {
  const int type = values_.Type(value);
  const Style& style = options_.style;
  switch (type) {
    case POSTypeNumber:
      return style.Append(out_, Ink::kNumber, NumberForm(values_.Number(value)));
    case POSTypeString: {
      const std::string_view bytes = values_.String(value);
      return style.Append(
          out_, Ink::kString,
          IsUtf8(bytes) ? JsonString(bytes) : Special(kJsonBytes, JsonString(Hex(bytes))));
    }
    case POSTypeUnicodeString:
      return style.Append(out_, Ink::kString, UnicodeForm(values_.Units(value)));
    case POSTypeBinData: {
      // The type name is a string as any other.
      const std::string_view name = values_.BinaryType(value);
      const std::string shown =
          IsUtf8(name) ? JsonString(name) : Special(kJsonBytes, JsonString(Hex(name)));
      return style.Append(
          out_, Ink::kOther,
          Special(kJsonBinary, '[' + shown + ", \"" + Hex(values_.Bytes(value)) + "\"]"));
    }
    default:
      throw Unsayable(std::string("a value of kind ") + KindName(type));
  }
}

void JsonWriter::StartLine(std::size_t indentation) {
  if (options_.compact) return;
  out_ += '\n';
  out_.append(indentation, ' ');
}

}  // namespace zelpos
