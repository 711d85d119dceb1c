#include "suggestion.h"

#include <algorithm>
#include <numeric>

namespace zelpos {
namespace {

// Number of characters to put in, leave out, change, or swap with the next one.
std::size_t Distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::vector<std::size_t> next = {i + 1};
    for (std::size_t j = 0; j < to.size(); ++j) {
      std::size_t distance =
          std::min({row[j] + (from[i] == to[j] ? 0U : 1U), row[j + 1] + 1, next[j] + 1});
      const bool areSwapped = i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j];
      if (areSwapped) distance = std::min(distance, before[j - 1] + 1);
      next.push_back(distance);
    }
    before = std::move(row);
    row = std::move(next);
  }
  return row.back();
}

}  // namespace

std::string DidYouMean(std::string_view word, const std::vector<std::string>& known) {
  constexpr std::size_t kLongest = 100;  // a longer word was not mistyped
  const std::string* nearest = nullptr;
  std::size_t least = word.size() / 3 + 2;
  for (const std::string& candidate : known) {
    if (word.size() > kLongest || candidate.size() > kLongest) continue;
    const std::size_t distance = Distance(word, candidate);
    const bool isPart = word.size() >= 3 && candidate.starts_with(word);
    if (distance >= least && !isPart) continue;
    nearest = &candidate;
    least = isPart ? 1 : distance;
  }
  return nearest == nullptr ? "" : "; did you mean \"" + *nearest + "\"?";
}

}  // namespace zelpos
