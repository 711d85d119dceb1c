#include "json_reader.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "excerpt.h"
#include "failures.h"
#include "json_writer.h"
#include "path.h"
#include "printable.h"

namespace zelpos {
namespace {

using zelutils::Array;
using zelutils::Dict;
using zelutils::Value;

std::optional<std::string> FromHex(std::string_view digits) {
  const auto digit = [](char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                  : -1;
  };
  if (digits.size() % 2 != 0) return {};
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int high = digit(digits[i]);
    const int low = digit(digits[i + 1]);
    if (high < 0 || low < 0) return {};
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

std::u16string FromUtf8(std::string_view text) {
  std::u16string units;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, CharacterLength(text));
    text.remove_prefix(character.size());
    const std::uint32_t c = DecodeCharacter(character);
    if (c >= 0x10000) units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    units += static_cast<char16_t>(c >= 0x10000 ? 0xDC00 + (c & 0x3FF) : c);
  }
  return units;
}

// Takes the parser's events.
class Builder : public nlohmann::json_sax<nlohmann::json> {
 public:
  Builder(const zelutils::Client& client, const std::string& name, std::string_view text)
      : client_(client), name_(name), text_(text) {}

  Value Result() { return std::move(result_); }

  bool null() override { return Take(client_.NewString("null")); }
  bool boolean(bool value) override { return Take(client_.NewString(value ? "true" : "false")); }
  bool number_integer(std::int64_t number) override {
    return Take(client_.NewNumber(static_cast<double>(number)));
  }
  bool number_unsigned(std::uint64_t number) override {
    return Take(client_.NewNumber(static_cast<double>(number)));
  }
  bool number_float(double number, const std::string&) override {
    return Take(client_.NewNumber(number));
  }
  bool string(std::string& text) override { return Take(NewString(text)); }
  bool binary(nlohmann::json::binary_t&) override { return false; }

  bool start_object(std::size_t) override { return Open(client_.NewDict(), true); }
  bool start_array(std::size_t) override { return Open(client_.NewArray(), false); }
  bool key(std::string& key) override {
    Frame& frame = open_.back();
    frame.key = key;
    frame.reserved.clear();
    if (!IsReservedJsonKey(key)) return true;
    if (key[1] == '$') {
      frame.key.erase(0, 1);
    } else if (const std::string prefix = '$' + std::string(kJsonBytes) + ':';
               key.starts_with(prefix)) {
      const auto bytes = FromHex(std::string_view(key).substr(prefix.size()));
      if (!bytes) Fail("\"" + key + "\" holds no pairs of hexadecimal digits");
      frame.key = *bytes;
    } else {
      frame.reserved = key.substr(1);
    }
    return true;
  }
  bool end_array() override { return Close(); }
  bool end_object() override {
    Frame& frame = open_.back();
    if (frame.count == 1 && !frame.reserved.empty()) {
      Value converted = Convert(frame.reserved, frame.value.As<Dict>().Get(frame.key));
      frame.value = std::move(converted);
    }
    return Close();
  }

  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::json::exception& error) override {
    // "[json.exception.parse_error.101] parse error at line 1, column 5: syntax error ..."
    std::string_view message = error.what();
    if (const std::size_t column = message.find("column "); column != message.npos) {
      message.remove_prefix(std::min(message.find(": ", column) + 2, message.size()));
    }
    throw FileError(ShowPosition(name_, text_, position == 0 ? 0 : position - 1,
                                 "no JSON: " + Printable(message)));
  }

 private:
  // An array or object that is not closed yet.
  struct Frame {
    Value value;
    bool isDict;
    std::uint32_t count = 0;
    std::string key{};
    std::string reserved{};  // of the last key, if it names what JSON lacks
  };

  [[noreturn]] void Fail(const std::string& message) const {
    zelutils::PathSteps path;
    for (const Frame& frame : open_) {
      path.push_back(frame.isDict ? zelutils::PathStep(frame.key)
                                  : zelutils::PathStep(frame.count));
    }
    throw FileError(name_ + ": " + Printable(ShowPath(path)) + ": " + Printable(message));
  }

  Value NewString(const std::string& text) const {
    if (text.find('\0') != text.npos) Fail("a string cannot hold a NUL");
    return client_.NewString(text.c_str());
  }

  bool Open(Value value, bool isDict) {
    if (open_.size() == POS_NESTING_LIMIT) {
      Fail("nested too deeply: " + std::to_string(POS_NESTING_LIMIT) + " levels are allowed");
    }
    open_.push_back({std::move(value), isDict});
    return true;
  }

  bool Close() {
    Value value = std::move(open_.back().value);
    open_.pop_back();
    return Take(std::move(value));
  }

  bool Take(Value value) {
    if (open_.empty()) {
      result_ = std::move(value);
      return true;
    }
    Frame& frame = open_.back();
    if (frame.isDict) {
      if (frame.key.find('\0') != frame.key.npos) Fail("a key cannot hold a NUL");
      frame.value.As<Dict>().Put(frame.key.c_str(), value);
    } else {
      frame.value.As<Array>().Append(value);
    }
    ++frame.count;
    return true;
  }

  // The value that an object of one reserved member stands for.
  Value Convert(const std::string& reserved, const Value& content) const {
    const bool isText = content.Is<zelutils::String>();
    if (reserved == kJsonUnicode && isText) {
      return client_.NewUnicodeString(FromUtf8(content.As<std::string>()));
    }
    if (reserved == kJsonUnicode && content.Is<Array>()) return FromUnits(content.As<Array>());
    if (reserved == kJsonBytes && isText) {
      const auto bytes = FromHex(content.As<std::string>());
      if (bytes) return NewString(*bytes);
    }
    if (reserved == kJsonBinary && content.Is<Array>()) {
      const Array parts = content.As<Array>();
      if (parts.Count() == 2 && parts.GetAt(0).Is<zelutils::String>() &&
          parts.GetAt(1).Is<zelutils::String>()) {
        const auto bytes = FromHex(parts.GetAt(1).As<std::string>());
        const std::string type = parts.GetAt(0).As<std::string>();
        if (bytes) {
          return client_.NewBinData(type.c_str(), std::as_bytes(std::span(*bytes)));
        }
      }
    }
    if (reserved == kJsonNumber && isText) {
      const std::string text = content.As<std::string>();
      constexpr double kInfinity = std::numeric_limits<double>::infinity();
      if (text == "inf") return client_.NewNumber(kInfinity);
      if (text == "-inf") return client_.NewNumber(-kInfinity);
      if (text == "nan") return client_.NewNumber(std::numeric_limits<double>::quiet_NaN());
    }
    Fail("\"$" + reserved + "\" does not hold what it should");
  }

  Value FromUnits(const Array& list) const {
    std::u16string units;
    for (std::uint32_t i = 0; i < list.Count(); ++i) {
      const Value element = list.GetAt(i);
      const double unit = element.Is<zelutils::Number>() ? element.As<double>() : 0;
      if (!(unit >= 1 && unit <= 0xFFFF)) Fail("a unit is a number from 1 to 65535");
      units += static_cast<char16_t>(unit);
    }
    return client_.NewUnicodeString(units);
  }

  const zelutils::Client& client_;
  const std::string& name_;
  std::string_view text_;
  std::vector<Frame> open_;
  Value result_;
};

}  // namespace

Value ReadJson(const zelutils::Client& client, const std::string& name, std::string_view text) {
  Builder builder(client, name, text);
  if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder)) {
    throw FileError(name + ": no JSON");
  }
  return builder.Result();
}

}  // namespace zelpos
