#include "words.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "layer.h"

namespace zelcheck {
namespace {

// A formatted number; `format` is for one value of the type.
template <typename T>
std::string Formatted(const char* format, T value) {
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, value);
  return buffer.data();
}

std::string Handle(const char* noun, const Argument& value) {
  return std::string(noun) + (value.bits == 0 ? " null" : " " + Hex(value.bits));
}

std::string UnitsInWords(const std::uint16_t* units) {
  if (units == nullptr) return "null";
  std::string text = "u\"";
  for (std::size_t i = 0; units[i] != 0; ++i) {
    if (i == 20) return text + "...\"";
    text += units[i] < 0x80 && units[i] >= ' ' ? std::string(1, static_cast<char>(units[i]))
                                               : Formatted("\\u%04x", unsigned{units[i]});
  }
  return text + "\"";
}

}  // namespace

std::string Hex(std::uint64_t number) {
  return Formatted("0x%llx", static_cast<unsigned long long>(number));
}

std::string RealInWords(double number) {
  std::array<char, 32> buffer{};
  const std::to_chars_result end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  return std::string(buffer.data(), end.ptr);
}

std::string Quoted(const char* text, std::size_t room) {
  if (text == nullptr) return "null";
  std::string quoted = "\"";
  for (std::size_t i = 0; text[i] != '\0'; ++i) {
    if (i == room) return quoted + "...\"";
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte == '"' || byte == '\\') quoted += '\\';
    quoted +=
        byte >= ' ' && byte < 0x7f ? std::string(1, text[i]) : Formatted("\\x%02x", unsigned{byte});
  }
  return quoted + "\"";
}

std::string Plural(std::int64_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string NameOf(const Row& row) { return Text(row.interfaceName) + "." + row.method; }

std::string AtomInWords(ZELStringAtom atom) {
  if (atom == 0) return "atom 0";
  const Atom* const known = TheLayer().ledger.atoms.Find(atom);
  std::string words = "atom " + std::to_string(atom);
  if (known != nullptr) words += " " + Quoted(known->text.c_str());
  return words;
}

std::string InWords(const Argument& value, char role) {
  using Type = Argument::Type;
  switch (value.type) {
    case Type::kNone:
      return "";
    case Type::kInteger:
      return std::to_string(static_cast<std::int64_t>(value.bits));
    case Type::kUnsigned:
      return role == 'a' ? AtomInWords(value.As<ZELStringAtom>()) : std::to_string(value.bits);
    case Type::kBoolean:
      return value.bits != 0 ? "true" : "false";
    case Type::kReal:
      return RealInWords(value.As<double>());
    case Type::kInstance:
      return Handle("instance", value);
    case Type::kError:
      return value.bits == 0 ? "success" : Handle("error", value);
    case Type::kBuffer:
      return Handle("buffer", value);
    case Type::kText:
      return Quoted(value.As<const char*>());
    case Type::kUnits:
      return UnitsInWords(value.As<const std::uint16_t*>());
    case Type::kPointer:
      return value.bits == 0 ? "null" : Hex(value.bits);
    case Type::kProcedure:
      return value.bits == 0 ? "no procedure" : "procedure " + Hex(value.bits);
  }
  return "";
}

std::string InWords(const Call& call) {
  std::string words = NameOf(call.row) + "(";
  for (std::size_t i = 0; call.row.roles[i] != '\0'; ++i) {
    if (i > 0) words += ", ";
    words += InWords(call.arguments[i], call.row.roles[i]);
  }
  return words + ")";
}

std::string InWords(const Origin& origin) {
  if (origin.row == nullptr) return "a call that was not seen";
  std::string words = NameOf(*origin.row) + " (call " + std::to_string(origin.number);
  if (origin.outerRow != nullptr) {
    words += ", in " + NameOf(*origin.outerRow) + ", from " + PlaceOf(origin.outerCaller);
  } else {
    words += ", from " + PlaceOf(origin.caller);
  }
  return words + ")";
}

std::string InWords(const Holders& holders) {
  std::string words;
  constexpr const char* kNames[] = {"clients hold ", "the library holds "};
  for (int i = 0; i < 2; ++i) {
    if (holders.of[i] == 0) continue;
    if (!words.empty()) words += "; ";
    words += kNames[i] + Plural(holders.of[i], "reference");
    if (holders.of[i] > 0 && holders.last[i].row != nullptr) {
      words += ", the latest taken by " + InWords(holders.last[i]);
    }
  }
  return words.empty() ? "nobody holds a reference that was seen" : words;
}

}  // namespace zelcheck
