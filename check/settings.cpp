#include "settings.h"

#include <algorithm>
#include <charconv>

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

// Reads digits alone, of a number that fits.
bool ReadNumber(const std::string& text, std::uint64_t& number) {
  const char* const end = text.data() + text.size();
  const std::from_chars_result read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end;
}

// Reads 0.05 and 5%: up to 15 digits, which the quotient of two doubles tells exactly.
bool ReadRate(std::string_view text, double& rate) {
  const bool isPercentage = !text.empty() && text.back() == '%';
  if (isPercentage) text.remove_suffix(1);
  double digits = 0;
  double scale = isPercentage ? 100 : 1;
  std::size_t count = 0;
  bool behindPoint = false;
  for (const char character : text) {
    if (character == '.' && !behindPoint) {
      behindPoint = true;
      continue;
    }
    if (character < '0' || character > '9' || ++count > 15) return false;
    digits = digits * 10 + (character - '0');
    if (behindPoint) scale *= 10;
  }
  rate = digits / scale;
  return count != 0 && rate <= 1;
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
  std::size_t star = std::string_view::npos;  // the last one, after which all is tried again
  std::size_t skipped = 0;                    // by that one
  std::size_t at = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (at < pattern.size() && pattern[at] == '*') {
      star = at++;
      skipped = i;
    } else if (at < pattern.size() && pattern[at] == text[i]) {
      ++at;
      ++i;
    } else if (star != std::string_view::npos) {
      at = star + 1;
      i = ++skipped;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
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
