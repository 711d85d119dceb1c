#include "finding.h"

#include <charconv>
#include <optional>

namespace zelpos {
namespace {

using zelutils::Array;
using zelutils::Dict;
using zelutils::Value;

class Reader {
 public:
  Reader(const Value& root, std::string_view message) : value_(root), rest_(message) {}

  Finding Read() {
    while (!finding_.isAboutKey && (TakeWords() || TakeElement() || TakeMember())) {
    }
    constexpr std::string_view kUnknown = "Unknown member ";
    if (rest_.starts_with(kUnknown) && Member(rest_.substr(kUnknown.size()))) {
      finding_.path.emplace_back(std::string(rest_.substr(kUnknown.size())));
      finding_.isAboutKey = true;
    }
    finding_.message += rest_;
    return std::move(finding_);
  }

 private:
  Value Member(std::string_view key) const {
    return value_.Is<Dict>() ? value_.As<Dict>().Get(key) : Value();
  }

  // "Not a valid union type: Trying Name:" and "Failed intersection type Name:".
  bool TakeWords() {
    for (const std::string_view words :
         {"Not a valid union type: Trying ", "Failed intersection type "}) {
      if (!rest_.starts_with(words)) continue;
      const std::size_t colon = rest_.find(": ", words.size());
      if (colon == rest_.npos) return false;
      finding_.message += rest_.substr(0, colon + 2);
      rest_.remove_prefix(colon + 2);
      return true;
    }
    return false;
  }

  // "[2]:".
  bool TakeElement() {
    if (!rest_.starts_with('[') || !value_.Is<Array>()) return false;
    std::uint32_t index = 0;
    const char* const end = rest_.data() + rest_.size();
    const auto [after, error] = std::from_chars(rest_.data() + 1, end, index);
    const std::string_view behind(after, static_cast<std::size_t>(end - after));
    if (error != std::errc() || !behind.starts_with("]: ")) return false;
    Enter(value_.As<Array>().GetAt(index), index, behind.substr(3));
    return true;
  }

  // "name (required, type != Name):". A key may hold such words itself: the shortest one that the
  // value has is taken.
  bool TakeMember() {
    constexpr std::string_view kType = ", type != ";
    for (std::size_t i = rest_.find(" ("); i != rest_.npos; i = rest_.find(" (", i + 1)) {
      const std::string_view behind = rest_.substr(i + 2);
      for (const std::string_view role : {"required", "optional", "value", "key"}) {
        if (!behind.starts_with(role) || !behind.substr(role.size()).starts_with(kType)) continue;
        const std::size_t end = behind.find("): ");
        const Value member = end == behind.npos ? Value() : Member(rest_.substr(0, i));
        if (!member) continue;
        finding_.isAboutKey = role == "key";
        Enter(member, std::string(rest_.substr(0, i)), behind.substr(end + 3));
        return true;
      }
    }
    return false;
  }

  void Enter(Value member, zelutils::PathStep step, std::string_view rest) {
    finding_.path.push_back(std::move(step));
    value_ = std::move(member);
    rest_ = rest;
  }

  Value value_;
  std::string_view rest_;
  Finding finding_;
};

}  // namespace

Finding Understand(const Value& root, std::string_view message) {
  return Reader(root, message).Read();
}

}  // namespace zelpos
