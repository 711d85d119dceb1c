#include "path.h"

#include <algorithm>
#include <charconv>

namespace zelpos {
namespace {

using zelutils::PathStep;
using zelutils::PathSteps;

// Takes a key that stands in parentheses from the front of the text.
std::optional<std::string> TakeQuoted(std::string_view& text) {
  std::string key;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == ')') {
      text.remove_prefix(i + 1);
      return key;
    }
    if (text[i] == '\\' && ++i == text.size()) break;
    key += text[i];
  }
  return {};
}

std::optional<PathStep> TakeKey(std::string_view& text) {
  if (text.starts_with('(')) return TakeQuoted(text);
  std::string key(text.substr(0, text.find_first_of(".[")));
  text.remove_prefix(key.size());
  return key;
}

std::optional<PathStep> TakeIndex(std::string_view& text) {
  std::uint32_t index = 0;
  const char* const end = text.data() + text.size();
  const auto [after, error] = std::from_chars(text.data() + 1, end, index);
  if (error != std::errc() || after == end || *after != ']') return {};
  text.remove_prefix(static_cast<std::size_t>(after - text.data()) + 1);
  return index;
}

std::string ShowKey(const std::string& key) {
  if (!key.empty() && key.front() != '(' && key.find_first_of(".[") == key.npos) return key;
  std::string quoted = "(";
  for (const char c : key) {
    if (c == ')' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + ')';
}

}  // namespace

std::optional<PathSteps> ParsePath(std::string_view text) {
  PathSteps path;
  bool first = true;
  while (!text.empty()) {
    std::optional<PathStep> step;
    if (text.starts_with('[')) {
      step = TakeIndex(text);
    } else if (text.starts_with('.')) {
      text.remove_prefix(1);
      step = TakeKey(text);
    } else if (first) {
      step = TakeKey(text);
    }
    if (!step) return {};
    path.push_back(*std::move(step));
    first = false;
  }
  return path;
}

std::string ShowPath(const PathSteps& path) {
  std::string text;
  for (const PathStep& step : path) {
    if (const auto* index = std::get_if<std::uint32_t>(&step)) {
      text += '[' + std::to_string(*index) + ']';
    } else {
      if (!text.empty()) text += '.';
      text += ShowKey(std::get<std::string>(step));
    }
  }
  return text;
}

zelutils::Value Follow(zelutils::Value from, const PathSteps& path, std::size_t count) {
  for (std::size_t i = 0; i < std::min(count, path.size()) && from; ++i) {
    if (const auto* index = std::get_if<std::uint32_t>(&path[i])) {
      if (!from.Is<zelutils::Array>()) return {};
      from = from.As<zelutils::Array>().GetAt(*index);
    } else {
      if (!from.Is<zelutils::Dict>()) return {};
      from = from.As<zelutils::Dict>().Get(std::get<std::string>(path[i]));
    }
  }
  return from;
}

}  // namespace zelpos
