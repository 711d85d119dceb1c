#include "settings.h"

#include <algorithm>
#include <cstdlib>

namespace zelcheck {
namespace {

struct Switch {
  std::string_view word;
  bool Settings::*setting;
};
constexpr Switch kSwitches[] = {
    {"report", &Settings::report},     {"abort", &Settings::abort}, {"trace", &Settings::trace},
    {"stats", &Settings::stats},       {"host", &Settings::host},   {"core", &Settings::core},
    {"callback", &Settings::callback},
};

bool ReadNumber(const std::string& text, std::uint64_t& number) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return false;
  number = std::strtoull(text.c_str(), nullptr, 10);
  return true;
}

// Reads 0.05 and 5%.
bool ReadRate(const std::string& text, double& rate) {
  char* end = nullptr;
  rate = std::strtod(text.c_str(), &end);
  if (end == text.c_str()) return false;
  if (*end == '%') {
    rate /= 100;
    ++end;
  }
  return *end == '\0' && rate >= 0 && rate <= 1;
}

bool ReadValue(Settings& settings, std::string_view name, const std::string& value) {
  std::uint64_t number = 0;
  if (name == "trace") {
    settings.trace = true;
    settings.traceFile = value;
  } else if (name == "out") {
    settings.out = value;
  } else if (name == "rules") {
    settings.rules.push_back(value);
  } else if (name == "without") {
    settings.leftOut.push_back(value);
  } else if (name == "interface") {
    settings.interfaces.push_back(value);
  } else if (name == "seed") {
    settings.inject = true;
    return ReadNumber(value, settings.seed);
  } else if (name == "fail") {
    settings.inject = true;
    return ReadRate(value, settings.failRate);
  } else if (name == "limit" && ReadNumber(value, number) && number > 0 && number < 1ULL << 31) {
    settings.textLimit = static_cast<std::uint32_t>(number);
  } else {
    return false;
  }
  return true;
}

bool ReadWord(Settings& settings, std::string_view word) {
  const std::size_t equals = word.find('=');
  if (equals != std::string_view::npos) {
    return ReadValue(settings, word.substr(0, equals), std::string(word.substr(equals + 1)));
  }
  for (const Switch& known : kSwitches) {
    if (known.word != word) continue;
    settings.*known.setting = true;
    return true;
  }
  return word.empty();
}

bool IsLikeAny(std::string_view text, const std::vector<std::string>& patterns) {
  return std::any_of(patterns.begin(), patterns.end(),
                     [text](const std::string& pattern) { return IsLike(text, pattern); });
}

}  // namespace

bool IsLike(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return text.empty();
  if (pattern.front() != '*') {
    return !text.empty() && text.front() == pattern.front() &&
           IsLike(text.substr(1), pattern.substr(1));
  }
  for (std::size_t skipped = 0; skipped <= text.size(); ++skipped) {
    if (IsLike(text.substr(skipped), pattern.substr(1))) return true;
  }
  return false;
}

bool Settings::Asks(std::string_view rule) const {
  return report && (rules.empty() || IsLikeAny(rule, rules)) && !IsLikeAny(rule, leftOut);
}

bool Settings::Shows(std::string_view interfaceName) const {
  return interfaces.empty() || IsLikeAny(interfaceName, interfaces);
}

Settings ReadSettings(std::string_view text) {
  Settings settings;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(','), text.size());
    const std::string_view word = text.substr(0, end);
    if (!ReadWord(settings, word)) settings.unknown.emplace_back(word);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return settings;
}

}  // namespace zelcheck
